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

    /// Everything is disabled without a video. Frames are counted from 0 on the timeline.
    void setVideo(bool present, int64_t frameCount);
    void setAiAvailable(bool available);
    /// Unless the user drags the knob. Any thread.
    void showFrame(int64_t frameIndex);
    /// Any thread.
    void showPlayState(PlayState state);
    void clearHover();

    MouseOutcome mouse(const ui2::MouseInput& input);

    /// Places the elements in the window and draws both lists. `blurSelected` enables "Delete blur".
    void draw(pxl::Batch& batch, view::Size window, bool blurSelected);
    /// With the context current.
    void releaseTextures();

private:
    void place(view::Size window);

    /// The layout lock. Guards everything below.
    std::mutex mutex_;
    ui2::Layout bar_;
    ui2::Layout blurButtons_;
    view::Size placedFor_;
    int play_ = 0;
    int timeline_ = 0;
    int ai_ = 0;
    int deleteBlur_ = 0;
};
