#include "pxl/stdio64.h"

#include <sys/types.h>

namespace pxl::stdio64 {

static_assert(sizeof(off_t) == sizeof(int64_t), "file offsets have 64 bits");

std::FILE* openForReading(const std::string& path) {
    return std::fopen(path.c_str(), "rb");
}

bool seek(std::FILE* handle, int64_t offset, int whence) {
    return fseeko(handle, offset, whence) == 0;
}

int64_t tell(std::FILE* handle) {
    return ftello(handle);
}

} // namespace pxl::stdio64
