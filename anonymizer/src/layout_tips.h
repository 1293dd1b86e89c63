#pragma once

#include <optional>

#include <wx/event.h>
#include <wx/modalhook.h>
#include <wx/timer.h>

#include "layout.h"

class wxTipWindow;

namespace ui2 {

/// Opens the tool tip of the element that the mouse rests on, in a native tip window, which closes when the
/// mouse leaves the element, when another one opens, when a dialog comes up, or when the system closes it, as
/// it does on a click. One object for all lists of a canvas. User-interface thread, never with a lock held.
class Tips : public wxEvtHandler, private wxModalDialogHook {
public:
    /// How long the mouse rests before a tip opens.
    static constexpr int kDelayMilliseconds = 600;
    /// Tips wrap at this width, in logical pixels.
    static constexpr int kMaxWidth = 150;

    /// `canvas` is the window of the lists; outlives this object.
    explicit Tips(wxWindow* canvas);
    ~Tips() override;

    /// After every mouse event: the tip asked for now, if any. Another one closes the open window and starts
    /// the delay anew; so does a motion before the window has opened. None closes it when the mouse is
    /// somewhere else.
    void update(const std::optional<Tip>& wanted);
    /// Closes the window and stops the delay: on a press, when the canvas hides or dies.
    void close();
    bool isOpen() const { return window_ != nullptr; }

private:
    /// No tip opens over a dialog, whose mouse it would take.
    int Enter(wxDialog* dialog) override;
    void onTimer(wxTimerEvent& event);
    /// Where the element lies whose tip is wanted, screen coordinates.
    wxRect placeOnScreen() const;
    /// A click that the open tip got, for the canvas below.
    void onButton(wxMouseEvent& event);
    void onDestroy(wxWindowDestroyEvent& event);

    wxWindow* canvas_;
    wxTimer timer_;
    std::optional<Tip> wanted_;
    /// Destroys itself, also when the system closes it.
    wxTipWindow* window_ = nullptr;
};

} // namespace ui2
