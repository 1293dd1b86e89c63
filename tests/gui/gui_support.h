#pragma once

#include <functional>
#include <string>
#include <vector>

#include <wx/modalhook.h>
#include <wx/string.h>

class wxWindow;

namespace test {

/// Runs the event loop until the condition holds; false when it does not within two minutes.
bool runUntil(const std::function<bool()>& condition);

/// Runs the event loop until nothing is pending.
void runPending();

/// Called with the application's top window whenever anybody asks for that; empty unless a test sets it.
extern std::function<void(const wxWindow* top)> whenTheTopWindowIsAskedFor;

/// Answers every modal dialog while it lives instead of showing it, and remembers what it said. A box with
/// the caption "Error" that lacks the error's icon is a failure.
class DialogAnswers : public wxModalDialogHook {
public:
    /// Message boxes get OK, or `answer`; file dialogs are cancelled unless a file is given.
    explicit DialogAnswers(int answer = wxID_OK);
    ~DialogAnswers() override;

    /// The next file dialogs choose this file and this position in the list of types.
    void chooseFile(const wxString& path, int filter = 0);
    /// Called while each file dialog is open.
    void duringFileDialogs(std::function<void()> call);
    /// Called with every other dialog; its result is the answer.
    void onOther(std::function<int(wxDialog*)> answer);

    /// "caption: message" of the message boxes so far.
    std::vector<std::string> boxes;
    /// Their style bits (wxOK, wxICON_ERROR, …).
    std::vector<long> boxStyles;
    /// The second text of each message box, below the message; empty for those without.
    std::vector<std::string> advice;
    /// Title, folder, wildcard and filter index of the file dialogs so far, joined by "; ".
    std::vector<std::string> fileDialogs;
    /// The style bits of their own kind (wxFD_OPEN, …) of the file dialogs so far.
    std::vector<long> fileDialogStyles;

protected:
    int Enter(wxDialog* dialog) override;

private:
    int answer_;
    wxString file_;
    int filter_ = 0;
    std::function<void()> duringFileDialog_;
    std::function<int(wxDialog*)> other_;
};

} // namespace test
