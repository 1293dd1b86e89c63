#include "canvas_fixture.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

/// As while detection runs.
void withStoreHeld(const std::function<void()>& action) {
    const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
    std::thread(action).join();
}

/// Left edges of a blur's rectangles, in the order of their frames.
std::vector<int32_t> leftEdges(int64_t id) {
    std::vector<int32_t> edges;
    for (const auto& [frame, entries] : blurtrack::store().frames)
        for (const auto& entry : entries)
            if (entry.id == id)
                edges.push_back(entry.x);
    return edges;
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
    withStoreHeld([&] {
        press(100, 100);
        release(100, 100);
    });
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

TEST_F(Canvas, HoldingPaintsTheBlurThatAHeldStoreRefused) {
    move(100, 100);
    const int64_t id = upcomingBrushId() - 1;
    {
        const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
        std::thread([&] { press(100, 100); }).join();
    }
    EXPECT_THAT(framesOf(id), testing::IsEmpty());
    EXPECT_EQ(hold().hint->blurId, id);
    show(11);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11}));
    EXPECT_EQ(blurtrack::entriesAt(10)[0].x, 84);
}

TEST_F(Canvas, FrameOfAPressWhilePlayingIsMadeUpForToo) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    {
        const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
        std::thread([&] { press(100, 100); }).join();
    }
    EXPECT_TRUE(canvas.recording());
    show(11);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11}));
    EXPECT_EQ(blurtrack::spanOf(id)->frameCount, 2);
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

TEST_F(Canvas, AFrameRecordedWhileTheStoreIsHeldKeepsItsOwnSquare) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    press(100, 100);
    withStoreHeld([this] { show(11); });
    move(150, 100);
    show(12);
    move(170, 100);
    show(13);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11, 12, 13}));
    EXPECT_THAT(leftEdges(id), ElementsAre(84, 84, 134, 154));
}

TEST_F(Canvas, SquaresOfFramesAroundAGapAreKeptUntilTheEndOfTheRecording) {
    playing = true;
    move(100, 100);
    const int64_t id = upcomingBrushId();
    withStoreHeld([&] {
        press(100, 100);
        move(110, 100);
        show(11);
        move(120, 100);
        show(14);
        move(200, 100);
    });
    EXPECT_THAT(framesOf(id), testing::IsEmpty());
    release(200, 100);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11, 12, 13, 14}));
    EXPECT_THAT(leftEdges(id), ElementsAre(84, 94, 104, 104, 104));
    EXPECT_EQ(blurtrack::spanOf(id)->frameCount, 5);
    EXPECT_THAT(log.lines(wxLOG_Error), testing::IsEmpty());
}

TEST_F(Canvas, APressWithoutTheReleaseOfTheOneBeforeStoresWhatThatRecorded) {
    playing = true;
    move(100, 100);
    const int64_t first = upcomingBrushId();
    press(100, 100);
    withStoreHeld([this] { show(11); });
    press(200, 100);
    show(12);
    EXPECT_EQ(framesOf(first), (std::vector<int64_t>{10, 11}));
    EXPECT_EQ(framesOf(first + 1), (std::vector<int64_t>{11, 12}));
}

/// Whatever ends a recording, nothing of it is missing.
class RecordingEnd : public Canvas, public testing::WithParamInterface<int> {};

TEST_P(RecordingEnd, MakesUpForTheFramesThatCameWhileTheStoreWasHeld) {
    const std::function<void()> ends[] = {
        [this] { release(100, 100); },
        [this] { release(100, 260); },
        [this] { leave(); },
        [this] { move(100, 260); },
        [this] { canvas.setPlayState(Stopped, 10); },
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

/// A blur of the frames 10 to 12 whose recording has ended while the store was held.
class KeptRecording : public Canvas {
protected:
    KeptRecording() {
        playing = true;
        move(100, 100);
        id = upcomingBrushId();
        press(100, 100);
        withStoreHeld([this] {
            show(12);
            canvas.setPlayState(Stopped, 0);
        });
        playing = false;
        EXPECT_FALSE(canvas.recording());
        EXPECT_TRUE(canvas.hasUnstored());
        EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10}));
    }
    void expectStored() const {
        EXPECT_FALSE(canvas.hasUnstored());
        EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11, 12}));
        EXPECT_EQ(blurtrack::spanOf(id)->frameCount, 3);
        EXPECT_THAT(log.lines(wxLOG_Error), testing::IsEmpty());
    }

    int64_t id = blurtrack::kNoBlurId;
};

