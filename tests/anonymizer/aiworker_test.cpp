#include "aiworker.h"

#include <chrono>
#include <filesystem>
#include <future>
#include <limits>
#include <mutex>
#include <new>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ai_doriq.h"
#include "blurtrack.h"
#include "settings.h"
#include "support/ai_folder.h"
#include "support/detection_pass.h"
#include "support/log_capture.h"
#include "support/paths.h"
#include "support/patience.h"
#include "workerend.h"

using blurtrack::BlurEntry;
using test::ProgressCall;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

namespace {

const char* const kSpeed = "Processing speed: 100 frames in [0-9]+\\.[0-9] seconds";

auto update(int32_t value, const std::string& message) {
    return AllOf(Field(&ProgressCall::kind, ProgressCall::kUpdate), Field(&ProgressCall::value, value),
                 Field(&ProgressCall::message, message));
}

auto speed(int32_t value) {
    return AllOf(Field(&ProgressCall::value, value), Field(&ProgressCall::message, MatchesRegex(kSpeed)));
}

auto finish() {
    return Field(&ProgressCall::kind, ProgressCall::kFinish);
}

bool isSpeed(const ProgressCall& call) {
    return call.message.rfind("Processing speed", 0) == 0;
}

bool storeIsFree() {
    std::unique_lock<std::mutex> lock(blurtrack::store().mutex, std::try_to_lock);
    return lock.owns_lock();
}

/// True when another thread could not take the store's mutex.
bool storeIsHeld() {
    return !std::async(std::launch::async, storeIsFree).get();
}

AiOverrides noPreblur() {
    AiOverrides overrides;
    overrides.gpu = false;
    overrides.preblurSeconds = 0;
    return overrides;
}

class AiWorkerPass : public testing::Test {
protected:
    void SetUp() override {
        source = test::describe(test::mediaDir() + "/plain.mp4");
        ASSERT_GT(source.frameCount, 200);
        ASSERT_LT(source.frameCount, 300);
        test::resetStore(source.frameCount);
    }
    void TearDown() override {
        test::resetStore(-1);
        const test::AiFolder empty;
        ai::init();
    }

    void install(const std::string& instructions) {
        folder.installFake(instructions);
        ai::init();
    }
    static std::vector<BlurEntry> at(int64_t frame) { return test::storedFrames()[frame]; }
    static size_t storedCount() {
        size_t count = 0;
        for (const auto& frame : test::storedFrames())
            count += frame.second.size();
        return count;
    }
    size_t detectionCalls() const { return folder.fakeCalls().size() - 2; }

    test::AiFolder folder;
    test::LogCapture log;
    test::ProgressLog progress;
    video::VideoInfo source;
};

void expectEntry(const BlurEntry& entry, int32_t x, int32_t y, int32_t w, int32_t h, int32_t score) {
    EXPECT_EQ(entry.id, blurtrack::kAnonymousBlurId);
    EXPECT_EQ(entry.x, x);
    EXPECT_EQ(entry.y, y);
    EXPECT_EQ(entry.w, w);
    EXPECT_EQ(entry.h, h);
    EXPECT_EQ(entry.score, score);
}

} // namespace

TEST_F(AiWorkerPass, ReportsEveryStepInOrder) {
    install("");
    AiOverrides overrides;
    overrides.preblurSeconds = 1;
    test::runPass(source, progress, overrides);
    const auto count = static_cast<int32_t>(source.frameCount);
    EXPECT_THAT(
        progress.calls,
        ElementsAre(AllOf(Field(&ProgressCall::kind, ProgressCall::kStart),
                          Field(&ProgressCall::value, count), Field(&ProgressCall::title, "Tarvex AI"),
                          Field(&ProgressCall::message, "Initializing")),
                    update(0, "Detecting"), speed(0), speed(100), speed(200),
                    update(count, "Post-processing"), update(count, "Cleaning up"), finish()));
    EXPECT_EQ(detectionCalls(), static_cast<size_t>(count));
    EXPECT_EQ(folder.fakeCalls().back(), "destroy");
}

