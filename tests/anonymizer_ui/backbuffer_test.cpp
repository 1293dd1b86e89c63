#include "backbuffer.h"

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

namespace {

TEST(Backbuffer, GivesBackTheSizeItWasGiven) {
    Backbuffer buffer({640, 480});
    EXPECT_EQ(buffer.width(), 640);
    EXPECT_EQ(buffer.height(), 480);
    for (const pxl::Size size :
         {pxl::Size{}, {1, 0}, {0, 1}, {INT32_MAX, 1}, {1, INT32_MAX}, {-1, 7}, {7, -1}}) {
        buffer.resize(size);
        EXPECT_EQ(buffer.size().width, size.width);
        EXPECT_EQ(buffer.size().height, size.height);
        EXPECT_EQ(buffer.width(), size.width);
        EXPECT_EQ(buffer.height(), size.height);
    }
}

TEST(Backbuffer, HoldsTheWidthInTheHighHalf) {
    Backbuffer buffer({0x123, 0x456});
    EXPECT_EQ(buffer.packed(), 0x0000012300000456u);
    buffer.resize({1, -1});
    EXPECT_EQ(buffer.packed(), 0x00000001FFFFFFFFu);
}

TEST(Backbuffer, HasNoTexture) {
    EXPECT_EQ(Backbuffer({1, 1}).texture(), nullptr);
}

TEST(Backbuffer, WidthAndHeightAlwaysBelongTogether) {
    Backbuffer buffer({1, 1});
    std::atomic<bool> done{false};
    std::thread reader([&] {
        while (!done) {
            const pxl::Size size = buffer.size();
            ASSERT_EQ(size.width, size.height);
        }
    });
    for (int32_t side = 1; side < 100000; ++side)
        buffer.resize({side, side});
    done = true;
    reader.join();
}

} // namespace
