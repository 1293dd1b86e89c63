#include "mainframe_fixture.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <wx/filedlg.h>
#include <wx/log.h>
#include <wx/utils.h>

#include "canvas_hand.h"
#include "commands.h"
#include "filedroptarget.h"
#include "hints.h"
#include "support/no_more_threads.h"
#include "switches.h"
#include "videocanvas.h"

namespace fs = std::filesystem;

namespace {

class MainFrameOpen : public test::MainFrameTest {
protected:
    bool drop(std::vector<std::string> names) {
        wxArrayString files;
        for (const std::string& name : names)
            files.Add(wxString::FromUTF8(name));
        return FileDropTarget(frame_).OnDropFiles(0, 0, files);
    }
    std::string title() const { return frame_->GetTitle().utf8_string(); }
    void startRecording() {
        ASSERT_TRUE(test::parkPointer(*frame_));
        openReady("gop_250.mp4");
        ASSERT_TRUE(test::startRecording(canvas()));
        ASSERT_TRUE(switches::hintOverride);
    }
    /// Notes what canvas and store are like when players come and go.
    std::function<void(const std::string&)> playerSteps(std::vector<std::string>& steps) const {
        return [this, &steps](const std::string& line) {
            if (line == "[VideoPlayerThread] created" || line == "[VideoPlayerThread] destroyed")
                steps.push_back(line + (switches::hintOverride ? ", recording" : ", detached") +
                                (blurCount() > 0 ? ", blurs" : ", no blurs"));
        };
    }
    void expectNoVideo() const {
        EXPECT_EQ(title(), "Tarvex Shroud");
        EXPECT_FALSE(frame_->GetMenuBar()->IsEnabledTop(1));
        EXPECT_FALSE(isEnabled(commands::kExport));
        EXPECT_FALSE(isEnabled(commands::kBlurMode));
        EXPECT_EQ(storedFrames(), 0u);
        EXPECT_EQ(switches::hintState, 0);
    }
};

/// While it lives, calls a function with every line that the user-interface thread logs.
class AtLines {
public:
    explicit AtLines(std::function<void(const std::string&)> call) : target_(std::move(call)) {
        target_.before = wxLog::SetActiveTarget(&target_);
    }
    ~AtLines() { wxLog::SetActiveTarget(target_.before); }
    AtLines(const AtLines&) = delete;
    AtLines& operator=(const AtLines&) = delete;

private:
    class Target : public wxLog {
    public:
        explicit Target(std::function<void(const std::string&)> call) : call_(std::move(call)) {}
        wxLog* before = nullptr;

    protected:
        void DoLogRecord(wxLogLevel level, const wxString& text, const wxLogRecordInfo& info) override {
            call_(text.utf8_string());
            before->LogRecord(level, text, info);
        }

    private:
        std::function<void(const std::string&)> call_;
    };

    Target target_;
};

} // namespace

TEST_F(MainFrameOpen, AReadyVideoCanBeEdited) {
    openReady("plain.mp4");
    EXPECT_EQ(title(), "Tarvex Shroud - " + clip("plain.mp4").utf8_string());
    EXPECT_TRUE(frame_->GetMenuBar()->IsEnabledTop(1));
    for (const int id : {6001, 6005, 6107, 6108, 6109, 6110})
        EXPECT_TRUE(isEnabled(id)) << id;
    EXPECT_EQ(switches::hintState, 1);
    EXPECT_EQ(hint(), hintText(1).utf8_string());
    EXPECT_GT(storedFrames(), 1u);
    EXPECT_EQ(switches::brushSize, 18) << "a tenth of 320 x 180";
    EXPECT_TRUE(frame_->IsEnabled());
}

TEST_F(MainFrameOpen, DetectionIsDisabledWithoutItsLibrary) {
    openReady("plain.mp4");
    ASSERT_TRUE(item("AI"));
    EXPECT_FALSE(item("AI")->IsEnabled());
}

