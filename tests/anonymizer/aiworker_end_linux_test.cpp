/// The end of the program while a detection runs.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>

#include <gtest/gtest.h>
#include <wx/translation.h>

#include "ai_doriq.h"
#include "aiworker.h"
#include "blurtrack.h"
#include "support/ai_folder.h"
#include "support/detection_pass.h"
#include "support/paths.h"
#include "support/patience.h"
#include "workerend.h"

namespace {

/// A pass on a whole clip, stopped after its first frame. Never destroyed.
struct HeldPass {
    HeldPass() {
        folder.installFake("hit 0 10 20 30 40 0.5 0\nhit 200 10 20 30 40 0.5 77\n");
        ai::init();
        source = test::describe(test::mediaDir() + "/plain.mp4");
        test::resetStore(source.frameCount);
        progress.onCall = [this](const test::ProgressCall& call) {
            if (call.message.rfind("Processing speed", 0) != 0 || held)
                return;
            held = true;
            holding.set_value();
            test::waitFor(goOn.get_future());
        };
        auto* worker = new AiWorker(source, &progress); // deletes itself
        worker->setReport(report);
        worker->setDone([this] { done.set_value(); });
        worker->Run();
        test::waitFor(holding.get_future());
    }
    void finish() {
        goOn.set_value();
        test::waitFor(done.get_future());
        workerend::wait(std::chrono::seconds(30));
        std::filesystem::remove_all(std::filesystem::u8path(folder.configDir()).parent_path());
        std::fprintf(stderr, "%zu frames with something, %zu complaints",
                     static_cast<size_t>(source.frameCount) - emptyFrames(), report->complaints.size());
    }
    size_t emptyFrames() const {
        size_t count = 0;
        for (int64_t frame = 1; frame <= source.frameCount; ++frame)
            count += blurtrack::entriesAt(frame).empty() ? 1 : 0;
        return count;
    }

    test::AiFolder folder;
    video::VideoInfo source;
    test::ProgressLog progress;
    bool held = false;
    std::promise<void> holding, goOn, done;
    std::shared_ptr<AiReport> report = std::make_shared<AiReport>();
};

HeldPass* pass = nullptr;

/// The first object of the program, and so the last that is destroyed.
struct LastObject {
    // One of the GUI library's own objects becomes older by its use.
    LastObject() { wxGetTranslation("Detecting"); }
    ~LastObject() {
        if (pass)
            pass->finish();
    }
};
__attribute__((init_priority(101))) const LastObject lastObject;

} // namespace

TEST(AiWorkerEnd, APassMayBeLaterThanTheProgramsStaticObjects) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            pass = new HeldPass;
            std::exit(0);
        },
        testing::ExitedWithCode(0), "250 frames with something, 1 complaints");
}
