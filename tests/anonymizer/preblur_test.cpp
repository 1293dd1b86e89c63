#include "preblur.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <random>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plain_preblur.h"

using blurtrack::BlurEntry;
using blurtrack::RectF;
using preblur::PreblurTrack;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// id, x, y, w, h, score.
using Row = std::tuple<int64_t, int, int, int, int, int>;

/// The process-wide store, empty before and after the test, with the frames 0 … lastFrame.
class StoreOfFrames {
public:
    explicit StoreOfFrames(int64_t lastFrame) : lock_(blurtrack::store().mutex), lastFrame_(lastFrame) {
        blurtrack::clear();
        blurtrack::initFrames(lastFrame);
    }
    ~StoreOfFrames() { blurtrack::clear(); }

    void add(int64_t frame, const RectF& rect, int32_t score = 60, int64_t id = blurtrack::kAnonymousBlurId) {
        blurtrack::addBlur(frame, rect, score, id);
    }
    void extend(int32_t life) { preblur::extendBackward(lastFrame_, life); }

    static std::vector<Row> rowsAt(int64_t frame) {
        std::vector<Row> rows;
        for (const BlurEntry& entry : blurtrack::entriesAt(frame))
            rows.emplace_back(entry.id, entry.x, entry.y, entry.w, entry.h, entry.score);
        return rows;
    }
    /// Number of entries of each frame, as text: "0 0 1".
    std::string counts() const {
        std::string text;
        for (int64_t frame = 0; frame <= lastFrame_; ++frame)
            text += (frame ? " " : "") + std::to_string(blurtrack::entriesAt(frame).size());
        return text;
    }

private:
    std::lock_guard<std::mutex> lock_;
    int64_t lastFrame_;
};

const RectF kBox{100, 100, 60, 60};

} // namespace

TEST(PreblurLife, IsTheProductCutToWholeFrames) {
    EXPECT_EQ(preblur::lifeInFrames(2, 25.0), 50);
    EXPECT_EQ(preblur::lifeInFrames(1, 29.97), 29);
    EXPECT_EQ(preblur::lifeInFrames(5, 24000.0 / 1001), 119);
    EXPECT_EQ(preblur::lifeInFrames(1, 0.5), 0);
}

TEST(PreblurLife, SurvivesRatesThatAreNoNumbersOrAbsurd) {
    EXPECT_EQ(preblur::lifeInFrames(2, std::nan("")), 0);
    EXPECT_EQ(preblur::lifeInFrames(2, std::numeric_limits<double>::infinity()),
              std::numeric_limits<int32_t>::max());
    EXPECT_EQ(preblur::lifeInFrames(2, 1e300), std::numeric_limits<int32_t>::max());
}

struct MatchCase {
    const char* what;
    RectF track;
    RectF entry;
    bool match;
};

void PrintTo(const MatchCase& match, std::ostream* out) {
    *out << match.what;
}

class PreblurMatch : public testing::TestWithParam<MatchCase> {};

TEST_P(PreblurMatch, FollowsTheRule) {
    const MatchCase& given = GetParam();
    const PreblurTrack track{5, 60, given.track.x, given.track.y, given.track.w, given.track.h};
    EXPECT_EQ(preblur::matches(track, given.entry), given.match);
}

INSTANTIATE_TEST_SUITE_P(
    HandWorked, PreblurMatch,
    testing::Values(
        MatchCase{"the same rectangle", {10, 10, 60, 60}, {10, 10, 60, 60}, true},
        // A sixth of 60 is 10.
        MatchCase{"moved right by exactly a sixth", {10, 10, 60, 60}, {20, 10, 60, 60}, true},
        MatchCase{"moved left by exactly a sixth", {20, 10, 60, 60}, {10, 10, 60, 60}, true},
        MatchCase{"moved right by more than a sixth", {10, 10, 60, 60}, {21, 10, 60, 60}, false},
        MatchCase{"moved down by exactly a sixth", {10, 10, 60, 60}, {10, 20, 60, 60}, true},
        MatchCase{"moved down by more than a sixth", {10, 10, 60, 60}, {10, 21, 60, 60}, false},
        // The sixth is the track's: 66 / 6 = 11, 60 / 6 = 10. 6 < trunc(6.6) fails, 5 < 6 holds.
        MatchCase{"the sixth is taken of the track", {10, 10, 65, 65}, {20.5f, 10, 60, 60}, true},
        MatchCase{"and not of the entry", {20.5f, 10, 60, 60}, {10, 10, 65, 65}, false},
        // 0.1 × 60 = 6: a difference of 5 is below, 6 is not.
        MatchCase{"width differs by one less than a tenth", {10, 10, 60, 60}, {10, 10, 55, 60}, true},
        MatchCase{"width differs by exactly a tenth", {10, 10, 60, 60}, {10, 10, 54, 60}, false},
        // The larger width counts, whichever has it: trunc(0.1 × 66) = 6.
        MatchCase{"a tenth of the larger width", {10, 10, 61, 60}, {10, 10, 66, 60}, true},
        MatchCase{"a tenth of the larger width, reached", {10, 10, 60, 60}, {10, 10, 66, 60}, false},
        // trunc(0.1 × 69) = 6: 6 is not below it although 6 < 6.9.
        MatchCase{"the share is cut to whole pixels", {10, 10, 69, 60}, {10, 10, 63, 60}, false},
        // trunc(5.5) = 5 is below 6.
        MatchCase{"the difference is cut to whole pixels", {10, 10, 60, 60}, {10, 10, 54.5f, 60}, true},
        // 0.2 × 60 = 12.
        MatchCase{"height differs by one less than a fifth", {10, 10, 60, 60}, {10, 10, 60, 49}, true},
        MatchCase{"height differs by exactly a fifth", {10, 10, 60, 60}, {10, 10, 60, 48}, false},
        // trunc(0.1 × 9) = 0, and nothing is below 0; trunc(0.1 × 10) = 1.
        MatchCase{"a width under 10 never matches", {10, 10, 9, 60}, {10, 10, 9, 60}, false},
        MatchCase{"a width of 10 does", {10, 10, 10, 60}, {10, 10, 10, 60}, true},
        // trunc(0.2 × 4) = 0; trunc(0.2 × 5) = 1.
        MatchCase{"a height under 5 never matches", {10, 10, 60, 4}, {10, 10, 60, 4}, false},
        MatchCase{"a height of 5 does", {10, 10, 60, 5}, {10, 10, 60, 5}, true},
        MatchCase{"negative positions", {-30, -30, 60, 60}, {-25, -35, 58, 55}, true},
        MatchCase{"no area", {10, 10, 0, 0}, {10, 10, 0, 0}, false},
        MatchCase{"side by side", {10, 10, 60, 60}, {70, 10, 60, 60}, false}));