TEST_F(MainFrameOpen, ReadyChecksSpeedAndModeAndShowsTheBlurHint) {
    switches::editingMode = switches::kUnblurMode;
    switches::playbackSpeed = 4;
    openReady("plain.mp4");
    EXPECT_TRUE(item(commands::kUnblurMode)->IsChecked());
    EXPECT_TRUE(item(commands::kSpeed4x)->IsChecked());
    EXPECT_EQ(switches::hintState, 1);
}

TEST_F(MainFrameOpen, AFailureIsToldWithFileAndReason) {
    frame_->openVideo(clip("text.mp4"));
    ASSERT_EQ(dialogs_.boxes.size(), 1u);
    EXPECT_EQ(dialogs_.boxes[0], "Error: Error while opening the video file " +
                                     clip("text.mp4").utf8_string() +
                                     ": Invalid data found when processing input");
    expectNoVideo();
}

TEST_F(MainFrameOpen, AFileWithoutAVideoStreamHasAReasonToo) {
    frame_->openVideo(clip("audio_only.mp4"));
    ASSERT_EQ(dialogs_.boxes.size(), 1u);
    EXPECT_EQ(dialogs_.boxes[0], "Error: Error while opening the video file " +
                                     clip("audio_only.mp4").utf8_string() +
                                     ": The file contains no video that can be read.");
}

TEST_F(MainFrameOpen, EveryKindOfBadFileIsToldOnce) {
    const std::vector<std::string> bad = {"text.mp4", "empty.mp4", "directory.mp4", "no such file.mp4"};
    for (const std::string& name : bad)
        frame_->openVideo(clip(name));
    EXPECT_EQ(dialogs_.boxes.size(), bad.size());
}

TEST_F(MainFrameOpen, OnlyAFileWhoseContentIsRefusedIsSuspectedToBeDamaged) {
    for (const char* name : {"text.mp4", "audio_only.mp4"})
        frame_->openVideo(clip(name));
    EXPECT_THAT(dialogs_.advice, testing::Each(testing::StartsWith("The file may be damaged")));
    dialogs_.boxes.clear();
    dialogs_.advice.clear();

    frame_->openVideo(clip("no such file.mp4"));
    const std::string locked = folder_.write("locked.mp4", "");
    fs::permissions(locked, fs::perms::none);
    fs::permissions(folder_.path(), fs::perms::others_read | fs::perms::others_exec, fs::perm_options::add);
    {
        const test::WithoutPrivileges ordinaryUser;
        frame_->openVideo(wxString::FromUTF8(locked));
    }
    {
        const test::NoMoreThreads none;
        frame_->openVideo(clip("plain.mp4"));
    }
    EXPECT_THAT(dialogs_.boxes,
                testing::ElementsAre(testing::EndsWith("No such file or directory"),
                                     testing::EndsWith("Permission denied"),
                                     testing::EndsWith("The playback thread could not be started.")));
    EXPECT_THAT(dialogs_.advice, testing::ElementsAre("", "", ""));
}

TEST_F(MainFrameOpen, AFailureAfterAGoodVideoLeavesNothingOfItAndAGoodOneWorksAgain) {
    openReady("plain.mp4");
    addBlur(2);
    frame_->openVideo(clip("text.mp4"));
    EXPECT_EQ(dialogs_.boxes.size(), 1u);
    expectNoVideo();
    test::runPending();
    expectNoVideo();
    openReady("odd_321x181.mov");
    EXPECT_EQ(blurCount(), 0u);
    EXPECT_EQ(title(), "Tarvex Shroud - " + clip("odd_321x181.mov").utf8_string());
}

TEST_F(MainFrameOpen, ToolsAreOffFromTheStartOfAnOpenToReady) {
    openReady("plain.mp4");
    frame_->openVideo(clip("gop_250.mp4"));
    EXPECT_FALSE(frame_->GetMenuBar()->IsEnabledTop(1));
    EXPECT_FALSE(isEnabled(commands::kExport));
    EXPECT_FALSE(isEnabled(commands::kResetAll));
    EXPECT_EQ(switches::hintState, 0);
    EXPECT_TRUE(test::runUntil([this] { return isReady(); }));
}

