#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include <gmock/gmock.h>
#include <wx/frame.h>

#include "blurprocessors.h"
#include "canvasinteraction.h"
#include "commands.h"
#include "mainframe_fixture.h"
#include "switches.h"
#include "video_backend_ffmpeg.h"
#include "videocanvas.h"
#include "videoplayer.h"

namespace {

constexpr int kRounds = 20;

class NoProgress : public ISafeProgress {
public:
    void start(const wxString&, const wxString&, int32_t) override {}
    void update(int32_t, const wxString&) override {}
    void finish() override {}
};

void send(wxWindow& canvas, const wxEventTypeTag<wxMouseEvent>& type, wxPoint position) {
    wxMouseEvent event(type);
    event.SetPosition(position);
    event.SetEventObject(&canvas);
    event.m_leftDown = type == wxEVT_LEFT_DOWN;
    canvas.ProcessWindowEvent(event);
}

void click(wxWindow& canvas, wxPoint position) {
    send(canvas, wxEVT_LEFT_DOWN, position);
    send(canvas, wxEVT_LEFT_UP, position);
}

wxPoint playButton(const wxWindow& canvas) {
    return {16, canvas.GetClientSize().y - 16};
}

wxPoint timeline(const wxWindow& canvas, int percent) {
    return {60 + (canvas.GetClientSize().x - 180) * percent / 100, canvas.GetClientSize().y - 16};
}

wxPoint middle(const wxWindow& canvas) {
    return {canvas.GetClientSize().x / 2, canvas.GetClientSize().y / 2};
}

/// What may be under way when a canvas or its video goes away.
struct Doing {
    const char* name;
    /// Called with a canvas whose video is ready.
    void (*begin)(wxWindow& canvas);
};

const Doing kDoings[] = {
    {"nothing", [](wxWindow&) {}},
    {"playing", [](wxWindow& canvas) { click(canvas, playButton(canvas)); }},
    {"recording",
     [](wxWindow& canvas) {
         click(canvas, playButton(canvas));
         send(canvas, wxEVT_MOTION, middle(canvas));
         send(canvas, wxEVT_LEFT_DOWN, middle(canvas));
     }},
    {"seeking",
     [](wxWindow& canvas) {
         for (int percent = 0; percent <= 100; percent += 10)
             click(canvas, timeline(canvas, percent));
     }},
};

class CanvasRounds : public test::MainFrameTest {
protected:
    VideoCanvas2& canvas() const {
        for (wxWindow* child : frame_->GetChildren())
            if (auto* found = dynamic_cast<VideoCanvas2*>(child))
                return *found;
        throw std::logic_error("the main window has no canvas");
    }
    std::vector<int64_t> recordedFrames(int64_t id) const {
        std::vector<int64_t> frames;
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        for (const auto& [frame, entries] : blurtrack::store().frames)
            for (const auto& entry : entries)
                if (entry.id == id)
                    frames.push_back(frame);
        return frames;
    }
};

/// Mean difference of two pictures within a rectangle, per channel.
double difference(const pxl::Image& left, const pxl::Image& right, const blurtrack::BlurEntry& rect) {
    double sum = 0;
    for (int32_t y = rect.y; y < rect.y + rect.h; ++y)
        for (int32_t x = rect.x; x < rect.x + rect.w; ++x) {
            const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(left.width) +
                                   static_cast<std::size_t>(x);
            for (int shift = 0; shift < 24; shift += 8)
                sum += std::abs(static_cast<int>(left.pixels[at] >> shift & 255) -
                                static_cast<int>(right.pixels[at] >> shift & 255));
        }
    return sum / (3.0 * rect.w * rect.h);
}

} // namespace

TEST_F(CanvasRounds, OpeningAnotherVideoWhateverTheCanvasDoes) {
    for (const Doing& doing : kDoings)
        for (int round = 0; round < kRounds / 4; ++round) {
            openReady("plain.mp4");
            ASSERT_TRUE(isReady()) << doing.name;
            doing.begin(canvas());
            if (round % 2)
                test::runPending();
            openReady("odd_321x181.mp4");
            ASSERT_TRUE(isReady()) << doing.name;
        }
}

