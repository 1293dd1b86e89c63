#include "mainframe_fixture.h"

#include <atomic>
#include <filesystem>
#include <future>
#include <mutex>
#include <thread>

#include <gmock/gmock.h>
#include <wx/app.h>
#include <wx/dialog.h>
#include <wx/event.h>
#include <wx/eventfilter.h>
#include <wx/weakref.h>

#include "commands.h"
#include "filedroptarget.h"
#include "support/library_calls.h"
#include "support/no_more_threads.h"

namespace fs = std::filesystem;

namespace {

class MainFrameExport : public test::MainFrameTest {
protected:
    /// Until the worker that was started has ended and its end was dealt with.
    void waitForTheWorker() {
        ASSERT_TRUE(test::runUntil([this] { return !frame_->refusesVideos(); }));
        test::runPending();
    }
    void exportTo(const std::string& path) {
        frame_->exportTo(wxString::FromUTF8(path));
        waitForTheWorker();
    }
    void expectVideoAndBlursKept() {
        EXPECT_TRUE(isReady());
        EXPECT_EQ(blurCount(), 1u);
        EXPECT_TRUE(frame_->IsEnabled());
    }
};

/// The blur store in the hands of another thread.
class HeldStore {
public:
    HeldStore()
        : thread_([this] {
              const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
              held_.set_value();
              released_.get_future().wait();
          }) {
        held_.get_future().wait();
    }
    ~HeldStore() {
        released_.set_value();
        thread_.join();
    }
    HeldStore(const HeldStore&) = delete;
    HeldStore& operator=(const HeldStore&) = delete;

private:
    std::promise<void> held_;
    std::promise<void> released_;
    std::thread thread_;
};

} // namespace

TEST_F(MainFrameExport, WritesTheFileWithoutAWord) {
    openReady("odd_321x181.mp4");
    const std::string output = folder_.file("out.mp4");
    exportTo(output);
    EXPECT_TRUE(dialogs_.boxes.empty());
    EXPECT_GT(fs::file_size(fs::u8path(output)), 1000u);
    EXPECT_TRUE(frame_->IsEnabled());
}

TEST_F(MainFrameExport, TheChosenTypesEndingIsAdded) {
    openReady("odd_321x181.mp4");
    dialogs_.chooseFile(wxString::FromUTF8(folder_.file("out")), 1);
    command(commands::kExport);
    waitForTheWorker();
    EXPECT_EQ(folder_.listing(), "out.mov");
}

TEST_F(MainFrameExport, AFileThatTheAddedEndingMeetsIsReplacedOnlyWhenTheUserAgrees) {
    openReady("odd_321x181.mp4");
    folder_.write("out.mp4", "precious");
    {
        test::DialogAnswers no(wxID_NO);
        no.chooseFile(wxString::FromUTF8(folder_.file("out")), 0);
        command(commands::kExport);
        EXPECT_THAT(no.boxes, testing::ElementsAre("Export video file: The file " + folder_.file("out.mp4") +
                                                   " already exists. Do you want to replace it?"));
        EXPECT_THAT(no.boxStyles, testing::ElementsAre(wxYES_NO | wxNO_DEFAULT | wxICON_WARNING));
    }
    EXPECT_FALSE(frame_->refusesVideos());
    EXPECT_EQ(test::readFile(folder_.file("out.mp4")), "precious");
    {
        test::DialogAnswers yes(wxID_YES);
        yes.chooseFile(wxString::FromUTF8(folder_.file("out")), 0);
        command(commands::kExport);
        EXPECT_EQ(yes.boxes.size(), 1u);
        waitForTheWorker();
    }
    EXPECT_GT(fs::file_size(folder_.path() / "out.mp4"), 1000u);
}

TEST_F(MainFrameExport, TheMovTypeIsPreselectedForAMovVideo) {
    openReady("odd_321x181.mov");
    command(commands::kExport);
    openReady("plain.mp4");
    command(commands::kExport);
    ASSERT_EQ(dialogs_.fileDialogs.size(), 2u);
    EXPECT_THAT(dialogs_.fileDialogs[0], testing::EndsWith("; 1"));
    EXPECT_THAT(dialogs_.fileDialogs[1], testing::EndsWith("; 0"));
}

TEST_F(MainFrameExport, AnEmptyPathIsToldAndNothingStarts) {
    openReady("plain.mp4");
    frame_->exportTo({});
    EXPECT_THAT(dialogs_.boxes, testing::ElementsAre("Error: File path was empty. Failed to export video."));
    EXPECT_FALSE(frame_->refusesVideos());
}