TEST_F(MainFrameOpen, AReadyOfAnEarlierVideoDoesNotActOnALaterOne) {
    openReady("plain.mp4");
    frame_->openVideo(clip("sample.mp4"));
    frame_->onReady(1);
    EXPECT_FALSE(isReady());
    EXPECT_TRUE(test::runUntil([this] { return isReady(); }));
}

TEST_F(MainFrameOpen, TheCursorIsBusyFromTheEndOfTheVideoBeforeToTheEndOfTheOpening) {
    openReady("plain.mp4");
    std::vector<std::pair<std::string, bool>> lines;
    {
        const AtLines busyAtLines([&](const std::string& line) { lines.emplace_back(line, wxIsBusy()); });
        frame_->openVideo(clip("text.mp4"));
    }
    using testing::Contains;
    using testing::Pair;
    EXPECT_THAT(lines, Contains(Pair("[VideoPlayerThread] destroyed", true)));
    EXPECT_THAT(lines, Contains(Pair(testing::HasSubstr("Invalid data found"), true)));
    EXPECT_FALSE(wxIsBusy());
}

TEST_F(MainFrameOpen, OpeningManyTimesInARowEndsWithTheLast) {
    for (int round = 0; round < 10; ++round) {
        frame_->openVideo(clip("gop_250.mp4"));
        if (round % 2)
            test::runPending();
        frame_->openVideo(clip("odd_321x181.mov"));
    }
    ASSERT_TRUE(test::runUntil([this] { return isReady(); }));
    EXPECT_EQ(title(), "Tarvex Shroud - " + clip("odd_321x181.mov").utf8_string());
    test::runPending();
    EXPECT_TRUE(frame_->IsEnabled()) << "no progress dialog is left";
    EXPECT_EQ(switches::brushSize, 18);
}

TEST_F(MainFrameOpen, AFailureDuringPreprocessingLeavesNoProgressDialog) {
    frame_->openVideo(clip("sample.mp4"));
    ASSERT_TRUE(test::runUntil([this] { return !frame_->IsEnabled(); })) << "the dialog disables the window";
    frame_->openVideo(clip("text.mp4"));
    test::runPending();
    EXPECT_TRUE(frame_->IsEnabled());
    expectNoVideo();
}

TEST_F(MainFrameOpen, ClosingDuringPreprocessingEndsAtOnce) {
    auto* second = new MainFrame("Second", wxDefaultPosition, wxSize(800, 580));
    second->Show();
    second->openVideo(clip("sample.mp4"));
    test::runPending();
    second->Destroy();
    test::runPending();
    EXPECT_TRUE(frame_->IsEnabled());
}

TEST_F(MainFrameOpen, TheDialogsStartWhereTheLastFileWas) {
    command(commands::kOpen);
    dialogs_.chooseFile(clip("plain.mp4"));
    command(commands::kOpen);
    ASSERT_TRUE(test::runUntil([this] { return isReady(); }));
    dialogs_.chooseFile({});
    command(commands::kOpen);
    command(commands::kExport);
    EXPECT_THAT(dialogs_.fileDialogs,
                testing::ElementsAre("Open video file; ; Video files (*.mp4;*.mov)|*.mp4;*.mov; 0",
                                     "Open video file; ; Video files (*.mp4;*.mov)|*.mp4;*.mov; 0",
                                     "Open video file; " + test::mediaDir() +
                                         "; Video files (*.mp4;*.mov)|*.mp4;*.mov; 0",
                                     "Export video file; " + test::mediaDir() +
                                         "; MP4 files (*.mp4)|*.mp4|MOV files (*.mov)|*.mov; 0"));
    const long open = wxFD_OPEN | wxFD_FILE_MUST_EXIST;
    EXPECT_THAT(dialogs_.fileDialogStyles,
                testing::ElementsAre(open, open, open, wxFD_SAVE | wxFD_OVERWRITE_PROMPT));
}

TEST_F(MainFrameOpen, ADroppedVideoIsOpenedWhateverTheCaseOfItsEnding) {
    const std::string copy = folder_.write("CLIP.MOV", test::readFile(clip("odd_321x181.mov").utf8_string()));
    EXPECT_TRUE(drop({copy}));
    ASSERT_TRUE(test::runUntil([this] { return isReady(); }));
    EXPECT_EQ(title(), "Tarvex Shroud - " + copy);
    EXPECT_TRUE(bars().empty());
}

