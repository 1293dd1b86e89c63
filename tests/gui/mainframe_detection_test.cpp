#include "mainframe_fixture.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>

#include <gmock/gmock.h>
#include <wx/app.h>
#include <wx/weakref.h>

#include "ai_doriq.h"
#include "anonymizer.h"
#include "canvas_hand.h"
#include "commands.h"
#include "filedroptarget.h"
#include "support/ai_folder.h"
#include "support/no_more_threads.h"
#include "videocanvas.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

/// A window whose detection library is a fake one that does as it is told (support/fake_doriq.cpp).
class MainFrameDetection : public test::MainFrameTest {
protected:
    ~MainFrameDetection() override {
        const test::AiFolder empty;
        ai::init();
    }
    void openWith(const std::string& instructions) {
        ai_.installFake(instructions);
        ai::init();
        openReady("odd_321x181.mp4");
    }
    void startDetection() {
        wxCommandEvent none;
        frame_->OnAI(none);
    }
    void detect() {
        startDetection();
        ASSERT_TRUE(frame_->refusesVideos());
        waitForTheEnd();
    }
    void waitForTheEnd() {
        ASSERT_TRUE(test::runUntil([this] { return !frame_->refusesVideos(); }));
        test::runPending();
    }
    /// The pass holds the store from here on, until `goOn`.
    void waitForTheFirstFrame() {
        ASSERT_TRUE(test::runUntil([this] { return ai_.fakeCalls().size() > 1; }));
    }
    /// Sizes, moves, paints and points at the window, each step waited for.
    void expectTheWindowLives() {
        // Shared with the handler, which lives as long as the canvas.
        const auto paints = std::make_shared<int>(0);
        canvas().Bind(wxEVT_PAINT, [paints](wxPaintEvent& event) {
            ++*paints;
            event.Skip();
        });
        const int width = canvas().GetSize().x;
        frame_->SetSize(wxSize(640, 480));
        ASSERT_TRUE(test::runUntil([&] { return canvas().GetSize().x != width && *paints > 0; }));
        frame_->Move(30, 40);
        for (int round = 0; round < 3; ++round) {
            const int before = *paints;
            canvas().Refresh();
            ASSERT_TRUE(test::runUntil([&] { return *paints > before; }));
            wxMouseEvent motion(wxEVT_MOTION);
            motion.SetPosition(wxPoint(50 + round, 50));
            motion.SetEventObject(&canvas());
            canvas().GetEventHandler()->ProcessEvent(motion);
        }
    }
    void goOn() const { test::writeFile(ai_.modelDir() + "/model.weights.go", ""); }

    test::AiFolder ai_;
};

} // namespace

TEST_F(MainFrameDetection, HidesWhatIsFoundWithoutAWord) {
    openWith("hit 3 10 20 60 60 0.9 0\n");
    EXPECT_TRUE(item("AI")->IsEnabled());
    detect();
    EXPECT_GT(blurCount(), 0u);
    EXPECT_THAT(bars(), IsEmpty());
    EXPECT_TRUE(dialogs_.boxes.empty());
    EXPECT_TRUE(frame_->IsEnabled());
}

TEST_F(MainFrameDetection, HalfALibraryLeavesTheCommandDisabled) {
    for (const char* half : {"fake_doriq_without_builder", "fake_doriq_without_destroyer"}) {
        ai_.installLibrary(half);
        ai::init();
        openReady("odd_321x181.mp4");
        EXPECT_FALSE(item("AI")->IsEnabled()) << half;
    }
}

