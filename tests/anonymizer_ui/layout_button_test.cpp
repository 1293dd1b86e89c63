#include "layout.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using ui2::Layout;
using ui2::MouseResult;
using Action = ui2::MouseInput::Action;

/// A button at x 0, a toggle at x 32, a slider with its knob in the middle at x 100 … 200; all 32 high.
class LayoutButtons : public testing::Test {
protected:
    LayoutButtons() {
        button_ = layout_.addButton(
            {}, {32, 32, 0, 0}, [this](int element) { log("click " + std::to_string(element)); }, "Delete");
        toggle_ = layout_.addToggle(
            {}, {}, {32, 32, 32, 0}, [this](bool state) { log(state ? "on" : "off"); }, "Play");
        slider_ = layout_.addSlider({50, 0, 100}, {100, 32, 100, 0},
                                    [this](int32_t value) { log("value " + std::to_string(value)); });
    }
    void log(const std::string& line) { log_.push_back(line); }
    MouseResult send(Action action, int32_t x, int32_t y, bool leftIsDown) {
        MouseResult result = layout_.mouse({action, x, y, leftIsDown});
        for (const auto& call : result.calls)
            call();
        return result;
    }
    MouseResult move(int32_t x, int32_t y) { return send(Action::Motion, x, y, false); }
    MouseResult press(int32_t x, int32_t y) { return send(Action::LeftDown, x, y, true); }
    MouseResult drag(int32_t x, int32_t y) { return send(Action::Motion, x, y, true); }
    MouseResult release(int32_t x, int32_t y) { return send(Action::LeftUp, x, y, false); }

    Layout layout_;
    int button_ = -1;
    int toggle_ = -1;
    int slider_ = -1;
    std::vector<std::string> log_;
};

using Lines = std::vector<std::string>;

TEST_F(LayoutButtons, PressAndReleaseInsideIsAClick) {
    EXPECT_TRUE(press(5, 5).consumed);
    EXPECT_TRUE(layout_.isPressed(button_));
    EXPECT_TRUE(log_.empty());
    EXPECT_TRUE(release(31, 31).consumed);
    EXPECT_EQ(log_, Lines{"click 0"});
    EXPECT_FALSE(layout_.isPressed(button_));
}

TEST_F(LayoutButtons, ReleaseOutsideAfterAPressInsideIsNoClick) {
    press(5, 5);
    EXPECT_TRUE(release(300, 300).consumed);
    EXPECT_TRUE(log_.empty());
    EXPECT_FALSE(layout_.isPressed(button_));
    release(5, 5);
    EXPECT_TRUE(log_.empty());
}

TEST_F(LayoutButtons, ReleaseOnAnotherElementClicksNeither) {
    press(5, 5);
    release(40, 5);
    EXPECT_TRUE(log_.empty());
    EXPECT_FALSE(layout_.toggled(toggle_));
}

TEST_F(LayoutButtons, ReleaseInsideAfterAPressOutsideIsNoClick) {
    EXPECT_FALSE(press(300, 300).consumed);
    drag(5, 5);
    release(5, 5);
    EXPECT_TRUE(log_.empty());
}

TEST_F(LayoutButtons, ComingBackBeforeTheReleaseIsAClick) {
    press(5, 5);
    EXPECT_TRUE(drag(300, 300).consumed);
    drag(6, 6);
    release(6, 6);
    EXPECT_EQ(log_, Lines{"click 0"});
}

TEST_F(LayoutButtons, ToggleFlipsAndReportsItsNewState) {
    press(40, 5);
    EXPECT_FALSE(layout_.toggled(toggle_));
    EXPECT_TRUE(release(40, 5).changed);
    EXPECT_TRUE(layout_.toggled(toggle_));
    press(40, 5);
    release(40, 5);
    EXPECT_FALSE(layout_.toggled(toggle_));
    EXPECT_EQ(log_, (Lines{"on", "off"}));
}

TEST_F(LayoutButtons, SettingTheToggleFromOutsideIsNotReported) {
    layout_.setToggled(toggle_, true);
    EXPECT_TRUE(layout_.toggled(toggle_));
    EXPECT_TRUE(log_.empty());
    press(40, 5);
    release(40, 5);
    EXPECT_EQ(log_, Lines{"off"});
}

TEST_F(LayoutButtons, LeavingTheWindowClearsHoverAndPress) {
    move(5, 5);
    press(5, 5);
    EXPECT_TRUE(layout_.isHovered(button_));
    send(Action::Leave, -1, -1, true);
    EXPECT_FALSE(layout_.isHovered(button_));
    EXPECT_FALSE(layout_.isPressed(button_));
    release(5, 5);
    EXPECT_TRUE(log_.empty());
}