TEST_F(MainFrameOpen, ARateThatCannotBeExportedIsToldBeforeAnythingIsPainted) {
    openReady("fps_90000.mp4");
    EXPECT_TRUE(test::runUntil([this] { return !bars().empty(); }));
    EXPECT_THAT(bars(), testing::ElementsAre("The frame rate of the video is not usable."));
}

TEST_F(MainFrameOpen, RefusedDropsAreToldAndStackTheirBars) {
    EXPECT_FALSE(drop({"a.mp4", "b.mp4"}));
    EXPECT_FALSE(drop({"a.mkv"}));
    EXPECT_FALSE(drop({folder_.path().u8string()}));
    EXPECT_FALSE(drop({}));
    EXPECT_THAT(bars(), testing::ElementsAre("Only one file at a time can be opened.",
                                             "Only *.mp4 and *.mov files are supported.",
                                             "Only *.mp4 and *.mov files are supported.",
                                             "Only *.mp4 and *.mov files are supported."));
    expectNoVideo();
}

TEST_F(MainFrameOpen, ADropThatIsNoVideoAfterAllIsAnError) {
    EXPECT_TRUE(drop({clip("text.mp4").utf8_string()}));
    ASSERT_TRUE(test::runUntil([this] { return !dialogs_.boxes.empty(); }));
    EXPECT_THAT(dialogs_.boxes[0], testing::StartsWith("Error: Error while opening the video file "));
}

TEST_F(MainFrameOpen, ADropDuringPreprocessingIsRefusedSilently) {
    frame_->openVideo(clip("sample.mp4"));
    EXPECT_FALSE(drop({clip("plain.mp4").utf8_string()}));
    EXPECT_TRUE(bars().empty());
    EXPECT_TRUE(dialogs_.boxes.empty());
    ASSERT_TRUE(test::runUntil([this] { return isReady(); }));
    EXPECT_EQ(title(), "Tarvex Shroud - " + clip("sample.mp4").utf8_string());
    EXPECT_TRUE(test::runUntil([this] { return !frame_->refusesVideos(); }));
    EXPECT_TRUE(drop({clip("plain.mp4").utf8_string()}));
}

TEST_F(MainFrameOpen, AVariableRateIsToldUntilAnotherVideoIsOpened) {
    openReady("variable_rate.mp4");
    EXPECT_THAT(bars(), testing::ElementsAre(testing::HasSubstr("variable frame rate")));
    openReady("plain.mp4");
    EXPECT_TRUE(bars().empty());
}

TEST_F(MainFrameOpen, APlaybackThreadThatCannotBeStartedIsAnErrorAndTheNextOpenWorks) {
    {
        const test::NoMoreThreads none;
        frame_->openVideo(clip("plain.mp4"));
    }
    EXPECT_THAT(dialogs_.boxes, testing::ElementsAre("Error: Error while opening the video file " +
                                                     clip("plain.mp4").utf8_string() +
                                                     ": The playback thread could not be started."));
    expectNoVideo();
    openReady("plain.mp4");
}

TEST_F(MainFrameOpen, TheWindowHasAPlayerFromItsConstructionAndAFreshOneForEveryFurtherVideo) {
    const auto count = [this](const std::string& line) {
        const std::vector<std::string> lines = log_.lines();
        return std::count(lines.begin(), lines.end(), "[VideoPlayerThread] " + line);
    };
    EXPECT_EQ(count("created"), 1);
    openReady("plain.mp4");
    EXPECT_EQ(count("created"), 1) << "the first video takes it";
    frame_->openVideo(clip("text.mp4"));
    EXPECT_EQ(count("created"), 2);
    EXPECT_EQ(count("destroyed"), 1);
    openReady("plain.mp4");
    EXPECT_EQ(count("created"), 2) << "a failed open leaves it unused";
    EXPECT_EQ(count("destroyed"), 1);
}

