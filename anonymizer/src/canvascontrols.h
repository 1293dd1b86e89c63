#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include <wx/string.h>

#include "layout.h"
#include "videoplayer.h"
#include "viewmapping.h"

/// The canvas's two widget lists, the control bar and the blur buttons, behind the layout lock: every
/// operation takes it for itself, and none calls anything back.
class CanvasControls {
public:
    struct Callbacks {
        /// The timeline's value, from 0.
        std::function<void(int32_t value)> onTimeline;
        /// The toggle's new state: play or stop.
        std::function<void(bool play)> onPlay;
        std::function<void()> onAi;
        std::function<void()> onDeleteBlur;
    };

    /// What a mouse event did.
    struct MouseOutcome {
        /// The event belongs to the controls, not to the picture.
        bool consumed = false;
        bool changed = false;
        /// To be run in order, with no lock held.
        std::vector<std::function<void()>> calls;
        std::optional<ui2::Tip> tip;
    };

    /// Reads the button images from the application's folder. Every text is translated now: the catalogs may
    /// be replaced while the playback thread shows its state.
    explicit CanvasControls(Callbacks callbacks);

    /// Everything is enabled while there is a video, the AI button if there is a detection; "Delete blur"
    /// whether or not one is selected. Frames are counted from 0 on the timeline.
    void setVideo(bool present, int64_t frameCount);
    /// What the AI button is called, with or without a video. "NO AI" at first.
    void setAiAvailable(bool available);
    /// Moves the timeline; while the user drags the knob the frame is kept until the drag ends, and forgotten
    /// when the drag has asked for another one. Any thread.
    void showFrame(int64_t frameIndex);
    /// Any thread.
    void showPlayState(PlayState state);
    void clearHover();

    MouseOutcome mouse(const ui2::MouseInput& input);

    /// Puts the elements where they belong in a window of that size, window pixels.
    void place(view::Size window);
    /// Places the elements and draws both lists.
    void draw(pxl::Batch& batch, view::Size window);
    /// With the context current.
    void releaseTextures();

private:
    struct Texts {
        wxString play, pause, ai, noAi;
    };

    // With the layout lock held.
    void showAi();
    void placeElements(view::Size window);
    ui2::MouseResult mouseOnBar(const ui2::MouseInput& input);

    const Texts texts_;
    /// The layout lock. Guards everything below.
    std::mutex mutex_;
    ui2::Layout bar_;
    ui2::Layout blurButtons_;
    view::Size placedFor_;
    /// The timeline's value for the last frame.
    int32_t shownValue_ = 0;
    /// The drag under way has moved the timeline.
    bool draggedAway_ = false;
    bool videoPresent_ = false;
    bool aiAvailable_ = false;
    int play_ = 0;
    int timeline_ = 0;
    int ai_ = 0;
    int deleteBlur_ = 0;
};
