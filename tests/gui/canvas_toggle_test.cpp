#include <memory>
#include <mutex>
#include <vector>

#include <gmock/gmock.h>
#include <wx/frame.h>

#include "blurtrack.h"
#include "canvas_hand.h"
#include "gui_support.h"
#include "support/event_list.h"
#include "support/log_capture.h"
#include "support/no_progress.h"
#include "support/scripted_decoder.h"
#include "switches.h"
#include "videocanvas.h"
#include "videoplayer.h"

TEST(CanvasToggle, PlaysAtTheFactorTimesTheVideosRateCutOffAfterwards) {
    const test::LogCapture log;
    test::NoProgress progress;
    test::EventList events;
    // The playback thread's while the player lives.
    std::vector<int64_t> periods;
    const auto decoder = std::make_shared<test::ScriptedDecoder>();
    decoder->fps = 2.9;
    switches::playbackSpeed = 4;

    auto* window = new wxFrame(nullptr, wxID_ANY, "canvas", wxDefaultPosition, wxSize(500, 400));
    auto* canvas = new VideoCanvas2(window, wxID_ANY, wxDefaultPosition, wxDefaultSize);
    window->Show();
    auto player = std::make_unique<VideoPlayer>(
        &progress, VideoPlayer::Pacing{[] { return std::chrono::steady_clock::time_point(); },
                                       [&](int64_t milliseconds) {
                                           periods.push_back(milliseconds);
                                           events.add("period");
                                       }});
    player->setOnReady([&] { events.add("ready"); });
    wxString error;
    ASSERT_TRUE(player->open(decoder, error));
    ASSERT_TRUE(events.waitFor("ready"));
    canvas->set(player.get());
    EXPECT_TRUE(test::parkPointer(*window));
    EXPECT_TRUE(test::startPlaying(*canvas, log));
    EXPECT_TRUE(events.waitFor("period"));
    canvas->set(nullptr);
    player.reset();
    window->Destroy();
    test::runPending();
    switches::playbackSpeed = 1;

    // 11 frames per second; cut off before, it would be 8, and rounded 12.
    EXPECT_THAT(periods, testing::Each(90));
}
