#include "ai_doriq.h"

#include <cstring>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doriq_contract.h"
#include "support/ai_folder.h"
#include "support/log_capture.h"

using test::AiFolder;
using test::LogCapture;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

namespace {

/// Makes sure that no library of this test stays known to the next one.
class AiDoriq : public testing::Test {
protected:
    void TearDown() override {
        ai::destroyDetectors();
        const AiFolder empty;
        LogCapture quiet;
        ai::init();
    }

    /// The detections of one picture by a fake library with these instructions.
    std::vector<ai::Detection> detectionsOf(const std::string& instructions, int32_t width = 640,
                                            int32_t height = 360) {
        folder.installFake(instructions);
        ai::init();
        ai::buildDetectors(false);
        const pxl::Image image(width, height);
        return ai::detectFrame(image);
    }

    /// Not only to the user who made it.
    void openToEverybody() const {
        std::filesystem::permissions(std::filesystem::path(folder.configDir()).parent_path(),
                                     std::filesystem::perms::others_read |
                                         std::filesystem::perms::others_exec,
                                     std::filesystem::perm_options::add);
    }

    AiFolder folder;
    LogCapture log;
};

std::vector<std::string> errorsOf(const LogCapture& log) {
    return log.lines(wxLOG_Error);
}

void expectBox(const ai::Detection& detection, float x, float y, float w, float h, int32_t score) {
    EXPECT_EQ(detection.x, x);
    EXPECT_EQ(detection.y, y);
    EXPECT_EQ(detection.w, w);
    EXPECT_EQ(detection.h, h);
    EXPECT_EQ(detection.score, score);
}

} // namespace

TEST(DoriqContract, DetectIsTheSixthOperation) {
    struct Probe final : doriq::ObjectDetector {
        void reserved1() override {}
        void reserved2() override {}
        void reserved3() override {}
        void reserved4() override {}
        void reserved5() override {}
        int32_t detect(const uint32_t*, int32_t width, int32_t, doriq::DetectionRecord*,
                       const doriq::DetectParams*) override {
            return width;
        }
    } probe;
    // As a caller that knows nothing but the table: five pointers skipped, the object as first argument.
    using Operation = int32_t (*)(void*, const uint32_t*, int32_t, int32_t, doriq::DetectionRecord*,
                                  const doriq::DetectParams*);
    doriq::ObjectDetector* object = &probe;
    const Operation* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(object), sizeof table);
    EXPECT_EQ(table[5](object, nullptr, 4711, 0, nullptr, nullptr), 4711);
}

TEST_F(AiDoriq, TheAiFolderIsTheProductsWhenItExists) {
    EXPECT_EQ(ai::folder().utf8_string(), folder.olderPath());
    std::filesystem::create_directories(folder.path());
    EXPECT_EQ(ai::folder().utf8_string(), folder.path());
}

TEST_F(AiDoriq, FindingTheFolderCreatesNothing) {
    ai::init();
    EXPECT_TRUE(std::filesystem::is_empty(folder.configDir()));
    EXPECT_FALSE(ai::available());
    EXPECT_THAT(log.lines(), ElementsAre("[AI] Could not find Doriq.dll"));
    EXPECT_THAT(log.lines(wxLOG_Message), SizeIs(1));
}

TEST_F(AiDoriq, AFolderOfTheOlderNameServesToo) {
    std::filesystem::create_directories(folder.olderPath());
    std::filesystem::copy_file(test::testLibrary("fake_doriq"), folder.olderPath() + "/Doriq.so");
    ai::init();
    EXPECT_TRUE(ai::available());
}

TEST_F(AiDoriq, TheModelIsTakenFromTheFolderThatTheLibraryCameFrom) {
    std::filesystem::create_directories(folder.olderPath());
    std::filesystem::copy_file(test::testLibrary("fake_doriq"), folder.olderPath() + "/Doriq.so");
    const std::string model = folder.olderPath() + "/Resources/yolov4-tiny/model";
    test::writeFile(model + ".names", "person\n");
    test::writeFile(model + ".cfg", "");
    test::writeFile(model + ".weights", "");
    ai::init();
    std::filesystem::create_directories(folder.path());
    ai::buildDetectors(false);
    EXPECT_TRUE(ai::ready());
}

