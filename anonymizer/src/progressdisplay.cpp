#include "progressdisplay.h"

#include <algorithm>
#include <limits>

#include <wx/progdlg.h>

ProgressDisplay::ProgressDisplay(wxWindow* parent) : parent_(parent) {}

ProgressDisplay::~ProgressDisplay() = default;

void ProgressDisplay::start(const wxString& title, const wxString& message, int32_t maximum) {
    dialog_.reset();
    // A dialog whose value reaches its maximum hides itself and gives the window back, so the range is one
    // more than any value.
    maximum_ = std::min(maximum, std::numeric_limits<int32_t>::max() - 1);
    dialog_ = std::make_unique<wxProgressDialog>(title, message, std::max(maximum_, 1) + 1, parent_,
                                                 wxPD_APP_MODAL | wxPD_AUTO_HIDE);
    dialog_->Show();
    if (maximum_ <= 0)
        dialog_->Pulse();
}

void ProgressDisplay::update(int32_t value, const wxString& message) {
    if (!dialog_)
        return;
    if (maximum_ <= 0)
        dialog_->Pulse(message);
    else
        dialog_->Update(std::clamp(value, 0, maximum_), message);
}

void ProgressDisplay::finish() {
    dialog_.reset();
}
