#include "canvas_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

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

TEST_F(Canvas, ReleaseBeforeTheHoldOnlySelects) {
    for (int64_t f = 10; f <= 12; ++f)
        put(f, 700, 200, 100);
    move(210, 110);
    press(210, 110);
    const CanvasEffects effects = release(210, 110);
    EXPECT_TRUE(effects.stopTimer);
    EXPECT_EQ(effects.playFps, 0);
    EXPECT_EQ(effects.stopAndSeekTo, 0);
    EXPECT_TRUE(hovering());
    EXPECT_FALSE(canvas.recording());
    EXPECT_EQ(framesOf(700), (std::vector<int64_t>{10, 11, 12}));
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

TEST_F(Canvas, BrushLeftByARecordingPaintsBesideTheRecordedBlur) {
    const int64_t recorded = recordedAt(100, 100);
    release(250, 200);
    ASSERT_TRUE(brushShown());
    const int64_t next = upcomingBrushId();
    EXPECT_TRUE(press(250, 200).startTimer);
    EXPECT_EQ(framesOf(recorded), (std::vector<int64_t>{10, 11}));
    EXPECT_EQ(framesOf(next), std::vector<int64_t>{11});
    EXPECT_EQ(blurtrack::entriesAt(11).back().x, 250 - 16);
    EXPECT_EQ(hold().hint->blurId, next);
    show(12);
    EXPECT_EQ(framesOf(next), (std::vector<int64_t>{11, 12}));
    EXPECT_EQ(blurtrack::entriesAt(12)[0].x, 250 - 16) << "what is held is hidden";
}

TEST_F(Canvas, BrushLeftByARecordingPaintsOnThePictureBehind) {
    const int64_t recorded = recordedAt(100, 100);
    release(250, 200);
    ASSERT_TRUE(brushShown());
    ASSERT_FALSE(hovering());
    show(12);
    press(250, 200);
    EXPECT_EQ(framesOf(recorded), (std::vector<int64_t>{10, 11, 12}));
    EXPECT_EQ(blurtrack::entriesAt(12)[0].x, 250 - 16);
    EXPECT_EQ(blurtrack::spanOf(recorded)->frameCount, 3);
}

TEST_F(Canvas, BrushLeftByARecordingTakesTheNextNumberWhereTheSpanDoesNotReach) {
    const int64_t recorded = recordedAt(100, 100);
    release(250, 200);
    for (const int64_t frame : {13, 9}) {
        show(frame);
        const int64_t next = upcomingBrushId();
        ASSERT_TRUE(brushShown());
        press(250, 200);
        EXPECT_EQ(framesOf(next), std::vector<int64_t>{frame});
        EXPECT_TRUE(log.contains("[VideoCanvas] New Blur Brush id: " + std::to_string(next)));
        EXPECT_EQ(hold().hint->blurId, next) << "and that one is recorded";
        canvas.pause(true);
    }
    EXPECT_EQ(framesOf(recorded), (std::vector<int64_t>{10, 11}));
}

TEST_F(Canvas, PressOnTheBlurThatHasJustBeenRecordedContinuesIt) {
    const int64_t recorded = recordedAt(100, 100);
    release(104, 100);
    ASSERT_TRUE(brushShown());
    ASSERT_TRUE(hovering());
    const int64_t next = upcomingBrushId();
    press(104, 100);
    EXPECT_EQ(blurtrack::entriesAt(11).size(), 1u) << "its first rectangle of a frame wins";
    EXPECT_EQ(upcomingBrushId(), next);
    hold();
    show(12);
    EXPECT_EQ(framesOf(recorded), (std::vector<int64_t>{10, 11, 12}));
    EXPECT_EQ(blurtrack::entriesAt(12)[0].x, 84);
}

TEST_F(Canvas, PressElsewhereWithoutAMotionAfterARecordingPaintsThere) {
    const int64_t recorded = recordedAt(100, 100);
    release(100, 100);
    ASSERT_TRUE(brushShown());
    ASSERT_TRUE(hovering());
    const int64_t next = upcomingBrushId();
    press(250, 200);
    EXPECT_FALSE(hovering());
    EXPECT_EQ(framesOf(recorded), (std::vector<int64_t>{10, 11}));
    ASSERT_EQ(framesOf(next), std::vector<int64_t>{11});
    EXPECT_EQ(blurtrack::entriesAt(11).back().x, 250 - 16);
    EXPECT_EQ(hold().hint->blurId, next);
}

TEST_F(Canvas, EdgesOfTheRecordedSquareCountAsHalfOpenForAPressWithoutAMotion) {
    for (const int x : {84, 115, 116, 83}) {
        leave();
        show(10);
        const int64_t recorded = recordedAt(100, 100);
        release(100, 100);
        ASSERT_TRUE(hovering());
        press(x, 100);
        EXPECT_EQ(hovering(), x == 84 || x == 115) << x;
        EXPECT_EQ(blurtrack::entriesAt(11).size(), hovering() ? 1u : 2u) << x;
        release(300, 230);
        blurtrack::clear();
        blurtrack::initFrames(1000);
        EXPECT_THAT(framesOf(recorded), IsEmpty());
    }
}

TEST_F(Canvas, PressWithoutAMotionWhereTheBlurWasOnAnotherPicturePaintsThere) {
    const int64_t recorded = recordedAt(100, 100);
    move(200, 100);
    show(12);
    release(200, 100);
    ASSERT_TRUE(hovering());
    show(11);
    const int64_t next = upcomingBrushId();
    press(200, 100);
    EXPECT_EQ(framesOf(recorded), (std::vector<int64_t>{10, 11, 12}));
    ASSERT_EQ(framesOf(next), std::vector<int64_t>{11});
    EXPECT_EQ(blurtrack::entriesAt(11).back().x, 184);
}

TEST_F(Canvas, HoldingOnAnotherBlurWithABrushLeftByARecordingContinuesThatOne) {
    put(11, 700, 240, 190);
    const int64_t recorded = recordedAt(100, 100);
    release(250, 200);
    ASSERT_EQ(canvas.picture().hoverId, 700);
    ASSERT_TRUE(brushShown());
    press(250, 200);
    EXPECT_EQ(blurtrack::entriesAt(11).size(), 3u);
    EXPECT_EQ(hold().hint->blurId, 700);
    show(12);
    EXPECT_EQ(framesOf(700), (std::vector<int64_t>{11, 12}));
    EXPECT_EQ(framesOf(recorded), (std::vector<int64_t>{10, 11}));
}

TEST_F(Canvas, BrushLeftBesideItsBlurPaintsAnother) {
    // The square is moved into the picture, so the release is beside it and the brush stays.
    move(100, 240);
    press(100, 240);
    release(100, 240);
    ASSERT_TRUE(brushShown());
    ASSERT_FALSE(hovering());
    move(200, 240);
    press(200, 240);
    ASSERT_EQ(blurtrack::entriesAt(10).size(), 2u);
    EXPECT_EQ(blurtrack::entriesAt(10)[0].x, 84);
    EXPECT_EQ(blurtrack::entriesAt(10)[1].x, 184);
}

TEST_F(Canvas, NoBrushLargeEnoughPaintsNothing) {
    show(10, 10, 10);
    send(CanvasMouse::Wheel, 150, 100, 1);
    move(160, 120);
    ASSERT_TRUE(brushShown());
    press(160, 120);
    EXPECT_THAT(blurtrack::entriesAt(10), IsEmpty());
    EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("New Blur id"))));
    EXPECT_EQ(hold().playFps, 25);
    show(11, 10, 10);
    EXPECT_THAT(blurtrack::entriesAt(11), IsEmpty());
    EXPECT_TRUE(log.contains("[VideoCanvas] Begin blur while playing id:-1 frame: 10"));
    // A brush that has found its size paints.
    release(160, 120);
    show(12);
    send(CanvasMouse::Wheel, 160, 120, 1);
    press(160, 120);
    EXPECT_EQ(blurtrack::entriesAt(12).size(), 1u);
}

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

} // namespace