TEST_F(AiDoriq, TheProductsFolderWinsEvenWithoutALibrary) {
    std::filesystem::create_directories(folder.path());
    std::filesystem::create_directories(folder.olderPath());
    std::filesystem::copy_file(test::testLibrary("fake_doriq"), folder.olderPath() + "/Doriq.so");
    ai::init();
    EXPECT_FALSE(ai::available());
}

TEST_F(AiDoriq, LoadsTheLibraryUnderEachOfItsNames) {
    for (const char* name : {"Doriq.dll", "Doriq.so", "libDoriq.so"}) {
        SCOPED_TRACE(name);
        AiFolder own;
        own.installLibrary("fake_doriq", name);
        ai::init();
        EXPECT_TRUE(ai::available());
    }
}

TEST_F(AiDoriq, LoadingLogsEachStep) {
    folder.installLibrary("fake_doriq");
    ai::init();
    EXPECT_THAT(log.lines(wxLOG_Message),
                ElementsAre("[AI] Loaded Doriq.dll", "[AI] Loaded object detector builder",
                            "[AI] Loaded object detector destroyer"));
    EXPECT_THAT(log.lines(), SizeIs(3));
}

TEST_F(AiDoriq, FilesThatAreNoLibrariesAreToldOnceEachWithTheReason) {
    test::writeFile(folder.path() + "/Doriq.so", "this is no library");
    test::writeFile(folder.path() + "/Doriq.dll", "MZ");
    ai::init();
    EXPECT_FALSE(ai::available());
    EXPECT_THAT(log.lines(wxLOG_Message), ElementsAre("[AI] Error while loading Doriq.dll",
                                                      MatchesRegex(".AI. Doriq.dll: .*/Doriq.dll: .+"),
                                                      MatchesRegex(".AI. Doriq.so: .*/Doriq.so: .+")));
    EXPECT_THAT(log.lines(), SizeIs(3)) << "no error line, which would be a box without a log file";
}

TEST_F(AiDoriq, ALibraryForAnotherSystemDoesNotHideTheRightOne) {
    test::writeFile(folder.path() + "/Doriq.dll", "MZ");
    folder.installLibrary("fake_doriq", "Doriq.so");
    ai::init();
    EXPECT_TRUE(ai::available());
    EXPECT_EQ(log.lines().front(), "[AI] Loaded Doriq.dll");
}

TEST_F(AiDoriq, AMissingBuilderIsLoggedAndTheDestroyerStillLookedFor) {
    folder.installLibrary("fake_doriq_without_builder");
    ai::init();
    EXPECT_FALSE(ai::available());
    EXPECT_THAT(log.lines(),
                ElementsAre("[AI] Loaded Doriq.dll", "[AI] Error while loading object detector builder",
                            "[AI] Loaded object detector destroyer"));
}

TEST_F(AiDoriq, AMissingDestroyerIsLogged) {
    folder.installLibrary("fake_doriq_without_destroyer");
    ai::init();
    EXPECT_FALSE(ai::available());
    EXPECT_THAT(log.lines(), ElementsAre("[AI] Loaded Doriq.dll", "[AI] Loaded object detector builder",
                                         "[AI] Error while loading object detector destroyer"));
}

TEST_F(AiDoriq, WithHalfALibraryNothingIsBuiltOrDetected) {
    folder.installFake("hit 0 10 10 50 50 0.9 0\n");
    folder.installLibrary("fake_doriq_without_destroyer");
    ai::init();
    ai::buildDetectors(false);
    EXPECT_THAT(ai::detectFrame(pxl::Image(64, 64)), IsEmpty());
    EXPECT_THAT(folder.fakeCalls(), IsEmpty());
}

TEST_F(AiDoriq, WithoutModelFolderThereIsNoDetector) {
    folder.installLibrary("fake_doriq");
    ai::init();
    ai::buildDetectors(false);
    EXPECT_EQ(log.lines().back(), "[AI] Could not find object detector models");
    EXPECT_THAT(log.lines(), SizeIs(4));
    EXPECT_THAT(ai::detectFrame(pxl::Image(64, 64)), IsEmpty());
}