TEST_F(MainFrameExport, TheOpenVideoAndLinksToItAreRefused) {
    const std::string source = folder_.write("source.mp4", test::readFile(clip("plain.mp4").utf8_string()));
    frame_->openVideo(wxString::FromUTF8(source));
    ASSERT_TRUE(test::runUntil([this] { return isReady(); }));
    fs::create_symlink(fs::u8path(source), folder_.path() / "soft.mp4");
    fs::create_hard_link(fs::u8path(source), folder_.path() / "hard.mp4");
    const std::string before = test::readFile(source);
    for (const char* name : {"source.mp4", "soft.mp4", "hard.mp4", "./source.mp4"})
        frame_->exportTo(wxString::FromUTF8(folder_.file(name)));
    EXPECT_EQ(dialogs_.boxes.size(), 4u);
    EXPECT_FALSE(frame_->refusesVideos());
    EXPECT_EQ(test::readFile(source), before);
}

TEST_F(MainFrameExport, AMissingFolderIsAnErrorThatNamesFileAndReason) {
    openReady("odd_321x181.mp4");
    addBlur(2);
    const std::string output = folder_.file("missing/out.mp4");
    exportTo(output);
    ASSERT_EQ(dialogs_.boxes.size(), 1u);
    EXPECT_THAT(dialogs_.boxes[0],
                testing::StartsWith("Error: Error while exporting the video file " + output + ": "));
    EXPECT_THAT(dialogs_.boxes[0], testing::HasSubstr("No such file or directory"));
    expectVideoAndBlursKept();
}

TEST_F(MainFrameExport, AFolderWithoutPermissionIsAnErrorAndLeavesNothing) {
    openReady("odd_321x181.mp4");
    addBlur(2);
    fs::create_directory(folder_.path() / "locked");
    fs::permissions(folder_.path() / "locked", fs::perms::owner_read | fs::perms::owner_exec |
                                                   fs::perms::others_read | fs::perms::others_exec);
    fs::permissions(folder_.path(), fs::perms::others_read | fs::perms::others_exec, fs::perm_options::add);
    {
        const test::WithoutPrivileges ordinaryUser;
        exportTo(folder_.file("locked/out.mp4"));
    }
    ASSERT_EQ(dialogs_.boxes.size(), 1u);
    EXPECT_THAT(dialogs_.boxes[0], testing::HasSubstr("Permission denied"));
    EXPECT_TRUE(fs::is_empty(folder_.path() / "locked"));
    expectVideoAndBlursKept();
}

TEST_F(MainFrameExport, AFullDiskIsAnErrorAndTheVideoStaysOpen) {
    if (!fs::exists("/dev/full"))
        GTEST_SKIP() << "there is no /dev/full";
    openReady("odd_321x181.mp4");
    addBlur(2);
    fs::create_symlink("/dev/full", folder_.path() / "out.mp4");
    exportTo(folder_.file("out.mp4"));
    ASSERT_EQ(dialogs_.boxes.size(), 1u);
    EXPECT_THAT(dialogs_.boxes[0], testing::HasSubstr("No space left on device"));
    EXPECT_TRUE(fs::exists("/dev/full"));
    expectVideoAndBlursKept();
}

TEST_F(MainFrameExport, NothingThatWouldTakeTheBlursAwayHappensMeanwhile) {
    openReady("gop_250.mp4");
    addBlur(2);
    const wxString title = frame_->GetTitle();
    frame_->exportTo(wxString::FromUTF8(folder_.file("out.mp4")));
    ASSERT_TRUE(frame_->refusesVideos());
    EXPECT_FALSE(frame_->IsEnabled()) << "from the first moment";

    wxArrayString files;
    files.Add(clip("plain.mp4"));
    EXPECT_FALSE(FileDropTarget(frame_).OnDropFiles(0, 0, files));
    frame_->openVideo(clip("plain.mp4"));
    command(commands::kResetAll);
    frame_->exportTo(wxString::FromUTF8(folder_.file("second.mp4")));
    wxCommandEvent detect(wxEVT_MENU, commands::kBlurHumans);
    frame_->OnAI(detect);
    EXPECT_FALSE(frame_->Close()) << "the close button and the window manager's key";
    wxCommandEvent exit(wxEVT_MENU, wxID_EXIT);
    frame_->GetEventHandler()->ProcessEvent(exit);
    wxCloseEvent endOfSession(wxEVT_CLOSE_WINDOW);
    endOfSession.SetEventObject(frame_);
    endOfSession.SetLoggingOff(true);
    endOfSession.SetCanVeto(true);
    frame_->GetEventHandler()->ProcessEvent(endOfSession);
    EXPECT_TRUE(endOfSession.GetVeto());
    EXPECT_FALSE(wxPendingDelete.Member(frame_));

    EXPECT_EQ(frame_->GetTitle(), title);
    EXPECT_TRUE(bars().empty());
    EXPECT_EQ(blurCount(), 1u);
    ASSERT_TRUE(test::runUntil([this] { return !frame_->IsEnabled(); })) << "the progress dialog";
    EXPECT_FALSE(frame_->Close());
    waitForTheWorker();
    EXPECT_TRUE(dialogs_.boxes.empty());
    EXPECT_EQ(blurCount(), 1u);
    EXPECT_EQ(folder_.listing(), "out.mp4");
    EXPECT_TRUE(frame_->IsEnabled());
}

