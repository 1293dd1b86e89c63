#include "canvasinteraction.h"

#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wx/string.h>

#include "hints.h"
#include "support/log_capture.h"
#include "switches.h"

namespace {

using blurtrack::kNoBlurId;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string format(const char* text, int64_t id, int64_t frame) {
    return wxString::Format(text, static_cast<long long>(id), static_cast<long long>(frame)).utf8_string();
}

/// A picture of 320 × 240 shown pixel for pixel, so that window and video coordinates agree.
class Canvas : public testing::Test {
protected:
    Canvas() {
        blurtrack::clear();
        blurtrack::initFrames(1000);
        switches::brushSize = 32;
        switches::playbackSpeed = 1;
        canvas.resize({320, 240 + view::kControlBarHeight});
        show(10);
    }
    ~Canvas() override {
        blurtrack::clear();
        switches::brushSize = 32;
        switches::playbackSpeed = 1;
    }

    void show(int64_t index, int32_t width = 320, int32_t height = 240) {
        auto frame = std::make_shared<VideoPlayer::Frame>();
        frame->index = index;
        frame->image = pxl::Image(width, height);
        canvas.deliver(frame);
    }
    CanvasEffects send(CanvasMouse::Kind kind, int x, int y, int wheel = 0) {
        if (kind == CanvasMouse::LeftDown || kind == CanvasMouse::LeftUp)
            buttonHeld = kind == CanvasMouse::LeftDown;
        return canvas.figureOutState({kind, {x, y}, wheel, false, buttonHeld}, playing);
    }
    CanvasEffects move(int x, int y) { return send(CanvasMouse::Motion, x, y); }
    CanvasEffects press(int x, int y) { return send(CanvasMouse::LeftDown, x, y); }
    CanvasEffects release(int x, int y) { return send(CanvasMouse::LeftUp, x, y); }
    CanvasEffects leave() { return send(CanvasMouse::Leave, -1, 5); }
    CanvasEffects hold(double fps = 25) { return canvas.onHold(true, fps, seekPending); }

    /// Paints a blur by a click and moves away, leaving it selected.
    int64_t paintedAt(int x, int y) {
        const int64_t id = upcomingBrushId();
        move(x, y);
        press(x, y);
        release(x, y);
        return id;
    }
    /// A blur that the mouse knows nothing of.
    static void put(int64_t frame, int64_t id, float x, float y, float size = 40) {
        blurtrack::addBlur(frame, {x, y, size, size}, 100, id);
    }
    static std::vector<int64_t> framesOf(int64_t id) {
        std::vector<int64_t> frames;
        for (const auto& [frame, entries] : blurtrack::store().frames)
            for (const auto& entry : entries)
                if (entry.id == id)
                    frames.push_back(frame);
        return frames;
    }
    bool brushShown() const { return canvas.picture().brushShown; }
    bool hovering() const { return canvas.picture().hovering; }

