#pragma once

#include <functional>
#include <memory>

#include <wx/glcanvas.h>

class VideoPlayer;

/// The window in which the user watches the video and paints blurs: the picture letter-boxed over a control
/// bar of 32 pixels with timeline, play/pause, AI and "Delete blur". Everything public is for the
/// user-interface thread; nothing here waits for a worker except `set`, which waits for at most one callback
/// of the previous player that is under way.
class VideoCanvas2 : public wxGLCanvas {
public:
    /// Nothing of OpenGL is touched before the window is shown and painted for the first time.
    VideoCanvas2(wxWindow* parent, wxWindowID id, const wxPoint& pos, const wxSize& size);
    ~VideoCanvas2() override;

    /// Attaches a player whose video is ready: takes its description for the timeline, installs the frame and
    /// state callbacks and asks for frame 1. The player must outlive the attachment. With nullptr the canvas
    /// lets go of the player (which must still exist), forgets picture, hover and recording and shows the
    /// empty view.
    void set(VideoPlayer* player);

    /// Ends a recording, stops the player when it plays, and shows the frame at hand: before something else
    /// works on the video or holds the blurs. No lock may be held.
    void pause();

    /// Called on the user-interface thread when the AI button is clicked.
    void setAiRequest(std::function<void()> request);

    /// Calls the AI button "AI" or "NO AI", with or without a video; with one it is enabled when there is a
    /// detection.
    void setAiAvailable(bool available);

    /// Paints again soon; to be called after a change of mode, threshold, mosaic divisor or blur store.
    void refreshPicture();

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};