TEST_F(MainFrameExport, AVideoDroppedWhileTheNameIsChosenIsRefusedSilently) {
    openReady("odd_321x181.mp4");
    dialogs_.chooseFile(wxString::FromUTF8(folder_.file("out.mp4")));
    dialogs_.duringFileDialogs([this] {
        wxArrayString files;
        files.Add(clip("plain.mp4"));
        EXPECT_FALSE(FileDropTarget(frame_).OnDropFiles(0, 0, files));
    });
    const wxString title = frame_->GetTitle();
    command(commands::kExport);
    waitForTheWorker();
    EXPECT_EQ(frame_->GetTitle(), title);
    EXPECT_TRUE(bars().empty());
    EXPECT_EQ(folder_.listing(), "out.mp4");
}

TEST_F(MainFrameExport, AVideoOpenedWhileTheNameIsChosenIsNotExported) {
    openReady("odd_321x181.mp4");
    addBlur(2);
    dialogs_.chooseFile(wxString::FromUTF8(folder_.file("out.mp4")));
    dialogs_.duringFileDialogs([this] {
        // As by a drop that came just before the dialog.
        frame_->openVideo(clip("plain.mp4"));
        EXPECT_TRUE(test::runUntil([this] { return isReady(); }));
    });
    command(commands::kExport);
    waitForTheWorker();
    EXPECT_EQ(folder_.listing(), "");
    EXPECT_TRUE(frame_->IsEnabled());
}

TEST_F(MainFrameExport, NothingIsExportedBeforeTheVideoIsReady) {
    frame_->openVideo(clip("gop_250.mp4"));
    frame_->exportTo(wxString::FromUTF8(folder_.file("out.mp4")));
    wxCommandEvent accelerator(wxEVT_MENU, commands::kExport);
    frame_->GetEventHandler()->ProcessEvent(accelerator);
    EXPECT_TRUE(dialogs_.fileDialogs.empty());
    EXPECT_TRUE(test::runUntil([this] { return isReady(); }));
    test::runPending();
    EXPECT_TRUE(frame_->IsEnabled());
    frame_->openVideo(clip("text.mp4"));
    frame_->exportTo(wxString::FromUTF8(folder_.file("out.mp4")));
    EXPECT_TRUE(frame_->IsEnabled());
    EXPECT_EQ(folder_.listing(), "");
}

TEST_F(MainFrameExport, AWindowThatHasToCloseStopsTheWorkerAndGoesOnceItsFileIsClosed) {
    openReady("gop_250.mp4");
    const std::string output = folder_.file("out.mp4");
    const wxWeakRef<wxWindow> window(frame_);
    {
        // The worker can't come to its end meanwhile.
        const HeldStore held;
        frame_->exportTo(wxString::FromUTF8(output));
        frame_->Close(true);
        EXPECT_FALSE(wxPendingDelete.Member(frame_)) << "the file has no index yet";
        frame_->Close(true);
    }
    ASSERT_TRUE(test::runUntil([&] { return !window; }));
    EXPECT_THAT(test::readFile(output), testing::HasSubstr("moov")) << "its index";
    EXPECT_TRUE(dialogs_.boxes.empty());
    makeWindow();
    openReady("odd_321x181.mp4");
    EXPECT_TRUE(test::runUntil([this] { return log_.contains("[VideoExportThread] Thread destroyed"); }));
}