    test::LogCapture log;
    CanvasInteraction canvas;
    bool playing = false;
    bool buttonHeld = false;
    bool seekPending = false;
};

// --- motion

TEST_F(Canvas, MotionOverFreePictureStartsANewBrush) {
    const int64_t id = upcomingBrushId();
    move(100, 100);
    EXPECT_TRUE(brushShown());
    EXPECT_EQ(canvas.picture().brushSize, 32);
    EXPECT_EQ(upcomingBrushId(), id + 1);
    EXPECT_TRUE(log.contains("[VideoCanvas] New Blur Brush id: " + std::to_string(id)));
}

TEST_F(Canvas, BrushFollowsTheMouseWhilePaused) {
    move(100, 100);
    const int64_t next = upcomingBrushId();
    move(120, 90);
    EXPECT_EQ(canvas.picture().brushPosition.x, 120);
    EXPECT_EQ(canvas.picture().brushPosition.y, 90);
    EXPECT_EQ(upcomingBrushId(), next);
}

TEST_F(Canvas, BrushOverABlurGivesWayToTheHighlight) {
    put(10, 700, 200, 100);
    move(100, 100);
    const CanvasEffects effects = move(210, 110);
    EXPECT_FALSE(brushShown());
    EXPECT_TRUE(hovering());
    EXPECT_EQ(canvas.picture().hoverId, 700);
    ASSERT_TRUE(effects.hint);
    EXPECT_EQ(effects.hint->key, kHintSelected);
    EXPECT_EQ(effects.hint->blurId, 700);
}

TEST_F(Canvas, SelectionStaysWhileTheMouseGoesToTheDeleteButton) {
    put(10, 700, 200, 100);
    move(210, 110);
    move(50, 50);
    EXPECT_TRUE(hovering());
    move(310, 250);
    leave();
    EXPECT_TRUE(hovering());
    EXPECT_FALSE(brushShown());
}

TEST_F(Canvas, MotionOutsideHidesTheBrushAndKeepsThePlayer) {
    move(100, 100);
    playing = true;
    const CanvasEffects effects = move(100, 260);
    EXPECT_FALSE(brushShown());
    EXPECT_EQ(effects.stopAndSeekTo, 0);
}

TEST_F(Canvas, MotionOnTheControlsIsOutsideThoughTheMappingSaysInside) {
    move(100, 100);
    canvas.figureOutState({CanvasMouse::Motion, {100, 239}, 0, true}, false);
    EXPECT_FALSE(brushShown());
    move(100, 239);
    EXPECT_TRUE(brushShown());
}

TEST_F(Canvas, GapsOfTheControlBarAreNoPictureThoughTheirFirstRowMapsInside) {
    ASSERT_TRUE(canvas.mapping().inside({100, 240}));
    move(100, 100);
    move(100, 240);
    EXPECT_FALSE(brushShown());
    // The brush stays on the screen for a click that no motion came before.
    move(100, 239);
    ASSERT_TRUE(brushShown());
    EXPECT_FALSE(press(100, 240).startTimer);
    EXPECT_THAT(blurtrack::entriesAt(10), IsEmpty());
    playing = true;
    EXPECT_EQ(release(100, 240).stopAndSeekTo, 0);
}

TEST_F(Canvas, RowBelowAPictureThatLeavesRoomIsInside) {
    canvas.resize({320, 300 + view::kControlBarHeight});
    move(100, 270);
    EXPECT_TRUE(brushShown());
    move(100, 271);
    EXPECT_FALSE(brushShown());
}

TEST_F(Canvas, MotionWhilePlayingMovesTheBrushOverBlursToo) {
    put(10, 700, 200, 100);
    move(100, 100);
    playing = true;
    move(210, 110);
    EXPECT_TRUE(brushShown());
    EXPECT_FALSE(hovering());
    EXPECT_EQ(canvas.picture().brushPosition.x, 210);
}

TEST_F(Canvas, MotionWhilePlayingWithoutBrushTestsThenStartsOne) {
    put(10, 700, 200, 100);
    playing = true;
    move(210, 110);
    EXPECT_TRUE(hovering());
    EXPECT_FALSE(brushShown());
    move(50, 50);
    EXPECT_FALSE(hovering());
    EXPECT_TRUE(brushShown());
}

TEST_F(Canvas, DetectionsAreNoHitAndHideNoBlurBelowThem) {
    put(10, 700, 200, 100);
    blurtrack::addBlur(10, {200, 100, 60, 60}, 90, blurtrack::kAnonymousBlurId);
    blurtrack::addBlur(10, {20, 20, 60, 60}, 90, blurtrack::kAnonymousBlurId);
    move(210, 110);
    EXPECT_EQ(canvas.picture().hoverId, 700);
    leave();
    press(30, 30);
    EXPECT_FALSE(hovering());
    EXPECT_TRUE(brushShown());
}

TEST_F(Canvas, TopmostBlurIsHit) {
    put(10, 700, 200, 100);
    put(10, 701, 210, 110);
    move(215, 115);
    EXPECT_EQ(canvas.picture().hoverId, 701);
}

TEST_F(Canvas, HitTestIsHalfOpen) {
    put(10, 700, 200, 100);
    move(240, 110);
    EXPECT_FALSE(hovering());
    EXPECT_TRUE(brushShown());
    move(239, 139);
    EXPECT_TRUE(hovering());
}

// --- wheel

TEST_F(Canvas, WheelChangesTheSwitchAndTheShownBrush) {
    move(100, 100);
    send(CanvasMouse::Wheel, 100, 100, 240);
    EXPECT_EQ(switches::brushSize, 48);
    EXPECT_EQ(canvas.picture().brushSize, 48);
    send(CanvasMouse::Wheel, 100, 100, -1);
    EXPECT_EQ(switches::brushSize, 32);
}

TEST_F(Canvas, WheelWithHiddenBrushActsOnTheNextBrush) {
    send(CanvasMouse::Wheel, 100, 100, 1);
    EXPECT_EQ(switches::brushSize, 48);
    move(100, 100);
    EXPECT_EQ(canvas.picture().brushSize, 48);
}

TEST_F(Canvas, WheelWithoutPictureDoesNothing) {
    canvas.reset();
    send(CanvasMouse::Wheel, 100, 100, 1);
    EXPECT_EQ(switches::brushSize, 32);
}

// --- leave

TEST_F(Canvas, LeavingHidesTheBrushAndStopsTheTimer) {
    move(100, 100);
    const CanvasEffects effects = leave();
    EXPECT_FALSE(brushShown());
    EXPECT_TRUE(effects.stopTimer);
    EXPECT_EQ(effects.stopAndSeekTo, 0);
}

TEST_F(Canvas, LeavingWhilePlayingWithoutRecordingPlaysOn) {
    move(100, 100);
    playing = true;
    EXPECT_EQ(leave().stopAndSeekTo, 0);
}

TEST_F(Canvas, LeavingEndsRecordingAndSeeksToTheLastRecordedFrame) {
    playing = true;
    move(100, 100);
    press(100, 100);
    show(11);
    const CanvasEffects effects = leave();
    EXPECT_FALSE(canvas.recording());
    EXPECT_EQ(effects.stopAndSeekTo, 11);
}

// --- press and release while paused

TEST_F(Canvas, PressPaintsTheBrushSquareAndStartsTheTimer) {
    move(100, 100);
    const int64_t id = upcomingBrushId() - 1;
    const CanvasEffects effects = press(101, 102);
    EXPECT_TRUE(effects.startTimer);
    const auto& entries = blurtrack::entriesAt(10);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].id, id);
    EXPECT_EQ(entries[0].x, 85);
    EXPECT_EQ(entries[0].y, 86);
    EXPECT_EQ(entries[0].w, 32);
    EXPECT_EQ(entries[0].h, 32);
    EXPECT_EQ(entries[0].score, 100);
    EXPECT_TRUE(
        log.contains(format("[VideoCanvas] New Blur id:%lld frame: %lld", id, 10) + "(85, 86, 32, 32)"));
}

