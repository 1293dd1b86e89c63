#pragma once

#include <functional>
#include <mutex>
#include <vector>

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

    /// Reads the button images from the application's folder. Captions are translated now.
    explicit CanvasControls(Callbacks callbacks);

    /// Everything but the AI button is enabled while there is a video; "Delete blur" whether or not one is
    /// selected. Frames are counted from 0 on the timeline.
    void setVideo(bool present, int64_t frameCount);
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
    // With the layout lock held.
    void placeElements(view::Size window);
    ui2::MouseResult mouseOnBar(const ui2::MouseInput& input);

    /// The layout lock. Guards everything below.
    std::mutex mutex_;
    ui2::Layout bar_;
    ui2::Layout blurButtons_;
    view::Size placedFor_;
    /// The timeline's value for the last frame.
    int32_t shownValue_ = 0;
    /// The drag under way has moved the timeline.
    bool draggedAway_ = false;
    int play_ = 0;
    int timeline_ = 0;
    int ai_ = 0;
    int deleteBlur_ = 0;
};