TEST_F(MainFrameExport, AWindowMayHaveToCloseWhileTheProgressComesUp) {
    /// Closes the window when its first dialog is shown.
    class Closing : public wxEventFilter {
    public:
        explicit Closing(wxWindow& window) : window_(window) { wxEvtHandler::AddFilter(this); }
        ~Closing() override { wxEvtHandler::RemoveFilter(this); }
        int FilterEvent(wxEvent& event) override {
            if (event.GetEventType() == wxEVT_SHOW && !closed &&
                dynamic_cast<wxDialog*>(event.GetEventObject())) {
                closed = true;
                window_.Close(true);
            }
            return Event_Skip;
        }
        bool closed = false;

    private:
        wxWindow& window_;
    };
    openReady("gop_250.mp4");
    const std::string output = folder_.file("out.mp4");
    const wxWeakRef<wxWindow> window(frame_);
    {
        // The worker can't come to its end meanwhile.
        const HeldStore held;
        const Closing closing(*frame_);
        frame_->exportTo(wxString::FromUTF8(output));
        EXPECT_TRUE(closing.closed);
        EXPECT_FALSE(wxPendingDelete.Member(frame_)) << "the file has no index yet";
    }
    ASSERT_TRUE(test::runUntil([&] { return !window; }));
    EXPECT_THAT(test::readFile(output), testing::HasSubstr("moov")) << "its index";
    EXPECT_LT(fs::file_size(fs::u8path(output)), 20000u) << "stopped at once";
    makeWindow();
}

TEST_F(MainFrameExport, AWindowThatHasToCloseDoesNotWaitForABox) {
    openReady("odd_321x181.mp4");
    const wxWeakRef<wxWindow> window(frame_);
    frame_->exportTo(wxString::FromUTF8(folder_.file("missing/out.mp4")));
    frame_->Close(true);
    ASSERT_TRUE(test::runUntil([&] { return !window; }));
    test::runPending();
    EXPECT_TRUE(dialogs_.boxes.empty());
    EXPECT_FALSE(log_.lines(wxLOG_Error).empty()) << "the failure is in the log";
    makeWindow();
}

TEST_F(MainFrameExport, FramesThatCouldNotBeConvertedAreToldInABar) {
    constexpr int kMissing = 3;
    const test::LibraryHooksReset reset;
    std::atomic<bool> exporting{false};
    std::atomic<int> conversions{0};
    test::libraryHooks().sws_getContext = [&](int srcW, int srcH, AVPixelFormat srcFormat, int dstW, int dstH,
                                              AVPixelFormat dstFormat, int flags, SwsFilter* srcFilter,
                                              SwsFilter* dstFilter, const double* parameters) -> SwsContext* {
        const int number = dstFormat == AV_PIX_FMT_RGBA && exporting ? ++conversions : 0;
        // The player may still convert one or two for the screen.
        if (number > 10 && number <= 10 + kMissing)
            return nullptr;
        return test::real::sws_getContext(srcW, srcH, srcFormat, dstW, dstH, dstFormat, flags, srcFilter,
                                          dstFilter, parameters);
    };
    openReady("plain.mp4");
    exporting = true;
    exportTo(folder_.file("out.mp4"));
    EXPECT_TRUE(dialogs_.boxes.empty());
    EXPECT_THAT(bars(),
                testing::ElementsAre(testing::AllOf(testing::StartsWith("Frames that could not be converted"),
                                                    testing::EndsWith(": 3"))));
    openReady("odd_321x181.mp4");
    EXPECT_TRUE(bars().empty()) << "it was about the video before";
    // No thread of a player may be there when the library's own functions come back.
    frame_->Destroy();
    test::runPending();
    makeWindow();
}

TEST_F(MainFrameExport, AWindowMayHaveToCloseWithinAnUpdateOfItsProgress) {
    openReady("gop_250.mp4");
    frame_->exportTo(wxString::FromUTF8(folder_.file("out.mp4")));
    const wxWeakRef<wxWindow> window(frame_);
    bool askedWithin = false;
    // The dialog's updates run the event loop, as this call does.
    frame_->update(1, "updating");
    frame_->CallAfter([&] {
        askedWithin = true;
        window->Close(true);
    });
    ASSERT_TRUE(test::runUntil([&] { return !window; }));
    EXPECT_TRUE(askedWithin);
    frame_ = new MainFrame("Tarvex Shroud", wxDefaultPosition, wxSize(800, 580));
    ASSERT_TRUE(test::runUntil([this] { return log_.contains("[VideoExportThread] Thread destroyed"); }));
}