TEST_F(Canvas, ReleaseOverThePaintedBlurSelectsItAndStopsTheTimer) {
    move(100, 100);
    press(100, 100);
    const CanvasEffects effects = release(100, 100);
    EXPECT_TRUE(effects.stopTimer);
    EXPECT_FALSE(effects.startTimer);
    EXPECT_FALSE(brushShown());
    EXPECT_TRUE(hovering());
    EXPECT_EQ(effects.stopAndSeekTo, 0);
}

TEST_F(Canvas, ReleaseBesideEveryBlurKeepsTheBrush) {
    move(100, 100);
    EXPECT_TRUE(release(100, 100).stopTimer);
    EXPECT_TRUE(brushShown());
    EXPECT_FALSE(hovering());
}

TEST_F(Canvas, ReleaseOutsideStopsTheTimerToo) {
    move(100, 100);
    press(100, 100);
    EXPECT_TRUE(release(100, 260).stopTimer);
    move(100, 100);
    press(100, 100);
    EXPECT_TRUE(canvas.figureOutState({CanvasMouse::LeftUp, {100, 100}, 0, true}, false).stopTimer);
}

TEST_F(Canvas, PressOnASelectedBlurStartsTheTimerWithoutPainting) {
    put(10, 700, 200, 100);
    move(210, 110);
    const CanvasEffects effects = press(210, 110);
    EXPECT_TRUE(effects.startTimer);
    EXPECT_EQ(blurtrack::entriesAt(10).size(), 1u);
}

TEST_F(Canvas, PressBesideTheSelectionStartsANewBrushWithoutPainting) {
    put(10, 700, 200, 100);
    move(210, 110);
    const CanvasEffects effects = press(50, 50);
    EXPECT_FALSE(effects.startTimer);
    EXPECT_FALSE(hovering());
    EXPECT_TRUE(brushShown());
    EXPECT_EQ(blurtrack::entriesAt(10).size(), 1u);
}

TEST_F(Canvas, PressOutsideDoesNothing) {
    move(100, 100);
    const CanvasEffects effects = press(100, 260);
    EXPECT_FALSE(effects.startTimer);
    EXPECT_THAT(blurtrack::entriesAt(10), IsEmpty());
}

