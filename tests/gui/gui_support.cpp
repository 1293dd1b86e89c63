#include "gui_support.h"

#include <chrono>

#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/evtloop.h>
#include <wx/filedlg.h>
#include <wx/msgdlg.h>

namespace test {

namespace {

constexpr std::chrono::seconds kPatience(120);
constexpr unsigned long kPollMilliseconds = 5;

void turn(wxEventLoopBase& loop) {
    while (loop.Pending())
        loop.Dispatch();
    wxTheApp->ProcessPendingEvents();
    loop.ProcessIdle();
}

} // namespace

bool runUntil(const std::function<bool()>& condition) {
    wxGUIEventLoop loop;
    const wxEventLoopActivator active(&loop);
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        turn(loop);
        loop.DispatchTimeout(kPollMilliseconds);
    }
    return true;
}

void runPending() {
    wxGUIEventLoop loop;
    const wxEventLoopActivator active(&loop);
    do
        turn(loop);
    while (loop.Pending() || wxTheApp->HasPendingEvents());
}

std::function<void(const wxWindow* top)> whenTheTopWindowIsAskedFor;

DialogAnswers::DialogAnswers(int answer) : answer_(answer) {
    Register();
}

DialogAnswers::~DialogAnswers() {
    Unregister();
}

void DialogAnswers::chooseFile(const wxString& path, int filter) {
    file_ = path;
    filter_ = filter;
}

void DialogAnswers::duringFileDialogs(std::function<void()> call) {
    duringFileDialog_ = std::move(call);
}

void DialogAnswers::onOther(std::function<int(wxDialog*)> answer) {
    other_ = std::move(answer);
}

int DialogAnswers::Enter(wxDialog* dialog) {
    if (auto* box = dynamic_cast<wxMessageDialog*>(dialog)) {
        boxes.push_back((box->GetTitle() + ": " + box->GetMessage()).utf8_string());
        boxStyles.push_back(box->GetMessageDialogStyle());
        if (box->GetTitle() == "Error") {
            EXPECT_EQ(boxStyles.back() & (wxICON_MASK | wxYES_NO), wxICON_ERROR) << boxes.back();
        }
        advice.push_back(box->GetExtendedMessage().utf8_string());
        return answer_;
    }
    if (auto* files = dynamic_cast<wxFileDialog*>(dialog)) {
        fileDialogs.push_back((files->GetMessage() + "; " + files->GetDirectory() + "; " +
                               files->GetWildcard() + wxString::Format("; %d", files->GetFilterIndex()))
                                  .utf8_string());
        long style = 0;
        for (const int bit : {wxFD_OPEN, wxFD_SAVE, wxFD_OVERWRITE_PROMPT, wxFD_NO_FOLLOW,
                              wxFD_FILE_MUST_EXIST, wxFD_MULTIPLE, wxFD_CHANGE_DIR, wxFD_PREVIEW})
            style |= files->HasFdFlag(bit) ? bit : 0;
        fileDialogStyles.push_back(style);
        if (duringFileDialog_)
            duringFileDialog_();
        if (file_.empty())
            return wxID_CANCEL;
        files->SetFilterIndex(filter_);
        files->SetPath(file_);
        // The native dialog takes the path over while the event loop runs.
        runUntil([&] { return files->GetPath() == file_; });
        return wxID_OK;
    }
    return other_ ? other_(dialog) : wxID_CANCEL;
}

} // namespace test
