#pragma once

#include <wx/app.h>
#include <wx/weakref.h>

#include "mainframe.h"

/// The application: brings everything up in order and filters two keys of the numeric keypad.
class Anonymizer : public wxApp {
public:
    Anonymizer();

    /// Always true: whatever is missing, the window opens.
    bool OnInit() override;
    /// The event loop; then waits for the last steps of workers that have done their part. Does not return
    /// when one is still at work: the process ends.
    int OnRun() override;

    /// Windows are read the way their texts are, whatever the system's language.
    wxLayoutDirection GetLayoutDirection() const override;

    /// Keypad plus and minus double and halve the divisor of the on-screen mosaic. Every event goes on to
    /// its window: always -1.
    int FilterEvent(wxEvent& event) override;

    /// An exception that leaves an event handler ends the process, with a line in the log.
    bool OnExceptionInMainLoop() override;
    void OnUnhandledException() override;

    /// A mistake that the GUI library notices becomes a line in the log instead of a question to the user.
    void OnAssertFailure(const wxChar* file, int line, const wxChar* function, const wxChar* condition,
                         const wxChar* message) override;

    /// Ends the process by the signal, an export's file being closed in good order before that.
    void stopBySignal(int signal);

private:
    void openLog();
    /// The video named on the command line; empty when there is none.
    wxString videoFromCommandLine();

    /// Destroys itself; null from then on.
    wxWeakRef<MainFrame> frame_;
};