TEST_F(CanvasRounds, OpeningAnotherVideoDuringPreProcessing) {
    for (int round = 0; round < kRounds; ++round) {
        frame_->openVideo(clip("gop_250.mp4"));
        if (round % 2)
            test::runPending();
    }
    openReady("plain.mp4");
    EXPECT_TRUE(isReady());
}

TEST(CanvasWindow, ClosesWhateverTheCanvasDoes) {
    for (const Doing& doing : kDoings)
        for (int round = 0; round < kRounds / 4; ++round) {
            NoProgress progress;
            wxString error;
            auto* window = new wxFrame(nullptr, wxID_ANY, "canvas", wxDefaultPosition, wxSize(500, 400));
            auto* canvas = new VideoCanvas2(window, wxID_ANY, wxDefaultPosition, wxDefaultSize);
            window->Show();
            {
                VideoPlayer player(&progress);
                std::atomic<bool> scanned{false};
                player.setOnReady([&] { scanned = true; });
                ASSERT_TRUE(player.open(wxString::FromUTF8(test::mediaDir() + "/plain.mp4"), error));
                ASSERT_TRUE(test::runUntil([&] { return scanned.load(); }));
                canvas->set(&player);
                doing.begin(*canvas);
                if (round % 2)
                    test::runPending();
                if (round % 3 == 2)
                    canvas->set(nullptr);
                // The canvas lets go of a living player by itself.
                window->Destroy();
                test::runPending();
            }
        }
}

TEST_F(CanvasRounds, WhatIsRecordedIsWhatTheExportHides) {
    openReady("plain.mp4");
    switches::brushSize = 60;
    const int64_t id = upcomingBrushId();
    wxWindow& window = canvas();
    const wxPoint place = middle(window);
    send(window, wxEVT_MOTION, place);
    // The first frame must be there before it can be painted on.
    ASSERT_TRUE(test::runUntil([&] {
        send(window, wxEVT_MOTION, place);
        return upcomingBrushId() > id;
    }));
    send(window, wxEVT_LEFT_DOWN, place);
    ASSERT_TRUE(test::runUntil([&] { return recordedFrames(id).size() > 20; }));
    send(window, wxEVT_LEFT_UP, place);
    const std::vector<int64_t> frames = recordedFrames(id);
    for (std::size_t i = 0; i < frames.size(); ++i)
        ASSERT_EQ(frames[i], static_cast<int64_t>(i) + 1) << "one rectangle per frame, none missing";
    EXPECT_TRUE(log_.contains("[VideoPlayer] stop"));

    const wxString path = wxString::FromUTF8(folder_.file("recorded.mp4"));
    frame_->exportTo(path);
    ASSERT_TRUE(test::runUntil([this] { return !frame_->refusesVideos(); }));
    ASSERT_TRUE(dialogs_.boxes.empty());

    Decoder_ffmpeg source;
    Decoder_ffmpeg exported;
    ASSERT_TRUE(source.open(clip("plain.mp4")));
    ASSERT_TRUE(exported.open(path));
    const blurtrack::BlurEntry rect = blurtrack::entriesAt(1).at(0);
    pxl::Image clear(320, 180);
    pxl::Image written(320, 180);
    pxl::Image mosaic(320, 180);
    for (int64_t frame = 1; frame <= static_cast<int64_t>(frames.size()) + 10; ++frame) {
        ASSERT_TRUE(source.next() && source.convert(clear));
        ASSERT_TRUE(exported.next() && exported.convert(written));
        pixelate(clear, mosaic.pixels, mosaicBlockSize(320, 180, kExportBlurDivisor));
        const bool hidden = difference(written, mosaic, rect) < difference(written, clear, rect);
        EXPECT_EQ(hidden, frame <= static_cast<int64_t>(frames.size())) << "frame " << frame;
    }
}
