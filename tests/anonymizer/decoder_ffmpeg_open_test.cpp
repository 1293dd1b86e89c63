#include <string>

#include <gtest/gtest.h>

#include "support/clip_decoding.h"
#include "support/log_capture.h"
#include "support/media_probe.h"
#include "support/temp_dir.h"

namespace {

video::VideoInfo infoOf(const std::string& name, bool scanned = false) {
    Decoder_ffmpeg decoder;
    EXPECT_TRUE(decoder.open(test::clipPath(name))) << name;
    if (scanned)
        test::scanAll(decoder);
    video::VideoInfo info;
    decoder.info(info);
    return info;
}

StreamTraits traitsOf(const std::string& name) {
    Decoder_ffmpeg decoder;
    EXPECT_TRUE(decoder.open(test::clipPath(name))) << name;
    EXPECT_FALSE(decoder.traits().variableRate);
    test::scanAll(decoder);
    return decoder.traits();
}

void expectFailure(const wxString& path, const wxString& text) {
    const test::LogCapture log;
    Decoder_ffmpeg decoder;
    EXPECT_FALSE(decoder.open(path)) << path;
    EXPECT_EQ(decoder.lastError(), text) << path;
    const auto errors = log.lines(wxLOG_Error);
    if (text.empty())
        EXPECT_TRUE(errors.empty()) << path;
    else
        EXPECT_EQ(errors, std::vector<std::string>{("[DecoderFFMPEG] " + text).utf8_string()}) << path;

    EXPECT_FALSE(decoder.next());
    EXPECT_FALSE(decoder.seek(1));
    EXPECT_EQ(test::scanAll(decoder), 0);
    EXPECT_EQ(test::frameCount(decoder), 0);
}

TEST(DecoderOpen, DescribesTheStream) {
    const video::VideoInfo info = infoOf("bframes.mp4");
    EXPECT_EQ(info.durationSec, 10);
    EXPECT_EQ(info.frameCount, 250);
    EXPECT_EQ(info.width, 320);
    EXPECT_EQ(info.height, 180);
    EXPECT_EQ(info.fps, 25.0);
    EXPECT_GT(info.bitRate, 0);
    EXPECT_EQ(info.gopSize, 12);
    EXPECT_EQ(info.path, test::clipPath("bframes.mp4"));
    EXPECT_TRUE(info.isH264);
    EXPECT_TRUE(info.seeksToPts);
    EXPECT_EQ(info.colorMatrix, video::kColorMatrixUnspecified);
}

TEST(DecoderOpen, CountsTheIndexOnlyAfterTheScan) {
    EXPECT_EQ(infoOf("bframes.mp4", true).frameCount, 248);
    EXPECT_EQ(infoOf("fragmented.mp4").frameCount, 0);
    EXPECT_EQ(infoOf("fragmented.mp4", true).frameCount, 248);
}

TEST(DecoderOpen, TruncatesTheDuration) {
    EXPECT_EQ(infoOf("edit_list.mp4").durationSec, 6);
    EXPECT_EQ(infoOf("one_frame.mp4").durationSec, 0);
    EXPECT_EQ(infoOf("slow_one_per_20s.mp4").durationSec, 120);
}

TEST(DecoderOpen, StatesTheRateAsAFraction) {
    EXPECT_EQ(infoOf("fps_23976.mp4").fps, 24000.0 / 1001.0);
    EXPECT_EQ(infoOf("fps_2997.mp4").fps, 30000.0 / 1001.0);
    EXPECT_EQ(infoOf("fps_240.mp4").fps, 240.0);
    EXPECT_EQ(infoOf("slow_one_per_20s.mp4").fps, 0.05);
}

TEST(DecoderOpen, TakesTheFirstVideoStream) {
    EXPECT_EQ(infoOf("audio_first.mp4").width, 320);
    EXPECT_EQ(infoOf("two_videos.mp4").width, 320);
}

TEST(DecoderOpen, TellsCodecsAndMatricesApart) {
    EXPECT_FALSE(infoOf("mpeg4_bframes.mp4").isH264);
    EXPECT_FALSE(infoOf("hevc.mp4").isH264);
    EXPECT_EQ(infoOf("bt709.mp4").colorMatrix, 1);
    EXPECT_EQ(traitsOf("mpeg4_bframes.mp4").codec, "mpeg4");
    EXPECT_EQ(traitsOf("hevc.mp4").codec, "hevc");
    EXPECT_EQ(traitsOf("prores.mov").codec, "prores");
    EXPECT_EQ(traitsOf("bframes.mp4").codec, "h264");
    EXPECT_EQ(Decoder_ffmpeg().traits().codec, "");
}

TEST(DecoderOpen, NoticesAVariableRateInTheScan) {
    EXPECT_TRUE(traitsOf("variable_rate.mp4").variableRate);
    for (const char* name : {"bframes.mp4", "edit_list.mp4", "fps_23976.mp4", "fps_2997.mp4",
                             "fragmented.mp4", "one_frame.mp4", "open_gop.mp4", "slow_one_per_20s.mp4"})
        EXPECT_FALSE(traitsOf(name).variableRate) << name;
}

TEST(DecoderOpen, IgnoresTheRotationTag) {
    const video::VideoInfo info = infoOf("rotated.mp4");
    EXPECT_EQ(info.width, 320);
    EXPECT_EQ(info.height, 180);
}

TEST(DecoderOpen, FailsWithTheLibrarysWords) {
    const wxString invalid = "Invalid data found when processing input";
    expectFailure(test::clipPath("empty.mp4"), invalid);
    expectFailure(test::clipPath("text.mp4"), invalid);
    expectFailure(test::clipPath("truncated_no_index.mp4"), invalid);
    expectFailure(test::clipPath("there is no such file.mp4"), "No such file or directory");
    expectFailure(test::clipPath("directory.mp4"), "Is a directory");
    expectFailure("", "No such file or directory");
}

TEST(DecoderOpen, FailsSilentlyWithoutAVideoStream) {
    expectFailure(test::clipPath("audio_only.mp4"), "");
}

/// Three uncompressed pictures in a QuickTime file, whose sizes only its header knows.
std::string rawClip(const test::TempDir& dir) {
    const wxString path = dir.file("raw.mov");
    test::outputOf("ffmpeg -v error -f lavfi -i color=red:size=64x48:rate=25 -frames:v 3 -c:v rawvideo "
                   "-pix_fmt rgb24 " +
                   test::quoted(path));
    return test::readFile(path.utf8_string());
}

TEST(DecoderOpen, FailsSilentlyWithoutAPictureSize) {
    const test::TempDir dir;
    const std::string clip = rawClip(dir);
    // Width and height, two bytes each, in the sample description.
    const std::size_t size = clip.find("stsd") + 44;
    ASSERT_EQ(clip.substr(size, 4), std::string("\0\x40\0\x30", 4));
    for (const std::size_t side : {size, size + 2}) {
        std::string flat = clip;
        flat.replace(side, 2, 2, '\0');
        dir.write("flat.mov", flat);
        expectFailure(dir.file("flat.mov"), "");
    }
}

// The library replaces a rate of 0/0 by the units of the time stamps, so no file leads to one. Not a number
// is tried where it would matter: with the encoder and the export.
TEST(DecoderOpen, SurvivesATimeScaleOfNothing) {
    const test::TempDir dir;
    std::string clip = rawClip(dir);
    clip.replace(clip.find("mdhd") + 16, 4, 4, '\0');
    dir.write("timeless.mov", clip);
    Decoder_ffmpeg decoder;
    ASSERT_TRUE(decoder.open(dir.file("timeless.mov")));
    EXPECT_LE(test::scanAll(decoder), 3);
    video::VideoInfo info;
    EXPECT_GT(decoder.info(info).fps, 0);
    EXPECT_LT(info.fps, 1);
}

TEST(DecoderOpen, ForgetsTheLastFailureWhenItSucceeds) {
    const test::LogCapture log;
    Decoder_ffmpeg decoder;
    EXPECT_FALSE(decoder.open(test::clipPath("empty.mp4")));
    EXPECT_FALSE(decoder.lastError().empty());
    EXPECT_TRUE(decoder.open(test::clipPath("plain.mp4")));
    EXPECT_TRUE(decoder.lastError().empty());
    EXPECT_TRUE(decoder.next());
}

TEST(DecoderOpen, StartsAfreshWithAnotherFile) {
    Decoder_ffmpeg decoder;
    ASSERT_TRUE(decoder.open(test::clipPath("plain.mp4")));
    test::scanAll(decoder);
    ASSERT_TRUE(decoder.seek(100));
    ASSERT_TRUE(decoder.open(test::clipPath("two_frames.mp4")));
    EXPECT_EQ(decoder.frameIndex(), 0);
    EXPECT_EQ(test::frameCount(decoder), 2);
    EXPECT_TRUE(decoder.next());
    EXPECT_EQ(decoder.frameIndex(), 1);
}

TEST(DecoderOpen, DoesNothingOnceClosed) {
    Decoder_ffmpeg decoder;
    ASSERT_TRUE(decoder.open(test::clipPath("plain.mp4")));
    ASSERT_TRUE(decoder.next());
    decoder.close();
    decoder.close();
    pxl::Image image(320, 180);
    EXPECT_FALSE(decoder.next());
    EXPECT_FALSE(decoder.seek(1));
    EXPECT_FALSE(decoder.convert(image));
    EXPECT_EQ(decoder.frameIndex(), 0);
    decoder.reset();
    EXPECT_EQ(test::scanAll(decoder), 0);
    EXPECT_EQ(test::frameCount(decoder), 0);
}

} // namespace
