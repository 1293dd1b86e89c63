#include "videonotices.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

video::VideoInfo evenVideo() {
    video::VideoInfo info;
    info.width = 1920;
    info.height = 1080;
    info.fps = 25;
    info.frameCount = 250;
    info.durationSec = 10;
    return info;
}

} // namespace

TEST(VideoNotices, AnOrdinaryVideoHasNone) {
    EXPECT_TRUE(noticesFor(evenVideo(), false).empty());
}

TEST(VideoNotices, CellsOfOnePixelAreTold) {
    video::VideoInfo info = evenVideo();
    info.height = 99;
    ASSERT_EQ(noticesFor(info, false).size(), 1u);
    EXPECT_TRUE(noticesFor(info, false)[0].Contains("too small"));
    info.height = 100;
    EXPECT_TRUE(noticesFor(info, false).empty());
}

TEST(VideoNotices, AVideoWithoutASizeIsNotCalledTooSmall) {
    video::VideoInfo info = evenVideo();
    info.height = 0;
    EXPECT_TRUE(noticesFor(info, false).empty());
    info.width = 0;
    EXPECT_TRUE(noticesFor(info, false).empty());
}

TEST(VideoNotices, UnevenlySpacedFramesAreToldWithTheRateInForce) {
    video::VideoInfo info = evenVideo();
    info.fps = 60;
    ASSERT_EQ(noticesFor(info, false).size(), 1u);
    EXPECT_TRUE(noticesFor(info, false)[0].Contains("60 frames per second"));
}

TEST(VideoNotices, UnevenlySpacedFramesOfTheRightTotalTimeAreToldToo) {
    ASSERT_EQ(noticesFor(evenVideo(), true).size(), 1u);
    EXPECT_TRUE(noticesFor(evenVideo(), true)[0].Contains("25 frames per second"));
}

TEST(VideoNotices, SoundThatOutlastsThePicturesALittleIsNothing) {
    video::VideoInfo info = evenVideo();
    info.durationSec = 12;
    EXPECT_TRUE(noticesFor(info, false).empty());
}

TEST(VideoNotices, RatesThatCannotBeExportedAreToldAndNothingElseOfTheRate) {
    video::VideoInfo info = evenVideo();
    for (const double fps : {std::numeric_limits<double>::quiet_NaN(),
                             std::numeric_limits<double>::infinity(), 0.0, -25.0, 0.0009, 1000.5, 90000.0})
        for (const bool variableRate : {false, true}) {
            info.fps = fps;
            const auto notices = noticesFor(info, variableRate);
            ASSERT_EQ(notices.size(), 1u) << fps;
            EXPECT_EQ(notices[0], "The frame rate of the video is not usable.") << fps;
        }
    info.durationSec = 0;
    for (const double fps : {0.001, 0.05, 1.0, 1000.0}) {
        info.fps = fps;
        EXPECT_TRUE(noticesFor(info, false).empty()) << fps;
    }
}

TEST(VideoNotices, AnUnknownDurationIsNothing) {
    video::VideoInfo info = evenVideo();
    info.durationSec = 0;
    EXPECT_TRUE(noticesFor(info, false).empty());
}

TEST(DetectionNotices, TellWhatWasNotLookedAt) {
    AiReport report;
    ASSERT_EQ(noticesFor(report).size(), 1u);
    EXPECT_TRUE(noticesFor(report)[0].StartsWith("Nobody was looked for"));
    report.hadDetector = true;
    EXPECT_TRUE(noticesFor(report).empty());
    report.brokeOff = true;
    report.failedFrames = 12;
    ASSERT_EQ(noticesFor(report).size(), 2u);
    EXPECT_TRUE(noticesFor(report)[0].StartsWith("The detection broke off."));
    EXPECT_TRUE(noticesFor(report)[1].Contains("(12)"));
}

TEST(DetectionNotices, TellOnceAboutALibraryThatMisbehaves) {
    AiReport report;
    report.hadDetector = true;
    report.complaints = {"The detection library reports probabilities that are no numbers: dropped",
                         "The detection library reports boxes far beyond the frame: cut"};
    ASSERT_EQ(noticesFor(report).size(), 1u);
    EXPECT_TRUE(noticesFor(report)[0].StartsWith("The detection library did not work as it should"));
    report.failedFrames = 1;
    ASSERT_EQ(noticesFor(report).size(), 1u) << "the same advice";
    EXPECT_TRUE(noticesFor(report)[0].StartsWith("The detection failed on some frames"));
}

TEST(ExportNotices, TellHowManyFramesAreMissing) {
    EXPECT_TRUE(noticesForExport(0).empty());
    ASSERT_EQ(noticesForExport(12).size(), 1u);
    EXPECT_EQ(noticesForExport(12)[0],
              "Frames that could not be converted are missing in the exported video: 12");
}
