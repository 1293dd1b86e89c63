#include "pxl/image.h"

#include <utility>

#include <gtest/gtest.h>

TEST(Image, IsAllocatedOpaqueBlack) {
    const pxl::Image image(3, 2);
    ASSERT_EQ(image.pixelCount(), 6u);
    for (std::size_t i = 0; i < image.pixelCount(); ++i)
        EXPECT_EQ(image.pixels[i], 0xFF000000u);
}

TEST(Image, CanBeAllocatedZeroFilled) {
    const pxl::Image image = pxl::Image::zeroed(3, 2);
    ASSERT_EQ(image.pixelCount(), 6u);
    for (std::size_t i = 0; i < image.pixelCount(); ++i)
        EXPECT_EQ(image.pixels[i], 0u);
    EXPECT_TRUE(pxl::Image::zeroed(0, 5).empty());
}

TEST(Image, HasNoPixelsBelowOnePixelOfSize) {
    EXPECT_TRUE(pxl::Image(0, 5).empty());
    EXPECT_TRUE(pxl::Image(5, -1).empty());
}

TEST(Image, MovingLeavesAnEmptyPicture) {
    pxl::Image source(2, 2);
    source.pixels[3] = 7;
    const pxl::Image moved(std::move(source));
    EXPECT_EQ(moved.pixels[3], 7u);
    EXPECT_TRUE(source.empty()); // NOLINT: the moved-from state is the contract
    EXPECT_EQ(source.width, 0);
}

TEST(Image, MovingToItselfKeepsThePixels) {
    pxl::Image image(2, 2);
    image.pixels[3] = 7;
    pxl::Image& same = image;
    image = std::move(same);
    ASSERT_EQ(image.pixelCount(), 4u);
    EXPECT_EQ(image.pixels[3], 7u);
}

TEST(Image, CloneDoesNotShareItsPixels) {
    pxl::Image source(2, 1);
    source.pixels[0] = 1;
    const pxl::Image copy = source.clone();
    source.pixels[0] = 2;
    EXPECT_EQ(copy.pixels[0], 1u);
}

TEST(Image, ViewLeavesTheMemoryToItsOwner) {
    uint32_t memory[4] = {1, 2, 3, 4};
    {
        const pxl::Image view = pxl::Image::view(2, 2, memory);
        EXPECT_EQ(view.pixels, memory);
    }
    EXPECT_EQ(memory[3], 4u);
}
