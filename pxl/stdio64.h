#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

/// What the C library spells differently on each system; one source file per system.
namespace pxl::stdio64 {

/// Binary. `path` is UTF-8. Null on failure.
std::FILE* openForReading(const std::string& path);
/// `whence` as for std::fseek. False on failure.
bool seek(std::FILE* handle, int64_t offset, int whence);
/// -1 on failure.
int64_t tell(std::FILE* handle);

} // namespace pxl::stdio64
