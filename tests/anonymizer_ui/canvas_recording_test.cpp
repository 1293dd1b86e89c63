#include "canvas_fixture.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>

#include "hints.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

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
    const CanvasEffects effects = canvas.onHold(false, 25, false, 10);
    EXPECT_EQ(effects.playFps, 0);
    EXPECT_FALSE(canvas.recording());
}

TEST_F(Canvas, HoldingABlurThatIsGoneRecordsNothingOfTheDabBefore) {
    paintedAt(100, 100);
    leave();
    put(10, 700, 200, 100);
    move(210, 110);
    press(210, 110);
    blurtrack::clear();
    blurtrack::initFrames(1000);
    canvas.settle();
    EXPECT_EQ(hold().playFps, 0);
    EXPECT_FALSE(canvas.recording());
    EXPECT_FALSE(brushShown());
    show(11);
    release(210, 110);
    EXPECT_THAT(blurtrack::entriesAt(10), IsEmpty());
    EXPECT_THAT(blurtrack::entriesAt(11), IsEmpty());
    EXPECT_TRUE(blurtrack::store().spans.empty());
}

TEST_F(Canvas, HoldingRecordsFromThePictureOnThatIsShownNowUnderTheNextNumber) {
    for (const int64_t now : {50, 3, 12, 9}) {
        show(10);
        const int64_t pressed = upcomingBrushId();
        leave();
        move(100, 100);
        press(100, 100);
        // A seek that was under way.
        show(now);
        const int64_t next = upcomingBrushId();
        const std::size_t before = log.lines().size();
        const CanvasEffects effects = hold();
        EXPECT_EQ(effects.playFps, 25);
        ASSERT_TRUE(effects.hint);
        EXPECT_EQ(effects.hint->blurId, next);
        std::vector<std::string> lines = log.lines();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
        EXPECT_THAT(
            lines,
            ElementsAre("[VideoCanvas] New Blur Brush id: " + std::to_string(next),
                        format("[VideoCanvas] New Blur id:%lld frame: %lld", next, now) + "(84, 84, 32, 32)",
                        format("[VideoCanvas] Begin blur while playing id:%lld frame: %lld", next, now),
                        format("[BlurTrack] Nothing to destroy id:%lld from frame : % lld", next, now + 1),
                        format("[VideoCanvas] Continue blur while playing id:%lld frame: %lld", next, now)));
        show(now + 1);
        show(now + 2);
        release(250, 200);
        EXPECT_EQ(framesOf(pressed), (std::vector<int64_t>{10}));
        EXPECT_EQ(framesOf(next), (std::vector<int64_t>{now, now + 1, now + 2}));
        blurtrack::delBlur(next, now);
        EXPECT_THAT(framesOf(next), IsEmpty()) << "all of it is in its span";
        blurtrack::delBlur(pressed, 10);
    }
}

TEST_F(Canvas, HoldingOnThePictureAfterThePressedOneGoesOnWithItsNumber) {
    move(100, 100);
    const int64_t id = upcomingBrushId() - 1;
    press(100, 100);
    show(11);
    EXPECT_EQ(hold().hint->blurId, id);
    show(12);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11, 12}));
    EXPECT_EQ(blurtrack::spanOf(id)->frameCount, 3);
    EXPECT_EQ(upcomingBrushId(), id + 1);
}

/// A blur of the frames 5 to 12, pressed on frame 10 and held on another one.
class HeldBlur : public Canvas {
protected:
    CanvasEffects holdOn(int64_t frame) {
        for (int64_t f = 5; f <= 12; ++f)
            put(f, 700, 200, 100);
        move(210, 110);
        press(210, 110);
        show(frame);
        return hold();
    }
};

TEST_F(HeldBlur, GoesOnFromAPictureOfItsOwn) {
    EXPECT_EQ(holdOn(7).hint->blurId, 700);
    show(8);
    EXPECT_EQ(framesOf(700), (std::vector<int64_t>{5, 6, 7, 8}));
    EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("New Blur"))));
}

TEST_F(HeldBlur, GoesOnFromThePictureBehindItsLastOne) {
    EXPECT_EQ(holdOn(13).hint->blurId, 700);
    EXPECT_EQ(blurtrack::entriesAt(13).at(0).x, 200);
    show(14);
    EXPECT_EQ(framesOf(700), (std::vector<int64_t>{5, 6, 7, 8, 9, 10, 11, 12, 13, 14}));
    EXPECT_EQ(blurtrack::spanOf(700)->frameCount, 10);
    EXPECT_TRUE(log.contains("[VideoCanvas] New Blur id:700 frame: 13(200, 100, 40, 40)"));
}

