#include "pxl/file.h"

#include <algorithm>
#include <limits>

#include "pxl/stdio64.h"

namespace pxl {
namespace {

std::size_t cutToSize(uint64_t count) {
    return static_cast<std::size_t>(std::min<uint64_t>(count, std::numeric_limits<std::size_t>::max()));
}

} // namespace

STDIOFile::STDIOFile(std::FILE* handle) : handle_(handle) {}

uint64_t STDIOFile::size() {
    const int64_t position = tell();
    // A pipe, which only a name that the user made leads to.
    if (!stdio64::seek(handle_.get(), 0, SEEK_END))
        return 0;
    const int64_t end = tell();
    return stdio64::seek(handle_.get(), position, SEEK_SET) ? static_cast<uint64_t>(end) : 0;
}

int64_t STDIOFile::tell() {
    return std::max<int64_t>(stdio64::tell(handle_.get()), 0);
}

int64_t STDIOFile::seek(int64_t offset) {
    return stdio64::seek(handle_.get(), offset, SEEK_SET) ? tell() : 0;
}

uint64_t STDIOFile::read(uint8_t* buffer, uint64_t count) {
    return std::fread(buffer, 1, cutToSize(count), handle_.get());
}

uint64_t STDIOFile::write(const uint8_t* buffer, uint64_t count) {
    return std::fwrite(buffer, 1, cutToSize(count), handle_.get());
}

bool STDIOFile::hasFailed() const {
    return std::ferror(handle_.get()) != 0;
}

std::shared_ptr<File> openFile(const std::string& path) {
    std::FILE* handle = stdio64::openForReading(path);
    return handle ? std::make_shared<STDIOFile>(handle) : nullptr;
}

} // namespace pxl
