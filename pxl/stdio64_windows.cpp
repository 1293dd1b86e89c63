#include "pxl/stdio64.h"

#include <windows.h>

namespace pxl::stdio64 {

std::FILE* openForReading(const std::string& path) {
    const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path.c_str(), -1, nullptr, 0);
    if (length <= 0)
        return nullptr;
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path.c_str(), -1, wide.data(), length);
    return _wfopen(wide.c_str(), L"rb");
}

bool seek(std::FILE* handle, int64_t offset, int whence) {
    return _fseeki64(handle, offset, whence) == 0;
}

int64_t tell(std::FILE* handle) {
    return _ftelli64(handle);
}

} // namespace pxl::stdio64