TEST_F(HeldBlur, GoesOnUnderTheNextNumberWhereItsSpanDoesNotReach) {
    const int64_t next = upcomingBrushId();
    for (const int64_t frame : {14, 4}) {
        const int64_t id = holdOn(frame).hint->blurId;
        EXPECT_GE(id, next);
        show(frame + 1);
        EXPECT_EQ(framesOf(id), (std::vector<int64_t>{frame, frame + 1}));
        EXPECT_EQ(blurtrack::entriesAt(frame).at(0).x, 200);
        EXPECT_EQ(blurtrack::entriesAt(frame).at(0).w, 40);
        EXPECT_EQ(framesOf(700).size(), 8u) << "the pressed one stays as it is";
        release(220, 120);
        leave();
        show(10);
    }
}

TEST_F(HeldBlur, GetsItsRectangleOnAPictureThatLostIt) {
    holdOn(10);
    release(220, 120);
    ASSERT_EQ(framesOf(700), (std::vector<int64_t>{5, 6, 7, 8, 9, 10}));
    press(220, 120);
    show(12);
    EXPECT_EQ(hold().hint->blurId, 700);
    EXPECT_EQ(framesOf(700), (std::vector<int64_t>{5, 6, 7, 8, 9, 10, 12}));
    show(13);
    blurtrack::delBlur(700, 5);
    EXPECT_THAT(framesOf(700), IsEmpty());
}

TEST_F(HeldBlur, ChangesItsSizeByTheWheelsStepsFromTheBrushs) {
    holdOn(10);
    ASSERT_EQ(canvas.picture().brushSize, 40);
    send(CanvasMouse::Wheel, 220, 120, 1);
    EXPECT_EQ(switches::brushSize, 48);
    EXPECT_EQ(canvas.picture().brushSize, 48);
    show(11);
    EXPECT_EQ(blurtrack::entriesAt(11).at(0).w, 48);
    EXPECT_EQ(blurtrack::entriesAt(11).at(0).x, 220 - 24);
    send(CanvasMouse::Wheel, 220, 120, -1);
    show(12);
    EXPECT_EQ(blurtrack::entriesAt(12).at(0).w, 32);
    EXPECT_EQ(framesOf(700), (std::vector<int64_t>{5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST_F(Canvas, HoldingWaitsForTheLastOfTheSeeksUnderWay) {
    move(100, 100);
    press(100, 100);
    seekPending = true;
    CanvasEffects effects = hold();
    EXPECT_TRUE(effects.startTimer);
    EXPECT_FALSE(canvas.recording());
    // Still Stopped from the play loop that the seek follows.
    canvas.setPlayState(Stopped, 10);
    EXPECT_TRUE(hold().startTimer);
    // The first of two, to the same frame.
    canvas.setPlayState(Seeking, 10);
    show(10);
    canvas.setPlayState(Stopped, 10);
    EXPECT_TRUE(hold().startTimer);
    EXPECT_FALSE(canvas.recording());
    canvas.setPlayState(Seeking, 10);
    show(10);
    canvas.setPlayState(Stopped, 10);
    seekPending = false;
    effects = hold();
    EXPECT_FALSE(effects.startTimer);
    EXPECT_TRUE(canvas.recording());
}

TEST_F(Canvas, HoldingGoesBackToThePictureFirstWhenTheDecoderStandsElsewhere) {
    for (int64_t f = 10; f <= 600; ++f)
        put(f, 700, 200, 100);
    move(210, 110);
    press(210, 110);
    // A seek to 500 that delivered nothing, and one that led nowhere.
    for (const int64_t elsewhere : {500, 0}) {
        position = elsewhere;
        const CanvasEffects effects = hold();
        EXPECT_TRUE(effects.startTimer);
        EXPECT_EQ(effects.stopAndSeekTo, 10);
        EXPECT_EQ(effects.playFps, 0);
        EXPECT_FALSE(canvas.recording());
        EXPECT_EQ(framesOf(700).size(), 591u) << "nothing is deleted";
    }
    position = 10;
    EXPECT_EQ(hold().playFps, 25);
    EXPECT_TRUE(canvas.recording());
}

TEST_F(Canvas, WhatPlayingHasNotPassedIsNotFilled) {
    playing = true;
    canvas.setPlayState(Playing, 500);
    move(100, 100);
    int64_t id = upcomingBrushId();
    // Still on the picture from before.
    press(100, 100);
    show(502);
    show(503);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 501, 502, 503}));

    canvas.setPlayState(Stopped, 503);
    canvas.setPlayState(Playing, 0);
    id = upcomingBrushId();
    press(100, 100);
    show(700);
    show(702);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{503, 700, 701, 702}));
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

