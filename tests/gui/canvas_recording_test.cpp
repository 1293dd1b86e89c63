#include <algorithm>
#include <cstdlib>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "ai_doriq.h"
#include "blurprocessors.h"
#include "canvas_hand.h"
#include "canvasinteraction.h"
#include "commands.h"
#include "hints.h"
#include "mainframe_fixture.h"
#include "support/ai_folder.h"
#include "switches.h"
#include "video_backend_ffmpeg.h"
#include "videocanvas.h"

using testing::ElementsAre;
using testing::StartsWith;

namespace {

class CanvasRecording : public test::MainFrameTest {
protected:
    void SetUp() override { ASSERT_TRUE(test::parkPointer(*frame_)); }
    void record() {
        ASSERT_TRUE(test::startRecording(canvas()));
        id_ = upcomingBrushId() - 1;
    }
    void release() { test::sendMouse(canvas(), wxEVT_LEFT_UP, test::middle(canvas())); }
    /// Frames 1, 2, 3 … without a gap.
    void expectOneRectanglePerFrame(const std::vector<int64_t>& frames) const {
        for (std::size_t i = 0; i < frames.size(); ++i)
            ASSERT_EQ(frames[i], static_cast<int64_t>(i) + 1) << "one rectangle per frame, none missing";
    }
    void waitForTheWorker() {
        ASSERT_TRUE(test::runUntil([this] { return !frame_->refusesVideos(); }));
        test::runPending();
    }

