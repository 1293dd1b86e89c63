#include "canvas_fixture.h"

#include <gmock/gmock.h>

#include "hints.h"

namespace {

using testing::IsEmpty;
using testing::SizeIs;

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

TEST_F(Canvas, FirstRowOfTheControlBarMapsInsideBetweenItsElements) {
    ASSERT_TRUE(canvas.mapping().inside({100, 240}));
    move(100, 240);
    EXPECT_TRUE(brushShown());
    EXPECT_TRUE(press(100, 240).startTimer);
    EXPECT_THAT(blurtrack::entriesAt(10), SizeIs(1));
    move(100, 242);
    EXPECT_FALSE(brushShown());
}

TEST_F(Canvas, NumbersOfBlursGoOnWhenEverythingIsForgotten) {
    const int64_t first = paintedAt(50, 50);
    canvas.reset();
    blurtrack::clear();
    blurtrack::initFrames(1000);
    show(10);
    EXPECT_GT(paintedAt(50, 50), first);
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

} // namespace