TEST_F(Canvas, EveryDabHasAnIdOfItsOwn) {
    const int64_t first = paintedAt(60, 60);
    press(200, 60);
    release(200, 60);
    press(200, 60);
    release(200, 60);
    EXPECT_EQ(blurtrack::entriesAt(10).size(), 2u);
    EXPECT_EQ(blurtrack::entriesAt(10)[0].id, first);
    EXPECT_GT(blurtrack::entriesAt(10)[1].id, first);
}

TEST_F(Canvas, BrushLeftByARecordingIsReplacedWhenItMovesOn) {
    move(100, 100);
    press(100, 100);
    hold();
    show(11);
    release(100, 100);
    ASSERT_TRUE(brushShown());
    move(250, 200);
    press(250, 200);
    EXPECT_EQ(blurtrack::entriesAt(11).size(), 2u);
}

TEST_F(Canvas, NoBrushLargeEnoughPaintsNothing) {
    show(10, 10, 10);
    send(CanvasMouse::Wheel, 150, 100, 1);
    move(160, 120);
    ASSERT_TRUE(brushShown());
    press(160, 120);
    EXPECT_THAT(blurtrack::entriesAt(10), IsEmpty());
    EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("New Blur id"))));
    EXPECT_EQ(hold().playFps, 0);
}

// --- the timer

TEST_F(Canvas, HoldingAFreshBlurRecordsIt) {
    move(100, 100);
    const int64_t id = upcomingBrushId() - 1;
    press(100, 100);
    const CanvasEffects effects = hold(29.97);
    EXPECT_TRUE(canvas.recording());
    EXPECT_EQ(effects.playFps, 29);
    EXPECT_TRUE(effects.clearLayoutHover);
    ASSERT_TRUE(effects.hint);
    EXPECT_EQ(effects.hint->key, kHintRecording);
    EXPECT_EQ(effects.hint->blurId, id);
    const auto lines = log.lines();
    EXPECT_THAT(lines,
                Contains(format("[VideoCanvas] Begin blur while playing id:%lld frame: %lld", id, 10)));
    EXPECT_THAT(lines,
                Contains(format("[VideoCanvas] Continue blur while playing id:%lld frame: %lld", id, 10)));
}

TEST_F(Canvas, HoldingASelectedBlurContinuesItWithItsSquareAndCutsItsTrack) {
    for (int64_t f = 5; f <= 20; ++f)
        put(f, 700, 200, 100);
    move(210, 110);
    press(210, 110);
    const CanvasEffects effects = hold();
    EXPECT_EQ(framesOf(700), (std::vector<int64_t>{5, 6, 7, 8, 9, 10}));
    EXPECT_EQ(effects.playFps, 25);
    const CanvasPicture picture = canvas.picture();
    EXPECT_TRUE(picture.brushShown);
    EXPECT_FALSE(picture.hovering);
    EXPECT_EQ(picture.brushSize, 40);
    EXPECT_EQ(picture.brushPosition.x, 220);
    EXPECT_EQ(picture.brushPosition.y, 120);
    const auto lines = log.lines();
    EXPECT_THAT(lines, Not(Contains(HasSubstr("Begin blur"))));
    EXPECT_THAT(lines, Contains("[VideoCanvas] Continue blur while playing id:700 frame: 10"));
    show(11);
    EXPECT_EQ(blurtrack::entriesAt(11).back().x, 200);
    EXPECT_EQ(blurtrack::entriesAt(11).back().w, 40);
}

TEST_F(Canvas, HoldingWithoutPlayerDoesNothing) {
    move(100, 100);
    press(100, 100);
    const CanvasEffects effects = canvas.onHold(false, 25, false);
    EXPECT_EQ(effects.playFps, 0);
    EXPECT_FALSE(canvas.recording());
}

TEST_F(Canvas, HoldingOnAnotherPictureThanThePressedOneDoesNothing) {
    move(100, 100);
    press(100, 100);
    show(50);
    EXPECT_EQ(hold().playFps, 0);
    EXPECT_FALSE(canvas.recording());
}