// Overlap can't fail alone while the sixth holds, unless a side is negative.
TEST(PreblurMatchOverlap, TouchingIsNotOverlapping) {
    EXPECT_FALSE(preblur::matches({5, 60, 10, 10, 60, 60}, {10, 10, 60, -60}));
}

TEST(PreblurStep, AnUnmatchedTrackIsAddedFirstAndCountsDownAfterwards) {
    std::vector<PreblurTrack> tracks = {{2, 61, 1, 2, 30, 40}, {1, 62, 300, 2, 30, 40}};
    std::vector<PreblurTrack> pending;
    preblur::step({}, 25, tracks, pending);

    ASSERT_EQ(pending.size(), 2u);
    EXPECT_EQ(pending[0].score, 61);
    EXPECT_EQ(pending[1].score, 62);
    EXPECT_EQ(pending[1].x, 300.0f);
    ASSERT_EQ(tracks.size(), 1u);
    EXPECT_EQ(tracks[0].remaining, 1);
    EXPECT_EQ(tracks[0].score, 61);
}

TEST(PreblurStep, AMatchedTrackEndsAndTheEntryStartsItsOwn) {
    std::vector<PreblurTrack> tracks = {{7, 61, 100, 100, 60, 60}};
    std::vector<PreblurTrack> pending;
    preblur::step({{blurtrack::kAnonymousBlurId, 105, 98, 58, 55, 77}}, 25, tracks, pending);

    EXPECT_THAT(pending, IsEmpty());
    ASSERT_EQ(tracks.size(), 1u);
    EXPECT_EQ(tracks[0].remaining, 25);
    EXPECT_EQ(tracks[0].score, 77);
    EXPECT_EQ(tracks[0].x, 105.0f);
    EXPECT_EQ(tracks[0].h, 55.0f);
}

TEST(PreblurStep, ANegativeLifeMovesTowardZeroToo) {
    std::vector<PreblurTrack> tracks = {{-2, 61, 100, 100, 60, 60}};
    std::vector<PreblurTrack> pending;
    preblur::step({}, 25, tracks, pending);
    ASSERT_EQ(tracks.size(), 1u);
    EXPECT_EQ(tracks[0].remaining, -1);
}

TEST(Preblur, ExtendsARegionAloneByItsLifeIntoThePast) {
    StoreOfFrames store(120);
    store.add(100, kBox, 73);
    store.extend(50);
    for (int64_t frame = 0; frame <= 120; ++frame) {
        SCOPED_TRACE(frame);
        if (frame >= 50 && frame <= 100)
            EXPECT_THAT(store.rowsAt(frame),
                        ElementsAre(Row(blurtrack::kAnonymousBlurId, 100, 100, 60, 60, 73)));
        else
            EXPECT_THAT(store.rowsAt(frame), IsEmpty());
    }
}

TEST(Preblur, AnEarlierEntryOutOfReachStartsItsOwnTrack) {
    StoreOfFrames store(130);
    store.add(40, kBox);
    for (int64_t frame = 100; frame <= 120; ++frame)
        store.add(frame, kBox);
    store.extend(50);
    for (int64_t frame = 0; frame <= 130; ++frame) {
        SCOPED_TRACE(frame);
        const bool first = frame <= 40;                  // 40, and all of 0 … 39 before it
        const bool second = frame >= 50 && frame <= 120; // 50 … 99 before 100 … 120
        EXPECT_EQ(store.rowsAt(frame).size(), first || second ? 1u : 0u);
    }
}

