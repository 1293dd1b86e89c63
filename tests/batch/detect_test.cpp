/// Detection by the companion, through the open detection library where it was built.
#include <csignal>
#include <map>
#include <sstream>
#include <thread>

#include "batch/batch_fixture.h"
#include "support/ai_folder.h"
#include "support/darknet_models.h"
#include "support/figure_clip.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

using Rows = std::map<int64_t, std::vector<test::Rect>>;

/// The rectangles of a detections file, by frame, sorted.
Rows rowsOf(const std::string& csv) {
    Rows rows;
    std::istringstream lines(csv);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        int64_t first = 0, last = 0;
        test::Rect rect;
        char comma = 0;
        if (!(fields >> first >> comma >> last >> comma >> rect.x >> comma >> rect.y >> comma >> rect.w >>
              comma >> rect.h))
            continue; // the header
        EXPECT_EQ(first, last);
        rows[first].push_back(rect);
    }
    for (auto& row : rows)
        std::sort(row.second.begin(), row.second.end());
    return rows;
}

Rows drawnFigures() {
    Rows rows;
    for (int64_t frame = 1; frame <= test::kFigureClipFrames; ++frame) {
        for (const test::Figure& figure : test::figuresAt(frame))
            if (figure.kind != test::Figure::kCar)
                rows[frame].push_back(figure.hiddenArea());
        std::sort(rows[frame].begin(), rows[frame].end());
    }
    return rows;
}

class BatchDetect : public batch_test::BatchTest {
protected:
    void installFake(const std::string& instructions) { aiFolder.installFake(instructions); }

    test::AiFolder aiFolder{"Größe 🎬"};
};

/// With the open library and a model that finds the drawn figures.
class BatchDetectFigures : public BatchDetect {
protected:
    void SetUp() override {
        const std::string library = SHROUD_DORIQ_PATH;
        if (library.empty())
            GTEST_SKIP() << "the open detection library was not built";
        aiFolder.installLibrary(library);
        const auto model = test::colourModel();
        aiFolder.installModel(model.names, model.cfg, model.weights);
        test::writeFigureClip(folder_.file("figures.mp4"));
    }
};

} // namespace

TEST_F(BatchDetectFigures, WritesWhatItFoundAndExports) {
    expectSuccess({"--detect", "--preblur", "0", "--detections", "found.csv", "figures.mp4", "out.mp4"});
    EXPECT_EQ(folder_.listing(), "figures.mp4 found.csv out.mp4");
    EXPECT_EQ(rowsOf(test::readFile(folder_.file("found.csv"))), drawnFigures());
}

TEST_F(BatchDetectFigures, PreblurHidesBeforeTheFirstAppearance) {
    const auto framesOf = [this](const std::vector<std::string>& flags) {
        std::vector<std::string> arguments = {"--detect", "--detections", "found.csv"};
        arguments.insert(arguments.end(), flags.begin(), flags.end());
        arguments.insert(arguments.end(), {"figures.mp4", "out.mp4"});
        expectSuccess(arguments);
        const test::Rect late = test::Figure{test::Figure::kPerson, 10, 10}.hiddenArea();
        int64_t first = 0;
        for (const auto& [frame, rects] : rowsOf(test::readFile(folder_.file("found.csv"))))
            if (first == 0 && std::find(rects.begin(), rects.end(), late) != rects.end())
                first = frame;
        return first;
    };
    EXPECT_EQ(framesOf({"--preblur", "0"}), 60);
    EXPECT_EQ(framesOf({}), 35); // one second of 25 frames
    EXPECT_EQ(framesOf({"--preblur", "2"}), 10);
}

TEST_F(BatchDetectFigures, TheRowsCanBeFedBack) {
    expectSuccess({"--detect", "--detections", "found.csv", "figures.mp4", "out.mp4"});
    expectSuccess({"--regions", "found.csv", "figures.mp4", "again.mp4"});
    EXPECT_TRUE(test::readFile(folder_.file("out.mp4")) == test::readFile(folder_.file("again.mp4")));
}

TEST_F(BatchDetectFigures, RegionsAndDetectionsComeTogether) {
    folder_.write("regions.csv", "1,90,0,0,40,40\n");
    expectSuccess({"--detect", "--preblur", "0", "--regions", "regions.csv", "--detections", "found.csv",
                   "figures.mp4", "out.mp4"});
    auto expected = drawnFigures();
    for (auto& row : expected) {
        row.second.push_back({0, 0, 40, 40});
        std::sort(row.second.begin(), row.second.end());
    }
    EXPECT_EQ(rowsOf(test::readFile(folder_.file("found.csv"))), expected);
}