TEST_F(AiWorkerPass, WithoutPreblurThereIsNoPostProcessing) {
    install("hit 50 10 10 60 60 0.5 0\n");
    test::runPass(source, progress, noPreblur());
    for (const auto& call : progress.calls)
        EXPECT_NE(call.message, "Post-processing");
    EXPECT_EQ(storedCount(), 1u);
}

TEST_F(AiWorkerPass, StoresDetectionsUnderTheDecodersFrameNumbers) {
    install("hit 1 10 20 30 40 0.5 0\nhit 7 50 60 70 80 0.987 2\nhit 7 5 6 7 8 0.9 1\n");
    test::runPass(source, progress, noPreblur());
    EXPECT_EQ(storedCount(), 2u);
    ASSERT_THAT(at(1), SizeIs(1));
    expectEntry(at(1)[0], 10, 20, 30, 40, 50);
    ASSERT_THAT(at(7), SizeIs(1));
    expectEntry(at(7)[0], 50, 60, 70, 80, 98);
}

TEST_F(AiWorkerPass, TheLastFrameIsDetectedToo) {
    install("hit " + std::to_string(source.frameCount) + " 10 20 30 40 0.5 0\n");
    test::runPass(source, progress, noPreblur());
    EXPECT_THAT(at(source.frameCount), SizeIs(1));
}

TEST_F(AiWorkerPass, OfATallBoxTheUpperHalfIsKept) {
    install("hit 1 10 20 60 100 0.5 0\nhit 1 10 20 60 90 0.5 0\nhit 1 10 20 60 91 0.5 2\n");
    test::runPass(source, progress, noPreblur());
    ASSERT_THAT(at(1), SizeIs(3));
    expectEntry(at(1)[0], 10, 20, 60, 50, 50);
    expectEntry(at(1)[1], 10, 20, 60, 90, 50);
    expectEntry(at(1)[2], 10, 20, 60, 45, 50); // 45.5, cut
}

TEST_F(AiWorkerPass, ExtendsIntoThePastByTheStoredSeconds) {
    settings::writeInt(settings::kPreblurSeconds, 2);
    settings::writeBool(settings::kGpu, true);
    install("hit 100 10 20 60 60 0.5 0\n");
    test::runPass(source, progress);
    ASSERT_EQ(source.fps, 25.0);
    for (int64_t frame = 0; frame <= source.frameCount; ++frame)
        EXPECT_EQ(at(frame).size(), frame >= 50 && frame <= 100 ? 1u : 0u) << frame;
    EXPECT_THAT(folder.fakeCalls().front(), testing::EndsWith(" gpu"));
}

TEST_F(AiWorkerPass, StoredSecondsWithoutAMenuItemAreTakenAsTheyAre) {
    settings::writeBool(settings::kGpu, true);
    install("hit 200 10 20 60 60 0.5 0\n");
    ASSERT_EQ(source.fps, 25.0);
    const auto firstFrameWith = [&](int32_t seconds) {
        settings::writeInt(settings::kPreblurSeconds, seconds);
        test::resetStore(source.frameCount);
        test::runPass(source, progress);
        EXPECT_EQ(settings::readInt(settings::kPreblurSeconds), seconds);
        int64_t frame = 0;
        while (frame < 200 && at(frame).empty())
            ++frame;
        return frame;
    };
    for (const int32_t none : {0, -1, std::numeric_limits<int32_t>::min()})
        EXPECT_EQ(firstFrameWith(none), 200) << none;
    EXPECT_EQ(firstFrameWith(7), 200 - 7 * 25);
    EXPECT_EQ(firstFrameWith(std::numeric_limits<int32_t>::max()), 0);
}

TEST_F(AiWorkerPass, OverridesWinAndLeaveTheSettingsAlone) {
    settings::writeInt(settings::kPreblurSeconds, 2);
    settings::writeBool(settings::kGpu, true);
    const std::string before = test::readFile(settings::configPath().utf8_string());
    install("hit 100 10 20 60 60 0.5 0\n");
    test::runPass(source, progress, noPreblur());
    EXPECT_EQ(storedCount(), 1u);
    EXPECT_THAT(folder.fakeCalls().front(), testing::EndsWith(" cpu"));
    EXPECT_EQ(test::readFile(settings::configPath().utf8_string()), before);
}

