#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace pxl {

/// Open file, bytes, 64-bit offsets. Closed by the destructor. Nothing throws; used by one thread at a time.
class File {
public:
    virtual ~File() = default;
    /// Bytes in the file; the position stays. 0 on failure.
    virtual uint64_t size() = 0;
    /// Position in bytes from the start; 0 on failure.
    virtual int64_t tell() = 0;
    /// Moves to `offset` bytes from the start, past the end too, and returns the new position; 0 on failure.
    virtual int64_t seek(int64_t offset) = 0;
    /// Returns the number of bytes read, less than `count` at the end of the file and on failure.
    virtual uint64_t read(uint8_t* buffer, uint64_t count) = 0;
    /// Returns the number of bytes written.
    virtual uint64_t write(const uint8_t* buffer, uint64_t count) = 0;
};

/// A `File` over the C library's stream. A `seek` must stand between a read and a write.
class STDIOFile : public File {
public:
    /// Takes over `handle`, which is not null.
    explicit STDIOFile(std::FILE* handle);

    uint64_t size() override;
    int64_t tell() override;
    int64_t seek(int64_t offset) override;
    uint64_t read(uint8_t* buffer, uint64_t count) override;
    uint64_t write(const uint8_t* buffer, uint64_t count) override;

    /// True once a read or a write came to a bad end, which is more than the end of the file.
    bool hasFailed() const;

private:
    struct Close {
        void operator()(std::FILE* handle) const noexcept { std::fclose(handle); }
    };
    std::unique_ptr<std::FILE, Close> handle_;
};

/// Opens a file for reading, binary. `path` is UTF-8 on every system. Empty on failure, without a log line.
std::shared_ptr<File> openFile(const std::string& path);

} // namespace pxl
