#include "anonymizer.h"

#include <csignal>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/image.h>
#include <wx/log.h>
#include <wx/msgout.h>
#include <wx/panel.h>
#include <wx/stattext.h>
#include <wx/utils.h>

#include "aiworker.h"
#include "exportworker.h"
#include "filedroptarget.h"
#include "gui_support.h"
#include "hints.h"
#include "languages.h"
#include "mainframe.h"
#include "support/log_capture.h"
#include "support/paths.h"
#include "support/pxl_log_capture.h"
#include "switches.h"
#include "videocanvas.h"
#include "videoplayerthread.h"

static_assert(std::is_base_of_v<wxApp, Anonymizer>);
static_assert(std::is_base_of_v<wxFrame, MainFrame> && std::is_base_of_v<ISafeProgress, MainFrame>);
static_assert(std::is_base_of_v<wxFileDropTarget, FileDropTarget>);
static_assert(std::is_base_of_v<wxGLCanvas, VideoCanvas2>);
static_assert(std::is_base_of_v<wxThread, AiWorker> && std::is_base_of_v<wxThread, ExportWorker> &&
              std::is_base_of_v<wxThread, VideoPlayerThread>);

namespace {

/// The start-up itself, which leaves a window and a log file behind.
class StartUp : public testing::Test {
protected:
    StartUp() { switches::hintOverride = false; }
    ~StartUp() override {
        test::whenTheTopWindowIsAskedFor = nullptr;
        if (wxWindow* window = wxTheApp->GetTopWindow())
            window->Destroy();
        test::runPending();
        switches::hintOverride = false;
        switches::hintState = kHintNoVideo;
        delete wxLog::SetActiveTarget(new wxLogStderr);
        languages::applyLanguage({"", wxLANGUAGE_ENGLISH});
    }

    static void start(std::vector<std::wstring> arguments = {}) {
        arguments.insert(arguments.begin(), L"tarvex_shroud");
        std::vector<wchar_t*> words;
        for (std::wstring& argument : arguments)
            words.push_back(argument.data());
        wxTheApp->argc = static_cast<int>(words.size());
        wxTheApp->argv.Init(wxTheApp->argc, words.data());
        wxImage::CleanUpHandlers();
        // What the tests' own application does instead is left out.
        ASSERT_TRUE(application().Anonymizer::OnInit());
    }
    static Anonymizer& application() { return *static_cast<Anonymizer*>(wxTheApp); }
    static std::wstring clip() { return wxString::FromUTF8(test::mediaDir() + "/plain.mp4").ToStdWstring(); }
    static MainFrame* window() { return dynamic_cast<MainFrame*>(wxTheApp->GetTopWindow()); }
    static std::string hintLine() {
        for (wxWindow* panel : window()->GetChildren())
            if (dynamic_cast<wxPanel*>(panel))
                for (wxWindow* child : panel->GetChildren())
                    if (const auto* text = dynamic_cast<wxStaticText*>(child)) {
                        wxString line = text->GetLabelText();
                        line.Replace("\n", " ");
                        return line.utf8_string();
                    }
        return "no hint line";
    }
};

} // namespace

TEST_F(StartUp, TheFirstHintIsSetAfterTheWindowIsShown) {
    switches::hintState = kHintUnblurMode;
    // Whoever sets a hint asks for the window first.
    std::vector<std::pair<bool, int32_t>> seen;
    test::whenTheTopWindowIsAskedFor = [&](const wxWindow* top) {
        if (dynamic_cast<const MainFrame*>(top))
            seen.emplace_back(top->IsShown(), switches::hintState);
    };
    ASSERT_NO_FATAL_FAILURE(start());
    test::whenTheTopWindowIsAskedFor = nullptr;
    EXPECT_THAT(seen, testing::Contains(testing::Pair(true, kHintNoVideo)));
    EXPECT_THAT(seen, testing::Not(testing::Contains(testing::Pair(false, kHintNoVideo))));
    ASSERT_TRUE(window());
    EXPECT_EQ(window()->GetTitle(), "Tarvex Shroud");
    EXPECT_EQ(hintLine(), hintText(kHintNoVideo).utf8_string());
    EXPECT_EQ(wxTheApp->GetAppDisplayName(), "Tarvex Shroud");
}

TEST_F(StartUp, AHintThatTheCanvasHasTakenOverIsNotReplaced) {
    switches::hintState = kHintUnblurMode;
    switches::hintOverride = true;
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(window());
    EXPECT_EQ(hintLine(), "");
    EXPECT_EQ(switches::hintState, kHintNoVideo);
}

