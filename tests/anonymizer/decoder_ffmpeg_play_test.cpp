#include <atomic>
#include <limits>

#include <gtest/gtest.h>

#include "support/clip_decoding.h"

namespace {

class DecoderPlay : public testing::Test {
protected:
    void open(const std::string& name) {
        ASSERT_TRUE(decoder_.open(test::clipPath(name)));
        image_ = test::imageFor(decoder_);
    }
    void openScanned(const std::string& name) {
        open(name);
        test::scanAll(decoder_);
    }
    void expectNext(int64_t index, int64_t drawn) {
        ASSERT_TRUE(decoder_.next());
        const auto seen = test::look(decoder_, image_);
        EXPECT_EQ(seen.index, index);
        EXPECT_EQ(seen.drawn, drawn);
    }

    Decoder_ffmpeg decoder_;
    pxl::Image image_;
};

TEST_F(DecoderPlay, NumbersFromOneAndFromZeroBeforeTheFirst) {
    open("bframes.mp4");
    EXPECT_EQ(decoder_.frameIndex(), 0);
    expectNext(1, 1);
    expectNext(2, 2);
}

TEST_F(DecoderPlay, RefusesSeeksOutsideTheClipAndKeepsPlaying) {
    openScanned("bframes.mp4");
    ASSERT_TRUE(decoder_.seek(40));
    expectNext(40, 40);
    for (const int frame : {0, -1, 249, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        EXPECT_FALSE(decoder_.seek(frame)) << frame;
    EXPECT_EQ(decoder_.frameIndex(), 40);
    expectNext(41, 41);
}

TEST_F(DecoderPlay, ReachesTheLastFrameAndThenEnds) {
    openScanned("bframes.mp4");
    ASSERT_TRUE(decoder_.seek(248));
    expectNext(248, 248);
    EXPECT_FALSE(decoder_.next());
    EXPECT_FALSE(decoder_.convert(image_));
    ASSERT_TRUE(decoder_.seek(1));
    expectNext(1, 1);
}

TEST_F(DecoderPlay, TakesTheLastOfSeveralSeeks) {
    openScanned("bframes.mp4");
    ASSERT_TRUE(decoder_.seek(200));
    ASSERT_TRUE(decoder_.seek(3));
    expectNext(3, 3);
    expectNext(4, 4);
}

TEST_F(DecoderPlay, ReadsToTheEndForATargetThatNeverComes) {
    // Without a scan the target's time stamp is taken for 0, which no frame of this clip has.
    open("late_start.mp4");
    ASSERT_TRUE(decoder_.seek(20));
    EXPECT_FALSE(decoder_.next());
    EXPECT_EQ(decoder_.frameIndex(), 0);
}

TEST_F(DecoderPlay, GoesOnToAPendingTargetAfterAnInterruption) {
    openScanned("plain.mp4");
    ASSERT_TRUE(decoder_.seek(200));
    std::atomic<bool> interrupt{true};
    decoder_.setInterrupt(&interrupt);
    EXPECT_FALSE(decoder_.next());
    interrupt = false;
    // What lies on the way to the target would come with wrong numbers.
    expectNext(200, 200);
    expectNext(201, 201);
}

TEST_F(DecoderPlay, ResetStartsTheNumbersAgainWhereTheFileStands) {
    open("plain.mp4");
    for (int frame = 1; frame <= 50; ++frame)
        ASSERT_TRUE(decoder_.next());
    decoder_.reset();
    EXPECT_EQ(decoder_.frameIndex(), 0);
    // Number 51 is a key frame, so the picture is whole although the codec was emptied.
    expectNext(1, 51);
}

TEST_F(DecoderPlay, ConvertsNothingBeforeTheFirstFrame) {
    open("plain.mp4");
    EXPECT_FALSE(decoder_.convert(image_));
    EXPECT_TRUE(decoder_.next());
    pxl::Image empty;
    EXPECT_FALSE(decoder_.convert(empty));
    EXPECT_TRUE(decoder_.convert(image_));
}

TEST_F(DecoderPlay, ScalesToTheTargetsSize) {
    open("bframes.mp4");
    ASSERT_TRUE(decoder_.next());
    ASSERT_TRUE(decoder_.next());
    const int sizes[][2] = {{160, 90}, {321, 181}, {640, 360}, {854, 480}, {64, 36}};
    for (const auto& size : sizes) {
        image_ = pxl::Image(size[0], size[1]);
        EXPECT_EQ(test::look(decoder_, image_).drawn, 2) << size[0] << "x" << size[1];
    }
}

TEST_F(DecoderPlay, KeepsTheHeadersSizeWhenPicturesChangeTheirs) {
    openScanned("size_change.mp4");
    image_ = test::imageFor(decoder_);
    EXPECT_EQ(image_.width, 320);
    EXPECT_EQ(image_.height, 180);
    ASSERT_TRUE(decoder_.seek(50));
    expectNext(50, 50);
    expectNext(51, 51);
    expectNext(52, 52);
}

TEST_F(DecoderPlay, SeveralDecodersMayReadOneFile) {
    Decoder_ffmpeg other;
    ASSERT_TRUE(other.open(test::clipPath("bframes.mp4")));
    openScanned("bframes.mp4");
    ASSERT_TRUE(decoder_.seek(100));
    ASSERT_TRUE(other.next());
    expectNext(100, 100);
    EXPECT_EQ(test::look(other, image_).drawn, 1);
}

TEST(FrameFfmpeg, HoldsItsPictureAndNumber) {
    const Frame_ffmpeg frame(pxl::Image(4, 2), 7);
    const video::Frame& seen = frame;
    EXPECT_EQ(seen.frameIndex(), 7);
    ASSERT_NE(seen.image(), nullptr);
    EXPECT_EQ(seen.image()->width, 4);
    EXPECT_EQ(seen.image()->height, 2);
    EXPECT_NE(seen.image()->pixels, nullptr);
}

} // namespace
