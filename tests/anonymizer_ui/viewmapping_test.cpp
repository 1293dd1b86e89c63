#include "viewmapping.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

using view::Mapping;
using view::Point;

TEST(ViewMapping, WidePictureTouchesBothSidesAndIsCentredAboveTheBar) {
    const Mapping mapping({800, 480 + 32}, {400, 200});
    EXPECT_FLOAT_EQ(mapping.scale(), 2);
    EXPECT_FLOAT_EQ(mapping.origin().x, 0);
    EXPECT_FLOAT_EQ(mapping.origin().y, 40);
}

TEST(ViewMapping, TallPictureTouchesTopAndBar) {
    const Mapping mapping({800, 400 + 32}, {100, 200});
    EXPECT_FLOAT_EQ(mapping.scale(), 2);
    EXPECT_FLOAT_EQ(mapping.origin().x, 300);
    EXPECT_FLOAT_EQ(mapping.origin().y, 0);
}

TEST(ViewMapping, PictureOfTheAreasSizeIsShownPixelForPixel) {
    const Mapping mapping({320, 240 + 32}, {320, 240});
    EXPECT_FLOAT_EQ(mapping.scale(), 1);
    for (int x = 0; x < 320; x += 7) {
        EXPECT_EQ(mapping.videoPixel({x, 11}).x, x);
        EXPECT_EQ(mapping.videoPixel({x, 11}).y, 11);
    }
}

TEST(ViewMapping, PictureAtAWholeScaleStandsOnWholePixels) {
    for (const int scale : {1, 2, 3}) {
        const Mapping wide({643, 180 * scale + 32}, {180, 180});
        EXPECT_FLOAT_EQ(wide.scale(), static_cast<float>(scale));
        EXPECT_EQ(wide.origin().x, std::floor((643 - 180 * scale) / 2.0f));
        EXPECT_EQ(wide.origin().y, 0);
        const Mapping high({180 * scale, 643 + 32}, {180, 180});
        EXPECT_EQ(high.origin().x, 0);
        EXPECT_EQ(high.origin().y, std::floor((643 - 180 * scale) / 2.0f));
    }
    const Mapping between({643, 270 + 32}, {180, 180});
    EXPECT_FLOAT_EQ(between.origin().x, 186.5f);
}

TEST(ViewMapping, BothDirectionsUndoEachOther) {
    for (const view::Size window : {view::Size{801, 577}, {128, 128}, {1919, 1081}, {33, 500}})
        for (const view::Size frame : {view::Size{1920, 1080}, {1, 1}, {8192, 16}, {333, 777}}) {
            const Mapping mapping(window, frame);
            ASSERT_TRUE(mapping.valid());
            for (const view::PointF point : {view::PointF{0, 0}, {17.5f, 3.25f}, {120, 90}}) {
                const view::PointF back = mapping.toVideo(mapping.toWindow(point));
                EXPECT_NEAR(back.x, point.x, 0.02f);
                EXPECT_NEAR(back.y, point.y, 0.02f);
            }
        }
}

TEST(ViewMapping, EnlargedPixelsComeBackFromTheWindow) {
    for (const view::Size window : {view::Size{800, 580}, {801, 581}, {1000, 333}, {640, 512}}) {
        const Mapping mapping(window, {320, 240});
        ASSERT_GE(mapping.scale(), 1);
        for (int x = 0; x < 320; ++x)
            for (int y = 0; y < 240; y += 13) {
                const Point back = mapping.videoPixel(mapping.windowPixel({x, y}));
                ASSERT_EQ(back.x, x) << window.width << "x" << window.height << " scale " << mapping.scale();
                ASSERT_EQ(back.y, y);
            }
    }
}

TEST(ViewMapping, ShrunkPictureGivesTheClickedWindowPixelBack) {
    const Mapping mapping({800, 580}, {1920, 1080});
    ASSERT_LT(mapping.scale(), 1);
    for (int x = 1; x < 800; ++x) {
        const Point back = mapping.windowPixel(mapping.videoPixel({x, 300}));
        ASSERT_EQ(back.x, x);
        ASSERT_EQ(back.y, 300);
    }
}

TEST(ViewMapping, OneRowBelowThePictureIsInsideOneColumnToTheRightIsNot) {
    const Mapping mapping({320, 240 + 32}, {320, 240});
    EXPECT_TRUE(mapping.inside({0, 0}));
    EXPECT_TRUE(mapping.inside({319, 239}));
    EXPECT_TRUE(mapping.inside({319, 240}));
    EXPECT_FALSE(mapping.inside({319, 241}));
    EXPECT_FALSE(mapping.inside({320, 239}));
}

TEST(ViewMapping, PointsAreTruncatedTowardZero) {
    // Origin at x = 10: the window pixel 8 is video −0.5, which becomes 0; 5 is −1.25, which becomes −1.
    const Mapping mapping({420, 400 + 32}, {100, 100});
    ASSERT_FLOAT_EQ(mapping.scale(), 4);
    ASSERT_FLOAT_EQ(mapping.origin().x, 10);
    EXPECT_TRUE(mapping.inside({8, 100}));
    EXPECT_EQ(mapping.videoPixel({8, 100}).x, 0);
    EXPECT_FALSE(mapping.inside({5, 100}));
    EXPECT_EQ(mapping.videoPixel({5, 100}).x, -1);
}

TEST(ViewMapping, NothingIsInsideWithoutPictureOrRoom) {
    for (const Mapping& mapping :
         {Mapping(), Mapping({800, 600}, {0, 0}), Mapping({800, 32}, {320, 240}), Mapping({1, 1}, {320, 240}),
          Mapping({0, 600}, {320, 240}), Mapping({800, 600}, {320, 0})}) {
        EXPECT_FALSE(mapping.valid());
        EXPECT_FALSE(mapping.inside({0, 0}));
        EXPECT_EQ(mapping.videoPixel({5, 5}).x, 0);
        EXPECT_EQ(mapping.windowPixel({5, 5}).x, 0);
    }
}

TEST(ViewRect, IsEmptyWithoutWidthOrHeight) {
    EXPECT_FALSE((view::Rect{5, 5, 1, 1}).empty());
    EXPECT_TRUE((view::Rect{5, 5, 0, 1}).empty());
    EXPECT_TRUE((view::Rect{5, 5, 1, 0}).empty());
    EXPECT_TRUE((view::Rect{5, 5, 1, -1}).empty());
}

} // namespace