TEST_F(AiWorkerPass, BrushBlursAreExtendedToo) {
    {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        blurtrack::addBlur(30, {10, 20, 60, 60}, blurtrack::kBrushScore, 3);
    }
    install("");
    AiOverrides overrides;
    overrides.preblurSeconds = 1;
    test::runPass(source, progress, overrides);
    EXPECT_EQ(storedCount(), 26u);
    expectEntry(at(5)[0], 10, 20, 60, 60, 100);
}

TEST_F(AiWorkerPass, ASecondPassAddsToTheFirst) {
    install("hit 9 10 20 30 40 0.5 0\n");
    test::runPass(source, progress, noPreblur());
    test::runPass(source, progress, noPreblur());
    EXPECT_EQ(storedCount(), 2u);
    EXPECT_THAT(at(9), SizeIs(2));
}

TEST_F(AiWorkerPass, HoldsTheStoreFromTheFirstFrameToTheEndOfPostProcessing) {
    install("");
    AiOverrides overrides;
    overrides.preblurSeconds = 1;
    std::vector<std::string> held;
    std::vector<std::string> free;
    progress.onCall = [&](const ProgressCall& call) {
        (storeIsHeld() ? held : free).push_back(isSpeed(call) ? "speed" : call.message);
    };
    test::runPass(source, progress, overrides);
    EXPECT_THAT(held, ElementsAre("speed", "speed", "speed", "Post-processing"));
    EXPECT_THAT(free, ElementsAre("Initializing", "Detecting", "Cleaning up", ""));
}

TEST_F(AiWorkerPass, AnExceptionReleasesTheStoreAndStillCleansUp) {
    install("hit 1 10 20 30 40 0.5 0\n");
    progress.onCall = [&](const ProgressCall& call) {
        if (isSpeed(call) && call.value == 100)
            throw std::bad_alloc();
    };
    const AiReport report = test::runPass(source, progress, noPreblur());
    EXPECT_TRUE(storeIsFree());
    EXPECT_EQ(folder.fakeCalls().back(), "destroy");
    EXPECT_EQ(progress.calls.back().kind, ProgressCall::kFinish);
    EXPECT_EQ(progress.calls[progress.calls.size() - 2].message, "Cleaning up");
    EXPECT_THAT(log.lines(wxLOG_Error), SizeIs(1));
    EXPECT_TRUE(report.brokeOff);
    EXPECT_THAT(at(1), SizeIs(1));
}

TEST_F(AiWorkerPass, SomethingElseThanAnExceptionIsCaughtToo) {
    install("hit 1 10 20 30 40 0.5 0\n");
    progress.onCall = [&](const ProgressCall& call) {
        if (isSpeed(call) && call.value == 100)
            throw 42;
    };
    EXPECT_TRUE(test::runPass(source, progress, noPreblur()).brokeOff);
    EXPECT_TRUE(storeIsFree());
    EXPECT_EQ(progress.calls.back().kind, ProgressCall::kFinish);
    EXPECT_THAT(log.lines(wxLOG_Error), ElementsAre("[AI] The pass broke off"));
}

TEST_F(AiWorkerPass, IsWaitedForByTheProgramsEndFromItsFinishOn) {
    install("");
    std::promise<void> finishing;
    std::promise<void> goOn;
    progress.onCall = [&](const ProgressCall& call) {
        if (call.kind != ProgressCall::kFinish)
            return;
        finishing.set_value();
        test::waitFor(goOn.get_future());
    };
    test::runPass(source, progress, noPreblur(), [&](AiWorker&) {
        test::waitFor(finishing.get_future());
        constexpr std::chrono::milliseconds limit(50);
        const auto start = std::chrono::steady_clock::now();
        workerend::wait(limit);
        EXPECT_GE(std::chrono::steady_clock::now() - start, limit) << "it lasts the whole time";
        goOn.set_value();
    });
}