    int64_t id_ = blurtrack::kNoBlurId;
};

/// With a detection library that finds nothing.
class CanvasDetection : public CanvasRecording {
protected:
    CanvasDetection() {
        ai_.installFake("");
        ai::init();
    }
    ~CanvasDetection() override {
        const test::AiFolder empty;
        ai::init();
    }

private:
    test::AiFolder ai_;
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

TEST_F(CanvasRecording, IsWhatTheExportHides) {
    openReady("plain.mp4");
    switches::brushSize = 60;
    record();
    ASSERT_TRUE(test::runUntil([&] { return test::framesWith(id_).size() > 20; }));
    release();
    const std::vector<int64_t> frames = test::framesWith(id_);
    expectOneRectanglePerFrame(frames);
    // On a busy machine the video may have ended first, and the recording with it.
    const int64_t frameCount = static_cast<int64_t>(storedFrames()) - 1;
    const auto lastRecorded = static_cast<int64_t>(frames.size());
    EXPECT_TRUE(lastRecorded == frameCount || log_.contains("[VideoPlayer] stop"));

    const wxString path = wxString::FromUTF8(folder_.file("recorded.mp4"));
    frame_->exportTo(path);
    waitForTheWorker();
    ASSERT_TRUE(dialogs_.boxes.empty());

    Decoder_ffmpeg source;
    Decoder_ffmpeg exported;
    ASSERT_TRUE(source.open(clip("plain.mp4")));
    ASSERT_TRUE(exported.open(path));
    // The window manager may give the window its size while the recording runs: then the brush moves.
    blurtrack::BlurEntry rect;
    pxl::Image clear(320, 180);
    pxl::Image written(320, 180);
    pxl::Image mosaic(320, 180);
    for (int64_t frame = 1; frame <= std::min(lastRecorded + 10, frameCount); ++frame) {
        const bool recorded = frame <= lastRecorded;
        if (recorded)
            rect = blurtrack::entriesAt(frame).at(0);
        ASSERT_TRUE(source.next() && source.convert(clear));
        ASSERT_TRUE(exported.next() && exported.convert(written));
        pixelate(clear, mosaic.pixels, mosaicBlockSize(320, 180, kExportBlurDivisor));
        const bool hidden = difference(written, mosaic, rect) < difference(written, clear, rect);
        EXPECT_EQ(hidden, recorded) << "frame " << frame;
    }
}

TEST_F(CanvasRecording, EndsWithPlayingWhenAnExportBegins) {
    openReady("plain.mp4");
    record();
    frame_->exportTo(wxString::FromUTF8(folder_.file("out.mp4")));
    EXPECT_TRUE(log_.contains("[VideoPlayerThread] Stop Play")) << "before anything else happens";
    const std::vector<int64_t> frames = test::framesWith(id_);
    expectOneRectanglePerFrame(frames);
    waitForTheWorker();
    release();
    test::runPending();
    EXPECT_EQ(test::framesWith(id_), frames);
}

TEST_F(CanvasRecording, PlayingEndsWhenAnExportBegins) {
    openReady("plain.mp4");
    ASSERT_TRUE(test::startPlaying(canvas(), log_));
    frame_->exportTo(wxString::FromUTF8(folder_.file("out.mp4")));
    EXPECT_TRUE(log_.contains("[VideoPlayerThread] Stop Play"));
    waitForTheWorker();
}

TEST_F(CanvasDetection, EndsRecordingAndPlayingWhenItBegins) {
    openReady("plain.mp4");
    record();
    wxCommandEvent none;
    frame_->OnAI(none);
    EXPECT_TRUE(log_.contains("[VideoPlayerThread] Stop Play")) << "before anything else happens";
    const std::vector<int64_t> frames = test::framesWith(id_);
    expectOneRectanglePerFrame(frames);
    waitForTheWorker();
    release();
    test::runPending();
    EXPECT_EQ(test::framesWith(id_), frames);
}

TEST_F(CanvasDetection, EndsPlayingWhenItsButtonIsClicked) {
    openReady("plain.mp4");
    ASSERT_TRUE(test::startPlaying(canvas(), log_));
    test::click(canvas(), test::aiButton(canvas()));
    ASSERT_TRUE(test::runUntil([this] { return frame_->refusesVideos(); }));
    EXPECT_TRUE(log_.contains("[VideoPlayerThread] Stop Play"));
    waitForTheWorker();
    EXPECT_TRUE(dialogs_.boxes.empty());
}

TEST_F(CanvasRecording, TellsItsBlurAndGivesTheLineBackToTheModesHint) {
    for (const int mode : {commands::kBlurMode, commands::kUnblurMode}) {
        openReady("plain.mp4");
        command(mode);
        const std::string modesHint =
            hintText(mode == commands::kUnblurMode ? kHintUnblurMode : kHintBlurMode).utf8_string();
        ASSERT_EQ(hint(), modesHint);
        record();
        EXPECT_EQ(hint(), hintTextForBlur(kHintRecording, id_).utf8_string());
        release();
        EXPECT_EQ(hint(), hintTextForBlur(kHintSelected, id_).utf8_string());
        // Away from the blur, and onto the picture again.
        test::sendMouse(canvas(), wxEVT_MOTION, test::middle(canvas()) - wxSize(100, 60));
        EXPECT_EQ(hint(), modesHint);
    }
}

TEST_F(CanvasRecording, KeepsTheLineThroughAChangeOfModeWhoseHintComesAfterIt) {
    openReady("plain.mp4");
    record();
    const std::string recording = hintTextForBlur(kHintRecording, id_).utf8_string();
    ASSERT_EQ(hint(), recording);
    command(commands::kUnblurMode);
    EXPECT_EQ(hint(), recording);
    test::sendMouse(canvas(), wxEVT_LEAVE_WINDOW, wxPoint(-1, 5));
    EXPECT_EQ(hint(), hintText(kHintUnblurMode).utf8_string());
}

TEST_F(CanvasRecording, LeavingThePictureGivesTheLineBackToTheModesHint) {
    openReady("plain.mp4");
    command(commands::kUnblurMode);
    record();
    ASSERT_EQ(hint(), hintTextForBlur(kHintRecording, id_).utf8_string());
    test::sendMouse(canvas(), wxEVT_LEAVE_WINDOW, wxPoint(-1, 5));
    EXPECT_EQ(hint(), hintText(kHintUnblurMode).utf8_string());
    EXPECT_TRUE(log_.contains("[VideoPlayerThread] Stop Play"));
}

TEST_F(CanvasRecording, BrushFollowsEveryWheelUpOrDownAndSideways) {
    openReady("plain.mp4");
    switches::brushSize = 32;
    ASSERT_TRUE(test::runUntil([this] { return log_.contains("[VideoPlayerThread] Seek to frame 1"); }));
    const auto turn = [this](int axis, int rotation) {
        wxMouseEvent event(wxEVT_MOUSEWHEEL);
        event.m_wheelAxis = static_cast<wxMouseWheelAxis>(axis);
        event.m_wheelRotation = rotation;
        event.SetEventObject(&canvas());
        canvas().ProcessWindowEvent(event);
        return switches::brushSize.load();
    };
    // The first picture may still be on its way.
    ASSERT_TRUE(test::runUntil([&] { return turn(wxMOUSE_WHEEL_VERTICAL, 120) == 48; }));
    EXPECT_EQ(turn(wxMOUSE_WHEEL_HORIZONTAL, 7), 64);
    EXPECT_EQ(turn(wxMOUSE_WHEEL_HORIZONTAL, -240), 48);
    EXPECT_EQ(turn(wxMOUSE_WHEEL_VERTICAL, -1), 32);
}

/// The first picture under the brush, and a press on it while the blurs are in use.
class CanvasHeldStore : public CanvasRecording {
protected:
    void pressWhileHeld(const std::function<void()>& action) {
        openReady("plain.mp4");
        ASSERT_TRUE(test::runUntil([this] {
            test::sendMouse(canvas(), wxEVT_MOTION, test::middle(canvas()));
            return upcomingBrushId() > id_ + 1;
        }));
        std::promise<void> held;
        std::promise<void> enough;
        std::thread holder([&] {
            const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
            held.set_value();
            enough.get_future().wait();
        });
        held.get_future().wait();
        test::sendMouse(canvas(), wxEVT_LEFT_DOWN, test::middle(canvas()));
        action();
        enough.set_value();
        holder.join();
    }
    void SetUp() override {
        CanvasRecording::SetUp();
        id_ = upcomingBrushId() - 1;
    }
};

TEST_F(CanvasHeldStore, GetsTheBlurAsSoonAsItIsFree) {
    pressWhileHeld([this] { release(); });
    EXPECT_TRUE(test::runUntil([this] { return blurCount() == 1; })) << "without another move of the mouse";
    EXPECT_TRUE(bars().empty());
}

TEST_F(CanvasHeldStore, TellsOfABlurThatIsNotThereAsAnExportBegins) {
    pressWhileHeld([this] { canvas().pause(); });
    EXPECT_THAT(bars(), ElementsAre(StartsWith("The last blur could not be stored completely.")));
    release();
    test::runPending();
    EXPECT_EQ(blurCount(), 0u);
}

TEST_F(CanvasRecording, OfOneFrameEndsOnIt) {
    openReady("one_frame.mp4");
    ASSERT_TRUE(test::press(canvas()));
    id_ = upcomingBrushId() - 1;
    ASSERT_TRUE(test::runUntil([this] { return log_.contains("[VideoPlayerThread] Play"); }));
    release();
    test::runPending();
    EXPECT_THAT(test::framesWith(id_), ElementsAre(1));
    EXPECT_TRUE(dialogs_.boxes.empty());
}

TEST_F(CanvasRecording, OfAPictureOfOddSizeStaysInside) {
    openReady("odd_321x181.mp4");
    switches::brushSize = 165;
    record();
    release();
    const std::vector<int64_t> frames = test::framesWith(id_);
    expectOneRectanglePerFrame(frames);
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    for (const int64_t frame : frames) {
        const blurtrack::BlurEntry& entry = blurtrack::entriesAt(frame).at(0);
        EXPECT_EQ(entry.w, 165);
        EXPECT_EQ(entry.h, 165);
        EXPECT_LE(entry.x + entry.w, 321);
        EXPECT_LE(entry.y + entry.h, 181);
    }
}

TEST_F(CanvasRecording, OfALineThatIsWiderThanTheScreen) {
    openReady("wide_8192x16.mp4");
    EXPECT_EQ(switches::brushSize, 1);
    record();
    release();
    const std::vector<int64_t> frames = test::framesWith(id_);
    expectOneRectanglePerFrame(frames);
    EXPECT_TRUE(dialogs_.boxes.empty());
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    EXPECT_EQ(blurtrack::entriesAt(1).at(0).w, 1);
    EXPECT_NEAR(blurtrack::entriesAt(1).at(0).x, 8192 / 2, 8192 / canvas().GetClientSize().x + 1);
}

TEST_F(CanvasRecording, ASinglePixelHasNoRoomForABrush) {
    openReady("one_pixel.mp4");
    EXPECT_EQ(switches::brushSize, 0);
    const int64_t id = upcomingBrushId();
    ASSERT_TRUE(test::runUntil([&] {
        test::sendMouse(canvas(), wxEVT_MOTION, test::middle(canvas()));
        return upcomingBrushId() > id;
    }));
    test::sendMouse(canvas(), wxEVT_LEFT_DOWN, test::middle(canvas()));
    ASSERT_TRUE(test::runUntil([this] { return log_.contains("[VideoPlayerThread] Play"); }));
    EXPECT_EQ(hint(), hintText(kHintBlurMode).utf8_string()) << "no blur is recorded";
    release();
    test::runPending();
    EXPECT_EQ(blurCount(), 0u);
    EXPECT_TRUE(dialogs_.boxes.empty());
}

TEST_F(CanvasRecording, AVideoThatTheDriverCannotShowIsToldOnce) {
    const std::string told = "Error: The graphics driver refuses pictures of this video's size.";
    openReady("wide_16400x16.mov");
    ASSERT_TRUE(test::runUntil([this] { return !dialogs_.boxes.empty(); }));
    EXPECT_THAT(dialogs_.boxes, ElementsAre(StartsWith(told)));
    // Neither another frame nor another paint says it again.
    test::click(canvas(), test::timeline(canvas(), 50));
    canvas().Refresh();
    test::runPending();
    EXPECT_EQ(dialogs_.boxes.size(), 1u);
    openReady("plain.mp4");
    record();
    release();
    EXPECT_EQ(dialogs_.boxes.size(), 1u) << "the next video is shown";
    EXPECT_THAT(log_.lines(wxLOG_Error),
                ElementsAre("[VideoCanvas] The graphics driver refuses a texture of 16400 x 16"));
    openReady("wide_16400x16.mov");
    EXPECT_TRUE(test::runUntil([this] { return dialogs_.boxes.size() == 2; }))
        << "and the other one told anew";
}