TEST_F(Canvas, HoldingWaitsForTheLastOfTheSeeksUnderWay) {
    move(100, 100);
    press(100, 100);
    seekPending = true;
    CanvasEffects effects = hold();
    EXPECT_TRUE(effects.startTimer);
    EXPECT_FALSE(canvas.recording());
    // Still Stopped from the play loop that the seek follows.
    canvas.setPlayState(Stopped);
    EXPECT_TRUE(hold().startTimer);
    // The first of two, to the same frame.
    canvas.setPlayState(Seeking);
    show(10);
    canvas.setPlayState(Stopped);
    EXPECT_TRUE(hold().startTimer);
    EXPECT_FALSE(canvas.recording());
    canvas.setPlayState(Seeking);
    show(10);
    canvas.setPlayState(Stopped);
    seekPending = false;
    effects = hold();
    EXPECT_FALSE(effects.startTimer);
    EXPECT_TRUE(canvas.recording());
}

TEST_F(Canvas, RecordingPlaysAtTheChosenSpeed) {
    switches::playbackSpeed = 4;
    move(100, 100);
    press(100, 100);
    EXPECT_EQ(hold(29.97).playFps, 119);
}

TEST(PlaybackFps, IsTruncatedAfterTheFactorAndAlwaysUsable) {
    EXPECT_EQ(playbackFps(1, 29.97), 29);
    EXPECT_EQ(playbackFps(4, 29.97), 119);
    EXPECT_EQ(playbackFps(1, 0.2), 1);
    EXPECT_EQ(playbackFps(1, 0), 25);
    EXPECT_EQ(playbackFps(4, -3), 100);
    EXPECT_EQ(playbackFps(1, std::nan("")), 25);
    EXPECT_EQ(playbackFps(1, std::numeric_limits<double>::infinity()), 25);
    EXPECT_EQ(playbackFps(4, 1e300), 100000);
}

// --- recording while playing

TEST_F(Canvas, PressWhilePlayingStartsANewBlurAndRecords) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    const CanvasEffects effects = press(100, 100);
    EXPECT_TRUE(canvas.recording());
    EXPECT_FALSE(effects.startTimer);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10}));
    ASSERT_TRUE(effects.hint);
    EXPECT_EQ(effects.hint->key, kHintRecording);
    EXPECT_EQ(effects.hint->blurId, id);
}

TEST_F(Canvas, PressWhilePlayingWithHiddenBrushDoesNothing) {
    put(10, 700, 200, 100);
    playing = true;
    move(210, 110);
    press(210, 110);
    EXPECT_FALSE(canvas.recording());
    EXPECT_EQ(blurtrack::entriesAt(10).size(), 1u);
}

TEST_F(Canvas, EveryDeliveredFrameGetsTheBrushWhereItIs) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    show(11);
    move(150, 120);
    show(12);
    show(13);
    release(150, 120);
    show(14);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11, 12, 13}));
    EXPECT_EQ(blurtrack::entriesAt(11)[0].x, 84);
    EXPECT_EQ(blurtrack::entriesAt(12)[0].x, 134);
    EXPECT_EQ(blurtrack::entriesAt(12)[0].y, 104);
    EXPECT_EQ(blurtrack::spanOf(id)->frameCount, 4);
}

TEST_F(Canvas, FramesThatWereNotDeliveredGetTheNextOnesSquare) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    show(13);
    show(14);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11, 12, 13, 14}));
    EXPECT_EQ(blurtrack::spanOf(id)->frameCount, 5);
    blurtrack::delBlur(id, 10);
    EXPECT_THAT(framesOf(id), IsEmpty());
}

TEST_F(Canvas, ASeekWhileRecordingFillsNothingInBetween) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    canvas.setPlayState(Seeking);
    show(500);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 500}));
}

TEST_F(Canvas, ReleaseWhileRecordingStopsAndShowsTheLastRecordedFrame) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    show(11);
    const CanvasEffects effects = release(100, 100);
    EXPECT_FALSE(canvas.recording());
    EXPECT_EQ(effects.stopAndSeekTo, 11);
    EXPECT_TRUE(hovering());
    EXPECT_TRUE(brushShown());
    EXPECT_TRUE(log.contains(format("[VideoCanvas] Blur while playing ended id:%lld frame: %lld", id, 11)));
    // A frame that the play loop had under way.
    show(12);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11}));
}

TEST_F(Canvas, ReleaseCountsAsPlayingBeforeTheWorkerSaysSo) {
    move(100, 100);
    press(100, 100);
    hold();
    playing = false;
    EXPECT_EQ(release(100, 100).stopAndSeekTo, 10);
    EXPECT_THAT(log.lines(), Contains(HasSubstr("Blur while playing ended")));
}