TEST_F(AiWorkerPass, WhatWasFoundBeforeAnExceptionIsStillExtended) {
    install("hit 60 10 20 30 40 0.5 0\n");
    progress.onCall = [&](const ProgressCall& call) {
        if (isSpeed(call) && call.value == 100)
            throw std::bad_alloc();
    };
    AiOverrides overrides;
    overrides.preblurSeconds = 1;
    test::runPass(source, progress, overrides);
    EXPECT_EQ(storedCount(), 26u);
    expectEntry(at(35)[0], 10, 20, 30, 40, 50);
    EXPECT_TRUE(storeIsFree());
}

TEST_F(AiWorkerPass, AStopRequestEndsTheDetectionAndPostProcessesWhatWasFound) {
    install("hit 2 10 20 30 40 0.5 0\n");
    std::promise<void> firstFrame;
    std::promise<void> stopRequested;
    bool waiting = true;
    progress.onCall = [&](const ProgressCall& call) {
        if (!isSpeed(call) || !waiting)
            return;
        waiting = false;
        firstFrame.set_value();
        test::waitFor(stopRequested.get_future());
    };
    AiOverrides overrides;
    overrides.preblurSeconds = 1;
    const AiReport report = test::runPass(source, progress, overrides, [&](AiWorker& worker) {
        test::waitFor(firstFrame.get_future());
        worker.Delete();
        stopRequested.set_value();
    });
    EXPECT_EQ(detectionCalls(), 1u);
    EXPECT_FALSE(report.brokeOff) << "it was asked to end";
    EXPECT_EQ(folder.fakeCalls().back(), "destroy");
    ASSERT_EQ(progress.calls.size(), 6u);
    EXPECT_THAT(progress.calls[3], update(1, "Post-processing"));
    EXPECT_THAT(progress.calls[4], update(1, "Cleaning up"));
    EXPECT_TRUE(storeIsFree());
}

TEST_F(AiWorkerPass, WithoutALibraryThePassRunsAndAddsNothing) {
    ai::init();
    test::runPass(source, progress, noPreblur());
    EXPECT_EQ(storedCount(), 0u);
    EXPECT_EQ(progress.calls.size(), 7u);
    EXPECT_EQ(progress.calls.back().kind, ProgressCall::kFinish);
    EXPECT_TRUE(log.contains("[AI] Could not find Doriq.dll"));
}

TEST_F(AiWorkerPass, WithoutAModelThePassRunsAndAddsNothing) {
    folder.installLibrary("fake_doriq");
    ai::init();
    test::runPass(source, progress, noPreblur());
    EXPECT_EQ(storedCount(), 0u);
    EXPECT_EQ(progress.calls.back().kind, ProgressCall::kFinish);
    EXPECT_TRUE(log.contains("[AI] Could not find object detector models"));
}

TEST_F(AiWorkerPass, ALibraryThatAlwaysThrowsEndsLikeOneThatFindsNothing) {
    install("throw\ndestroy-throw\n");
    test::runPass(source, progress, noPreblur());
    EXPECT_EQ(storedCount(), 0u);
    EXPECT_EQ(detectionCalls(), static_cast<size_t>(source.frameCount));
    EXPECT_EQ(progress.calls.back().kind, ProgressCall::kFinish);
}

TEST_F(AiWorkerPass, AVideoThatCannotBeOpenedHasNoFramesAndStillCleansUp) {
    install("hit 0 10 20 30 40 0.5 0\n");
    source.path = wxString::FromUTF8(folder.configDir() + "/missing.mp4");
    AiOverrides overrides;
    overrides.preblurSeconds = 1;
    EXPECT_TRUE(test::runPass(source, progress, overrides).brokeOff);
    EXPECT_EQ(detectionCalls(), 0u);
    EXPECT_EQ(folder.fakeCalls().back(), "destroy");
    ASSERT_EQ(progress.calls.size(), 5u);
    EXPECT_THAT(progress.calls[2], update(0, "Post-processing"));
    EXPECT_THAT(progress.calls[3], update(0, "Cleaning up"));
}

