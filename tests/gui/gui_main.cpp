#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/evtloop.h>
#include <wx/image.h>
#include <wx/log.h>

#include "anonymizer.h"
#include "gui_support.h"
#include "platform.h"
#include "support/temp_folder.h"
#include "workerend.h"

/// The application with its key filter, but the tests instead of the start-up and the event loop.
class TestApp : public Anonymizer {
public:
    bool OnInit() override {
        platform::setTextEncoding();
        wxInitAllImageHandlers();
        delete wxLog::SetActiveTarget(new wxLogStderr);
        SetExitOnFrameDelete(false);
        return true;
    }
    wxWindow* GetTopWindow() const override {
        wxWindow* const top = Anonymizer::GetTopWindow();
        if (test::whenTheTopWindowIsAskedFor)
            test::whenTheTopWindowIsAskedFor(top);
        return top;
    }
    void OnAssertFailure(const wxChar* file, int line, const wxChar* function, const wxChar* condition,
                         const wxChar* message) override {
        ADD_FAILURE() << wxString::Format("%s(%d), %s: \"%s\" %s", file, line, function, condition,
                                          message ? message : wxS(""));
    }
    int OnRun() override {
        // A progress dialog made while no loop is active brings one of its own.
        wxGUIEventLoop loop;
        const wxEventLoopActivator active(&loop);
        const int result = RUN_ALL_TESTS();
        workerend::wait(std::chrono::seconds(10));
        return result;
    }
};

wxIMPLEMENT_APP_NO_MAIN(TestApp);

/// Tests of real windows in one process, each with folders of its own; needs a display.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    platform::prepareProcess();
    const test::TempFolder data;
    const test::Environment config("XDG_CONFIG_HOME", data.path().u8string());
    return wxEntry(argc, argv);
}
