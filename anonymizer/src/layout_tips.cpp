#include "layout_tips.h"

#include <wx/tipwin.h>
#include <wx/window.h>

#include "platform.h"

namespace ui2 {

Tips::Tips(wxWindow* canvas) : canvas_(canvas), timer_(this) {
    Bind(wxEVT_TIMER, &Tips::onTimer, this);
    Register();
}

Tips::~Tips() {
    close();
}

int Tips::Enter(wxDialog*) {
    close();
    return wxID_NONE;
}

void Tips::update(const std::optional<Tip>& wanted) {
    if (wanted == wanted_ && window_)
        return;
    // The mouse has left the canvas for the tip window, which has captured it.
    if (!wanted && window_ && placeOnScreen().Contains(wxGetMousePosition()))
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
    window_->Unbind(wxEVT_DESTROY, &Tips::onDestroy, this);
    // Sets window_ to null.
    window_->Close();
}

void Tips::onTimer(wxTimerEvent&) {
    // The end of the delay may have been told before it was stopped. A progress dialog disables the window of
    // the canvas.
    if (!wanted_ || !canvas_->IsShownOnScreen() || !canvas_->IsEnabled())
        return;
    // The window sets the pointer to null when it closes, whoever closes it, and destroys itself a little
    // later.
    window_ = new wxTipWindow(canvas_, wanted_->text, canvas_->FromDIP(kMaxWidth), &window_);
    window_->SetBoundingRect(placeOnScreen());
    window_->Bind(wxEVT_DESTROY, &Tips::onDestroy, this);
    platform::leaveEventsToOthers(window_->GetHandle());
    // It has captured the mouse, so a click on the element below arrives in its view.
    for (wxWindow* view : window_->GetChildren()) {
        view->Bind(wxEVT_LEFT_DOWN, &Tips::onButton, this);
        view->Bind(wxEVT_LEFT_UP, &Tips::onButton, this);
    }
}

wxRect Tips::placeOnScreen() const {
    const Geometry& place = wanted_->geometry;
    return {canvas_->ClientToScreen(wxPoint(place.x, place.y)), wxSize(place.width, place.height)};
}

void Tips::onButton(wxMouseEvent& event) {
    const auto* view = wxStaticCast(event.GetEventObject(), wxWindow);
    const wxPoint position = canvas_->ScreenToClient(view->ClientToScreen(event.GetPosition()));
    close();
    wxMouseEvent passedOn(event);
    passedOn.SetPosition(position);
    passedOn.SetEventObject(canvas_);
    // The library queues a press beside the tip, for the window that it finds there: a release must not
    // overtake it.
    if (event.LeftUp())
        canvas_->GetEventHandler()->AddPendingEvent(passedOn);
    else
        canvas_->GetEventHandler()->ProcessEvent(passedOn);
}

void Tips::onDestroy(wxWindowDestroyEvent& event) {
    // A tip of this version of the library has set the pointer to null before.
    if (event.GetEventObject() == window_)
        window_ = nullptr;
    event.Skip();
}

} // namespace ui2
