#include <functional>
#include <vector>

#include <gmock/gmock.h>
#include <wx/timer.h>

#include "canvas_hand.h"
#include "canvaseffects.h"
#include "canvasinteraction.h"
#include "commands.h"
#include "mainframe_fixture.h"
#include "videocanvas.h"

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr int kDialogs[] = {commands::kOpen, commands::kExport, commands::kLanguage};

/// What the button does that is held while a dialog comes up.
class MainFrameDialogs : public test::MainFrameTest {
protected:
    void SetUp() override { ASSERT_TRUE(test::parkPointer(*frame_)); }

    /// Chooses the command, and cancels its dialog after the call.
    void during(int command, const std::function<void()>& call) {
        int shown = 0;
        const auto show = [&] {
            ++shown;
            call();
        };
        dialogs_.duringFileDialogs(show);
        dialogs_.onOther([&](wxDialog*) {
            show();
            return wxID_CANCEL;
        });
        this->command(command);
        EXPECT_EQ(shown, 1) << command;
        dialogs_.duringFileDialogs({});
        dialogs_.onOther({});
    }
    /// The event loop runs on until a button that is down has been held long enough for a recording: this
    /// timer begins later than the canvas's, and is longer.
    static void outlastTheHold() {
        bool over = false;
        wxTimer timer;
        timer.Bind(wxEVT_TIMER, [&over](wxTimerEvent&) { over = true; });
        timer.StartOnce(2 * CanvasEffects::kHoldMilliseconds);
        EXPECT_TRUE(test::runUntil([&over] { return over; }));
    }
    void mouse(const wxEventTypeTag<wxMouseEvent>& type) {
        test::sendMouse(canvas(), type, test::middle(canvas()));
    }
};

} // namespace

TEST_F(MainFrameDialogs, AButtonHeldOnABlurBeginsNoRecordingUnderThem) {
    for (const int dialog : kDialogs) {
        openReady("plain.mp4");
        ASSERT_TRUE(test::press(canvas()));
        mouse(wxEVT_LEFT_UP);
        const int64_t id = upcomingBrushId() - 1;
        {
            const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
            for (int64_t frame = 2; frame <= 5; ++frame)
                blurtrack::addBlur(frame, {10, 10, 20, 20}, blurtrack::kBrushScore, id);
        }
        mouse(wxEVT_MOTION);
        mouse(wxEVT_LEFT_DOWN);
        during(dialog, outlastTheHold);
        EXPECT_THAT(test::framesWith(id), ElementsAre(1, 2, 3, 4, 5)) << dialog;
        EXPECT_EQ(blurCount(), 5u);
        EXPECT_THAT(log_.lines(), Not(Contains(StartsWith("[VideoCanvas] Continue blur while playing"))));
        mouse(wxEVT_LEFT_UP);
    }
}

TEST_F(MainFrameDialogs, ARecordingEndsBeforeThem) {
    for (const int dialog : kDialogs) {
        openReady("plain.mp4");
        ASSERT_TRUE(test::startRecording(canvas()));
        const int64_t id = upcomingBrushId() - 1;
        std::vector<int64_t> first;
        std::vector<int64_t> last;
        during(dialog, [&] {
            first = test::framesWith(id);
            outlastTheHold();
            last = test::framesWith(id);
        });
        EXPECT_EQ(first, last) << dialog;
        mouse(wxEVT_LEFT_UP);
    }
}
