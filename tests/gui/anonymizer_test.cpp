#include "anonymizer.h"

#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/image.h>
#include <wx/log.h>
#include <wx/panel.h>
#include <wx/stattext.h>

#include "aiworker.h"
#include "exportworker.h"
#include "filedroptarget.h"
#include "gui_support.h"
#include "hints.h"
#include "languages.h"
#include "mainframe.h"
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

    static void start() {
        wxTheApp->argc = 1;
        wxImage::CleanUpHandlers();
        // What the tests' own application does instead is left out.
        ASSERT_TRUE(static_cast<Anonymizer*>(wxTheApp)->Anonymizer::OnInit());
    }
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

TEST_F(StartUp, TheWindowIsAFrameFirstAndThenAProgressSink) {
    ASSERT_NO_FATAL_FAILURE(start());
    MainFrame* const whole = window();
    ASSERT_TRUE(whole);
    const auto* const begin = reinterpret_cast<const char*>(whole);
    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<wxFrame*>(whole)), begin);
    EXPECT_GE(reinterpret_cast<const char*>(static_cast<ISafeProgress*>(whole)), begin + sizeof(wxFrame));
}
