#include "batch_fixture.h"

using namespace batch_test;

namespace {

class BatchExport : public BatchTest {};

/// Mean differences, in grey levels, that tell a coded picture from its source and from a mosaic.
constexpr double kSame = 12.0;
constexpr double kHidden = 20.0;

constexpr Rect kMarked = {100, 60, 99, 75};
constexpr Rect kElsewhere = {6, 141, 300, 36};

} // namespace

TEST_F(BatchExport, HidesARegionOnExactlyItsFrames) {
    folder_.write("regions.csv", "first_frame,last_frame,x,y,w,h\n30,32,100,60,100,75\n");
    expectSuccess({"--regions", "regions.csv", waveClip(), "out.mp4"});
    EXPECT_EQ(folder_.listing(), "out.mp4 regions.csv");

    const Pictures source(waveClip());
    const Pictures result(folder_.file("out.mp4"));
    ASSERT_EQ(source.count(), kWaveFrames);
    ASSERT_EQ(result.count(), kWaveFrames);
    for (int frame = 1; frame <= kWaveFrames; ++frame) {
        EXPECT_LT(Pictures::difference(source, frame, result, frame, kElsewhere), kSame) << "frame " << frame;
        const bool isHidden = frame >= 30 && frame <= 32;
        const double difference = Pictures::difference(source, frame, result, frame, kMarked);
        const double fromMosaic = Pictures::differenceFromMosaic(result, source, frame, kMarked);
        if (isHidden) {
            EXPECT_GT(difference, kHidden) << "frame " << frame;
            EXPECT_LT(fromMosaic, kSame) << "frame " << frame;
        } else {
            EXPECT_LT(difference, kSame) << "frame " << frame;
            EXPECT_GT(fromMosaic, kHidden) << "frame " << frame;
        }
    }
}

TEST_F(BatchExport, HidesTheFirstAndTheLastFrame) {
    folder_.write("regions.csv", "1,1,100,60,100,75\n60,60,100,60,100,75\n");
    expectSuccess({"--regions", "regions.csv", waveClip(), "out.mov"});
    const Pictures source(waveClip());
    const Pictures result(folder_.file("out.mov"));
    ASSERT_EQ(result.count(), kWaveFrames);
    for (int frame : {1, kWaveFrames})
        EXPECT_LT(Pictures::differenceFromMosaic(result, source, frame, kMarked), kSame) << "frame " << frame;
    for (int frame : {2, kWaveFrames - 1})
        EXPECT_LT(Pictures::difference(source, frame, result, frame, kMarked), kSame) << "frame " << frame;
}

TEST_F(BatchExport, UnblurLeavesOnlyTheRegionsClear) {
    folder_.write("regions.csv", "10,20,100,60,100,75\n");
    expectSuccess({"--mode", "unblur", "--regions", "regions.csv", waveClip(), "out.mp4"});
    const Pictures source(waveClip());
    const Pictures result(folder_.file("out.mp4"));
    ASSERT_EQ(result.count(), kWaveFrames);
    for (int frame : {9, 10, 15, 20, 21}) {
        EXPECT_LT(Pictures::differenceFromMosaic(result, source, frame, kElsewhere), kSame)
            << "frame " << frame;
        const bool isClear = frame >= 10 && frame <= 20;
        const double difference = Pictures::difference(source, frame, result, frame, kMarked);
        if (isClear)
            EXPECT_LT(difference, kSame) << "frame " << frame;
        else
            EXPECT_GT(difference, kHidden) << "frame " << frame;
    }
}

TEST_F(BatchExport, UnblurWithoutRegionsHidesEverythingWithoutAWarning) {
    expectSuccess({"--mode=unblur", waveClip(), "out.mp4"});
    const Pictures source(waveClip());
    const Pictures result(folder_.file("out.mp4"));
    EXPECT_LT(Pictures::differenceFromMosaic(result, source, 1, {0, 0, kWidth, kHeight}), kSame);
}