TEST_F(MainFrameOpen, ThePlaybackThreadEndsBeforeTheNextVideoIsTouched) {
    openReady("plain.mp4");
    frame_->openVideo(clip("text.mp4"));
    const std::vector<std::string> lines = log_.lines();
    const auto ended = std::find(lines.begin(), lines.end(), "[VideoPlayerThread] destroyed");
    const auto opened = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find("Invalid data found") != std::string::npos;
    });
    ASSERT_NE(opened, lines.end());
    EXPECT_LT(ended - lines.begin(), opened - lines.begin());
}

TEST_F(MainFrameOpen, APlayerGoesFirstAndAFreshOneComesThenTheCanvasLetsGoAndTheBlursAreForgotten) {
    using testing::ElementsAre;
    ASSERT_NO_FATAL_FAILURE(startRecording());
    std::vector<std::string> steps;
    // The canvas gives the hint line back, and whoever sets a hint asks for the window.
    test::whenTheTopWindowIsAskedFor = [&](const wxWindow*) {
        if (!switches::hintOverride && steps.size() == 2)
            steps.push_back(blurCount() > 0 ? "hint, blurs" : "hint, no blurs");
    };
    {
        const AtLines atLines(playerSteps(steps));
        frame_->openVideo(clip("odd_321x181.mov"));
    }
    test::whenTheTopWindowIsAskedFor = nullptr;
    EXPECT_THAT(steps, ElementsAre("[VideoPlayerThread] destroyed, recording, blurs",
                                   "[VideoPlayerThread] created, recording, blurs", "hint, blurs"));
    EXPECT_FALSE(switches::hintOverride);
    EXPECT_EQ(blurCount(), 0u);
    ASSERT_TRUE(test::runUntil([this] { return isReady(); }));
}

TEST_F(MainFrameOpen, AWindowThatClosesEndsItsPlayerBeforeTheCanvasLetsGo) {
    ASSERT_NO_FATAL_FAILURE(startRecording());
    std::vector<std::string> steps;
    {
        const AtLines atLines(playerSteps(steps));
        frame_->Destroy();
        test::runPending();
    }
    EXPECT_THAT(steps, testing::ElementsAre("[VideoPlayerThread] destroyed, recording, blurs"));
    EXPECT_FALSE(switches::hintOverride);
    makeWindow();
}

TEST_F(MainFrameOpen, AVideoTooSmallToHideAnythingIsToldInABar) {
    openReady("one_pixel.mp4");
    EXPECT_THAT(bars(),
                testing::ElementsAre(
                    "This video is too small to hide anything: a cell of the mosaic is a single pixel."));
    EXPECT_TRUE(dialogs_.boxes.empty());
    openReady("plain.mp4");
    EXPECT_TRUE(bars().empty());
}

TEST_F(MainFrameOpen, TheDialogsStartWhereTheLastExportWent) {
    openReady("odd_321x181.mp4");
    frame_->exportTo(wxString::FromUTF8(folder_.file("out.mp4")));
    ASSERT_TRUE(test::runUntil([this] { return !frame_->refusesVideos(); }));
    command(commands::kOpen);
    command(commands::kExport);
    const std::string folder = folder_.path().u8string();
    EXPECT_THAT(dialogs_.fileDialogs,
                testing::ElementsAre(testing::StartsWith("Open video file; " + folder + "; "),
                                     testing::StartsWith("Export video file; " + folder + "; ")));
}

TEST_F(MainFrameOpen, TheDialogsStartInTheWholePathOfAFolderThatWasNamedFromTheWorkingFolder) {
    const fs::path before = fs::current_path();
    fs::create_directory(folder_.path() / "clips");
    folder_.write("clips/clip.mp4", test::readFile(clip("odd_321x181.mp4").utf8_string()));
    fs::current_path(folder_.path());
    frame_->openVideo("clips/clip.mp4");
    const bool ready = test::runUntil([this] { return isReady(); });
    fs::current_path(before);
    ASSERT_TRUE(ready);
    command(commands::kOpen);
    EXPECT_THAT(dialogs_.fileDialogs, testing::ElementsAre(testing::StartsWith(
                                          "Open video file; " + folder_.path().u8string() + "/clips; ")));
}
