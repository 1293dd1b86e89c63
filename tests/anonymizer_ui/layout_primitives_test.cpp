#include "layout.h"

#include <gtest/gtest.h>

namespace {

using ui2::Layout;
using ui2::Primitive;
using Shape = ui2::Primitive::Shape;
using Action = ui2::MouseInput::Action;

void expectRect(const pxl::RectF& rect, float x, float y, float width, float height) {
    EXPECT_EQ(rect.x, x);
    EXPECT_EQ(rect.y, y);
    EXPECT_EQ(rect.width, width);
    EXPECT_EQ(rect.height, height);
}

void expectColor(pxl::Color color, int r, int g, int b, int a) {
    EXPECT_EQ(color.r, r);
    EXPECT_EQ(color.g, g);
    EXPECT_EQ(color.b, b);
    EXPECT_EQ(color.a, a);
}

TEST(LayoutPrimitives, ButtonIsABarUnderItsImage) {
    Layout layout;
    layout.addButton({}, {32, 30, 7, 8}, {});
    const auto list = layout.primitives();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].shape, Shape::Rectangle);
    expectRect(list[0].rect, 7, 8, 32, 30);
    expectColor(list[0].color, 32, 32, 32, 255);
    EXPECT_EQ(list[1].shape, Shape::Image);
    expectRect(list[1].rect, 7, 8, 32, 30);
    expectColor(list[1].color, 255, 255, 255, 255);
    EXPECT_EQ(list[1].element, 0);
    EXPECT_EQ(list[1].image, 0);
}

TEST(LayoutPrimitives, DisabledButtonTruncatesItsFadedBytes) {
    Layout layout;
    layout.setEnabled(layout.addButton({}, {32, 32, 0, 0}, {}), false);
    const auto list = layout.primitives();
    ASSERT_EQ(list.size(), 2u);
    expectColor(list[0].color, 9, 9, 9, 76);
    expectColor(list[1].color, 255, 255, 255, 76);
}

TEST(LayoutPrimitives, DisabledToggleIsFadedLikeAButton) {
    Layout layout;
    const int toggle = layout.addToggle({}, {}, {32, 32, 0, 0}, {});
    layout.setEnabled(toggle, false);
    for (const bool state : {false, true}) {
        layout.setToggled(toggle, state);
        const auto list = layout.primitives();
        ASSERT_EQ(list.size(), 2u);
        expectColor(list[0].color, 9, 9, 9, 76);
        expectColor(list[1].color, 255, 255, 255, 76);
    }
}

TEST(LayoutPrimitives, DisabledSliderKeepsItsColours) {
    Layout layout;
    layout.setEnabled(layout.addSlider({60, 10, 200}, {400, 32, 50, 100}, {}), false);
    const auto list = layout.primitives();
    ASSERT_EQ(list.size(), 4u);
    expectColor(list[0].color, 32, 32, 32, 255);
    expectColor(list[1].color, 115, 115, 114, 255);
    expectColor(list[2].color, 0, 180, 255, 255);
    expectColor(list[3].color, 255, 255, 255, 255);
}

TEST(LayoutPrimitives, ToggleShowsTheImageOfItsState) {
    Layout layout;
    const int toggle = layout.addToggle({}, {}, {32, 32, 0, 0}, {});
    EXPECT_EQ(layout.primitives()[1].image, 0);
    layout.setToggled(toggle, true);
    EXPECT_EQ(layout.primitives()[1].image, 1);
}

TEST(LayoutPrimitives, SliderIsBarTrackPlayedPartAndKnob) {
    Layout layout;
    layout.addSlider({60, 10, 200}, {400, 32, 50, 100}, {});
    const auto list = layout.primitives();
    ASSERT_EQ(list.size(), 4u);
    expectRect(list[0].rect, 50, 100, 400, 32);
    expectColor(list[0].color, 32, 32, 32, 255);
    expectRect(list[1].rect, 50, 114, 400, 4);
    expectColor(list[1].color, 115, 115, 114, 255);
    expectRect(list[2].rect, 50, 114, 100, 4);
    expectColor(list[2].color, 0, 180, 255, 255);
    EXPECT_EQ(list[3].shape, Shape::Circle);
    expectRect(list[3].rect, 150 - 8, 116 - 8, 16, 16);
    expectColor(list[3].color, 255, 255, 255, 255);
}

TEST(LayoutPrimitives, PressedKnobIsDark) {
    Layout layout;
    layout.addSlider({50, 0, 100}, {100, 32, 0, 0}, {});
    layout.mouse({Action::LeftDown, 50, 16, true});
    expectColor(layout.primitives()[3].color, 86, 86, 86, 255);
    layout.mouse({Action::LeftUp, 50, 16, false});
    expectColor(layout.primitives()[3].color, 255, 255, 255, 255);
}

TEST(LayoutPrimitives, RangeZeroPlaysNothing) {
    Layout layout;
    layout.addSlider({0, 0, 0}, {100, 32, 20, 0}, {});
    const auto list = layout.primitives();
    expectRect(list[2].rect, 20, 14, 0, 4);
    expectRect(list[3].rect, 12, 8, 16, 16);
}

TEST(LayoutPrimitives, ElementsComeInTheirOrder) {
    Layout layout;
    layout.addToggle({}, {}, {32, 32, 0, 0}, {});
    layout.addSlider({}, {100, 32, 32, 0}, {});
    layout.addButton({}, {32, 32, 132, 0}, {});
    std::vector<int> elements;
    for (const Primitive& primitive : layout.primitives())
        elements.push_back(primitive.element);
    EXPECT_EQ(elements, (std::vector<int>{0, 0, 1, 1, 1, 1, 2, 2}));
}

TEST(LayoutPrimitives, InvisibleListDrawsNothing) {
    Layout layout;
    layout.addButton({}, {32, 32, 0, 0}, {});
    layout.setVisible(false);
    EXPECT_TRUE(layout.primitives().empty());
}

} // namespace
