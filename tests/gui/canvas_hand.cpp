#include "canvas_hand.h"

#include <algorithm>
#include <mutex>
#include <string>

#include <wx/window.h>

#include "blurtrack.h"
#include "canvasinteraction.h"
#include "gui_support.h"
#include "viewmapping.h"

namespace test {

namespace {

constexpr int kHalfBar = view::kControlBarHeight / 2;
constexpr std::size_t kSomeFrames = 3;

std::ptrdiff_t linesWith(const LogCapture& log, const std::string& begin) {
    const auto lines = log.lines();
    return std::count_if(lines.begin(), lines.end(),
                         [&](const std::string& line) { return line.compare(0, begin.size(), begin) == 0; });
}

} // namespace

bool parkPointer(wxWindow& window) {
    const wxPoint corner = wxPoint(0, 0) + wxGetDisplaySize() - wxSize(1, 1);
    // The window manager may move the window meanwhile.
    const bool there = runUntil([&] {
        if (wxGetMousePosition() == corner)
            return true;
        const wxPoint inWindow = window.ScreenToClient(corner);
        window.WarpPointer(inWindow.x, inWindow.y);
        return false;
    });
    runPending();
    return there;
}

void sendMouse(wxWindow& canvas, const wxEventTypeTag<wxMouseEvent>& type, wxPoint position) {
    wxMouseEvent event(type);
    event.SetPosition(position);
    event.SetEventObject(&canvas);
    event.m_leftDown = type == wxEVT_LEFT_DOWN;
    canvas.ProcessWindowEvent(event);
}

void click(wxWindow& canvas, wxPoint position) {
    sendMouse(canvas, wxEVT_LEFT_DOWN, position);
    sendMouse(canvas, wxEVT_LEFT_UP, position);
}

wxPoint playButton(const wxWindow& canvas) {
    return {kHalfBar, canvas.GetClientSize().y - kHalfBar};
}

wxPoint aiButton(const wxWindow& canvas) {
    return {canvas.GetClientSize().x - 3 * kHalfBar, canvas.GetClientSize().y - kHalfBar};
}

wxPoint timeline(const wxWindow& canvas, int percent) {
    return {60 + (canvas.GetClientSize().x - 180) * percent / 100, canvas.GetClientSize().y - kHalfBar};
}

wxPoint middle(const wxWindow& canvas) {
    return {canvas.GetClientSize().x / 2, canvas.GetClientSize().y / 2 - kHalfBar};
}

std::vector<int64_t> framesWith(int64_t blurId) {
    std::vector<int64_t> frames;
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    for (const auto& [frame, entries] : blurtrack::store().frames)
        for (const auto& entry : entries)
            if (entry.id == blurId)
                frames.push_back(frame);
    return frames;
}

bool startPlaying(wxWindow& canvas, const LogCapture& log) {
    const auto before = linesWith(log, "[VideoPlayerThread] Play");
    click(canvas, playButton(canvas));
    return runUntil([&] { return linesWith(log, "[VideoPlayerThread] Play") > before; });
}

bool press(wxWindow& canvas) {
    const int64_t firstId = upcomingBrushId();
    return runUntil([&] {
        sendMouse(canvas, wxEVT_MOTION, middle(canvas));
        sendMouse(canvas, wxEVT_LEFT_DOWN, middle(canvas));
        return upcomingBrushId() > firstId && !framesWith(upcomingBrushId() - 1).empty();
    });
}

bool startRecording(wxWindow& canvas) {
    return press(canvas) && runUntil([&] { return framesWith(upcomingBrushId() - 1).size() >= kSomeFrames; });
}

bool startSeeking(wxWindow& canvas, const LogCapture& log) {
    const auto before = linesWith(log, "[VideoPlayerThread] Seek");
    for (int percent = 100; percent >= 0; percent -= 10)
        click(canvas, timeline(canvas, percent));
    return runUntil([&] { return linesWith(log, "[VideoPlayerThread] Seek") > before; });
}

} // namespace test
