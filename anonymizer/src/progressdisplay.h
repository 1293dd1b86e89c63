#pragma once

#include <cstdint>
#include <memory>

#include <wx/string.h>

class wxProgressDialog;
class wxWindow;

/// The dialog of the piece of work under way: at most one, modal to the whole application, without a button;
/// it stays until `finish`, whatever the values. User-interface thread; `update` runs the event loop, so the
/// caller keeps other calls out meanwhile (OrderedCalls).
class ProgressDisplay {
public:
    /// `parent` outlives this object.
    explicit ProgressDisplay(wxWindow* parent);
    ~ProgressDisplay();

    /// Replaces a dialog that is still there. `maximum` 0 or less: unknown, the bar only moves to and fro.
    void start(const wxString& title, const wxString& message, int32_t maximum);
    /// Does nothing without a dialog. An empty `message` keeps the one shown.
    void update(int32_t value, const wxString& message);
    /// Does nothing without a dialog.
    void finish();

    bool isShown() const { return dialog_ != nullptr; }

private:
    wxWindow* parent_;
    std::unique_ptr<wxProgressDialog> dialog_;
    int32_t maximum_ = 0;
};
