#include "blurtrack.h"

#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/log_capture.h"

namespace {

using namespace blurtrack;
using testing::ElementsAre;
using testing::IsEmpty;

/// Every test starts with frames 0 … 30, empty, and holds the store's mutex as its users do.
class BlurTrack : public testing::Test {
protected:
    BlurTrack() : lock_(store().mutex) {
        clear();
        initFrames(30);
    }
    ~BlurTrack() override { clear(); }

    static std::vector<int64_t> idsAt(int64_t frame) {
        std::vector<int64_t> ids;
        for (const BlurEntry& entry : entriesAt(frame))
            ids.push_back(entry.id);
        return ids;
    }
    static void expectSpan(int64_t id, int64_t start, int64_t count) {
        const auto span = spanOf(id);
        ASSERT_TRUE(span.has_value());
        EXPECT_EQ(span->startFrame, start);
        EXPECT_EQ(span->frameCount, count);
    }
    static void expectRect(const BlurEntry& entry, int32_t x, int32_t y, int32_t w, int32_t h) {
        EXPECT_EQ(entry.x, x);
        EXPECT_EQ(entry.y, y);
        EXPECT_EQ(entry.w, w);
        EXPECT_EQ(entry.h, h);
    }

    std::lock_guard<std::mutex> lock_;
};

constexpr RectF kRect{1, 2, 3, 4};
constexpr RectF kOther{10, 20, 30, 40};

} // namespace

TEST_F(BlurTrack, EntryTakes32Bytes) {
    EXPECT_EQ(sizeof(BlurEntry), 32u);
}

TEST_F(BlurTrack, InitFramesBelowZeroLeavesTheMapAsItWas) {
    addBlur(3, kRect, 100, 7);
    initFrames(-1);
    EXPECT_EQ(store().frames.size(), 31u);
    EXPECT_THAT(idsAt(3), ElementsAre(7));
    clear();
    initFrames(-1);
    EXPECT_TRUE(store().frames.empty());
}

TEST_F(BlurTrack, InitFramesZeroCreatesExactlyFrameZero) {
    clear();
    initFrames(0);
    ASSERT_EQ(store().frames.size(), 1u);
    EXPECT_EQ(store().frames.begin()->first, 0);
}

TEST_F(BlurTrack, InitFramesIncludesTheLastFrame) {
    clear();
    initFrames(248);
    EXPECT_EQ(store().frames.size(), 249u);
    EXPECT_EQ(store().frames.rbegin()->first, 248);
}

TEST_F(BlurTrack, InitFramesEmptiesExistingKeysAndLeavesSpansAlone) {
    addBlur(3, kRect, 100, 7);
    addBlur(30, kRect, 100, 8);
    initFrames(10);
    EXPECT_THAT(idsAt(3), IsEmpty());
    EXPECT_EQ(entriesAt(3).capacity(), 0u) << "the list's memory is released";
    EXPECT_THAT(idsAt(30), ElementsAre(8)) << "keys past the last frame are not touched";
    expectSpan(7, 3, 1);
}

TEST_F(BlurTrack, InitFramesFillsTheGapsBetweenExistingKeys) {
    clear();
    store().frames[-2];
    store().frames[1];
    store().frames[4];
    initFrames(3);
    std::vector<int64_t> keys;
    for (const auto& frame : store().frames)
        keys.push_back(frame.first);
    EXPECT_THAT(keys, ElementsAre(-2, 0, 1, 2, 3, 4));
}

TEST_F(BlurTrack, ClearForgetsFramesAndSpans) {
    addBlur(3, kRect, 100, 7);
    clear();
    EXPECT_TRUE(store().frames.empty());
    EXPECT_FALSE(spanOf(7).has_value());
}

TEST_F(BlurTrack, AddReturnsTheStoredEntry) {
    const BlurEntry added = addBlur(3, {1, 2, 3, 4}, 80, 7);
    EXPECT_EQ(added.id, 7);
    EXPECT_EQ(added.score, 80);
    expectRect(added, 1, 2, 3, 4);
    ASSERT_EQ(entriesAt(3).size(), 1u);
    EXPECT_EQ(entriesAt(3)[0].score, 80);
    expectRect(entriesAt(3)[0], 1, 2, 3, 4);
}