TEST_F(AiWorkerPass, APassOverEveryFrameIsReportedAsWhole) {
    install("hit 0 10 20 30 40 0.5 0\n");
    const AiReport report = test::runPass(source, progress, noPreblur());
    EXPECT_TRUE(report.hadDetector);
    EXPECT_FALSE(report.brokeOff);
    EXPECT_EQ(report.failedFrames, 0);
    EXPECT_THAT(report.complaints, IsEmpty());
    EXPECT_THAT(log.lines(wxLOG_Error), IsEmpty());
}

TEST_F(AiWorkerPass, AVideoThatIsCutMeanwhileIsReportedAsBrokenOff) {
    const std::string video = folder.configDir() + "/cut.mp4";
    test::writeFile(video, test::readFile(source.path.utf8_string()));
    source.path = wxString::FromUTF8(video);
    install("hit 0 10 20 30 40 0.5 0\n");
    progress.onCall = [&](const ProgressCall& call) {
        if (isSpeed(call) && call.value == 0)
            std::filesystem::resize_file(std::filesystem::u8path(video), 100000);
    };
    const AiReport report = test::runPass(source, progress, noPreblur());
    EXPECT_TRUE(report.brokeOff);
    EXPECT_GE(storedCount(), 1u);
    EXPECT_LT(storedCount(), static_cast<size_t>(source.frameCount));
    EXPECT_THAT(log.lines(wxLOG_Error),
                testing::Contains(MatchesRegex(".AI. The pass saw [0-9]+ of [0-9]+ frames")));
}

TEST_F(AiWorkerPass, AnotherNumberOfFramesThanKnownIsReportedAsBrokenOff) {
    install("");
    const int64_t known = source.frameCount;
    for (const int64_t stated : {known - 1, known + 1}) {
        source.frameCount = stated;
        EXPECT_TRUE(test::runPass(source, progress, noPreblur()).brokeOff) << stated - known;
    }
}

TEST_F(AiWorkerPass, FramesThatCannotBeConvertedAreReportedAsFailed) {
    install("hit 0 10 20 30 40 0.5 0\n");
    source.width = 0;
    const AiReport report = test::runPass(source, progress, noPreblur());
    EXPECT_EQ(report.failedFrames, source.frameCount);
    EXPECT_FALSE(report.brokeOff);
    EXPECT_EQ(storedCount(), 0u);
    EXPECT_EQ(detectionCalls(), 0u);
    const auto count = static_cast<int32_t>(source.frameCount);
    EXPECT_THAT(progress.calls,
                ElementsAre(Field(&ProgressCall::kind, ProgressCall::kStart), update(0, "Detecting"),
                            speed(0), speed(100), speed(200), update(count, "Cleaning up"), finish()))
        << "they count like the others";
}

TEST_F(AiWorkerPass, NeedsNeitherCallbackNorReport) {
    install("hit 9 10 20 30 40 0.5 0\n");
    std::promise<void> finished;
    progress.onCall = [&](const ProgressCall& call) {
        if (call.kind == ProgressCall::kFinish)
            finished.set_value();
    };
    auto* worker = new AiWorker(source, &progress); // deletes itself
    worker->setOverrides(noPreblur());
    ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
    test::waitFor(finished.get_future());
    EXPECT_TRUE(workerend::wait(test::kPatience));
    EXPECT_EQ(storedCount(), 1u);
    EXPECT_EQ(folder.fakeCalls().back(), "destroy");
}

TEST_F(AiWorkerPass, ADescriptionOfNothingIsSurvived) {
    install("hit 0 10 20 30 40 0.5 0\n");
    test::runPass(video::VideoInfo(), progress, AiOverrides());
    EXPECT_EQ(storedCount(), 0u);
    EXPECT_EQ(progress.calls.back().kind, ProgressCall::kFinish);
}

TEST_F(AiWorkerPass, ARateThatIsNoNumberIsSurvived) {
    source.fps = std::numeric_limits<double>::quiet_NaN();
    install("hit 9 10 20 30 40 0.5 0\n");
    AiOverrides overrides;
    overrides.preblurSeconds = 5;
    test::runPass(source, progress, overrides);
    EXPECT_EQ(storedCount(), 2u);
}