TEST_F(Canvas, ClickOnThePlayingPicturePauses) {
    put(10, 700, 200, 100);
    playing = true;
    move(210, 110);
    press(210, 110);
    const CanvasEffects effects = release(210, 110);
    EXPECT_EQ(effects.stopAndSeekTo, 10);
    EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("Blur while playing ended"))));
}

TEST_F(Canvas, ReleaseOnTheControlsWhilePlayingPlaysOn) {
    playing = true;
    const CanvasEffects effects = canvas.figureOutState({CanvasMouse::LeftUp, {100, 100}, 0, true}, true);
    EXPECT_EQ(effects.stopAndSeekTo, 0);
}

TEST_F(Canvas, LeavingThePictureEndsTheRecording) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    show(11);
    const CanvasEffects effects = move(100, 260);
    EXPECT_EQ(effects.stopAndSeekTo, 11);
    EXPECT_FALSE(canvas.recording());
    EXPECT_FALSE(brushShown());
    EXPECT_EQ(release(100, 260).stopAndSeekTo, 0);
    show(12);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11}));
}

TEST_F(Canvas, ReleaseOutsideEndsARecordingThatNoMotionEnded) {
    playing = true;
    move(100, 100);
    press(100, 100);
    EXPECT_EQ(release(100, 260).stopAndSeekTo, 10);
    EXPECT_FALSE(canvas.recording());
}

TEST_F(Canvas, TheEndOfTheVideoEndsTheRecording) {
    playing = true;
    move(100, 100);
    press(100, 100);
    playing = false;
    canvas.setPlayState(Playing);
    EXPECT_TRUE(canvas.recording());
    canvas.setPlayState(Stopped);
    EXPECT_FALSE(canvas.recording());
    const CanvasEffects effects = canvas.settle();
    ASSERT_TRUE(effects.hint);
    EXPECT_EQ(effects.hint->key, 0);
}

TEST_F(Canvas, RecordingGoesOnFromTheRecordedIdsSpan) {
    for (int64_t f = 5; f <= 12; ++f)
        put(f, 700, 200, 100);
    move(210, 110);
    press(210, 110);
    hold();
    for (int64_t f = 11; f <= 15; ++f)
        show(f);
    release(220, 120);
    EXPECT_EQ(framesOf(700), (std::vector<int64_t>{5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}));
    blurtrack::delBlur(700, 5);
    EXPECT_THAT(framesOf(700), IsEmpty());
}

TEST_F(Canvas, RecordingInAWindowWithoutRoomForThePictureAddsNothing) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    canvas.resize({1, 1});
    show(11);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10}));
    canvas.resize({320, 272});
    show(12);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11, 12}));
}

// --- the frame callback and the rest

TEST_F(Canvas, DeliveredFrameWithoutRecordingAddsNothing) {
    move(100, 100);
    show(11);
    EXPECT_EQ(canvas.picture().frame->index, 11);
    EXPECT_THAT(blurtrack::entriesAt(11), IsEmpty());
}

TEST_F(Canvas, DeleteRemovesTheSelectedBlurOverItsWholeSpan) {
    for (int64_t f = 5; f <= 20; ++f) {
        put(f, 700, 200, 100);
        put(f, 701, 20, 20);
    }
    move(210, 110);
    const CanvasEffects effects = canvas.deleteHovered();
    EXPECT_THAT(framesOf(700), IsEmpty());
    EXPECT_EQ(framesOf(701).size(), 16u);
    EXPECT_FALSE(hovering());
    EXPECT_TRUE(effects.clearLayoutHover);
    EXPECT_TRUE(effects.repaint);
    ASSERT_TRUE(effects.hint);
    EXPECT_EQ(effects.hint->key, 0);
}

TEST_F(Canvas, DeleteWithoutSelectionDeletesNothing) {
    put(10, 700, 200, 100);
    canvas.deleteHovered();
    EXPECT_EQ(framesOf(700).size(), 1u);
}

TEST_F(Canvas, DeleteAfterResetOfAllBlursIsHarmless) {
    put(10, 700, 200, 100);
    move(210, 110);
    blurtrack::clear();
    blurtrack::initFrames(1000);
    canvas.deleteHovered();
    EXPECT_FALSE(hovering());
}