TEST(Preblur, AnEntryOnTheWayTakesOver) {
    StoreOfFrames store(10);
    store.add(9, kBox, 60);
    store.add(7, {105, 100, 60, 60}, 80);
    store.extend(4);
    // From 9: only 8, since 7 has an entry of its own. From 7: 6 … 3.
    EXPECT_EQ(store.counts(), "0 0 0 1 1 1 1 1 1 1 0");
    EXPECT_THAT(store.rowsAt(8), ElementsAre(Row(-100, 100, 100, 60, 60, 60)));
    EXPECT_THAT(store.rowsAt(6), ElementsAre(Row(-100, 105, 100, 60, 60, 80)));
}

TEST(Preblur, OneEntryTakesOverFromEveryTrackThatFits) {
    StoreOfFrames store(3);
    store.add(3, kBox);
    store.add(3, {102, 100, 60, 60});
    store.add(2, {101, 100, 60, 60});
    store.extend(1);
    EXPECT_EQ(store.counts(), "0 1 1 2");
}

TEST(Preblur, CopiesStartNoTracks) {
    StoreOfFrames store(10);
    store.add(10, kBox);
    store.extend(2);
    EXPECT_EQ(store.counts(), "0 0 0 0 0 0 0 0 1 1 1");
}

TEST(Preblur, ALifeOfZeroStillExtendsByOneFrame) {
    StoreOfFrames store(5);
    store.add(4, kBox);
    store.extend(0);
    EXPECT_EQ(store.counts(), "0 0 0 1 1 0");
}

TEST(Preblur, BrushBlursAreExtendedAsDetectionsWithoutTouchingTheirSpan) {
    StoreOfFrames store(5);
    store.add(4, kBox, blurtrack::kBrushScore, 7);
    store.extend(2);
    EXPECT_THAT(store.rowsAt(4), ElementsAre(Row(7, 100, 100, 60, 60, 100)));
    EXPECT_THAT(store.rowsAt(3), ElementsAre(Row(-100, 100, 100, 60, 60, 100)));
    EXPECT_THAT(store.rowsAt(2), ElementsAre(Row(-100, 100, 100, 60, 60, 100)));
    EXPECT_THAT(store.rowsAt(1), IsEmpty());
    const auto span = blurtrack::spanOf(7);
    ASSERT_TRUE(span);
    EXPECT_EQ(span->startFrame, 4);
    EXPECT_EQ(span->frameCount, 1);
}

TEST(Preblur, ReachesFrameZeroAndBeginsWithTheLastFrame) {
    StoreOfFrames store(3);
    store.add(3, kBox);
    store.add(1, {300, 300, 20, 20});
    store.extend(100);
    EXPECT_EQ(store.counts(), "2 2 1 1");
}

TEST(Preblur, LooksAtNoFrameAfterTheLastOne) {
    StoreOfFrames store(5);
    store.add(5, kBox);
    preblur::extendBackward(4, 100);
    EXPECT_EQ(store.counts(), "0 0 0 0 0 1");
}

TEST(Preblur, TheSameRegionsGiveTheSameCopiesInTheSameOrder) {
    StoreOfFrames store(2);
    store.add(2, {10, 10, 20, 20}, 11);
    store.add(2, {200, 10, 20, 20}, 12);
    store.add(2, {100, 10, 20, 20}, 13);
    store.extend(1);
    EXPECT_THAT(store.rowsAt(1), ElementsAre(Row(-100, 10, 10, 20, 20, 11), Row(-100, 200, 10, 20, 20, 12),
                                             Row(-100, 100, 10, 20, 20, 13)));
}

TEST(Preblur, GivesWhatThePlainPassGives) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const auto pick = [&](int lowest, int highest) {
            return std::uniform_int_distribution<int>(lowest, highest)(random);
        };
        const int lastFrame = pick(0, 60);
        const int life = pick(0, 20);
        const int crowd = pick(1, 30);
        const int spread = pick(10, 400); // small: nearly everything matches; large: hardly anything
        StoreOfFrames store(lastFrame);
        for (int frame = 0; frame <= lastFrame; ++frame) {
            const int count = pick(0, crowd);
            for (int index = 0; index < count; ++index)
                store.add(frame,
                          {static_cast<float>(pick(-spread, spread)),
                           static_cast<float>(pick(-spread, spread)), static_cast<float>(pick(0, 90)),
                           static_cast<float>(pick(0, 90))},
                          pick(0, 100), pick(0, 4) == 0 ? int64_t{index} : blurtrack::kAnonymousBlurId);
        }
        const auto expected = test::plainPreblur(blurtrack::store().frames, lastFrame, life);
        store.extend(life);
        for (int64_t frame = 0; frame <= lastFrame; ++frame) {
            SCOPED_TRACE("frame " + std::to_string(frame));
            std::vector<Row> rows;
            for (const BlurEntry& entry : expected.at(frame))
                rows.emplace_back(entry.id, entry.x, entry.y, entry.w, entry.h, entry.score);
            ASSERT_EQ(store.rowsAt(frame), rows);
        }
    }
}