TEST_F(BatchDetect, TheStoredSettingsAreNeitherUsedNorChanged) {
    installFake("hit 50 10 10 60 60 0.9 0\n");
    const std::string settings = aiFolder.configDir() + "/Tarvex Shroud/config.ini";
    test::writeFile(settings, "gpu=1\npreblursec=5\n");
    expectSuccess({"--detect", "--preblur", "0", "--detections", "found.csv", media("plain.mp4"), "out.mp4"});
    EXPECT_EQ(rowsOf(test::readFile(folder_.file("found.csv"))).size(), 1u);
    EXPECT_THAT(aiFolder.fakeCalls().front(), testing::EndsWith(" cpu"));
    EXPECT_EQ(test::readFile(settings), "gpu=1\npreblursec=5\n");
}

TEST_F(BatchDetect, TheGraphicsProcessorIsAskedForByFlag) {
    installFake("hit 0 10 10 60 60 0.9 0\n");
    expectSuccess({"--detect", "--gpu", media("plain.mp4"), "out.mp4"});
    EXPECT_THAT(aiFolder.fakeCalls().front(), testing::EndsWith(" gpu"));
}

TEST_F(BatchDetect, WithoutALibraryNothingIsExported) {
    expectFailure({"--detect", media("plain.mp4"), "out.mp4"},
                  "--detect: there is no usable detection library in " + aiFolder.path());
}

TEST_F(BatchDetect, WithoutAModelNothingIsExported) {
    aiFolder.installLibrary("fake_doriq");
    expectFailure({"--detect", "--detections", "found.csv", media("plain.mp4"), "out.mp4"},
                  media("plain.mp4") + ": there is no complete detection model in " + aiFolder.path());
}

TEST_F(BatchDetect, AModelThatNamesNeitherPersonNorFaceStopsTheExport) {
    installFake("hit 0 10 10 60 60 0.9 0\n");
    for (const char* names : {"", "tree\ncar\n"}) {
        test::writeFile(aiFolder.modelDir() + "/model.names", names);
        expectFailure({"--detect", media("plain.mp4"), "out.mp4"},
                      media("plain.mp4") +
                          ": The model's class names hold neither person nor face: model.names");
    }
}

TEST_F(BatchDetect, ALibraryThatRefusesTheModelStopsTheExport) {
    installFake("build-null\n");
    expectFailure({"--detect", media("plain.mp4"), "out.mp4"},
                  media("plain.mp4") + ": The detection library made no detector from this model");
}

TEST_F(BatchDetect, FramesThatWereNotLookedAtStopTheExport) {
    installFake("throw\n");
    expectFailure({"--detect", media("plain.mp4"), "out.mp4"},
                  media("plain.mp4") +
                      ": The detection library failed to detect: this detector always fails");
}

TEST_F(BatchDetect, AVideoThatIsCutDuringThePassStopsTheExport) {
    installFake("wait\n");
    std::filesystem::copy_file(media("plain.mp4"), folder_.file("in.mp4"));
    test::Process process(start({"--detect", "--detections", "found.csv", "in.mp4", "out.mp4"}));
    while (aiFolder.fakeCalls().size() < 2 && process.isRunning())
        std::this_thread::yield();
    std::filesystem::resize_file(folder_.file("in.mp4"), 100000);
    test::writeFile(aiFolder.modelDir() + "/model.weights.go", "");
    const auto result = process.wait();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("in.mp4: the detection broke off"));
    EXPECT_EQ(folder_.listing(), "in.mp4");
}