TEST_F(Canvas, SettlingForgetsASelectionThatTheStoreLost) {
    put(10, 700, 200, 100);
    move(210, 110);
    EXPECT_FALSE(canvas.settle().hint);
    blurtrack::clear();
    blurtrack::initFrames(1000);
    const CanvasEffects effects = canvas.settle();
    EXPECT_FALSE(hovering());
    ASSERT_TRUE(effects.hint);
    EXPECT_EQ(effects.hint->key, 0);
}

TEST_F(Canvas, HintIsToldOnChangeOnly) {
    put(10, 700, 200, 100);
    EXPECT_FALSE(move(100, 100).hint);
    EXPECT_TRUE(move(210, 110).hint);
    EXPECT_FALSE(move(211, 110).hint);
    EXPECT_TRUE(press(50, 50).hint);
}

TEST_F(Canvas, ResetForgetsPictureSelectionBrushAndRecording) {
    playing = true;
    move(100, 100);
    press(100, 100);
    const CanvasEffects effects = canvas.reset();
    const CanvasPicture picture = canvas.picture();
    EXPECT_FALSE(picture.frame);
    EXPECT_FALSE(picture.brushShown);
    EXPECT_FALSE(picture.hovering);
    EXPECT_FALSE(canvas.recording());
    EXPECT_TRUE(effects.stopTimer);
    EXPECT_TRUE(effects.repaint);
    ASSERT_TRUE(effects.hint);
    EXPECT_EQ(effects.hint->key, 0);
}

TEST_F(Canvas, EverythingIsSurvivedWithoutAPicture) {
    canvas.reset();
    for (const auto kind : {CanvasMouse::Motion, CanvasMouse::LeftDown, CanvasMouse::LeftUp,
                            CanvasMouse::Wheel, CanvasMouse::Leave, CanvasMouse::Enter})
        for (const bool plays : {false, true})
            EXPECT_EQ(canvas.figureOutState({kind, {100, 100}, 1, false}, plays).stopAndSeekTo, 0);
    EXPECT_EQ(hold().playFps, 0);
    canvas.deleteHovered();
    EXPECT_FALSE(brushShown());
}

TEST_F(Canvas, AHeldStoreNeverBlocksTheMouse) {
    put(10, 700, 200, 100);
    move(100, 100);
    {
        const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
        std::thread mouse([&] {
            move(210, 110);
            press(210, 110);
            hold();
            release(210, 110);
            canvas.deleteHovered();
        });
        mouse.join();
    }
    EXPECT_EQ(blurtrack::entriesAt(10).size(), 1u);
    EXPECT_FALSE(canvas.recording());
    move(211, 110);
    EXPECT_TRUE(hovering());
}

TEST_F(Canvas, AHeldStoreLeavesBrushAndSelectionAsTheyAre) {
    put(10, 700, 200, 100);
    move(100, 100);
    const int64_t next = upcomingBrushId();
    const auto withStoreHeld = [](const std::function<void()>& action) {
        const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
        std::thread(action).join();
    };
    withStoreHeld([&] {
        press(100, 100);
        release(100, 100);
    });
    EXPECT_TRUE(log.contains(
        format("[VideoCanvas] Blur not painted, the blurs are in use id:%lld frame: %lld", next - 1, 10)));
    EXPECT_TRUE(brushShown());
    EXPECT_EQ(upcomingBrushId(), next);

    move(210, 110);
    ASSERT_TRUE(hovering());
    withStoreHeld([&] {
        press(50, 50);
        release(50, 50);
        canvas.settle();
    });
    EXPECT_TRUE(hovering());
    EXPECT_FALSE(brushShown());
    EXPECT_EQ(upcomingBrushId(), next);
}

TEST_F(Canvas, HoldingWaitsForAHeldStore) {
    move(100, 100);
    press(100, 100);
    {
        const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
        CanvasEffects effects;
        std::thread([&] { effects = hold(); }).join();
        EXPECT_TRUE(effects.startTimer);
        EXPECT_FALSE(canvas.recording());
    }
    EXPECT_FALSE(hold().startTimer);
    EXPECT_TRUE(canvas.recording());
}

TEST_F(Canvas, FramesRecordedWhileTheStoreIsHeldAreMadeUpForWithoutWaiting) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    {
        const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
        std::thread player([&] {
            show(11);
            show(12);
        });
        player.join();
    }
    EXPECT_EQ(canvas.picture().frame->index, 12);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10}));
    show(13);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11, 12, 13}));
}