TEST_F(BlurTrack, RectanglesAreTruncatedTowardZero) {
    expectRect(addBlur(3, {1.9f, -1.9f, 3.999f, 0.5f}, 100, 7), 1, -1, 3, 0);
    expectRect(addBlur(3, {-0.9f, 2.0f, 10.1f, 10.9f}, 100, kAnonymousBlurId), 0, 2, 10, 10);
}

TEST_F(BlurTrack, RectanglesBeyond32BitsAreCutOff) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    expectRect(addBlur(3, {-1e20f, 1e20f, 2147483648.0f, nan}, 100, 7), INT32_MIN, INT32_MAX, INT32_MAX, 0);
}

TEST_F(BlurTrack, SpanGrowsByOneAndNeverBackwards) {
    for (int64_t frame : {10, 11, 12})
        addBlur(frame, kRect, 100, 7);
    expectSpan(7, 10, 3);
    addBlur(20, kRect, 100, 7);
    expectSpan(7, 10, 4);
    EXPECT_THAT(idsAt(20), ElementsAre(7));
    addBlur(5, kRect, 100, 7);
    expectSpan(7, 10, 4);
    EXPECT_THAT(idsAt(5), ElementsAre(7));
    addBlur(13, kRect, 100, 7);
    expectSpan(7, 10, 4);
    EXPECT_THAT(idsAt(13), ElementsAre(7)) << "a frame inside the span takes the rectangle";
}

TEST_F(BlurTrack, FirstRectangleOfAnIdInAFrameWins) {
    addBlur(10, kRect, 100, 7);
    const BlurEntry second = addBlur(10, kOther, 60, 7);
    expectRect(second, 1, 2, 3, 4);
    EXPECT_EQ(second.score, 100);
    ASSERT_EQ(entriesAt(10).size(), 1u);
    expectRect(entriesAt(10)[0], 1, 2, 3, 4);
    expectSpan(7, 10, 1);
}

TEST_F(BlurTrack, AnonymousEntriesAreNeverMerged) {
    const BlurEntry added = addBlur(10, kRect, 55, kAnonymousBlurId);
    addBlur(10, kRect, 55, kAnonymousBlurId);
    EXPECT_EQ(added.id, kAnonymousBlurId);
    EXPECT_EQ(added.score, 55);
    EXPECT_EQ(entriesAt(10).size(), 2u);
    EXPECT_FALSE(spanOf(kAnonymousBlurId).has_value());
}

TEST_F(BlurTrack, AnonymousEntryInAnUnknownFrameIsLost) {
    EXPECT_EQ(addBlur(31, kRect, 55, kAnonymousBlurId).id, kAnonymousBlurId);
    EXPECT_EQ(store().frames.size(), 31u);
}

TEST_F(BlurTrack, NoBlurIdStoresNothing) {
    const BlurEntry added = addBlur(10, kRect, 100, kNoBlurId);
    EXPECT_EQ(added.id, kNoBlurId);
    EXPECT_EQ(added.score, 0);
    expectRect(added, 0, 0, 0, 0);
    EXPECT_THAT(idsAt(10), IsEmpty());
    EXPECT_FALSE(spanOf(kNoBlurId).has_value());
}

TEST_F(BlurTrack, IdZeroIsAnOrdinaryId) {
    addBlur(10, kRect, 100, 0);
    EXPECT_THAT(idsAt(10), ElementsAre(0));
    expectSpan(0, 10, 1);
    delBlur(0, 10);
    EXPECT_THAT(idsAt(10), IsEmpty());
}

TEST_F(BlurTrack, UnknownFrameLosesTheRectangleButStillMakesTheSpan) {
    const BlurEntry added = addBlur(31, kRect, 100, 7);
    EXPECT_EQ(added.id, 7);
    expectRect(added, 1, 2, 3, 4);
    EXPECT_EQ(store().frames.count(31), 0u);
    EXPECT_THAT(entriesAt(31), IsEmpty());
    expectSpan(7, 31, 1);
    addBlur(32, kRect, 100, 7);
    expectSpan(7, 31, 2);
}