TEST_F(KeptRecording, IsStoredWhenTheCanvasSettles) {
    withStoreHeld([this] { canvas.settle(); });
    EXPECT_TRUE(canvas.hasUnstored());
    EXPECT_FALSE(canvas.settle().blurLost);
    expectStored();
}

TEST_F(KeptRecording, IsStoredBeforeAnExportBegins) {
    EXPECT_FALSE(canvas.pause(false).blurLost);
    expectStored();
}

TEST_F(KeptRecording, IsStoredByTheMouseAndByTheNextFrame) {
    show(13);
    expectStored();
    withStoreHeld([this] { press(100, 100); });
    buttonHeld = false;
    move(100, 101);
    EXPECT_FALSE(canvas.hasUnstored());
}

TEST_F(KeptRecording, KeepsItsNumberThroughTheNextPress) {
    withStoreHeld([this] {
        playing = true;
        move(200, 100);
        press(200, 100);
    });
    show(13);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10, 11, 12}));
    EXPECT_EQ(framesOf(upcomingBrushId() - 1), (std::vector<int64_t>{12, 13}));
    EXPECT_THAT(leftEdges(upcomingBrushId() - 1), ElementsAre(184, 184));
}

TEST_F(KeptRecording, IsDeletedWithItsBlur) {
    release(100, 100);
    ASSERT_TRUE(hovering());
    canvas.deleteHovered();
    EXPECT_THAT(framesOf(id), testing::IsEmpty());
}

TEST_F(KeptRecording, IsToldWhenTheStoreIsStillHeldAsAnExportBegins) {
    CanvasEffects effects;
    withStoreHeld([&] { effects = canvas.pause(false); });
    EXPECT_TRUE(effects.blurLost);
    EXPECT_THAT(
        log.lines(wxLOG_Error),
        ElementsAre(format(
            "[VideoCanvas] Blurs not stored, they are in use. The last one: id:%lld frame: %lld", id, 12)));
    // Nor does what was told to be missing turn up later.
    EXPECT_FALSE(canvas.hasUnstored());
    canvas.settle();
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10}));
    EXPECT_FALSE(canvas.pause(false).blurLost) << "told once";
}

TEST_F(KeptRecording, IsForgottenWithTheBlursOfItsVideo) {
    blurtrack::clear();
    blurtrack::initFrames(1000);
    canvas.settle();
    EXPECT_FALSE(canvas.hasUnstored());
    EXPECT_THAT(framesOf(id), testing::IsEmpty());
    EXPECT_TRUE(blurtrack::store().spans.empty());
}

TEST_F(Canvas, ADabThatAHeldStoreRefusedIsStoredWithTheNextMotion) {
    move(100, 100);
    const int64_t id = upcomingBrushId() - 1;
    withStoreHeld([this] {
        press(100, 100);
        release(100, 100);
    });
    EXPECT_TRUE(canvas.hasUnstored());
    move(101, 100);
    EXPECT_EQ(framesOf(id), (std::vector<int64_t>{10}));
    EXPECT_TRUE(hovering());
    EXPECT_TRUE(
        log.contains(format("[VideoCanvas] New Blur id:%lld frame: %lld", id, 10) + "(84, 84, 32, 32)"));
}

TEST_F(Canvas, ADabOfABrushThatHasPaintedTakesTheNextNumberInAHeldStore) {
    const int64_t recorded = recordedAt(100, 100);
    release(250, 200);
    ASSERT_TRUE(brushShown());
    const int64_t next = upcomingBrushId();
    withStoreHeld([this] { press(250, 200); });
    canvas.settle();
    EXPECT_EQ(framesOf(recorded), (std::vector<int64_t>{10, 11}));
    EXPECT_EQ(framesOf(next), (std::vector<int64_t>{11}));
    EXPECT_THAT(leftEdges(next), ElementsAre(250 - 16));
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