TEST_F(BatchDetect, WrongRecordsAreAWarning) {
    installFake("hit 0 10 10 60 60 0.9 0\nhit 0 10 10 60 60 nan 0\n");
    const auto result = run({"--detect", media("plain.mp4"), "out.mp4"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.error, StartsWith("tarvex_shroud_batch: warning: The detection library reports"));
}

TEST_F(BatchDetect, FindingNothingIsAWarning) {
    installFake("");
    const auto result = run({"--detect", media("plain.mp4"), "out.mp4"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.error, HasSubstr("nothing is hidden"));
}

TEST_F(BatchDetect, TheDetectionsFileNeverReplacesAnotherFileOfTheRun) {
    installFake("");
    test::writeFile(folder_.file("regions.csv"), "1,2,3,4,5,6\n");
    std::filesystem::copy_file(media("plain.mp4"), folder_.file("in.mp4"));
    expectFailure({"--detect", "--detections", "in.mp4", "in.mp4", "out.mp4"},
                  "in.mp4: is the same file as in.mp4");
    expectFailure(
        {"--detect", "--regions", "regions.csv", "--detections", "./regions.csv", "in.mp4", "out.mp4"},
        "./regions.csv: is the same file as regions.csv");
    const std::string absolute = folder_.file("out.mp4");
    for (const std::string& name : {std::string("out.mp4"), std::string("./out.mp4"), absolute})
        expectFailure({"--detect", "--detections", name, "in.mp4", "out.mp4"},
                      name + ": is the same file as out.mp4");
}

TEST_F(BatchDetect, WithoutTheVideoTheDetectionsFileIsWhatItWas) {
    for (const bool hadList : {false, true}) {
        installFake("hit 0 10 10 60 60 0.9 0\n");
        std::filesystem::remove(aiFolder.modelDir() + "/model.weights.calls");
        if (hadList)
            test::writeFile(folder_.file("found.csv"), "old list");
        // The last step of the video fails: its name has become a folder's.
        test::Process process(
            start({"--detect", "--detections", "found.csv", media("gop_250.mp4"), "out.mp4"}));
        while (aiFolder.fakeCalls().size() < 3 && process.isRunning())
            std::this_thread::yield();
        std::filesystem::create_directory(folder_.path() / "out.mp4");
        const auto result = process.wait();
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.error, "tarvex_shroud_batch: out.mp4: Is a directory\n");
        EXPECT_EQ(folder_.listing(), hadList ? "found.csv out.mp4" : "out.mp4");
        if (hadList) {
            EXPECT_EQ(test::readFile(folder_.file("found.csv")), "old list");
        }
        std::filesystem::remove(folder_.path() / "out.mp4");
    }
}

TEST_F(BatchDetect, WithoutTheVideoAListThatWasChangedMeanwhileStaysTheChangedOne) {
    for (const bool hadList : {false, true}) {
        installFake("wait\n");
        for (const char* left : {"/model.weights.calls", "/model.weights.go"})
            std::filesystem::remove(aiFolder.modelDir() + left);
        std::filesystem::remove(folder_.file("found.csv"));
        if (hadList)
            test::writeFile(folder_.file("found.csv"), "old list");
        test::Process process(
            start({"--detect", "--detections", "found.csv", media("two_frames.mp4"), "out.mp4"}));
        while (aiFolder.fakeCalls().size() < 2 && process.isRunning())
            std::this_thread::yield();
        test::writeFile(folder_.file("found.csv"), "newer list");
        std::filesystem::create_directory(folder_.path() / "out.mp4");
        test::writeFile(aiFolder.modelDir() + "/model.weights.go", "");
        const auto result = process.wait();
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.error, HasSubstr("tarvex_shroud_batch: out.mp4: Is a directory\n"));
        EXPECT_EQ(folder_.listing(), "found.csv out.mp4");
        EXPECT_EQ(test::readFile(folder_.file("found.csv")), "newer list");
        std::filesystem::remove(folder_.path() / "out.mp4");
    }
}

TEST_F(BatchDetect, ARateThatCannotBeExportedStopsBeforeTheDetection) {
    installFake("");
    expectFailure({"--detect", "--detections", "found.csv", media("fps_90000.mp4"), "out.mp4"},
                  media("fps_90000.mp4") + ": The frame rate of the video is not usable.");
    EXPECT_TRUE(aiFolder.fakeCalls().empty());
}

TEST_F(BatchDetect, ADetectionsFileThatCannotBeMadeStopsAtOnce) {
    installFake("");
    const auto result = run({"--detect", "--detections", "missing/found.csv", media("plain.mp4"), "out.mp4"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, StartsWith("tarvex_shroud_batch: missing/found.csv: "));
    EXPECT_EQ(folder_.listing(), "");
    EXPECT_TRUE(aiFolder.fakeCalls().empty());
}

TEST_F(BatchDetect, ADetectionsFileThatCannotBePutBackStopsAtOnce) {
    installFake("");
    test::writeFile(folder_.file("found.csv"), "old list");
    std::filesystem::copy_file(media("plain.mp4"), folder_.file("in.mp4"));
    std::filesystem::permissions(folder_.path(), std::filesystem::perms::all);
    std::filesystem::permissions(folder_.file("found.csv"), std::filesystem::perms(0222));
    {
        const test::WithoutPrivileges user;
        const auto result = run({"--detect", "--detections", "found.csv", "in.mp4", "out.mp4"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.error, "tarvex_shroud_batch: found.csv: Permission denied\n");
    }
    EXPECT_EQ(folder_.listing(), "found.csv in.mp4");
    EXPECT_TRUE(aiFolder.fakeCalls().empty());
}

TEST_F(BatchDetect, FlagsWithoutDetectAreWrongUsage) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--preblur", "1", "a.mp4", "b.mp4"},
                                               {"--gpu", "a.mp4", "b.mp4"},
                                               {"--detections", "c.csv", "a.mp4", "b.mp4"},
                                               {"--detect", "--preblur", "61", "a.mp4", "b.mp4"},
                                               {"--detect", "--preblur", "-1", "a.mp4", "b.mp4"},
                                               {"--detect", "--info", "a.mp4"}})
        EXPECT_EQ(run(arguments).exitCode, 2) << arguments[0];
}

TEST_F(BatchDetect, AStopRequestDuringThePassLeavesNothingBehind) {
    installFake("hit 0 10 10 60 60 0.9 0\n");
    const std::string before = folder_.listing();
    test::Process process(start({"--detect", "--detections", "found.csv", media("gop_250.mp4"), "out.mp4"}));
    while (aiFolder.fakeCalls().size() < 3 && process.isRunning())
        std::this_thread::yield();
    process.sendSignal(SIGINT);
    const auto result = process.wait();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("stopped"));
    EXPECT_EQ(folder_.listing(), before);
    EXPECT_EQ(aiFolder.fakeCalls().back(), "destroy");
}
