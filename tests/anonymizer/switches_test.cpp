#include "switches.h"

#include <gtest/gtest.h>

TEST(Switches, StartWithTheirStatedValues) {
    EXPECT_EQ(switches::editingMode, switches::kBlurMode);
    EXPECT_EQ(switches::playbackSpeed, 1);
    EXPECT_EQ(switches::confidenceThreshold, 50);
    EXPECT_EQ(switches::brushSize, 32);
    EXPECT_EQ(switches::blurDivisor, 50);
    EXPECT_EQ(switches::hintState, 0);
    EXPECT_FALSE(switches::hintOverride);
}
