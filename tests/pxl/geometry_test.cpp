#include "pxl/geometry.h"

#include <gtest/gtest.h>

TEST(Size, IsEqualInBothDirectionsOnly) {
    const pxl::Size size{4, 3};
    EXPECT_TRUE(size == (pxl::Size{4, 3}));
    EXPECT_TRUE(size != (pxl::Size{5, 3}));
    EXPECT_TRUE(size != (pxl::Size{4, 5}));
}

TEST(Color, IsEqualInAllFourChannelsOnly) {
    const pxl::Color color{1, 2, 3, 4};
    EXPECT_TRUE(color == (pxl::Color{1, 2, 3, 4}));
    for (const pxl::Color other :
         {pxl::Color{9, 2, 3, 4}, pxl::Color{1, 9, 3, 4}, pxl::Color{1, 2, 9, 4}, pxl::Color{1, 2, 3, 9}})
        EXPECT_TRUE(color != other);
}
