#include "layout.h"

#include <vector>

#include <gtest/gtest.h>

namespace {

using ui2::Geometry;
using ui2::Layout;
using ui2::MouseInput;
using ui2::MouseResult;
using Action = ui2::MouseInput::Action;

/// One slider, 200 × 32 at (100, 50), values 10 … 50: 5 pixels per value, the knob's centre at y 66.
class LayoutSlider : public testing::Test {
protected:
    LayoutSlider() { slider_ = make({10, 10, 40}); }

    int make(ui2::SliderValue value) {
        return layout_.addSlider(value, {200, 32, 100, 50},
                                 [this](int32_t reported) { reports_.push_back(reported); });
    }
    MouseResult send(Action action, int32_t x, int32_t y, bool leftIsDown) {
        MouseResult result = layout_.mouse({action, x, y, leftIsDown});
        for (const auto& call : result.calls)
            call();
        return result;
    }
    MouseResult press(int32_t x, int32_t y) { return send(Action::LeftDown, x, y, true); }
    MouseResult drag(int32_t x, int32_t y) { return send(Action::Motion, x, y, true); }
    MouseResult release(int32_t x, int32_t y) { return send(Action::LeftUp, x, y, false); }
    int32_t value() const { return layout_.slider(slider_).value; }

    Layout layout_;
    int slider_ = -1;
    std::vector<int32_t> reports_;
};

TEST_F(LayoutSlider, KnobSitsAtTheEndOfThePlayedPart) {
    EXPECT_EQ(layout_.knobCentre(slider_).x, 100.0f);
    EXPECT_EQ(layout_.knobCentre(slider_).y, 66.0f);
    layout_.setValue(slider_, 30);
    EXPECT_EQ(layout_.knobCentre(slider_).x, 200.0f);
    layout_.setValue(slider_, 50);
    EXPECT_EQ(layout_.knobCentre(slider_).x, 300.0f);
}

TEST_F(LayoutSlider, PressOnTheKnobStartsADragWithoutAJump) {
    layout_.setValue(slider_, 30);
    const MouseResult result = press(207, 66);
    EXPECT_TRUE(result.consumed);
    EXPECT_TRUE(result.changed);
    EXPECT_TRUE(result.calls.empty());
    EXPECT_TRUE(layout_.isDragged(slider_));
    EXPECT_TRUE(layout_.isPressed(slider_));
    EXPECT_EQ(value(), 30);
}

TEST_F(LayoutSlider, PressExactlyEightPixelsAwayJumpsInsteadOfGrabbing) {
    layout_.setValue(slider_, 30);
    press(208, 66);
    EXPECT_EQ(value(), 31);
    EXPECT_EQ(reports_, std::vector<int32_t>{31});
}

TEST_F(LayoutSlider, KnobIsARoundTarget) {
    layout_.setValue(slider_, 30);
    press(205, 72); // 25 + 36 = 61
    EXPECT_EQ(value(), 30);
    release(205, 72);
    press(206, 72); // 36 + 36 = 72
    EXPECT_EQ(value(), 31);
}

TEST_F(LayoutSlider, PressElsewhereJumpsToTheTruncatedValue) {
    press(100 + 24, 52); // 24 × 40 / 200 = 4.8
    EXPECT_EQ(value(), 14);
    EXPECT_EQ(reports_, std::vector<int32_t>{14});
    EXPECT_TRUE(layout_.isDragged(slider_));
}

TEST_F(LayoutSlider, HeldButtonLetsTheValueFollowTheMouse) {
    press(100, 66);
    drag(150, 66);
    drag(250, 900);
    EXPECT_EQ(reports_, (std::vector<int32_t>{20, 40}));
    release(250, 900);
    EXPECT_FALSE(layout_.isDragged(slider_));
    EXPECT_FALSE(layout_.isPressed(slider_));
    send(Action::Motion, 120, 66, false);
    EXPECT_EQ(value(), 40);
}

TEST_F(LayoutSlider, DraggingBeyondTheEndsClamps) {
    layout_.setValue(slider_, 30);
    press(200, 66);
    drag(5000, 66);
    EXPECT_EQ(value(), 50);
    drag(-5000, 66);
    EXPECT_EQ(value(), 10);
    EXPECT_EQ(reports_, (std::vector<int32_t>{50, 10}));
}

TEST_F(LayoutSlider, OnlyAChangedValueIsReported) {
    press(150, 66);
    const MouseResult same = drag(154, 66);
    EXPECT_FALSE(same.changed);
    EXPECT_TRUE(same.consumed);
    drag(155, 66);
    EXPECT_EQ(reports_, (std::vector<int32_t>{20, 21}));
}

TEST_F(LayoutSlider, SettingTheValueFromOutsideIsNotReported) {
    layout_.setValue(slider_, 44);
    EXPECT_EQ(value(), 44);
    layout_.setValue(slider_, 51);
    EXPECT_EQ(value(), 50);
    layout_.setValue(slider_, 9);
    EXPECT_EQ(value(), 10);
    EXPECT_TRUE(reports_.empty());
}

TEST_F(LayoutSlider, DragSurvivesLeavingTheWindow) {
    press(150, 66);
    send(Action::Leave, 0, 0, true);
    EXPECT_TRUE(layout_.isDragged(slider_));
    EXPECT_TRUE(drag(250, -80).consumed);
    EXPECT_EQ(value(), 40);
}

TEST_F(LayoutSlider, MotionWithoutTheButtonEndsADragWhoseReleaseWasMissed) {
    press(150, 66);
    const MouseResult result = send(Action::Motion, 250, 20, false);
    EXPECT_FALSE(layout_.isDragged(slider_));
    EXPECT_FALSE(layout_.isPressed(slider_));
    EXPECT_FALSE(result.consumed);
    EXPECT_TRUE(result.changed);
    EXPECT_EQ(value(), 20);
}

TEST_F(LayoutSlider, ReleaseOfADragOutsideIsConsumed) {
    press(150, 66);
    EXPECT_TRUE(release(150, 3).consumed);
    EXPECT_FALSE(release(150, 3).consumed);
}

TEST_F(LayoutSlider, HalfOfTheKnobThatStandsOutOfTheSliderIsNoPartOfIt) {
    EXPECT_FALSE(press(99, 66).consumed);
    EXPECT_FALSE(layout_.isDragged(slider_));
    release(99, 66);
    EXPECT_TRUE(press(100, 66).consumed);
    EXPECT_TRUE(layout_.isDragged(slider_));
    release(100, 66);
    layout_.setValue(slider_, 50);
    EXPECT_FALSE(press(300, 66).consumed);
    EXPECT_TRUE(press(299, 66).consumed);
    EXPECT_TRUE(reports_.empty()) << "its inner half is grabbed";
}

TEST_F(LayoutSlider, RangeZeroKeepsTheMinimum) {
    layout_.setRange(slider_, 0, 0);
    EXPECT_EQ(value(), 0);
    press(250, 66);
    drag(5000, 66);
    EXPECT_EQ(value(), 0);
    EXPECT_TRUE(reports_.empty());
    EXPECT_EQ(layout_.knobCentre(slider_).x, 100.0f);
}

TEST_F(LayoutSlider, WidthZeroOrLessGivesTheMinimum) {
    for (const int32_t width : {0, -5}) {
        layout_.setValue(slider_, 30);
        layout_.setGeometry(slider_, {width, 32, 100, 50});
        press(static_cast<int32_t>(layout_.knobCentre(slider_).x), 66);
        EXPECT_FALSE(layout_.isDragged(slider_));
        release(100, 66);
        // The window becomes too narrow for it during a drag.
        layout_.setGeometry(slider_, {200, 32, 100, 50});
        press(200, 66);
        layout_.setGeometry(slider_, {width, 32, 100, 50});
        drag(120, 66);
        EXPECT_EQ(value(), 10);
        release(120, 66);
    }
}

TEST_F(LayoutSlider, NegativeRangeCountsAsNone) {
    layout_.setRange(slider_, 0, -1);
    EXPECT_EQ(layout_.slider(slider_).range, 0);
    EXPECT_EQ(value(), 0);
}

TEST_F(LayoutSlider, LongVideosKeepTheirPrecision) {
    layout_.setRange(slider_, 0, 431999);
    layout_.setGeometry(slider_, {7000, 32, 0, 50});
    press(6999, 52);
    EXPECT_EQ(value(), 431937); // 6999 × 431999 / 7000, far beyond 32 bits on the way
    drag(7000, 52);
    EXPECT_EQ(value(), 431999);
    drag(1, 52);
    EXPECT_EQ(value(), 61);
}

TEST_F(LayoutSlider, ExtremeMinimumAndRangeDoNotOverflow) {
    layout_.setRange(slider_, INT32_MAX - 5, INT32_MAX);
    EXPECT_EQ(layout_.slider(slider_).range, 5);
    press(300 - 1, 52);
    drag(5000, 52);
    EXPECT_EQ(value(), INT32_MAX);
}

TEST_F(LayoutSlider, DisabledSliderIgnoresPressesAndDropsItsDrag) {
    press(150, 66);
    layout_.setEnabled(slider_, false);
    EXPECT_FALSE(layout_.isDragged(slider_));
    drag(250, 66);
    release(250, 66);
    EXPECT_TRUE(press(250, 66).consumed);
    EXPECT_EQ(value(), 20);
}

TEST_F(LayoutSlider, WithoutACallbackTheValueStillFollows) {
    Layout bare;
    const int slider = bare.addSlider({0, 0, 100}, {100, 32, 0, 0}, {});
    EXPECT_TRUE(bare.mouse({Action::LeftDown, 70, 2, true}).calls.empty());
    EXPECT_EQ(bare.slider(slider).value, 70);
}

} // namespace
