#include "pxl/file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <gtest/gtest.h>

namespace {

/// A file of 100 bytes behind the C library's stream, whose next steps can be made to fail.
class FlawedFile {
public:
    std::FILE* open() {
        cookie_io_functions_t functions = {};
        functions.read = [](void* cookie, char* buffer, std::size_t size) {
            return static_cast<FlawedFile*>(cookie)->read(buffer, size);
        };
        functions.seek = [](void* cookie, off64_t* offset, int whence) {
            return static_cast<FlawedFile*>(cookie)->seek(*offset, whence);
        };
        std::FILE* const handle = fopencookie(this, "rb", functions);
        std::setvbuf(handle, nullptr, _IONBF, 0);
        return handle;
    }

    off64_t readableBytes = kSize;
    bool seeksToTheStart = true;
    bool seeksToTheEnd = true;

private:
    static constexpr off64_t kSize = 100;

    ssize_t read(char* buffer, std::size_t size) {
        if (position_ >= readableBytes && readableBytes < kSize) {
            errno = EIO;
            return -1;
        }
        const auto count = std::min(static_cast<off64_t>(size), readableBytes - position_);
        std::memset(buffer, 'x', static_cast<std::size_t>(count));
        position_ += count;
        return count;
    }
    int seek(off64_t& offset, int whence) {
        if ((whence == SEEK_SET && !seeksToTheStart) || (whence == SEEK_END && !seeksToTheEnd))
            return -1;
        offset += whence == SEEK_END ? kSize : whence == SEEK_CUR ? position_ : 0;
        position_ = offset;
        return 0;
    }

    off64_t position_ = 0;
};

} // namespace

TEST(FlawedFile, ThatCannotGoBackHasNoSize) {
    FlawedFile flawed;
    pxl::STDIOFile file(flawed.open());
    EXPECT_EQ(file.size(), 100u);
    flawed.seeksToTheStart = false;
    EXPECT_EQ(file.size(), 0u);
}

TEST(FlawedFile, ThatCannotGoToItsEndHasNoSize) {
    FlawedFile pipe;
    pipe.seeksToTheEnd = false;
    pxl::STDIOFile file(pipe.open());
    EXPECT_EQ(file.size(), 0u);
    uint8_t buffer[60];
    EXPECT_EQ(file.read(buffer, 60), 60u);
}

TEST(FlawedFile, AReadErrorIsTold) {
    FlawedFile flawed;
    flawed.readableBytes = 60;
    pxl::STDIOFile file(flawed.open());
    uint8_t buffer[200];
    EXPECT_EQ(file.read(buffer, 60), 60u);
    EXPECT_FALSE(file.hasFailed());
    EXPECT_EQ(file.read(buffer, 40), 0u);
    EXPECT_TRUE(file.hasFailed());
}

TEST(FlawedFile, TheEndOfTheFileIsNoError) {
    FlawedFile flawed;
    pxl::STDIOFile file(flawed.open());
    uint8_t buffer[200];
    EXPECT_EQ(file.read(buffer, 200), 100u);
    EXPECT_EQ(file.read(buffer, 200), 0u);
    EXPECT_FALSE(file.hasFailed());
}