TEST_F(StartUp, TheVideoOfTheCommandLineIsOpenedInAWindowOnTheScreen) {
    const test::PxlLogCapture console;
    // Opening sets a hint too, with the busy pointer.
    std::vector<std::pair<bool, bool>> seen;
    test::whenTheTopWindowIsAskedFor = [&](const wxWindow* top) {
        if (dynamic_cast<const MainFrame*>(top))
            seen.emplace_back(wxIsBusy(), top->IsShown());
    };
    ASSERT_NO_FATAL_FAILURE(start({L"--video", clip()}));
    test::whenTheTopWindowIsAskedFor = nullptr;
    EXPECT_THAT(seen, testing::Contains(testing::Pair(true, true)));
    EXPECT_THAT(seen, testing::Not(testing::Contains(testing::Pair(testing::_, false))));
    EXPECT_THAT(console.messages(), testing::ElementsAre("[Message] Loading video from parameter: " +
                                                         test::mediaDir() + "/plain.mp4"));
    EXPECT_EQ(window()->GetTitle(), L"Tarvex Shroud - " + clip());
}

TEST_F(StartUp, AVideoThatIsNotThereIsIgnored) {
    const test::DialogAnswers dialogs;
    ASSERT_NO_FATAL_FAILURE(start({L"-v", L"/no/such/file.mp4"}));
    EXPECT_EQ(window()->GetTitle(), "Tarvex Shroud");
    EXPECT_TRUE(dialogs.boxes.empty());
}

TEST_F(StartUp, ArgumentsWithoutAVideoOpenTheEmptyWindow) {
    ASSERT_NO_FATAL_FAILURE(start({L"--"}));
    EXPECT_EQ(window()->GetTitle(), "Tarvex Shroud");
}

TEST_F(StartUp, AWrongCommandLineShowsTheUsageAndTheWindow) {
    struct Shown : wxMessageOutput {
        void Output(const wxString& text) override { all += text; }
        wxString all;
    } shown;
    wxMessageOutput* const before = wxMessageOutput::Set(&shown);
    start({L"--nonsense", L"--video", clip()});
    wxMessageOutput::Set(before);
    ASSERT_TRUE(window());
    EXPECT_THAT(shown.all.utf8_string(), testing::HasSubstr("-v, --video=<str>\tFile to open"));
    EXPECT_EQ(window()->GetTitle(), "Tarvex Shroud");
}

TEST_F(StartUp, TheKeypadChangesTheMosaicAndPaintsThePicture) {
    ASSERT_NO_FATAL_FAILURE(start());
    wxWindow* canvas = nullptr;
    for (wxWindow* child : window()->GetChildren())
        if (dynamic_cast<VideoCanvas2*>(child))
            canvas = child;
    ASSERT_TRUE(canvas);
    const auto paints = std::make_shared<int>(0);
    canvas->Bind(wxEVT_PAINT, [paints](wxPaintEvent& event) {
        ++*paints;
        event.Skip();
    });
    ASSERT_TRUE(test::runUntil([&] { return *paints > 0; }));
    test::runPending();
    for (const int key : {WXK_NUMPAD_ADD, WXK_NUMPAD_SUBTRACT}) {
        const int before = *paints;
        wxKeyEvent event(wxEVT_KEY_DOWN);
        event.m_keyCode = key;
        EXPECT_EQ(application().FilterEvent(event), -1);
        EXPECT_EQ(switches::blurDivisor, key == WXK_NUMPAD_ADD ? 100 : 50);
        EXPECT_TRUE(test::runUntil([&] { return *paints > before; }));
        test::runPending();
    }
}

TEST_F(StartUp, AMistakeThatTheLibraryNoticesIsALineInTheLog) {
    const test::LogCapture log;
    application().Anonymizer::OnAssertFailure(wxS("grid.cpp"), 12, wxS("Draw"), wxS("row < rows"), nullptr);
    application().Anonymizer::OnAssertFailure(wxS("grid.cpp"), 13, wxS("Draw"), wxS("false"), wxS("no row"));
    EXPECT_THAT(log.lines(wxLOG_Error),
                testing::ElementsAre("[GUI library] grid.cpp(12), Draw: \"row < rows\" does not hold. ",
                                     "[GUI library] grid.cpp(13), Draw: \"false\" does not hold. no row"));
}

TEST_F(StartUp, AStopSignalEndsTheProcessWithAndWithoutAWindow) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(application().stopBySignal(SIGTERM), testing::KilledBySignal(SIGTERM), "");
    EXPECT_EXIT(
        {
            start();
            application().stopBySignal(SIGTERM);
        },
        testing::KilledBySignal(SIGTERM), "");
}

TEST_F(StartUp, TheWindowIsAFrameFirstAndThenAProgressSink) {
    ASSERT_NO_FATAL_FAILURE(start());
    MainFrame* const whole = window();
    ASSERT_TRUE(whole);
    const auto* const begin = reinterpret_cast<const char*>(whole);
    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<wxFrame*>(whole)), begin);
    EXPECT_GE(reinterpret_cast<const char*>(static_cast<ISafeProgress*>(whole)), begin + sizeof(wxFrame));
}
