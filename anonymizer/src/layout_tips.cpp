#include "layout_tips.h"

#include <wx/tipwin.h>
#include <wx/window.h>

namespace ui2 {

Tips::Tips(wxWindow* canvas) : canvas_(canvas), timer_(this) {
    Bind(wxEVT_TIMER, &Tips::onTimer, this);
}

Tips::~Tips() {
    close();
}

void Tips::update(const std::optional<Tip>& wanted) {
    if (window_ && wanted == wanted_)
        return;
    close();
    wanted_ = wanted;
    if (wanted_)
        timer_.StartOnce(kDelayMilliseconds);
}

void Tips::close() {
    timer_.Stop();
    wanted_.reset();
    if (!window_)
        return;
    wxTipWindow* const window = window_;
    window_ = nullptr;
    window->Unbind(wxEVT_DESTROY, &Tips::onDestroy, this);
    window->Close();
}

void Tips::onTimer(wxTimerEvent&) {
    if (!wanted_ || !canvas_->IsShownOnScreen())
        return;
    const Geometry& place = wanted_->geometry;
    window_ = new wxTipWindow(canvas_, wanted_->text, canvas_->FromDIP(kMaxWidth));
    window_->SetBoundingRect(
        {canvas_->ClientToScreen(wxPoint(place.x, place.y)), wxSize(place.width, place.height)});
    window_->Bind(wxEVT_DESTROY, &Tips::onDestroy, this);
}

void Tips::onDestroy(wxWindowDestroyEvent& event) {
    if (event.GetEventObject() == window_)
        window_ = nullptr;
    event.Skip();
}

} // namespace ui2