TEST_F(AiDoriq, EachMissingModelFileIsLogged) {
    struct Case {
        const char* removed;
        const char* line;
    };
    for (const Case& missing :
         {Case{"model.names", "[AI] Could not find .names"}, Case{"model.cfg", "[AI] Could not find .cfg"},
          Case{"model.weights", "[AI] Could not find .weights"}}) {
        SCOPED_TRACE(missing.removed);
        folder.installFake("");
        std::filesystem::remove(folder.modelDir() + "/" + missing.removed);
        ai::init();
        const size_t before = log.lines().size();
        ai::buildDetectors(false);
        ASSERT_EQ(log.lines().size(), before + 1);
        EXPECT_EQ(log.lines().back(), missing.line);
        EXPECT_THAT(ai::detectFrame(pxl::Image(64, 64)), IsEmpty());
    }
    EXPECT_THAT(folder.fakeCalls(), IsEmpty());
}

TEST_F(AiDoriq, EverythingMissingBesideTheClassNamesIsLogged) {
    folder.installFake("");
    for (const char* ending : {".cfg", ".weights"})
        std::filesystem::remove(folder.modelDir() + "/model" + ending);
    ai::init();
    const size_t before = log.lines().size();
    ai::buildDetectors(false);
    std::vector<std::string> lines = log.lines();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
    EXPECT_THAT(lines, ElementsAre("[AI] Could not find .cfg", "[AI] Could not find .weights"));
}

TEST_F(AiDoriq, WithoutClassNamesNothingElseIsLookedFor) {
    folder.installFake("");
    for (const char* ending : {".names", ".cfg", ".weights"})
        std::filesystem::remove(folder.modelDir() + "/model" + ending);
    ai::init();
    const size_t before = log.lines().size();
    ai::buildDetectors(false);
    EXPECT_EQ(log.lines().size(), before + 1);
    EXPECT_EQ(log.lines().back(), "[AI] Could not find .names");
}

TEST_F(AiDoriq, BuildsWithFullPathsAndTheWishForTheGpu) {
    folder.installFake("");
    ai::init();
    ai::buildDetectors(true);
    EXPECT_EQ(log.lines().back(), "[AI] Object detector ready");
    ai::destroyDetectors();
    ai::buildDetectors(false);
    ai::destroyDetectors();
    const std::string cfg = folder.modelDir() + "/model.cfg";
    EXPECT_THAT(folder.fakeCalls(),
                ElementsAre("build " + cfg + " gpu", "destroy", "build " + cfg + " cpu", "destroy"));
}

TEST_F(AiDoriq, FoldersWithAnyLettersWork) {
    AiFolder foreign("Kamera Größe Камера 🎬");
    foreign.installFake("hit 0 10 20 30 40 0.5 0\n");
    ai::init();
    ai::buildDetectors(false);
    EXPECT_THAT(ai::detectFrame(pxl::Image(640, 360)), SizeIs(1));
    EXPECT_EQ(foreign.fakeCalls().front(), "build " + foreign.modelDir() + "/model.cfg cpu");
    ai::destroyDetectors();
}

TEST_F(AiDoriq, DetectionCallsCarryPictureAndParameters) {
    detectionsOf("", 320, 180);
    ASSERT_THAT(folder.fakeCalls(), SizeIs(2));
    EXPECT_EQ(folder.fakeCalls()[1], "detect 320x180 first ff000000 0.1 1 0.3");
}

TEST_F(AiDoriq, KeepsPersonsAndFacesOnly) {
    const auto found = detectionsOf("hit 0 10 20 30 40 0.5 0\n"
                                    "hit 0 50 60 70 80 0.6 1\n"
                                    "hit 0 90 91 92 93 0.987 2\n");
    ASSERT_THAT(found, SizeIs(2));
    expectBox(found[0], 10, 20, 30, 40, 50);
    expectBox(found[1], 90, 91, 92, 93, 98);
    EXPECT_THAT(errorsOf(log), IsEmpty());
}

TEST_F(AiDoriq, ScoresOfWholeHundredthsAreExact) {
    std::string instructions;
    for (int percent = 0; percent <= 100; ++percent)
        instructions += "hit 0 10 20 30 40 " + std::to_string(percent / 100) + "." +
                        std::string(percent % 100 < 10 ? "0" : "") + std::to_string(percent % 100) + " 0\n";
    const auto found = detectionsOf(instructions);
    ASSERT_THAT(found, SizeIs(101));
    EXPECT_EQ(found[70].score, 70);
    EXPECT_EQ(found[100].score, 100);
    for (int percent = 0; percent <= 100; ++percent)
        EXPECT_EQ(found[static_cast<size_t>(percent)].score,
                  static_cast<int>(static_cast<float>(percent) / 100.0f * 100.0f));
}