TEST_F(BlurTrack, DeletingBeforeTheStartIsRefused) {
    const test::LogCapture log;
    for (int64_t frame : {10, 11, 12})
        addBlur(frame, kRect, 100, 7);
    delBlur(7, 9);
    EXPECT_THAT(log.lines(wxLOG_Message),
                ElementsAre("[BlurTrack] Cannot delete id:7 starting from frame :  9"));
    EXPECT_EQ(log.lines().size(), 1u);
    for (int64_t frame : {10, 11, 12})
        EXPECT_THAT(idsAt(frame), ElementsAre(7)) << frame;
}

TEST_F(BlurTrack, DeletingPastTheEndFindsNothing) {
    const test::LogCapture log;
    for (int64_t frame : {10, 11, 12})
        addBlur(frame, kRect, 100, 7);
    delBlur(7, 13);
    EXPECT_THAT(log.lines(wxLOG_Message),
                ElementsAre("[BlurTrack] Nothing to destroy id:7 from frame :  13"));
    EXPECT_EQ(log.lines().size(), 1u);
    for (int64_t frame : {10, 11, 12})
        EXPECT_THAT(idsAt(frame), ElementsAre(7)) << frame;
}

TEST_F(BlurTrack, DeletingFromTheMiddleKeepsEarlierFrames) {
    const test::LogCapture log;
    for (int64_t frame : {10, 11, 12})
        addBlur(frame, kRect, 100, 7);
    delBlur(7, 11);
    EXPECT_THAT(idsAt(10), ElementsAre(7));
    EXPECT_THAT(idsAt(11), IsEmpty());
    EXPECT_THAT(idsAt(12), IsEmpty());
    expectSpan(7, 10, 3);
    EXPECT_THAT(log.lines(wxLOG_Message),
                ElementsAre("[BlurTrack] Destroyed blurs with id:7 from frame: 11 ->"));
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(BlurTrack, DeletingTwiceIsLoggedTwice) {
    const test::LogCapture log;
    addBlur(10, kRect, 100, 7);
    delBlur(7, 10);
    delBlur(7, 10);
    const std::string line = "[BlurTrack] Destroyed blurs with id:7 from frame: 10 ->";
    EXPECT_THAT(log.lines(), ElementsAre(line, line));
}

TEST_F(BlurTrack, DeletingAnUnknownIdIsSilent) {
    const test::LogCapture log;
    addBlur(10, kRect, 100, kAnonymousBlurId);
    delBlur(8, 10);
    delBlur(kAnonymousBlurId, 10);
    delBlur(kNoBlurId, 10);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(entriesAt(10).size(), 1u);
}

TEST_F(BlurTrack, DeletingKeepsTheOthersInOrder) {
    for (int64_t id : {5, 7, 6})
        addBlur(10, kRect, 100, id);
    addBlur(10, kRect, 100, kAnonymousBlurId);
    delBlur(7, 10);
    EXPECT_THAT(idsAt(10), ElementsAre(5, 6, kAnonymousBlurId));
}

TEST_F(BlurTrack, DeletingStopsAtTheEndOfTheSpan) {
    for (int64_t frame : {10, 11, 12, 20})
        addBlur(frame, kRect, 100, 7);
    delBlur(7, 10);
    EXPECT_THAT(idsAt(20), ElementsAre(7)) << "the span covers 10 to 13 only";
}

TEST_F(BlurTrack, DeletingPassesOverMissingFrames) {
    for (int64_t frame : {10, 11, 12})
        addBlur(frame, kRect, 100, 7);
    store().frames.erase(11);
    delBlur(7, 10);
    EXPECT_EQ(store().frames.count(11), 0u);
    EXPECT_THAT(idsAt(12), IsEmpty());
}

TEST_F(BlurTrack, LogsLargeIdsWhole) {
    const test::LogCapture log;
    const int64_t id = 9'000'000'000'000'000'001;
    addBlur(10, kRect, 100, id);
    delBlur(id, -3);
    EXPECT_THAT(log.lines(),
                ElementsAre("[BlurTrack] Cannot delete id:9000000000000000001 starting from frame : -3"));
}

TEST_F(BlurTrack, HitTestReturnsTheEntryAddedLast) {
    addBlur(10, {0, 0, 20, 20}, 100, 5);
    addBlur(10, {10, 10, 20, 20}, 100, 6);
    EXPECT_EQ(hitTest(10, 15, 15).id, 6);
    EXPECT_EQ(hitTest(10, 5, 5).id, 5);
    EXPECT_EQ(hitTest(10, 25, 5).id, kNoBlurId);
}

TEST_F(BlurTrack, HitTestIsHalfOpen) {
    addBlur(10, {10, 20, 30, 40}, 100, 5);
    EXPECT_EQ(hitTest(10, 10, 20).id, 5);
    EXPECT_EQ(hitTest(10, 39.99f, 59.99f).id, 5);
    EXPECT_EQ(hitTest(10, 40, 30).id, kNoBlurId);
    EXPECT_EQ(hitTest(10, 20, 60).id, kNoBlurId);
    EXPECT_EQ(hitTest(10, 9.99f, 30).id, kNoBlurId);
    EXPECT_EQ(hitTest(10, 20, 19.99f).id, kNoBlurId);
}

TEST_F(BlurTrack, HitTestKnowsNoSpecialIds) {
    addBlur(10, {0, 0, 20, 20}, 100, 5);
    addBlur(10, {0, 0, 20, 20}, 10, kAnonymousBlurId);
    EXPECT_EQ(hitTest(10, 5, 5).id, kAnonymousBlurId);
}

TEST_F(BlurTrack, HitTestIgnoresEmptyAndNegativeSizes) {
    addBlur(10, {5, 5, 0, 10}, 100, 5);
    addBlur(10, {5, 5, -10, -10}, 100, 6);
    EXPECT_EQ(hitTest(10, 5, 5).id, kNoBlurId);
    EXPECT_EQ(hitTest(10, 0, 0).id, kNoBlurId);
}

TEST_F(BlurTrack, HitTestSurvivesHugeRectangles) {
    addBlur(10, {1e9f, 1e9f, 2e9f, 2e9f}, 100, 5);
    EXPECT_EQ(hitTest(10, 2.5e9f, 2.5e9f).id, 5) << "right edge beyond 32 bits";
}

TEST_F(BlurTrack, HitTestInAnUnknownFrameFindsNothing) {
    EXPECT_EQ(hitTest(31, 0, 0).id, kNoBlurId);
    EXPECT_EQ(hitTest(-1, 0, 0).id, kNoBlurId);
}

TEST_F(BlurTrack, EntriesOfAnUnknownFrameAreEmptyAndCreateNoKey) {
    EXPECT_THAT(entriesAt(1000), IsEmpty());
    EXPECT_EQ(store().frames.count(1000), 0u);
}

TEST(BlurTrackThreads, OneMutexSerialisesItsUsers) {
    {
        const std::lock_guard<std::mutex> lock(store().mutex);
        clear();
        initFrames(200);
    }
    std::vector<std::thread> threads;
    for (int64_t id = 1; id <= 4; ++id)
        threads.emplace_back([id] {
            for (int64_t frame = 1; frame <= 200; ++frame) {
                const std::lock_guard<std::mutex> lock(store().mutex);
                addBlur(frame, kRect, 100, id);
                hitTest(frame, 1, 2);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    const std::lock_guard<std::mutex> lock(store().mutex);
    for (int64_t frame = 1; frame <= 200; ++frame)
        EXPECT_EQ(entriesAt(frame).size(), 4u);
    for (int64_t id = 1; id <= 4; ++id)
        EXPECT_EQ(spanOf(id)->frameCount, 200);
    clear();
}