TEST_F(MainFrameDetection, NothingThatTouchesTheStoreHappensMeanwhile) {
    openWith("wait\n");
    const wxString title = frame_->GetTitle();
    startDetection();
    EXPECT_FALSE(frame_->IsEnabled()) << "from the first moment";
    waitForTheFirstFrame();
    wxArrayString files;
    files.Add(clip("plain.mp4"));
    EXPECT_FALSE(FileDropTarget(frame_).OnDropFiles(0, 0, files));
    frame_->openVideo(clip("plain.mp4"));
    command(commands::kResetAll);
    command(commands::kOpen);
    command(commands::kExport);
    frame_->exportTo(wxString::FromUTF8(folder_.file("out.mp4")));
    startDetection();
    EXPECT_FALSE(frame_->Close());
    EXPECT_THAT(dialogs_.fileDialogs, IsEmpty());
    EXPECT_EQ(ai_.fakeCalls().size(), 2u) << "one detector, one frame";
    goOn();
    waitForTheEnd();
    EXPECT_EQ(frame_->GetTitle(), title);
    EXPECT_EQ(folder_.listing(), "");
    EXPECT_THAT(bars(), IsEmpty());
}

TEST_F(MainFrameDetection, TheWindowLivesWhileThePassHoldsTheStore) {
    openWith("wait\n");
    startDetection();
    waitForTheFirstFrame();
    expectTheWindowLives();
    EXPECT_EQ(ai_.fakeCalls().size(), 2u) << "the pass has not moved on";
    goOn();
    waitForTheEnd();
}

TEST_F(MainFrameDetection, TheWindowLivesWhileTheModelIsLoaded) {
    openWith("build-wait\nhit 3 10 20 60 60 0.9 0\n");
    startDetection();
    ASSERT_TRUE(test::runUntil([this] { return ai_.fakeCalls().size() == 1; }));
    expectTheWindowLives();
    EXPECT_EQ(ai_.fakeCalls().size(), 1u) << "the model is not loaded yet";
    goOn();
    waitForTheEnd();
    EXPECT_GT(blurCount(), 0u);
}

TEST_F(MainFrameDetection, AModelThatGivesNoDetectorIsToldAboutThePassThatFoundNothing) {
    openWith("build-null\n");
    detect();
    EXPECT_THAT(bars(), ElementsAre(StartsWith("Nobody was looked for")));
    openReady("plain.mp4");
    EXPECT_THAT(bars(), IsEmpty()) << "it was about the video before";
}

TEST_F(MainFrameDetection, AModelThatNamesNeitherPersonNorFaceIsToldAboutToo) {
    openWith("hit 0 10 20 60 60 0.9 0\n");
    for (const char* names : {"", "tree\ncar\n"}) {
        test::writeFile(ai_.modelDir() + "/model.names", names);
        openReady("odd_321x181.mp4");
        detect();
        EXPECT_THAT(bars(), ElementsAre(StartsWith("Nobody was looked for"))) << names;
    }
}

TEST_F(MainFrameDetection, FramesThatFailedAreCounted) {
    openWith("throw\n");
    detect();
    EXPECT_THAT(bars(), ElementsAre(StartsWith("The detection failed on some frames (")));
}

TEST_F(MainFrameDetection, ALibraryThatReportsNonsenseIsToldOnce) {
    openWith("hit 1 10 20 60 60 nan 0\nhit 2 10 20 60 60 0.9 77\nhit 3 5000 20 60 60 0.9 0\nhit 4 10 20 60 "
             "60 0.9 0\n");
    detect();
    EXPECT_GT(blurCount(), 0u) << "what makes sense is kept";
    EXPECT_THAT(bars(), ElementsAre(StartsWith("The detection library did not work as it should")));
    openWith("count 5000\n");
    detect();
    EXPECT_THAT(bars(), ElementsAre(StartsWith("The detection library did not work as it should")));
}

TEST_F(MainFrameDetection, AVideoThatHasBecomeShorterIsToldAboutThePassThatSawNotAllOfIt) {
    openWith("hit 0 10 20 60 60 0.9 0\n");
    const std::string video = folder_.file("cut.mp4");
    std::filesystem::copy_file(clip("plain.mp4").utf8_string(), video);
    frame_->openVideo(wxString::FromUTF8(video));
    ASSERT_TRUE(test::runUntil([this] { return isReady(); }));
    std::filesystem::resize_file(video, 100000);
    detect();
    EXPECT_THAT(bars(), testing::Contains(StartsWith("The detection broke off.")));
}