TEST_F(Canvas, PressWhilePlayingRecordsThoughThereIsNoRoomForTheBrush) {
    show(10, 10, 10);
    send(CanvasMouse::Wheel, 150, 100, 1);
    playing = true;
    move(160, 120);
    const CanvasEffects effects = press(160, 120);
    EXPECT_TRUE(canvas.recording());
    EXPECT_FALSE(effects.hint) << "no blur, nothing to tell of";
    show(11, 10, 10);
    EXPECT_EQ(release(160, 120).stopAndSeekTo, 11);
    EXPECT_THAT(blurtrack::entriesAt(11), IsEmpty());
    EXPECT_TRUE(blurtrack::store().spans.empty());
    EXPECT_TRUE(log.contains("[VideoCanvas] Blur while playing ended id:-1 frame: 11"));
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
    canvas.setPlayState(Seeking, 10);
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

TEST_F(Canvas, LeavingCountsAsPlayingBeforeTheWorkerSaysSo) {
    move(100, 100);
    press(100, 100);
    hold();
    EXPECT_EQ(leave().stopAndSeekTo, 10);
    EXPECT_FALSE(canvas.recording());
}

TEST_F(Canvas, MotionCountsAsPlayingBeforeTheWorkerSaysSo) {
    put(10, 700, 200, 100);
    move(100, 100);
    press(100, 100);
    hold();
    move(210, 110);
    EXPECT_TRUE(brushShown()) << "as while playing, over blurs too";
    EXPECT_TRUE(canvas.recording());
    EXPECT_EQ(move(100, 260).stopAndSeekTo, 10);
    EXPECT_FALSE(canvas.recording());
}

TEST_F(Canvas, PressWithoutAReleaseCountsAsPlayingBeforeTheWorkerSaysSo) {
    move(100, 100);
    const int64_t first = upcomingBrushId() - 1;
    press(100, 100);
    hold();
    const CanvasEffects effects = press(200, 100);
    EXPECT_FALSE(effects.startTimer) << "no second hold";
    EXPECT_TRUE(canvas.recording());
    playing = true;
    canvas.setPlayState(Playing, 10);
    show(11);
    EXPECT_EQ(framesOf(first), (std::vector<int64_t>{10}));
    EXPECT_EQ(framesOf(first + 1), (std::vector<int64_t>{10, 11}));
    EXPECT_EQ(release(200, 100).stopAndSeekTo, 11);
}

TEST_F(Canvas, ReleaseWhileRecordingBesideEveryBlurKeepsTheBrush) {
    playing = true;
    move(100, 100);
    press(100, 100);
    show(11);
    const CanvasEffects effects = release(250, 200);
    EXPECT_EQ(effects.stopAndSeekTo, 11);
    EXPECT_TRUE(brushShown());
    EXPECT_FALSE(hovering());
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
    canvas.setPlayState(Playing, 10);
    EXPECT_TRUE(canvas.recording());
    canvas.setPlayState(Stopped, 10);
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

TEST_F(Canvas, ARecordingThatEndsWithoutRoomForThePictureTellsWhatItLacks) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    show(11);
    canvas.resize({1, 1});
    show(13);
    leave();
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11}));
    EXPECT_THAT(log.lines(wxLOG_Error), ElementsAre("[VideoCanvas] Blur while playing not recorded id:" +
                                                    std::to_string(id) + " frames: 12 to 13"));
}

TEST_F(Canvas, TheEndOfARecordingMakesUpForAFrameThatCameWithoutRoomForThePicture) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    canvas.resize({1, 1});
    show(12);
    canvas.resize({320, 272});
    release(100, 100);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11, 12}));
    EXPECT_THAT(log.lines(wxLOG_Error), IsEmpty());
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

TEST_F(Canvas, MotionBesideThePictureWithoutTheButtonStopsThePlayerToo) {
    playing = true;
    move(100, 100);
    press(100, 100);
    show(11);
    buttonHeld = false;
    EXPECT_EQ(move(100, 260).stopAndSeekTo, 11);
    EXPECT_FALSE(canvas.recording());
    EXPECT_FALSE(brushShown());
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

} // namespace
