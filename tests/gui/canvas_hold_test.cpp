#include <algorithm>
#include <atomic>
#include <future>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <wx/frame.h>
#include <wx/timer.h>

#include "blurtrack.h"
#include "canvas_hand.h"
#include "canvasinteraction.h"
#include "gui_support.h"
#include "support/event_list.h"
#include "support/log_capture.h"
#include "support/no_progress.h"
#include "support/scripted_decoder.h"
#include "videocanvas.h"
#include "videoplayer.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

TEST(CanvasHold, BeginsAnewUntilTheSeekUnderWayHasEnded) {
    const test::LogCapture log;
    test::NoProgress progress;
    test::EventList events;
    std::promise<void> gate;
    const auto decoder = std::make_shared<test::ScriptedDecoder>();
    decoder->width = 320;
    decoder->height = 180;
    decoder->endless = true;
    std::atomic<int64_t> sought{0};
    decoder->onSeek = [&events, &sought, opened = gate.get_future().share()](int64_t frame) {
        if (frame == 1)
            return;
        sought = frame;
        events.add("seeking");
        opened.wait();
    };
    blurtrack::clear();
    blurtrack::initFrames(100);

    auto* window = new wxFrame(nullptr, wxID_ANY, "canvas", wxDefaultPosition, wxSize(500, 400));
    auto* canvas = new VideoCanvas2(window, wxID_ANY, wxDefaultPosition, wxDefaultSize);
    window->Show();
    auto player = std::make_unique<VideoPlayer>(&progress);
    player->setOnReady([&] { events.add("ready"); });
    wxString error;
    ASSERT_TRUE(player->open(decoder, error));
    ASSERT_TRUE(events.waitFor("ready"));
    canvas->set(player.get());
    int holds = 0;
    canvas->Bind(wxEVT_TIMER, [&](wxTimerEvent& event) {
        ++holds;
        event.Skip();
    });
    const auto recordings = [&log] {
        auto lines = log.lines();
        const auto isOther = [](const std::string& line) {
            return line.rfind("[VideoCanvas] Continue blur while playing", 0) != 0;
        };
        lines.erase(std::remove_if(lines.begin(), lines.end(), isOther), lines.end());
        return lines;
    };
    EXPECT_TRUE(test::parkPointer(*window));
    // The first picture, and a brush on it.
    const int64_t before = upcomingBrushId();
    EXPECT_TRUE(test::runUntil([&] {
        test::sendMouse(*canvas, wxEVT_MOTION, test::middle(*canvas));
        return upcomingBrushId() > before;
    }));

    test::click(*canvas, test::timeline(*canvas, 50));
    EXPECT_TRUE(events.waitFor("seeking"));
    test::sendMouse(*canvas, wxEVT_MOTION, test::middle(*canvas));
    test::sendMouse(*canvas, wxEVT_LEFT_DOWN, test::middle(*canvas));
    EXPECT_TRUE(test::runUntil([&] { return holds >= 2; }));
    EXPECT_THAT(recordings(), IsEmpty());
    gate.set_value();
    EXPECT_TRUE(test::runUntil([&] { return !recordings().empty(); }));
    EXPECT_THAT(recordings(), ElementsAre(EndsWith(" frame: " + std::to_string(sought)))) << "no way back";

    test::sendMouse(*canvas, wxEVT_LEFT_UP, test::middle(*canvas));
    canvas->set(nullptr);
    player.reset();
    window->Destroy();
    test::runPending();
    blurtrack::clear();
}