TEST_F(MainFrameDetection, AWindowThatHasToCloseLeavesThePassUnharmed) {
    openWith("wait\n");
    startDetection();
    waitForTheFirstFrame();
    const wxWeakRef<wxWindow> window(frame_);
    frame_->Close(true);
    ASSERT_TRUE(test::runUntil([&] { return !window; }));
    makeWindow();
    goOn();
    ASSERT_TRUE(test::runUntil([this] { return ai_.fakeCalls().back() == "destroy"; }));
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
}

TEST_F(MainFrameDetection, AWindowThatHasToCloseEndsTheProgramInGoodOrderBeforeThePass) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            openWith("wait\n");
            startDetection();
            waitForTheFirstFrame();
            // Nothing of this process is cleaned up.
            std::filesystem::remove_all(std::filesystem::u8path(ai_.configDir()).parent_path());
            std::filesystem::remove_all(folder_.path());
            wxTheApp->SetExitOnFrameDelete(true);
            frame_->CallAfter([this] { frame_->Close(true); });
            static_cast<Anonymizer*>(wxTheApp)->Anonymizer::OnRun();
            std::fprintf(stderr, "the libraries clean up under the pass");
            std::_Exit(1);
        },
        testing::ExitedWithCode(0), testing::Not(testing::HasSubstr("clean up")));
}

TEST_F(MainFrameDetection, APressOfTheButtonIsForgottenWithItsVideo) {
    openWith("hit 3 10 20 60 60 0.9 0\n");
    const auto press = [this] { test::click(canvas(), test::aiButton(canvas())); };
    press();
    openReady("plain.mp4");
    test::runPending();
    EXPECT_FALSE(frame_->refusesVideos());
    EXPECT_THAT(ai_.fakeCalls(), IsEmpty());
    press();
    ASSERT_TRUE(test::runUntil([this] { return frame_->refusesVideos(); }));
    waitForTheEnd();
    EXPECT_GT(blurCount(), 0u);
}

TEST_F(MainFrameDetection, APassThatCannotBeStartedIsAnErrorAndGivesTheWindowBack) {
    openWith("hit 3 10 20 60 60 0.9 0\n");
    {
        const test::NoMoreThreads none;
        startDetection();
    }
    EXPECT_THAT(dialogs_.boxes, ElementsAre("Error: The detection could not be started."));
    EXPECT_FALSE(frame_->refusesVideos());
    EXPECT_TRUE(frame_->IsEnabled());
    EXPECT_TRUE(item("AI")->IsEnabled());
    detect();
    EXPECT_GT(blurCount(), 0u);
}

TEST_F(MainFrameDetection, APassWithoutAVideoSeesNoFrameAndSaysNothing) {
    ai_.installFake("hit 0 10 20 60 60 0.9 0\n");
    ai::init();
    detect();
    EXPECT_THAT(ai_.fakeCalls(), ElementsAre(StartsWith("build "), "destroy"));
    EXPECT_EQ(storedFrames(), 0u);
    EXPECT_THAT(bars(), IsEmpty());
    EXPECT_TRUE(dialogs_.boxes.empty());
    EXPECT_TRUE(frame_->IsEnabled());
    openReady("odd_321x181.mp4");
    detect();
    EXPECT_GT(blurCount(), 0u);
}

TEST_F(MainFrameDetection, APassBeforeTheVideoIsReadyLeavesThatAlone) {
    ai_.installFake("build-wait\nhit 0 10 20 60 60 0.9 0\n");
    ai::init();
    frame_->openVideo(clip("gop_250.mp4"));
    startDetection();
    EXPECT_TRUE(frame_->refusesVideos());
    ASSERT_TRUE(test::runUntil([this] { return isReady(); }));
    const size_t frames = storedFrames();
    addBlur(2);
    EXPECT_FALSE(frame_->Close()) << "the pass still runs";
    goOn();
    waitForTheEnd();
    EXPECT_THAT(ai_.fakeCalls(), ElementsAre(StartsWith("build "), "destroy"));
    EXPECT_EQ(storedFrames(), frames);
    EXPECT_EQ(blurCount(), 1u);
    EXPECT_THAT(bars(), IsEmpty());
    EXPECT_TRUE(frame_->IsEnabled());
}
