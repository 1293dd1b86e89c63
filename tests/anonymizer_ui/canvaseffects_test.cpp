#include "canvaseffects.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "canvas_fixture.h"
#include "hints.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Writes down what it is asked for.
class Window : public CanvasActions {
public:
    void stopHoldTimer() override { steps.emplace_back("stop timer"); }
    void startHoldTimer() override { steps.emplace_back("start timer"); }
    void clearLayoutHover() override { steps.emplace_back("layout"); }
    void play(int fps) override { steps.push_back("play " + std::to_string(fps)); }
    void tellHint(const CanvasEffects::Hint& hint) override {
        steps.push_back("hint " + std::to_string(hint.key));
    }
    void stop() override { steps.emplace_back("stop"); }
    void seek(int64_t frame) override { steps.push_back("seek " + std::to_string(frame)); }
    void repaint() override { steps.emplace_back("repaint"); }
    void tellBlurLost() override { steps.emplace_back("lost"); }

    std::vector<std::string> steps;
};

TEST(CanvasEffects, NothingAskedForNothingDone) {
    Window window;
    carryOut({}, window);
    EXPECT_THAT(window.steps, IsEmpty());
}

TEST(CanvasEffects, EverythingComesInItsOrder) {
    CanvasEffects effects;
    effects.stopTimer = effects.startTimer = effects.clearLayoutHover = effects.repaint = effects.blurLost =
        true;
    effects.playFps = 25;
    effects.hint = CanvasEffects::Hint{kHintRecording, 7};
    effects.stopAndSeekTo = 12;
    Window window;
    carryOut(effects, window);
    EXPECT_THAT(window.steps, ElementsAre("stop timer", "start timer", "layout", "play 25", "hint 4", "stop",
                                          "seek 12", "repaint", "lost"));
}

TEST(CanvasEffects, HintTakesTheLineOverAndGivesItBack) {
    showOnHintLine({kHintRecording, 7});
    EXPECT_TRUE(switches::hintOverride);
    showOnHintLine({});
    EXPECT_FALSE(switches::hintOverride);
    showOnHintLine({kHintSelected, 7});
    EXPECT_TRUE(switches::hintOverride);
    showOnHintLine({});
    EXPECT_FALSE(switches::hintOverride);
}

TEST_F(Canvas, HoldLooksAfterTheLayoutThenPlaysThenTellsTheBlur) {
    move(100, 100);
    press(100, 100);
    Window window;
    carryOut(hold(29.97), window);
    EXPECT_THAT(window.steps, ElementsAre("layout", "play 29", "hint 4", "repaint"));
}

TEST_F(Canvas, ReleaseStopsTheTimerThenThePlayerThenSeeks) {
    move(100, 100);
    press(100, 100);
    hold();
    show(11);
    Window window;
    carryOut(release(100, 100), window);
    EXPECT_THAT(window.steps, ElementsAre("stop timer", "hint 5", "stop", "seek 11", "repaint"));
}

} // namespace