/// Whatever ends a recording, nothing of it is missing.
class RecordingEnd : public Canvas, public testing::WithParamInterface<int> {};

TEST_P(RecordingEnd, MakesUpForTheFramesThatCameWhileTheStoreWasHeld) {
    const std::function<void()> ends[] = {
        [this] { release(100, 100); },
        [this] { release(100, 260); },
        [this] { leave(); },
        [this] { move(100, 260); },
        [this] { canvas.setPlayState(Stopped); },
        [this] { canvas.pause(true); },
        [this] {
            buttonHeld = false;
            move(100, 100);
        },
    };
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    {
        const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
        std::thread([&] { show(12); }).join();
    }
    ends[GetParam()]();
    EXPECT_FALSE(canvas.recording());
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11, 12}));
    EXPECT_EQ(blurtrack::spanOf(id)->frameCount, 3);
}

INSTANTIATE_TEST_SUITE_P(Ways, RecordingEnd, testing::Range(0, 7));

TEST_F(Canvas, RecordingThatEndsWhileTheStoreIsHeldSaysWhatIsMissing) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    {
        const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
        std::thread([&] {
            show(12);
            leave();
        }).join();
    }
    EXPECT_FALSE(canvas.recording());
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10}));
    EXPECT_THAT(log.lines(),
                Contains(HasSubstr("not recorded id:" + std::to_string(id) + " frames: 11 to 12")));
}

TEST_F(Canvas, MotionOrEnteringWithoutTheButtonEndsARecordingWhoseReleaseWasLost) {
    for (const auto kind : {CanvasMouse::Motion, CanvasMouse::Enter}) {
        show(10);
        playing = true;
        move(100, 100);
        press(100, 100);
        show(11);
        ASSERT_TRUE(canvas.recording());
        move(110, 100);
        EXPECT_TRUE(canvas.recording());
        buttonHeld = false;
        const CanvasEffects effects = send(kind, 110, 100);
        EXPECT_FALSE(canvas.recording());
        EXPECT_EQ(effects.stopAndSeekTo, 11);
        EXPECT_TRUE(effects.stopTimer);
    }
}

TEST_F(Canvas, MotionWithoutTheButtonStopsTheHoldTimer) {
    move(100, 100);
    press(100, 100);
    EXPECT_FALSE(move(101, 100).stopTimer);
    buttonHeld = false;
    const CanvasEffects effects = move(101, 100);
    EXPECT_TRUE(effects.stopTimer);
    EXPECT_EQ(effects.stopAndSeekTo, 0);
}

TEST_F(Canvas, PausingEndsPlayingAndRecording) {
    EXPECT_EQ(canvas.pause(false).stopAndSeekTo, 0);
    EXPECT_TRUE(canvas.pause(false).stopTimer);
    EXPECT_EQ(canvas.pause(true).stopAndSeekTo, 10);
    move(100, 100);
    press(100, 100);
    hold();
    // The worker does not play yet.
    EXPECT_EQ(canvas.pause(false).stopAndSeekTo, 10);
    EXPECT_FALSE(canvas.recording());
    canvas.reset();
    EXPECT_EQ(canvas.pause(true).stopAndSeekTo, 0);
}

TEST_F(Canvas, PictureCarriesTheSwitches) {
    switches::blurDivisor = 100;
    switches::confidenceThreshold = 70;
    switches::editingMode = switches::kUnblurMode;
    const CanvasPicture picture = canvas.picture();
    EXPECT_EQ(picture.divisor, 100);
    EXPECT_EQ(picture.threshold, 70);
    EXPECT_EQ(picture.editingMode, switches::kUnblurMode);
    switches::blurDivisor = 50;
    switches::confidenceThreshold = 50;
    switches::editingMode = switches::kBlurMode;
}

TEST_F(Canvas, FramesMayArriveWhileTheMouseWorks) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    std::atomic<bool> done{false};
    std::thread player([&] {
        for (int64_t f = 11; f <= 400; ++f)
            show(f, 32, 24);
        done = true;
    });
    while (!done) {
        move(140, 110);
        EXPECT_TRUE(canvas.picture().frame);
    }
    player.join();
    release(140, 110);
    EXPECT_EQ(framesOf(id).size(), 391u);
}

} // namespace