TEST_F(BatchExport, ThresholdDecidesWhichScoresApply) {
    folder_.write("regions.csv", "1,250,100,60,100,75,60\n");
    expectSuccess({"--threshold", "60", "--regions", "regions.csv", waveClip(), "applied.mp4"});
    EXPECT_EQ(run({"--threshold=61", "--regions", "regions.csv", waveClip(), "skipped.mp4"}).exitCode, 0);
    const Pictures source(waveClip());
    EXPECT_GT(Pictures::difference(source, 1, Pictures(folder_.file("applied.mp4")), 1, kMarked), kHidden);
    EXPECT_LT(Pictures::difference(source, 1, Pictures(folder_.file("skipped.mp4")), 1, kMarked), kSame);
}

TEST_F(BatchExport, RegionsMayReachBeyondThePictureAndTheVideo) {
    folder_.write("regions.csv", "1,9223372036854775807,-2147483648,-100,2147483647,2147483647\n"
                                 "1,9223372036854775807,-100000001,60,100000201,75\n"
                                 "2,2,310,170,2147483647,2147483647\n");
    expectSuccess({"--regions", "regions.csv", waveClip(), "out.mp4"});
    const Pictures source(waveClip());
    const Pictures result(folder_.file("out.mp4"));
    EXPECT_LT(Pictures::differenceFromMosaic(result, source, 1, {0, 60, 198, 75}), kSame);
    EXPECT_LT(Pictures::difference(source, 1, result, 1, {204, 60, 100, 75}), kSame)
        << "ends at column 200 whatever its origin";
}

TEST_F(BatchExport, ReplacesTheTargetOnlyAtSuccess) {
    folder_.write("out.mp4", "old");
    expectFailure({media("text.mp4"), "out.mp4"},
                  media("text.mp4") + ": Invalid data found when processing input");
    EXPECT_EQ(test::readFile(folder_.file("out.mp4")), "old");
    expectSuccess({"--mode", "unblur", media("two_frames.mp4"), "out.mp4"});
    EXPECT_EQ(Pictures(folder_.file("out.mp4")).count(), 2);
    EXPECT_EQ(folder_.listing(), "out.mp4");
}

TEST_F(BatchExport, WritesThroughALinkToTheTarget) {
    folder_.write("real.mp4", "old");
    fs::create_symlink("real.mp4", folder_.path() / "link.mp4");
    expectSuccess({"--mode", "unblur", media("two_frames.mp4"), "link.mp4"});
    EXPECT_TRUE(fs::is_symlink(folder_.path() / "link.mp4"));
    EXPECT_EQ(Pictures(folder_.file("real.mp4")).count(), 2);
}

TEST_F(BatchExport, KeepsThePermissionsOfWhatItReplaces) {
    folder_.write("out.mp4", "old");
    fs::permissions(folder_.file("out.mp4"), fs::perms(0600));
    expectSuccess({"--mode", "unblur", media("two_frames.mp4"), "out.mp4"});
    EXPECT_EQ(fs::status(folder_.file("out.mp4")).permissions(), fs::perms(0600));
    EXPECT_EQ(Pictures(folder_.file("out.mp4")).count(), 2);
}

TEST_F(BatchExport, WritesWhereALinkPointsToNothingYet) {
    fs::create_symlink("real.mp4", folder_.path() / "link.mp4");
    expectSuccess({"--mode", "unblur", media("two_frames.mp4"), "link.mp4"});
    EXPECT_TRUE(fs::is_symlink(folder_.path() / "link.mp4"));
    EXPECT_EQ(Pictures(folder_.file("real.mp4")).count(), 2);
}

TEST_F(BatchExport, NeverChangesTheInput) {
    fs::copy_file(media("two_frames.mp4"), folder_.file("in.mp4"));
    fs::permissions(folder_.file("in.mp4"), fs::perms::owner_read);
    const std::string before = test::readFile(folder_.file("in.mp4"));
    const auto time = fs::last_write_time(folder_.file("in.mp4"));
    expectSuccess({"--mode", "unblur", "in.mp4", "out.mp4"});
    EXPECT_EQ(test::readFile(folder_.file("in.mp4")), before);
    EXPECT_EQ(fs::last_write_time(folder_.file("in.mp4")), time);
}

