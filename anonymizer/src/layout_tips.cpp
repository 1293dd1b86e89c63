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
    if (wanted == wanted_ && (window_ || shown_))
        return;
    close();
    wanted_ = wanted;
    if (wanted_)
        timer_.StartOnce(kDelayMilliseconds);
}

void Tips::close() {
    timer_.Stop();
    wanted_.reset();
    shown_ = false;
    if (!window_)
        return;
    window_->Unbind(wxEVT_DESTROY, &Tips::onDestroy, this);
    // Sets window_ to null.
    window_->Close();
}

void Tips::onTimer(wxTimerEvent&) {
    if (!wanted_ || !canvas_->IsShownOnScreen())
        return;
    if (window_) {
        const std::optional<Tip> tip = wanted_;
        close();
        wanted_ = tip;
        shown_ = true;
        return;
    }
    const Geometry& place = wanted_->geometry;
    // The window sets the pointer to null when it closes, whoever closes it, and destroys itself a little
    // later.
    window_ = new wxTipWindow(canvas_, wanted_->text, canvas_->FromDIP(kMaxWidth), &window_);
    window_->SetBoundingRect(
        {canvas_->ClientToScreen(wxPoint(place.x, place.y)), wxSize(place.width, place.height)});
    window_->Bind(wxEVT_DESTROY, &Tips::onDestroy, this);
    // It has captured the mouse, so a click on the element below arrives in its view.
    for (wxWindow* view : window_->GetChildren()) {
        view->Bind(wxEVT_LEFT_DOWN, &Tips::onButton, this);
        view->Bind(wxEVT_LEFT_UP, &Tips::onButton, this);
    }
    timer_.StartOnce(kShowMilliseconds);
}

void Tips::onButton(wxMouseEvent& event) {
    const auto* view = wxStaticCast(event.GetEventObject(), wxWindow);
    const wxPoint position = canvas_->ScreenToClient(view->ClientToScreen(event.GetPosition()));
    close();
    // At once: queued, a quick release would come first.
    wxMouseEvent passedOn(event);
    passedOn.SetPosition(position);
    passedOn.SetEventObject(canvas_);
    canvas_->GetEventHandler()->ProcessEvent(passedOn);
}

void Tips::onDestroy(wxWindowDestroyEvent& event) {
    if (event.GetEventObject() == window_)
        window_ = nullptr;
    event.Skip();
}

} // namespace ui2
