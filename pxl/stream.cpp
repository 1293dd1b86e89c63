#include "pxl/stream.h"

#include <utility>

#include "pxl/log.h"

namespace pxl {

FileStream::FileStream(std::shared_ptr<File> file) : file_(std::move(file)) {
    if (!file_)
        log::error("Invalid fileref for filestream");
}

int64_t FileStream::tell() {
    return file_ ? file_->tell() : 0;
}

int64_t FileStream::seek(int64_t offset) {
    return file_ ? file_->seek(offset) : 0;
}

uint64_t FileStream::read(uint8_t* buffer, uint64_t count) {
    return file_ ? file_->read(buffer, count) : 0;
}

uint64_t FileStream::size() {
    return file_ ? file_->size() : 0;
}

bool FileStream::valid() const {
    return file_ != nullptr;
}

} // namespace pxl
