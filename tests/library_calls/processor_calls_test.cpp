/// The memory that the processors ask for.
#include "blurprocessors.h"

#include <gtest/gtest.h>

#include "support/library_calls.h"

namespace {

/// Zero-filled buffers of that many pixels made while `processor` has one picture of them.
int buffersMadeFor(IImageProcessor& processor, int32_t width, int32_t height) {
    const Image input(width, height);
    test::watchZeroedMemory(input.byteCount());
    EXPECT_NE(processor.process(input, 1, 50), nullptr);
    const int made = test::zeroedMemoryAsked();
    test::watchZeroedMemory(0);
    return made;
}

} // namespace

TEST(ProcessorCalls, ANewSizeGetsZeroFilledBuffersAndTheSameSizeKeepsThem) {
    Frameblur blur;
    Frameunblur unblur;
    for (const auto& [width, height] : {std::pair{331, 173}, {333, 171}, {331, 173}, {173, 331}}) {
        EXPECT_EQ(buffersMadeFor(blur, width, height), 2) << width;
        EXPECT_EQ(buffersMadeFor(blur, width, height), 0) << width;
        EXPECT_EQ(buffersMadeFor(unblur, width, height), 1) << width;
        EXPECT_EQ(buffersMadeFor(unblur, width, height), 0) << width;
    }
}

TEST(ProcessorCalls, BuffersMadeInAdvanceAreZeroFilledToo) {
    test::watchZeroedMemory(std::size_t{317} * 179 * 4);
    Frameblur blur(317, 179);
    EXPECT_EQ(test::zeroedMemoryAsked(), 2);
    const Frameunblur unblur(317, 179);
    EXPECT_EQ(test::zeroedMemoryAsked(), 3);
    EXPECT_EQ(buffersMadeFor(blur, 317, 179), 0);
}
