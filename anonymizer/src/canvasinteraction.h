#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "blurtrack.h"
#include "canvaseffects.h"
#include "videoplayer.h"
#include "viewmapping.h"

/// One mouse event of the canvas.
struct CanvasMouse {
    enum Kind { Motion, LeftDown, LeftUp, Wheel, Leave, Enter };
    Kind kind = Motion;
    /// Window pixels.
    view::Point position;
    /// Sign matters only. Wheel events.
    int wheelRotation = 0;
    /// The layout has taken the event: it is nowhere on the picture, whatever the mapping says.
    bool onControls = false;
    /// The left button is held, after this event. Looked at on motion and on entering.
    bool leftIsDown = false;
};

/// The canvas-state as one moment had it: what a paint works on.
struct CanvasPicture {
    /// Empty when there is nothing to show.
    std::shared_ptr<VideoPlayer::Frame> frame;
    bool hovering = false;
    int64_t hoverId = blurtrack::kNoBlurId;
    bool brushShown = false;
    /// Window pixels.
    view::Point brushPosition;
    /// Video pixels.
    int32_t brushSize = 0;
    int32_t divisor = 0;
    /// Percent.
    int32_t threshold = 0;
    /// A switches::EditingMode.
    int32_t editingMode = 0;
};

/// The rules of the canvas without its window: what the mouse, the hold timer and the player's callbacks do
/// to the brush, the hover and the blur store. Guards its state with the canvas-state mutex and takes the
/// blur store's inside it; every operation does its own locking, logs, and leaves the rest to the returned
/// effects. User-interface thread, except `deliver`, `setPlayState` and `picture`, which any thread may call.
///
/// Detection holds the blur store for its whole pass. No operation waits for that: after two milliseconds it
/// goes on without the store. Then the hover stays as it was, no new brush begins, a hold begins anew,
/// "Delete blur" deletes nothing, and the squares of presses and recorded frames are kept for the next
/// operation that finds the store free (`hasUnstored`). Only `pause` tells the user of those that it has to
/// give up.
class CanvasInteraction {
public:
    /// Size of the canvas with its control bar, window pixels.
    void resize(view::Size window);

    /// Forgets picture, hover, brush and recording: another video, or none.
    CanvasEffects reset();

    /// The mouse. `playerPlays`: the player reports that it is playing.
    ///
    /// A press paints with the brush's number: a brush that a recording left on the screen goes on with the
    /// recorded blur, on the very rectangle that it has on the picture or where the span reaches. It takes
    /// the next number beside a rectangle of its own, since a blur has one for each picture and the press
    /// would hide nothing; and on a picture that the span does not reach, since a span counts frames one by
    /// one and with a hole in it the last ones would be out of reach of a deletion.
    CanvasEffects figureOutState(const CanvasMouse& event, bool playerPlays);

    /// The button has been held for kHoldMilliseconds: the pressed blur is recorded from the picture on that
    /// is shown now; nothing happens when it has gone from the store. Where a seek has brought another one
    /// than the pressed one, it gets the blur's rectangle first, under the next number when the blur's span
    /// does not reach it. While a picture is on its way (`seekPending`) the hold begins anew: the end of that
    /// seek, told as `Stopped`, would end the recording. So it does when playing would not go on behind the
    /// picture (`playerPosition`, see VideoPlayer), with a seek to it: a seek elsewhere may have delivered
    /// nothing. `videoFps` may be any number.
    CanvasEffects onHold(bool playerSet, double videoFps, bool seekPending, int64_t playerPosition);

    /// Something else needs the video or the blurs: ends recording, and playing when the player plays. What
    /// the store still refuses is given up and told.
    CanvasEffects pause(bool playerPlays);

    /// The "Delete blur" button: deletes the hovered blur over its whole span.
    CanvasEffects deleteHovered();

    /// A decoded frame, never empty. While recording, it and every frame that playing has passed since the
    /// last one get the brush square of this moment.
    void deliver(std::shared_ptr<VideoPlayer::Frame> frame);

    /// Ends recording when the player has stopped. `playerPosition`: the player's at this moment.
    void setPlayState(PlayState state, int64_t playerPosition);

