#include <chrono>
#include <memory>

#include "canvas_hand.h"
#include "commands.h"
#include "mainframe_fixture.h"
#include "switches.h"
#include "videocanvas.h"

namespace {

/// Commands that change the picture while the mouse stands still elsewhere.
class CanvasChanges : public test::MainFrameTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(test::parkPointer(*frame_));
        canvas().Bind(wxEVT_PAINT, [paints = paints_](wxPaintEvent& event) {
            ++*paints;
            event.Skip();
        });
        openReady("plain.mp4");
        ASSERT_TRUE(test::runUntil([this] { return log_.contains("[VideoPlayerThread] Seek to frame 1"); }));
    }
    /// Whether the canvas is painted because of `change`, and not of anything before it.
    template <typename Change>
    bool paintsAfter(const Change& change) {
        using Clock = std::chrono::steady_clock;
        int seen = -1;
        auto quietSince = Clock::now();
        const bool quiet = test::runUntil([&] {
            if (*paints_ != seen) {
                seen = *paints_;
                quietSince = Clock::now();
            }
            return Clock::now() - quietSince > std::chrono::milliseconds(300);
        });
        change();
        return quiet && test::runUntil([&] { return *paints_ > seen; });
    }
    void store(int64_t id, int32_t score) const {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        blurtrack::addBlur(1, {130, 60, 60, 60}, score, id);
    }

private:
    /// Shared with the handler, which lives as long as the window.
    std::shared_ptr<int> paints_ = std::make_shared<int>(0);
};

} // namespace

TEST_F(CanvasChanges, ResetPaintsThePictureAnew) {
    store(7, blurtrack::kBrushScore);
    EXPECT_TRUE(paintsAfter([this] { command(commands::kResetAll); }));
    EXPECT_EQ(blurCount(), 0u);
}

TEST_F(CanvasChanges, AThresholdPaintsThePictureAnew) {
    store(blurtrack::kAnonymousBlurId, 65);
    for (const int32_t percent : {70, 60}) {
        EXPECT_TRUE(paintsAfter([&] { command(*commands::thresholdItem(percent)); })) << percent;
        EXPECT_EQ(switches::confidenceThreshold, percent);
    }
}

TEST_F(CanvasChanges, AModePaintsThePictureAnew) {
    for (const int mode : {commands::kUnblurMode, commands::kBlurMode})
        EXPECT_TRUE(paintsAfter([&] { command(mode); })) << mode;
}

TEST_F(CanvasChanges, DeletingTheSelectedBlurPaintsThePictureAnewWithoutAMotion) {
    ASSERT_TRUE(test::press(canvas()));
    test::sendMouse(canvas(), wxEVT_LEFT_UP, test::middle(canvas()));
    ASSERT_EQ(blurCount(), 1u);
    const wxPoint button = wxPoint(0, 0) + canvas().GetClientSize() - wxSize(16, 16);
    EXPECT_TRUE(paintsAfter([&] { test::click(canvas(), button); }));
    EXPECT_EQ(blurCount(), 0u);
}