TEST_F(MainFrameExport, AStoppedExportIsClosedBeforeThatIsTold) {
    openReady("gop_250.mp4");
    addBlur(2);
    const std::string output = folder_.file("out.mp4");
    frame_->exportTo(wxString::FromUTF8(output));
    int calls = 0;
    const auto stopped = [&] {
        EXPECT_FALSE(frame_->refusesVideos());
        ++calls;
    };
    frame_->stopExport(stopped);
    frame_->stopExport(stopped);
    EXPECT_EQ(calls, 0) << "the worker is not waited for";
    ASSERT_TRUE(test::runUntil([&] { return calls > 0; }));
    test::runPending();
    EXPECT_EQ(calls, 1) << "asked for twice";
    EXPECT_TRUE(dialogs_.boxes.empty());
    EXPECT_GT(fs::file_size(fs::u8path(output)), 0u);
    expectVideoAndBlursKept();
}

TEST_F(MainFrameExport, AnExportAfterAStoppedOneRunsToItsEnd) {
    openReady("gop_250.mp4");
    exportTo(folder_.file("whole.mp4"));
    frame_->exportTo(wxString::FromUTF8(folder_.file("stopped.mp4")));
    int calls = 0;
    frame_->stopExport([&] { ++calls; });
    waitForTheWorker();
    exportTo(folder_.file("again.mp4"));
    EXPECT_EQ(calls, 1) << "nobody waits for the second one";
    const auto framesOf = [this](const std::string& name) {
        frame_->openVideo(wxString::FromUTF8(folder_.file(name)));
        EXPECT_TRUE(test::runUntil([this] { return isReady(); }));
        return storedFrames();
    };
    EXPECT_EQ(framesOf("again.mp4"), framesOf("whole.mp4"));
}

TEST_F(MainFrameExport, WithoutAnExportThereIsNothingToStop) {
    int calls = 0;
    frame_->stopExport([&] { ++calls; });
    EXPECT_EQ(calls, 1);
    openReady("odd_321x181.mp4");
    exportTo(folder_.file("out.mp4"));
    EXPECT_EQ(calls, 1);
    frame_->stopExport([&] { ++calls; });
    EXPECT_EQ(calls, 2);
}

TEST_F(MainFrameExport, TheThresholdOfTheMenuDecidesWhatIsHidden) {
    openReady("odd_321x181.mp4");
    const auto exported = [this](const std::string& name) {
        exportTo(folder_.file(name));
        return test::readFile(folder_.file(name));
    };
    const std::string clear = exported("clear.mp4");
    {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        blurtrack::addBlur(2, {10, 10, 200, 100}, 60, blurtrack::kAnonymousBlurId);
    }
    command(*commands::thresholdItem(70));
    EXPECT_TRUE(exported("70.mp4") == clear);
    command(*commands::thresholdItem(60));
    EXPECT_FALSE(exported("60.mp4") == clear);
}

TEST_F(MainFrameExport, ADetectionWithoutItsLibraryEndsAndGivesTheWindowBack) {
    openReady("odd_321x181.mp4");
    addBlur(2);
    wxCommandEvent detect(wxEVT_MENU, commands::kBlurHumans);
    frame_->OnAI(detect);
    EXPECT_TRUE(frame_->refusesVideos());
    EXPECT_FALSE(frame_->IsEnabled()) << "by the progress dialog, from the first moment";
    EXPECT_FALSE(frame_->Close());
    waitForTheWorker();
    EXPECT_TRUE(frame_->IsEnabled());
    EXPECT_TRUE(dialogs_.boxes.empty());
    EXPECT_THAT(bars(), testing::ElementsAre(testing::StartsWith("Nobody was looked for")));
}

TEST_F(MainFrameExport, AWorkerThatCannotBeStartedIsAnErrorAndGivesTheWindowBack) {
    openReady("odd_321x181.mp4");
    addBlur(2);
    const std::string output = folder_.file("out.mp4");
    {
        const test::NoMoreThreads none;
        frame_->exportTo(wxString::FromUTF8(output));
    }
    EXPECT_THAT(dialogs_.boxes, testing::ElementsAre("Error: Error while exporting the video file " + output +
                                                     ": The export could not be started."));
    EXPECT_FALSE(frame_->refusesVideos());
    EXPECT_TRUE(isEnabled(commands::kResetAll));
    EXPECT_EQ(folder_.listing(), "");
    expectVideoAndBlursKept();
    exportTo(output);
    EXPECT_EQ(folder_.listing(), "out.mp4");
}
