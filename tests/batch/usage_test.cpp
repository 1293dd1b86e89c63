#include "batch_fixture.h"

using namespace batch_test;

namespace {

class BatchUsage : public BatchTest {};
class BatchInfo : public BatchTest {};

} // namespace

TEST_F(BatchUsage, WrongUsageIsToldInOneLine) {
    const std::vector<std::vector<std::string>> cases = {{},
                                                         {"in.mp4"},
                                                         {"in.mp4", "out.mp4", "more"},
                                                         {"--mode", "foo", "in.mp4", "out.mp4"},
                                                         {"--mode"},
                                                         {"--threshold", "x", "in.mp4", "out.mp4"},
                                                         {"--threshold", "101", "in.mp4", "out.mp4"},
                                                         {"--threshold", "-1", "in.mp4", "out.mp4"},
                                                         {"--unknown", "in.mp4", "out.mp4"},
                                                         {"--regions=", "in.mp4", "out.mp4"},
                                                         {"--info"},
                                                         {"--info", "in.mp4", "out.mp4"},
                                                         {"--info", "--mode", "blur", "in.mp4"},
                                                         {"", "out.mp4"},
                                                         {"bad\xFF.mp4", "out.mp4"}};
    for (const auto& arguments : cases) {
        const test::ProcessResult result = run(arguments);
        SCOPED_TRACE(testing::PrintToString(arguments));
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.error, testing::StartsWith("tarvex_shroud_batch: "));
        EXPECT_THAT(result.error, testing::EndsWith("; see --help\n"));
        EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1);
    }
    EXPECT_EQ(folder_.listing(), "");
}

TEST_F(BatchUsage, HelpAndVersionGoToStandardOutput) {
    for (const char* option : {"--help", "-h"}) {
        const test::ProcessResult help = run({option});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_THAT(help.output, testing::StartsWith("Usage: tarvex_shroud_batch "));
        EXPECT_EQ(help.error, "");
    }
    const test::ProcessResult version = run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_THAT(version.output, testing::StartsWith("tarvex_shroud_batch "));
}

TEST_F(BatchUsage, LinksNoGuiLibrary) {
    const std::string libraries =
        test::outputOf("ldd " + test::quoted(wxString::FromUTF8(test::binDir() + "/tarvex_shroud_batch")));
    EXPECT_THAT(libraries, testing::HasSubstr("libwx_baseu"));
    for (const char* name : {"libwx_gtk", "libgtk", "libgdk-3", "libGL.", "libGLX", "libOpenGL", "libepoxy"})
        EXPECT_THAT(libraries, testing::Not(testing::HasSubstr(name)));
}

TEST_F(BatchInfo, IsOneJsonObject) {
    const test::ProcessResult result = run({"--info", media("bframes.mp4")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.output,
              "{\"path\": \"" + media("bframes.mp4") +
                  "\", \"width\": 320, \"height\": 180, \"fps\": 25, \"frameCount\": 248, "
                  "\"statedFrameCount\": 250, \"durationSec\": 10, \"isH264\": true, \"codec\": \"h264\"}\n");
}

TEST_F(BatchInfo, TellsFractionalRatesExactlyAndOtherCodecs) {
    EXPECT_THAT(run({"--info", media("fps_2997.mp4")}).output,
                testing::HasSubstr("\"fps\": 29.97002997002997,"));
    const std::string hevc = run({"--info", media("hevc.mp4")}).output;
    EXPECT_THAT(hevc, testing::HasSubstr("\"isH264\": false, \"codec\": \"hevc\"}"));
}

TEST_F(BatchInfo, VideoWithoutDeliveredFramesHasNone) {
    const test::ProcessResult result = run({"--info", media("one_frame_bframes.mp4")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, testing::HasSubstr("\"frameCount\": 0, \"statedFrameCount\": 1,"));
}

TEST_F(BatchInfo, EscapesTheName) {
    const std::string name = "a\"b\\c\n\x01 Клип 🎬.mp4";
    fs::copy_file(media("two_frames.mp4"), folder_.file(name));
    test::ProcessStart how = start({"--info", name});
    how.environment["LC_ALL"] = "C";
    EXPECT_THAT(test::run(how).output,
                testing::StartsWith("{\"path\": \"a\\\"b\\\\c\\u000a\\u0001 Клип 🎬.mp4\", "));
}

TEST_F(BatchInfo, FailuresAreOneLine) {
    expectFailure({"--info", media("audio_only.mp4")},
                  media("audio_only.mp4") + ": the file holds no video that can be decoded");
    expectFailure({"--info", "missing.mp4"}, "missing.mp4: No such file or directory");
}