TEST_F(AiDoriq, ClassNamesAreReadAnewForEveryDetector) {
    folder.installFake("hit 0 10 20 30 40 0.5 0\n");
    ai::init();
    ai::buildDetectors(false);
    EXPECT_THAT(ai::detectFrame(pxl::Image(640, 360)), SizeIs(1));
    ai::destroyDetectors();
    test::writeFile(folder.modelDir() + "/model.names", "tree\nperson\n");
    ai::buildDetectors(false);
    EXPECT_THAT(ai::detectFrame(pxl::Image(640, 360)), IsEmpty());
}

TEST_F(AiDoriq, AModelWhoseNameIsInAnotherEncodingIsFound) {
    folder.installFake("hit 0 10 20 30 40 0.5 0\n");
    const std::string name = folder.modelDir() + "/Stra\xDF";
    for (const char* ending : {".names", ".cfg", ".weights"})
        std::filesystem::rename(folder.modelDir() + "/model" + ending, name + ending);
    ai::init();
    ai::buildDetectors(false);
    EXPECT_THAT(ai::detectFrame(pxl::Image(640, 360)), SizeIs(1));
    EXPECT_THAT(test::readFile(name + ".weights.calls"), HasSubstr("build " + name + ".cfg cpu\n"));
}

TEST_F(AiDoriq, AModelWhoseNameIsNoTextIsPassedOver) {
    folder.installFake("hit 0 10 20 30 40 0.5 0\n");
    std::filesystem::remove(folder.modelDir() + "/model.weights");
    // Five bytes that once stood for a character beyond the last one there is.
    test::writeFile(folder.modelDir() + "/\xF9\x93\x90\x9B\x9A.weights", "");
    ai::init();
    ai::buildDetectors(false);
    EXPECT_FALSE(ai::ready());
    EXPECT_THAT(log.lines(), testing::Contains(HasSubstr("[AI] Could not find .weights")));
}

TEST_F(AiDoriq, ClassNamesWithoutPersonAndFaceAreAComplaint) {
    const std::string complaint = "The model's class names hold neither person nor face: model.names";
    folder.installFake("hit 0 10 20 30 40 0.5 0\n");
    ai::init();
    for (const char* names : {"", "tree\ncar\n", "Person\nFACE\n"}) {
        SCOPED_TRACE(names);
        test::writeFile(folder.modelDir() + "/model.names", names);
        ai::buildDetectors(false);
        EXPECT_TRUE(ai::ready());
        EXPECT_FALSE(ai::knowsPersonOrFace());
        EXPECT_THAT(ai::complaints(), ElementsAre(wxString(complaint)));
        EXPECT_EQ(errorsOf(log).back(), "[AI] " + complaint);
        EXPECT_EQ(log.lines().back(), "[AI] Object detector ready");
    }
    for (const char* names : {"person\n", "car\nface"}) {
        SCOPED_TRACE(names);
        test::writeFile(folder.modelDir() + "/model.names", names);
        ai::buildDetectors(false);
        EXPECT_TRUE(ai::knowsPersonOrFace());
        EXPECT_THAT(ai::complaints(), IsEmpty());
    }
}

TEST_F(AiDoriq, ClassNamesThatCannotBeReadAreAComplaint) {
    folder.installFake("");
    std::filesystem::permissions(folder.modelDir() + "/model.names", std::filesystem::perms::none);
    openToEverybody();
    ai::init();
    const test::WithoutPrivileges ordinaryUser;
    ai::buildDetectors(false);
    EXPECT_TRUE(ai::ready());
    EXPECT_FALSE(ai::knowsPersonOrFace());
    EXPECT_THAT(ai::complaints(), SizeIs(1));
}

TEST_F(AiDoriq, AModelFolderThatCannotBeReadIsLikeNone) {
    folder.installFake("");
    openToEverybody();
    ai::init();
    std::filesystem::permissions(folder.modelDir(), std::filesystem::perms::none);
    {
        const test::WithoutPrivileges ordinaryUser;
        ai::buildDetectors(false);
    }
    std::filesystem::permissions(folder.modelDir(), std::filesystem::perms::owner_all);
    EXPECT_FALSE(ai::ready());
    EXPECT_EQ(log.lines().back(), "[AI] Could not find object detector models");
}