TEST_F(BatchExport, CarriesNoTagOfTheInput) {
    expectSuccess({"--mode", "unblur", media("rotated.mp4"), "out.mp4"});
    const auto report = test::probe(wxString::FromUTF8(folder_.file("out.mp4")));
    EXPECT_EQ(report.format.at("tag:comment"), "Tarvex Shroud");
    EXPECT_EQ(report.stream.count("tag:rotate"), 0u);
    EXPECT_EQ(report.format.at("nb_streams"), "1");
}

TEST_F(BatchExport, TakesAnyNamesInAnyLocale) {
    const std::vector<std::string> names = {"with spaces.mp4",
                                            "Клип 🎬.mp4",
                                            "a:b.mp4",
                                            "file:x.mp4",
                                            "quote'\"\\.mp4",
                                            "50 %d%s.mp4",
                                            std::string(250, 'n') + ".mp4"};
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        fs::copy_file(media("two_frames.mp4"), folder_.file(name));
        fs::create_directory(folder_.path() / "out");
        test::ProcessStart how = start({"--mode", "unblur", name, "out/" + name});
        how.environment["LC_ALL"] = "C";
        const test::ProcessResult result = test::run(how);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(Pictures(folder_.file("out/" + name)).count(), 2);
        fs::remove_all(folder_.path() / "out");
    }
}

TEST_F(BatchExport, TakesNamesThatBeginWithADashBehindTwoDashes) {
    fs::copy_file(media("two_frames.mp4"), folder_.file("-in.mp4"));
    expectSuccess({"--mode", "unblur", "--", "-in.mp4", "-out.mp4"});
    EXPECT_EQ(Pictures(folder_.file("-out.mp4")).count(), 2);
}

TEST_F(BatchExport, WarnsWhereNothingIsHidden) {
    const std::string nothing = "tarvex_shroud_batch: warning: " + media("two_frames.mp4") +
                                ": no region applies to any frame, nothing is hidden\n";
    EXPECT_EQ(run({media("two_frames.mp4"), "out.mp4"}).error, nothing);
    folder_.write("late.csv", "3,9,100,60,100,75\n1,2,320,0,10,10\n1,2,0,0,9,9,49\n");
    EXPECT_EQ(run({"--regions", "late.csv", media("two_frames.mp4"), "out.mp4"}).error, nothing);
}

TEST_F(BatchExport, WarnsOfPicturesTooSmallForAMosaic) {
    const std::string command = "ffmpeg -f lavfi -i testsrc=s=120x98:d=0.2:r=10 -pix_fmt yuv420p -bf 0 " +
                                test::quoted(wxString::FromUTF8(folder_.file("small.mp4")));
    test::outputOf(command);
    const test::ProcessResult result = run({"--mode", "unblur", "small.mp4", "out.mp4"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error,
              "tarvex_shroud_batch: warning: small.mp4: the picture is only 120 x 98 pixels, mosaic "
              "cells of one pixel hide nothing\n");
}

TEST_F(BatchExport, WarnsOfAVariableRate) {
    const test::ProcessResult result = run({"--mode", "unblur", media("variable_rate.mp4"), "out.mp4"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "tarvex_shroud_batch: warning: " + media("variable_rate.mp4") +
                                ": the frame rate is variable, the copy's will be constant\n");
    EXPECT_EQ(Pictures(folder_.file("out.mp4")).count(), 120);
}

TEST_F(BatchExport, ShowsProgressOnATerminalUnlessQuiet) {
    test::ProcessStart how = start({"--mode", "unblur", media("plain.mp4"), "out.mp4"});
    how.terminal = true;
    const test::ProcessResult result = test::run(how);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.error, testing::HasSubstr("\rReading: 200 frames"));
    EXPECT_THAT(result.error, testing::HasSubstr("\rExport: 200 of 250 frames, 80 %"));
    EXPECT_EQ(result.error.find('\n'), std::string::npos);
    EXPECT_EQ(result.error.back(), '\r');
    how.arguments.insert(how.arguments.begin(), "--quiet");
    EXPECT_EQ(test::run(how).error, "");
}
