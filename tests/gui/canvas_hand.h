#pragma once

#include <cstdint>
#include <vector>

#include <wx/event.h>
#include <wx/gdicmn.h>

#include "support/log_capture.h"

class wxWindow;

/// What a hand does with the canvas, by events instead of the pointer. Points are window pixels.
namespace test {

/// Takes the real pointer to a corner of the screen: its own events would end a recording.
bool parkPointer(wxWindow& window);

void sendMouse(wxWindow& canvas, const wxEventTypeTag<wxMouseEvent>& type, wxPoint position);
void click(wxWindow& canvas, wxPoint position);

wxPoint playButton(const wxWindow& canvas);
wxPoint aiButton(const wxWindow& canvas);
wxPoint timeline(const wxWindow& canvas, int percent);
/// Of the picture.
wxPoint middle(const wxWindow& canvas);

/// The frames that have a rectangle of that blur, in order.
std::vector<int64_t> framesWith(int64_t blurId);

// These bring about what they are named after and are false when it does not come within two minutes. The
// canvas has a video, and its first frame no blurs.

/// Returns once the playback thread plays.
bool startPlaying(wxWindow& canvas, const LogCapture& log);
/// Paints in the middle of the first frame and keeps the button down. The blur has the number before
/// `upcomingBrushId()`.
bool press(wxWindow& canvas);
/// Returns once some frames are recorded.
bool startRecording(wxWindow& canvas);
/// Clicks from end to end of the timeline and returns once the playback thread seeks.
bool startSeeking(wxWindow& canvas, const LogCapture& log);

} // namespace test
