#pragma once

#include <cstdint>
#include <memory>

#include "pxl/file.h"

namespace pxl {

/// What the image decoders read from. Failures are 0 results, as in `File`.
class Stream {
public:
    virtual ~Stream() = default;
    virtual int64_t tell() = 0;
    virtual int64_t seek(int64_t offset) = 0;
    virtual uint64_t read(uint8_t* buffer, uint64_t count) = 0;
    virtual uint64_t size() = 0;
    /// False when there is nothing to read from.
    virtual bool valid() const = 0;
};

/// Reads through a shared file; its position is the file's.
class FileStream : public Stream {
public:
    /// An empty pointer is logged as an error and makes a stream that isn't valid; every operation of it
    /// returns 0.
    explicit FileStream(std::shared_ptr<File> file);

    int64_t tell() override;
    int64_t seek(int64_t offset) override;
    uint64_t read(uint8_t* buffer, uint64_t count) override;
    uint64_t size() override;
    bool valid() const override;

private:
    std::shared_ptr<File> file_;
};

} // namespace pxl
