#include <algorithm>
#include <atomic>
#include <cctype>
#include <numeric>
#include <random>

#include <gtest/gtest.h>

#include "support/clip_decoding.h"

using test::FrameSeen;

namespace {

struct Clip {
    const char* name;
    int64_t delivered;
    /// Number drawn into the first picture.
    int64_t firstDrawn = 1;
};

void PrintTo(const Clip& clip, std::ostream* out) {
    *out << clip.name;
}

const Clip kClips[] = {
    {"plain.mp4", 250},
    {"bframes.mp4", 248},
    {"bframes.mov", 248},
    {"open_gop.mp4", 148},
    {"gop_250.mp4", 298},
    {"interlaced.mp4", 98},
    {"edit_list.mp4", 165, 84},
    {"late_start.mp4", 250},
    {"fragmented.mp4", 248},
    {"variable_rate.mp4", 120},
    {"same_time.mp4", 100},
    {"same_time_bframes.mp4", 97},
    {"audio_first.mp4", 250},
    {"two_videos.mp4", 60},
    {"size_change.mp4", 100},
    {"mpeg4_bframes.mp4", 119},
    {"hevc.mp4", 118},
    {"hevc_10bit_full.mp4", 58},
    {"prores.mov", 40},
    {"h264_10bit.mp4", 58},
    {"full_range.mp4", 58},
    {"bt709.mp4", 58},
    {"odd_321x181.mp4", 60},
    {"odd_321x181.mov", 38},
    {"width_854.mp4", 20},
    {"width_1080.mp4", 20},
    {"width_1366.mp4", 12},
    {"fps_23976.mp4", 118},
    {"fps_25.mp4", 118},
    {"fps_2997.mp4", 118},
    {"fps_30.mp4", 118},
    {"fps_50.mp4", 118},
    {"fps_60.mp4", 118},
    {"fps_120.mp4", 118},
    {"fps_240.mp4", 118},
    {"fps_90000.mp4", 30},
    {"slow_one_per_20s.mp4", 6},
    {"one_frame.mp4", 1},
    {"two_frames.mp4", 2},
    {"rotated.mp4", 250},
    {"path with spaces/clip one.mp4", 30},
    {"пример видео/Клип 🎬.mp4", 30},
    {"a:b.mp4", 30},
};

class DecoderSeek : public testing::TestWithParam<Clip> {
protected:
    void SetUp() override {
        Decoder_ffmpeg linear;
        ASSERT_TRUE(linear.open(test::clipPath(GetParam().name)));
        linear_ = test::playToEnd(linear);
        ASSERT_EQ(static_cast<int64_t>(linear_.size()), GetParam().delivered);

        ASSERT_TRUE(decoder_.open(test::clipPath(GetParam().name)));
        ASSERT_EQ(test::scanAll(decoder_), GetParam().delivered);
        ASSERT_EQ(test::frameCount(decoder_), GetParam().delivered);
        image_ = test::imageFor(decoder_);
    }

    const FrameSeen& linear(int frame) const { return linear_[static_cast<std::size_t>(frame - 1)]; }

    void expectExact(const std::vector<int>& frames) {
        for (const int frame : frames) {
            ASSERT_TRUE(decoder_.seek(frame)) << frame;
            ASSERT_TRUE(decoder_.next()) << frame;
            ASSERT_EQ(test::look(decoder_, image_), linear(frame));
        }
    }

    int last() const { return static_cast<int>(linear_.size()); }

    std::vector<FrameSeen> linear_;
    Decoder_ffmpeg decoder_;
    pxl::Image image_;
};

TEST_P(DecoderSeek, LinearPlayNumbersEveryPictureByWhatItShows) {
    for (int frame = 1; frame <= last(); ++frame) {
        ASSERT_EQ(linear(frame).index, frame);
        ASSERT_EQ(linear(frame).drawn, GetParam().firstDrawn + frame - 1) << linear(frame);
    }
}

TEST_P(DecoderSeek, ShuffledSeeksDeliverTheLinearPictures) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> any(1, last());
    std::vector<int> frames{1, last()};
    while (frames.size() < 50)
        frames.push_back(any(random));
    std::shuffle(frames.begin(), frames.end(), random);
    expectExact(frames);
}

TEST_P(DecoderSeek, ForwardAndReverseSeeksDeliverTheLinearPictures) {
    const int step = std::max(1, last() / 12);
    std::vector<int> frames;
    for (int frame = 1; frame <= last(); frame += step)
        frames.push_back(frame);
    frames.push_back(last());
    expectExact(frames);
    std::reverse(frames.begin(), frames.end());
    expectExact(frames);
}

TEST_P(DecoderSeek, PlayGoesOnFromTheTargetToTheSameEnd) {
    for (const int frame : {1, std::max(1, last() - 7)}) {
        ASSERT_TRUE(decoder_.seek(frame));
        const auto played = test::playToEnd(decoder_);
        const auto from = linear_.begin() + (frame - 1);
        ASSERT_EQ(played, std::vector<FrameSeen>(from, linear_.end())) << "from " << frame;
    }
}

/// Pictures on the way would carry wrong numbers, and so would the blurs painted on them.
TEST_P(DecoderSeek, AbandonedOnItsWayStillLeadsToTheTargetOrToTheNextOne) {
    std::atomic<bool> abandon{true};
    decoder_.setAbandonSeek(&abandon);
    const int middle = std::max(1, last() / 2);
    ASSERT_TRUE(decoder_.seek(middle));
    EXPECT_FALSE(decoder_.next());
    EXPECT_FALSE(decoder_.seek(last() + 1)) << "there is none";
    abandon = false;
    ASSERT_TRUE(decoder_.next());
    EXPECT_EQ(test::look(decoder_, image_), linear(middle));

    abandon = true;
    ASSERT_TRUE(decoder_.seek(middle));
    EXPECT_FALSE(decoder_.next());
    abandon = false;
    expectExact({last(), 1, middle});
}

/// Clips some of whose frames share a time stamp.
class DecoderSeekSameTime : public DecoderSeek {};

TEST_P(DecoderSeekSameTime, EveryFrameIsFoundForwardsBackwardsAndShuffled) {
    std::vector<int> frames(linear_.size());
    std::iota(frames.begin(), frames.end(), 1);
    expectExact(frames);
    std::reverse(frames.begin(), frames.end());
    expectExact(frames);
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::shuffle(frames.begin(), frames.end(), std::mt19937(seed));
    expectExact(frames);
}

TEST_P(DecoderSeekSameTime, PlayGoesOnFromEachOfThem) {
    for (const int frame : {1, 2, 3, 46, 47, 48, 49, 50, 51, 52, 60, 70, 71, 72, last() - 1, last()}) {
        ASSERT_TRUE(decoder_.seek(frame));
        for (int number = frame; number <= std::min(frame + 25, last()); ++number) {
            ASSERT_TRUE(decoder_.next()) << frame;
            ASSERT_EQ(test::look(decoder_, image_), linear(number)) << "from " << frame;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, DecoderSeekSameTime,
                         testing::Values(Clip{"same_time.mp4", 100}, Clip{"same_time_bframes.mp4", 97}));

INSTANTIATE_TEST_SUITE_P(Clips, DecoderSeek, testing::ValuesIn(kClips),
                         [](const testing::TestParamInfo<Clip>& clip) {
                             std::string name;
                             for (const char* c = clip.param.name; *c; ++c)
                                 if (std::isalnum(static_cast<unsigned char>(*c)))
                                     name += *c;
                             return std::to_string(clip.index) + "_" + name;
                         });

} // namespace
