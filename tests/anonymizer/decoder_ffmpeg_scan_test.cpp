#include <atomic>

#include <gtest/gtest.h>

#include "support/clip_decoding.h"
#include "support/log_capture.h"

namespace {

class DecoderScan : public testing::Test {
protected:
    void open(const std::string& name) { ASSERT_TRUE(decoder_.open(test::clipPath(name))); }

    Decoder_ffmpeg decoder_;
};

TEST_F(DecoderScan, ReportsEveryFrameAndTheStatedTotal) {
    open("bframes.mp4");
    video::Progress progress;
    std::vector<int64_t> reported;
    progress.onProgress = [&] {
        EXPECT_EQ(progress.total, 250);
        reported.push_back(progress.done);
    };
    decoder_.scan(progress);
    ASSERT_EQ(reported.size(), 248u);
    for (std::size_t i = 0; i < reported.size(); ++i)
        EXPECT_EQ(reported[i], static_cast<int64_t>(i) + 1);
    EXPECT_EQ(decoder_.frameIndex(), 0);
}

TEST_F(DecoderScan, LeavesTheFileAtItsEnd) {
    open("plain.mp4");
    EXPECT_EQ(test::scanAll(decoder_), 250);
    EXPECT_FALSE(decoder_.next());
    EXPECT_EQ(decoder_.frameIndex(), 0);
}

TEST_F(DecoderScan, CanBeStoppedByItsCallback) {
    open("bframes.mp4");
    video::Progress progress;
    progress.onProgress = [&] { progress.stop = progress.done == 30; };
    decoder_.scan(progress);
    EXPECT_EQ(progress.done, 30);
    EXPECT_EQ(test::frameCount(decoder_), 30);
    EXPECT_EQ(decoder_.frameIndex(), 0);

    EXPECT_FALSE(decoder_.seek(31));
    pxl::Image image = test::imageFor(decoder_);
    for (const int frame : {30, 1, 17}) {
        ASSERT_TRUE(decoder_.seek(frame));
        ASSERT_TRUE(decoder_.next());
        EXPECT_EQ(test::look(decoder_, image).drawn, frame);
    }
}

TEST_F(DecoderScan, CanBeInterruptedFromOutside) {
    open("bframes.mp4");
    std::atomic<bool> interrupt{false};
    decoder_.setInterrupt(&interrupt);
    video::Progress progress;
    progress.onProgress = [&] { interrupt = progress.done == 12; };
    decoder_.scan(progress);
    EXPECT_EQ(progress.done, 12);
    EXPECT_FALSE(decoder_.next());
    interrupt = false;
    EXPECT_EQ(test::frameCount(decoder_), 12);
    EXPECT_TRUE(decoder_.next());
}

TEST_F(DecoderScan, InterruptEndsAnOpenToo) {
    const test::LogCapture log;
    std::atomic<bool> interrupt{true};
    decoder_.setInterrupt(&interrupt);
    EXPECT_FALSE(decoder_.open(test::clipPath("plain.mp4")));
    EXPECT_EQ(decoder_.lastError(), "Immediate exit requested");
    decoder_.setInterrupt(nullptr);
    EXPECT_TRUE(decoder_.open(test::clipPath("plain.mp4")));
}

TEST_F(DecoderScan, MayBeRepeatedAfterAReopen) {
    open("plain.mp4");
    EXPECT_EQ(test::scanAll(decoder_), 250);
    open("plain.mp4");
    EXPECT_EQ(test::frameCount(decoder_), 250);
    EXPECT_EQ(test::scanAll(decoder_), 250);
}

TEST_F(DecoderScan, DropsWhatSeeksHadAddedToTheIndex) {
    open("bframes.mp4");
    for (const int frame : {250, 249, 100})
        EXPECT_TRUE(decoder_.seek(frame));
    EXPECT_EQ(test::frameCount(decoder_), 250);
    open("bframes.mp4");
    ASSERT_TRUE(decoder_.seek(250));
    ASSERT_TRUE(decoder_.open(test::clipPath("bframes.mp4")));
    EXPECT_EQ(test::scanAll(decoder_), 248);
    EXPECT_EQ(test::frameCount(decoder_), 248);
}

TEST_F(DecoderScan, SurvivesAClipThatDeliversNothing) {
    for (const char* name : {"one_frame_bframes.mp4", "two_frames_bframes.mp4"}) {
        open(name);
        EXPECT_EQ(test::scanAll(decoder_), 0);
        EXPECT_EQ(test::frameCount(decoder_), 0);
        EXPECT_FALSE(decoder_.seek(1));
        EXPECT_FALSE(decoder_.next());
        pxl::Image image(320, 180);
        EXPECT_FALSE(decoder_.convert(image));
    }
}

class DamagedClip : public testing::TestWithParam<std::string> {};

TEST_P(DamagedClip, IsScannedAsFarAsItPlays) {
    const test::LogCapture log;
    Decoder_ffmpeg linear;
    ASSERT_TRUE(linear.open(test::clipPath(GetParam())));
    const auto frames = test::playToEnd(linear);
    EXPECT_LE(frames.size(), 248u);

    Decoder_ffmpeg decoder;
    ASSERT_TRUE(decoder.open(test::clipPath(GetParam())));
    ASSERT_EQ(test::scanAll(decoder), static_cast<int64_t>(frames.size()));
    EXPECT_FALSE(decoder.seek(static_cast<int>(frames.size()) + 1));
    pxl::Image image = test::imageFor(decoder);
    for (std::size_t i = 0; i < frames.size(); i += 1 + frames.size() / 20) {
        ASSERT_TRUE(decoder.seek(static_cast<int>(i) + 1));
        for (std::size_t on = i; on < std::min(i + 20, frames.size()); ++on) {
            ASSERT_TRUE(decoder.next()) << i << " " << on;
            const test::FrameSeen seen = test::look(decoder, image);
            EXPECT_EQ(seen.index, frames[on].index) << i;
            EXPECT_EQ(seen.drawn, frames[on].drawn) << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, DamagedClip,
                         testing::Values("truncated_0.mp4", "truncated_1.mp4", "truncated_2.mp4",
                                         "truncated_3.mp4", "truncated_4.mp4", "truncated_5.mp4",
                                         "truncated_6.mp4", "truncated_7.mp4", "truncated_8.mp4",
                                         "truncated_9.mp4", "corrupt.mp4"),
                         [](const testing::TestParamInfo<std::string>& clip) {
                             return clip.param.substr(0, clip.param.find('.'));
                         });

} // namespace