    /// Brings store, hover and hint line up to date after a change from elsewhere: recording ended by the
    /// player, or the hovered blur gone from the store.
    CanvasEffects settle();

    /// Something painted waits for the blur store; `settle` tries again. Forgotten when the store is cleared.
    bool hasUnstored() const;

    CanvasPicture picture() const;
    bool recording() const { return recording_; }
    /// Where the picture lies in the window now.
    view::Mapping mapping() const;

private:
    struct Hover {
        int64_t id = blurtrack::kNoBlurId;
        view::Rect rect;
        /// The last hit test hit.
        bool set = false;
    };
    /// Unknown while the blur store is held; the hover is left as it was then.
    enum class Hit { Unknown, No, Yes };
    struct Brush {
        int64_t id = blurtrack::kNoBlurId;
        /// Video pixels.
        int32_t size = 0;
        /// Window pixels.
        view::Point position;
        bool shown = false;
    };
    struct PaintedSquare {
        int64_t id = blurtrack::kNoBlurId;
        int64_t frame = 0;
        /// Video pixels.
        view::Rect square;
        /// Painted by a press, not recorded.
        bool pressed = false;
        /// The store's, when it was painted.
        uint64_t timesCleared = 0;
    };

    // All of these expect the canvas-state mutex to be held.
    view::Mapping mappingNow() const;
    view::Rect brushSquare() const;
    Hit hitTest(view::Point position);
    /// Gives the brush square to the picture and to every frame missed since the last recorded one.
    void recordPicture();
    void keep(int64_t frame, const view::Rect& square, bool pressed);
    /// Adds what has been kept to the store, if its mutex is held.
    void storeKept(const std::unique_lock<std::mutex>& storeLock);
    /// The same unless somebody else has the store just now: no waiting.
    void storeKeptIfFree();
    /// False when nothing was being recorded.
    bool endRecording();
    void newBrush(view::Point position);
    void takeNextBrushId();
    /// Makes the brush square the current blur. Without a square currentBlurId_ is −1 and nothing is painted.
    void newBlur();
    // With the store's mutex held too:
    /// There is a current blur.
    void storeNewBlur();
    blurtrack::BlurEntry storePressed(int64_t id, int64_t frame, const view::Rect& square);
    /// Gives the rectangle to the picture as the current blur's, unless that has one there.
    void hideOnPicture(const view::Rect& rect);
    /// A rectangle on the picture would leave a hole in the span of `id`.
    bool leavesHole(int64_t id) const;
    /// The picture has a rectangle of the blur, and the brush is not on it, or is on that of another.
    bool isElsewhereOnPicture(int64_t id) const;
    /// Window pixels to video pixels.
    view::PointF onVideo(view::Point position) const;
    bool isOnHoveredRect(view::Point position) const;
    void resizeBrush(int rotation);
    void moveInside(view::Point position, bool playing);
    void pressInside(view::Point position, bool playing, CanvasEffects& effects);
    void releaseInside(view::Point position, bool playing, CanvasEffects& effects);
    void tellHint(CanvasEffects& effects);

    mutable std::mutex mutex_;
    // Guarded by mutex_, the canvas-state mutex.
    view::Size window_;
    std::shared_ptr<VideoPlayer::Frame> frame_;
    PlayState playState_ = Stopped;
    Hover hover_;
    Brush brush_;
    /// The blur being drawn or recorded.
    int64_t currentBlurId_ = blurtrack::kNoBlurId;
    /// The rectangle of the last press; empty without a current blur.
    view::Rect newBlurRect_;
    /// Last frame that has a square of the recorded blur, stored or not.
    int64_t recordedFrame_ = 0;
    /// Playing began behind this frame; nothing while that is not known.
    std::optional<int64_t> playedFrom_ = 0;
    /// What a held store refused, in order of painting.
    std::vector<PaintedSquare> unstored_;
    CanvasEffects::Hint hintShown_;

    std::atomic<bool> recording_{false};
};

/// Rate to play a video at: the truncation of `speed` × `videoFps`, never below 1; a rate that is no usable
/// number counts as 25.
int playbackFps(int32_t speed, double videoFps);

/// Number that the next brush will get; counts through the whole run of the program.
int64_t upcomingBrushId();