TEST_F(LayoutButtons, WheelIsNothingToTheElements) {
    move(5, 5);
    press(5, 5);
    for (const bool held : {true, false}) {
        const MouseResult result = send(Action::Wheel, 150, 16, held);
        EXPECT_FALSE(result.consumed);
        EXPECT_FALSE(result.changed);
    }
    EXPECT_TRUE(layout_.isHovered(button_));
    EXPECT_TRUE(layout_.isPressed(button_));
    release(5, 5);
    EXPECT_EQ(log_, Lines{"click 0"});
}

TEST_F(LayoutButtons, ClearHoverForgetsMarksButNotADrag) {
    press(5, 5);
    layout_.clearHover();
    EXPECT_FALSE(layout_.isHovered(button_));
    EXPECT_FALSE(layout_.isPressed(button_));
    press(150, 16);
    layout_.clearHover();
    EXPECT_TRUE(layout_.isDragged(slider_));
}

TEST_F(LayoutButtons, HoverFollowsTheMouseAndOneElementHasIt) {
    EXPECT_TRUE(move(31, 31).consumed);
    EXPECT_TRUE(layout_.isHovered(button_));
    move(32, 31);
    EXPECT_FALSE(layout_.isHovered(button_));
    EXPECT_TRUE(layout_.isHovered(toggle_));
    EXPECT_FALSE(move(64, 31).consumed);
    EXPECT_FALSE(layout_.isHovered(toggle_));
    EXPECT_FALSE(move(5, 32).consumed);
}

TEST_F(LayoutButtons, WhileDraggingNothingElseIsHoveredOrClicked) {
    press(150, 16);
    drag(40, 16);
    EXPECT_FALSE(layout_.isHovered(toggle_));
    release(40, 16);
    EXPECT_EQ(log_, Lines{"value 0"});
    EXPECT_TRUE(layout_.isHovered(toggle_));
}

TEST_F(LayoutButtons, MotionWithoutTheButtonEndsAMissedPress) {
    press(5, 5);
    move(5, 6);
    EXPECT_FALSE(layout_.isPressed(button_));
    release(5, 6);
    EXPECT_TRUE(log_.empty());
}

TEST_F(LayoutButtons, SecondPressAfterAMissedReleaseForgetsTheFirst) {
    press(5, 5);
    press(40, 5);
    EXPECT_FALSE(layout_.isPressed(button_));
    release(5, 5);
    EXPECT_TRUE(log_.empty());
}

TEST_F(LayoutButtons, DisabledElementTakesTheMouseButNotTheClick) {
    layout_.setEnabled(button_, false);
    EXPECT_FALSE(layout_.isEnabled(button_));
    EXPECT_TRUE(press(5, 5).consumed);
    EXPECT_FALSE(layout_.isPressed(button_));
    EXPECT_TRUE(release(5, 5).consumed);
    EXPECT_TRUE(log_.empty());
    layout_.setEnabled(button_, true);
    EXPECT_TRUE(layout_.isEnabled(button_));
    press(5, 5);
    release(5, 5);
    EXPECT_EQ(log_, Lines{"click 0"});
}

TEST_F(LayoutButtons, DisablingEndsAPress) {
    press(5, 5);
    layout_.setEnabled(button_, false);
    layout_.setEnabled(button_, true);
    release(5, 5);
    EXPECT_TRUE(log_.empty());
}

TEST_F(LayoutButtons, InvisibleListTakesNoMouse) {
    press(150, 16);
    layout_.setVisible(false);
    EXPECT_FALSE(layout_.isDragged(slider_));
    EXPECT_FALSE(press(5, 5).consumed);
    release(5, 5);
    EXPECT_TRUE(log_.empty());
    EXPECT_FALSE(layout_.tip().has_value());
    layout_.setVisible(true);
    EXPECT_FALSE(layout_.isPressed(slider_));
}

TEST_F(LayoutButtons, CallbacksRunAfterTheCallAndMayUseTheList) {
    Layout own;
    bool ran = false;
    const int button = own.addButton({}, {10, 10, 0, 0}, [&](int element) {
        own.setEnabled(element, false);
        ran = true;
    });
    own.mouse({Action::LeftDown, 1, 1, true});
    const MouseResult result = own.mouse({Action::LeftUp, 1, 1, false});
    EXPECT_FALSE(ran);
    ASSERT_EQ(result.calls.size(), 1u);
    result.calls.front()();
    EXPECT_TRUE(ran);
    EXPECT_FALSE(own.isEnabled(button));
}

TEST_F(LayoutButtons, ElementsWithoutACallbackWork) {
    Layout own;
    own.addButton({}, {10, 10, 0, 0}, {});
    const int toggle = own.addToggle({}, {}, {10, 10, 10, 0}, {});
    for (const int x : {1, 11}) {
        own.mouse({Action::LeftDown, x, 1, true});
        EXPECT_TRUE(own.mouse({Action::LeftUp, x, 1, false}).calls.empty());
    }
    EXPECT_TRUE(own.toggled(toggle));
}