TEST_F(AiDoriq, FoldersAreNoModelFiles) {
    for (const char* ending : {".names", ".cfg", ".weights"}) {
        SCOPED_TRACE(ending);
        folder.installFake("");
        std::filesystem::remove(folder.modelDir() + "/model" + ending);
        std::filesystem::create_directory(folder.modelDir() + "/folder" + ending);
        ai::init();
        ai::buildDetectors(false);
        EXPECT_FALSE(ai::ready());
        EXPECT_EQ(log.lines().back(), std::string("[AI] Could not find ") + ending);
        test::writeFile(folder.modelDir() + "/model" + ending, "person\n");
        ai::buildDetectors(false);
        EXPECT_TRUE(ai::ready()) << "the file beside it";
    }
}

TEST_F(AiDoriq, ClassNamesMayHaveWindowsLineEnds) {
    folder.installFake("hit 0 10 20 30 40 0.5 0\n");
    test::writeFile(folder.modelDir() + "/model.names", "person\r\nface\r\n");
    ai::init();
    ai::buildDetectors(false);
    EXPECT_THAT(ai::detectFrame(pxl::Image(640, 360)), SizeIs(1));
}

TEST_F(AiDoriq, MoreHitsThanTheArrayHoldsAreCut) {
    const auto found = detectionsOf("hit 0 10 20 30 40 0.5 0\ncount 5000000\n");
    EXPECT_THAT(found, SizeIs(1));
    EXPECT_THAT(errorsOf(log), testing::Contains(HasSubstr("impossible number of hits")));
}

TEST_F(AiDoriq, AFullArrayIsKeptWhole) {
    std::string instructions;
    for (int index = 0; index < 1100; ++index)
        instructions += "hit 0 10 20 30 40 0.5 0\n";
    EXPECT_THAT(detectionsOf(instructions), SizeIs(1000));
    EXPECT_THAT(errorsOf(log), IsEmpty());
}

TEST_F(AiDoriq, ANegativeCountIsNoHits) {
    EXPECT_THAT(detectionsOf("hit 0 10 20 30 40 0.5 0\ncount -3\n"), IsEmpty());
    EXPECT_THAT(errorsOf(log), SizeIs(1));
}

TEST_F(AiDoriq, HitsOfTheFrameBeforeNeverComeBack) {
    folder.installFake("hit 1 10 20 30 40 0.5 0\ncount 3\n");
    ai::init();
    ai::buildDetectors(false);
    const pxl::Image image(640, 360);
    EXPECT_THAT(ai::detectFrame(image), SizeIs(1));
    EXPECT_THAT(ai::detectFrame(image), IsEmpty());
}

TEST_F(AiDoriq, ProbabilitiesThatAreNoNumbersAreDropped) {
    const auto found = detectionsOf("hit 0 10 20 30 40 nan 0\nhit 0 10 20 30 40 inf 0\n"
                                    "hit 0 10 20 30 40 -inf 2\nhit 0 1 2 3 4 0.5 0\n");
    ASSERT_THAT(found, SizeIs(1));
    expectBox(found[0], 1, 2, 3, 4, 50);
    EXPECT_THAT(errorsOf(log), SizeIs(1));
}

TEST_F(AiDoriq, ProbabilitiesOutsideTheRangeAreCut) {
    const auto found = detectionsOf("hit 0 10 20 30 40 3e30 0\nhit 0 10 20 30 40 -0.5 0\n");
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].score, 100);
    EXPECT_EQ(found[1].score, 0);
    EXPECT_THAT(errorsOf(log), SizeIs(1));
}

TEST_F(AiDoriq, ClassesOutsideTheNamesAreDropped) {
    EXPECT_THAT(detectionsOf("hit 0 10 20 30 40 0.5 -1\nhit 0 10 20 30 40 0.5 3\n"
                             "hit 0 10 20 30 40 0.5 2147483647\nhit 0 10 20 30 40 0.5 -2147483648\n"),
                IsEmpty());
    EXPECT_THAT(errorsOf(log), SizeIs(1));
}

