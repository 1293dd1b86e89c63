#include "safeprogress.h"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

TEST(SafeProgress, NoNumberOfFramesLeavesTheRangeOfProgress) {
    constexpr int32_t kLargest = std::numeric_limits<int32_t>::max();
    EXPECT_EQ(progressValue(-1), 0);
    EXPECT_EQ(progressValue(0), 0);
    EXPECT_EQ(progressValue(250), 250);
    EXPECT_EQ(progressValue(kLargest), kLargest);
    EXPECT_EQ(progressValue(int64_t{kLargest} + 1), kLargest);
    EXPECT_EQ(progressValue(std::numeric_limits<int64_t>::max()), kLargest);
    EXPECT_EQ(progressValue(std::numeric_limits<int64_t>::min()), 0);
}
