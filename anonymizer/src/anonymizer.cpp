#include "anonymizer.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <exception>

#include <wx/cmdline.h>
#include <wx/datetime.h>
#include <wx/filename.h>
#include <wx/image.h>
#include <wx/log.h>
#include <wx/stdpaths.h>
#include <wx/sysopt.h>

#include "ai_doriq.h"
#include "hints.h"
#include "languages.h"
#include "logfiles.h"
#include "mainframe.h"
#include "platform.h"
#include "pxl/log.h"
#include "settings.h"
#include "switches.h"
#include "workerend.h"

namespace {

constexpr const char* kName = "Tarvex Shroud";
const wxSize kFrameSize(800, 580);
/// What the last steps of a worker may take.
constexpr std::chrono::seconds kWorkersEnd{2};

} // namespace

Anonymizer::Anonymizer() {
    wxSystemOptions::SetOption("catch-unhandled-exceptions", 0);
}

bool Anonymizer::OnInit() {
    // The window system's start has set the user's locale.
    platform::setTextEncoding();
    platform::onStopSignals(
        [](int signal) { static_cast<Anonymizer*>(wxAppConsole::GetInstance())->stopBySignal(signal); });
    wxInitAllImageHandlers();
    SetAppDisplayName(kName);
    openLog();
    const wxString video = argc > 1 ? videoFromCommandLine() : wxString();
    settings::writeFirstRunDefaults();
    ai::init();
    languages::initTranslations();
    languages::applyStoredChoice();

    frame_ = new MainFrame(kName, wxDefaultPosition, kFrameSize);
    frame_->Show();
    setHintState(kHintNoVideo);
    if (!video.empty()) {
        pxl::log::message("Loading video from parameter: " + video.utf8_string());
        frame_->openVideo(video);
    }
    return true;
}

void Anonymizer::openLog() {
    const wxString name = logfiles::nameFor(wxDateTime::Now());
    const wxString folder = settings::dataFolder();
    const wxString path = folder.empty() ? wxString() : folder + wxFILE_SEP_PATH + name;
    logfiles::logTo(path);
    logfiles::delOldLogFiles(settings::dataFolder(), path);
}

wxString Anonymizer::videoFromCommandLine() {
    wxCmdLineParser parser(argc, argv);
    parser.AddOption("v", "video", "File to open", wxCMD_LINE_VAL_STRING);
    wxString path;
    if (parser.Parse(true) != 0 || !parser.Found("video", &path) || !wxFileName::FileExists(path))
        return {};
    return path;
}

void Anonymizer::stopBySignal(int signal) {
    const auto end = [signal] {
        workerend::wait(kWorkersEnd);
        platform::endBySignal(signal);
    };
    if (frame_)
        frame_->stopExport(end);
    else
        end();
}

int Anonymizer::OnRun() {
    const int exitCode = wxApp::OnRun();
    // A window that had to close leaves a detection at work, which uses what the libraries would clean up
    // now.
    if (!workerend::wait(kWorkersEnd))
        std::_Exit(exitCode);
    return exitCode;
}

wxLayoutDirection Anonymizer::GetLayoutDirection() const {
    return languages::layoutDirection();
}

int Anonymizer::FilterEvent(wxEvent& event) {
    if (event.GetEventType() != wxEVT_KEY_DOWN)
        return Event_Skip;
    int32_t divisor = switches::blurDivisor;
    switch (static_cast<wxKeyEvent&>(event).GetKeyCode()) {
    case WXK_NUMPAD_ADD:
        divisor *= 2;
        break;
    case WXK_NUMPAD_SUBTRACT:
        divisor /= 2;
        break;
    default:
        return Event_Skip;
    }
    switches::blurDivisor.exchange(std::clamp(divisor, switches::kMinBlurDivisor, switches::kMaxBlurDivisor));
    // The picture shows cells of the new size at once, not only when something else paints it again.
    if (frame_)
        frame_->refreshPicture();
    return Event_Skip;
}

bool Anonymizer::OnExceptionInMainLoop() {
    std::terminate();
}

void Anonymizer::OnUnhandledException() {
    std::terminate();
}

void Anonymizer::OnAssertFailure(const wxChar* file, int line, const wxChar* function,
                                 const wxChar* condition, const wxChar* message) {
    wxLogError("[GUI library] %s(%d), %s: \"%s\" does not hold. %s", file, line, function, condition,
               message ? message : wxS(""));
}