TEST_F(AiDoriq, BoxesThatReachOverTheEdgeAreKeptAsTheyAre) {
    const auto found = detectionsOf("hit 0 -10 -20 60 100 0.5 0\nhit 0 600 300 100 200 0.5 0\n");
    ASSERT_THAT(found, SizeIs(2));
    expectBox(found[0], -10, -20, 60, 100, 50);
    expectBox(found[1], 600, 300, 100, 200, 50);
    EXPECT_THAT(errorsOf(log), IsEmpty());
}

TEST_F(AiDoriq, BoxesOutsideTheFrameOrWithoutAreaAreDropped) {
    EXPECT_THAT(detectionsOf("hit 0 640 0 10 10 0.5 0\nhit 0 0 360 10 10 0.5 0\nhit 0 -10 0 10 10 0.5 0\n"
                             "hit 0 0 -10 10 10 0.5 0\nhit 0 10 10 0 10 0.5 0\nhit 0 10 10 10 -5 0.5 0\n"
                             "hit 0 -2147483648 -2147483648 1 1 0.5 0\n"),
                IsEmpty());
    EXPECT_THAT(errorsOf(log), SizeIs(1));
}

TEST_F(AiDoriq, BoxesOfAbsurdSizeAreCutSoThatTheyStillHideTheFrame) {
    const auto found = detectionsOf("hit 0 -2147483648 0 2147483647 10 0.5 0\n"
                                    "hit 0 -2147483647 -2000000000 2147483647 2147483647 0.5 0\n"
                                    "hit 0 0 0 2147483647 2147483647 0.5 0\n");
    ASSERT_THAT(found, SizeIs(1));
    expectBox(found[0], 0, 0, 1280, 720, 50);
    EXPECT_THAT(errorsOf(log), SizeIs(2));
}

TEST_F(AiDoriq, AThrowingDetectionIsNoHitsAndIsLoggedOnce) {
    folder.installFake("throw\n");
    ai::init();
    ai::buildDetectors(false);
    const pxl::Image image(640, 360);
    for (int frame = 0; frame < 5; ++frame)
        EXPECT_THAT(ai::detectFrame(image), IsEmpty());
    EXPECT_THAT(errorsOf(log),
                ElementsAre("[AI] The detection library failed to detect: this detector always fails"));
    EXPECT_THAT(folder.fakeCalls(), SizeIs(6));
}

TEST_F(AiDoriq, AnythingMayBeThrown) {
    EXPECT_THAT(detectionsOf("throw-number\n"), IsEmpty());
    EXPECT_THAT(errorsOf(log), ElementsAre("[AI] The detection library failed to detect"));
}

TEST_F(AiDoriq, ANullDetectorIsNotReadyAndNeverUsed) {
    EXPECT_THAT(detectionsOf("build-null\nhit 0 10 20 30 40 0.5 0\n"), IsEmpty());
    ai::destroyDetectors();
    EXPECT_FALSE(log.contains("[AI] Object detector ready"));
    EXPECT_THAT(errorsOf(log), SizeIs(1));
    EXPECT_THAT(folder.fakeCalls(), SizeIs(1));
}

TEST_F(AiDoriq, AThrowingBuildLeavesNoDetector) {
    EXPECT_THAT(detectionsOf("build-throw\n"), IsEmpty());
    EXPECT_FALSE(log.contains("[AI] Object detector ready"));
    EXPECT_THAT(
        errorsOf(log),
        testing::Contains("[AI] The detection library failed to build a detector: this model is not for me"));
    ai::destroyDetectors();
    EXPECT_THAT(folder.fakeCalls(), SizeIs(1));
}

TEST_F(AiDoriq, AThrowingDestructionIsLoggedAndNotRepeated) {
    detectionsOf("destroy-throw\n");
    ai::destroyDetectors();
    ai::destroyDetectors();
    EXPECT_THAT(
        errorsOf(log),
        ElementsAre("[AI] The detection library failed to destroy its detector: destruction refused"));
    EXPECT_THAT(folder.fakeCalls(), ElementsAre(testing::_, testing::_, "destroy"));
}

TEST_F(AiDoriq, AnEmptyPictureIsNotHandedOver) {
    folder.installFake("hit 0 10 20 30 40 0.5 0\n");
    ai::init();
    ai::buildDetectors(false);
    EXPECT_THAT(ai::detectFrame(pxl::Image()), IsEmpty());
    EXPECT_THAT(folder.fakeCalls(), SizeIs(1));
}