TEST_F(LayoutButtons, TipBelongsToTheElementUnderTheMouse) {
    EXPECT_FALSE(layout_.tip().has_value());
    move(5, 5);
    ASSERT_TRUE(layout_.tip().has_value());
    EXPECT_EQ(layout_.tip()->text, "Delete");
    EXPECT_EQ(layout_.tip()->geometry, (ui2::Geometry{32, 32, 0, 0}));
    layout_.setTip(button_, "Delete blur");
    EXPECT_EQ(layout_.tip()->text, "Delete blur");
    move(110, 2);
    EXPECT_FALSE(layout_.tip().has_value()) << "the slider has none";
}

TEST_F(LayoutButtons, PressedElementHasNoTipBeforeTheRelease) {
    press(5, 5);
    EXPECT_FALSE(layout_.tip().has_value());
    drag(6, 6);
    EXPECT_FALSE(layout_.tip().has_value());
    release(6, 6);
    EXPECT_TRUE(layout_.tip().has_value());
}

TEST_F(LayoutButtons, DisabledElementStillExplainsItself) {
    layout_.setEnabled(button_, false);
    move(5, 5);
    ASSERT_TRUE(layout_.tip().has_value());
    EXPECT_EQ(layout_.tip()->text, "Delete");
}

TEST_F(LayoutButtons, WrongIndicesAndKindsAreHarmless) {
    for (const int element : {-1, 3, button_}) {
        EXPECT_FALSE(layout_.toggled(element));
        EXPECT_EQ(layout_.slider(element).range, 0);
        layout_.setToggled(element, true);
        layout_.setValue(element, 7);
        layout_.setRange(element, 0, 7);
        EXPECT_FALSE(layout_.isDragged(element));
        EXPECT_EQ(layout_.knobCentre(element).x, 0.0f);
    }
    layout_.setGeometry(99, {1, 1, 1, 1});
    layout_.setEnabled(99, false);
    layout_.setTip(99, "x");
    EXPECT_FALSE(layout_.isEnabled(99));
    EXPECT_FALSE(layout_.isHovered(99));
    EXPECT_FALSE(layout_.isPressed(99));
}

TEST_F(LayoutButtons, DirtyFollowsEveryChange) {
    EXPECT_TRUE(layout_.isDirty());
    const auto makesDirty = [this](auto&& change) {
        layout_.clearDirty();
        change();
        return layout_.isDirty();
    };
    EXPECT_TRUE(makesDirty([this] { layout_.setGeometry(button_, {32, 32, 1, 0}); }));
    EXPECT_FALSE(makesDirty([this] { layout_.setGeometry(button_, {32, 32, 1, 0}); }));
    EXPECT_TRUE(makesDirty([this] { layout_.setValue(slider_, 51); }));
    EXPECT_FALSE(makesDirty([this] { layout_.setValue(slider_, 51); }));
    EXPECT_TRUE(makesDirty([this] { layout_.setRange(slider_, 0, 99); }));
    EXPECT_TRUE(makesDirty([this] { layout_.setToggled(toggle_, true); }));
    EXPECT_FALSE(makesDirty([this] { layout_.setToggled(toggle_, true); }));
    EXPECT_TRUE(makesDirty([this] { layout_.setEnabled(toggle_, false); }));
    EXPECT_TRUE(makesDirty([this] { layout_.setVisible(false); }));
    EXPECT_FALSE(makesDirty([this] { layout_.setVisible(false); }));
    EXPECT_TRUE(makesDirty([this] { layout_.markDirty(); }));
}

TEST(Tip, IsAnotherOneWithAnotherTextOrPlace) {
    const ui2::Tip tip{"Play", {32, 32, 0, 0}};
    EXPECT_EQ(tip, (ui2::Tip{"Play", {32, 32, 0, 0}}));
    EXPECT_NE(tip, (ui2::Tip{"Pause", {32, 32, 0, 0}}));
    EXPECT_NE(tip, (ui2::Tip{"Play", {32, 32, 0, 1}}));
}

TEST(Geometry, ContainsIsHalfOpenAndNeverOverflows) {
    const ui2::Geometry place{10, 20, 5, 6};
    EXPECT_TRUE(place.contains(5, 6));
    EXPECT_TRUE(place.contains(14, 25));
    EXPECT_FALSE(place.contains(15, 6));
    EXPECT_FALSE(place.contains(5, 26));
    EXPECT_FALSE(place.contains(4, 6));
    EXPECT_FALSE(place.contains(5, 5));
    EXPECT_FALSE((ui2::Geometry{-3, 4, 0, 0}).contains(-1, 1));
    EXPECT_FALSE((ui2::Geometry{10, 10, INT32_MIN, 0}).contains(INT32_MAX, 1));
}

} // namespace
