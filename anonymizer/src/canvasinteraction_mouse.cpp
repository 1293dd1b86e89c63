#include "canvasinteraction.h"

#include <algorithm>

#include <wx/log.h>

#include "brush.h"
#include "canvasstore.h"
#include "switches.h"

// The mouse.

namespace {

std::atomic<int64_t> nextBrushId{0};

} // namespace

int64_t upcomingBrushId() {
    return nextBrushId;
}

CanvasEffects CanvasInteraction::figureOutState(const CanvasMouse& event, bool playerPlays) {
    CanvasEffects effects;
    const std::lock_guard<std::mutex> lock(mutex_);
    storeKeptIfFree();
    const bool wasRecording = recording_;
    // The worker begins to play a little later than it is told to; a recording is playing from the start.
    const bool playing = playerPlays || wasRecording;
    const bool inside = !event.onControls && mappingNow().inside(event.position);
    // The release has gone elsewhere: to a dialog, or to a window that took the mouse.
    const bool releaseLost =
        !event.leftIsDown && (event.kind == CanvasMouse::Motion || event.kind == CanvasMouse::Enter);
    const int64_t frameIndex = frame_ ? frame_->index : 0;
    bool playingEnded = false;
    if (releaseLost) {
        effects.stopTimer = true;
        playingEnded = endRecording();
    }

    switch (event.kind) {
    case CanvasMouse::Leave:
        playingEnded = endRecording();
        brush_.shown = false;
        effects.stopTimer = true;
        break;
    case CanvasMouse::Wheel:
        resizeBrush(event.wheelRotation);
        break;
    case CanvasMouse::Motion:
        if (inside) {
            moveInside(event.position, playing);
        } else {
            playingEnded = endRecording() || playingEnded;
            brush_.shown = false;
        }
        break;
    case CanvasMouse::LeftDown:
        if (inside)
            pressInside(event.position, playing, effects);
        break;
    case CanvasMouse::LeftUp:
        // A recording must not run on without a held button, wherever that is let go.
        playingEnded = inside ? playing : wasRecording;
        if (inside)
            releaseInside(event.position, playing, effects);
        endRecording();
        effects.stopTimer = true;
        break;
    case CanvasMouse::Enter:
        break;
    }

    if (playing && playingEnded)
        effects.stopAndSeekTo = frameIndex;
    effects.repaint = true;
    tellHint(effects);
    return effects;
}

CanvasInteraction::Hit CanvasInteraction::hitTest(view::Point position) {
    const auto storeLock = lockStoreSoon();
    if (!storeLock.owns_lock())
        return Hit::Unknown;
    const view::PointF video = onVideo(position);
    const auto& entries = blurtrack::entriesAt(frame_->index);
    // Detections belong to no blur that the user could select; one below them can be selected.
    const auto hit = std::find_if(entries.rbegin(), entries.rend(), [&](const blurtrack::BlurEntry& entry) {
        return entry.id != blurtrack::kAnonymousBlurId && blurtrack::contains(entry, video.x, video.y);
    });
    hover_.set = hit != entries.rend();
    if (hover_.set) {
        hover_.id = hit->id;
        hover_.rect = {hit->x, hit->y, hit->w, hit->h};
    }
    return hover_.set ? Hit::Yes : Hit::No;
}

view::PointF CanvasInteraction::onVideo(view::Point position) const {
    return mappingNow().toVideo({static_cast<float>(position.x), static_cast<float>(position.y)});
}

void CanvasInteraction::newBrush(view::Point position) {
    takeNextBrushId();
    brush_.size = switches::brushSize;
    brush_.position = position;
    brush_.shown = true;
}

void CanvasInteraction::takeNextBrushId() {
    brush_.id = nextBrushId++;
    wxLogMessage("[VideoCanvas] New Blur Brush id:% lld", number(brush_.id));
}

void CanvasInteraction::newBlur() {
    const bool brushHasPainted = brush_.id == std::exchange(currentBlurId_, blurtrack::kNoBlurId);
    newBlurRect_ = brushSquare();
    if (newBlurRect_.empty())
        return;
    const auto storeLock = lockStoreSoon();
    storeKept(storeLock);
    // What the number has already can't be looked up in a held store.
    if (storeLock.owns_lock() ? leavesHole(brush_.id) || isElsewhereOnPicture(brush_.id) : brushHasPainted)
        takeNextBrushId();
    currentBlurId_ = brush_.id;
    if (storeLock.owns_lock())
        storeNewBlur();
    else
        keep(frame_->index, newBlurRect_, true);
}

void CanvasInteraction::storeNewBlur() {
    const blurtrack::BlurEntry entry = storePressed(currentBlurId_, frame_->index, newBlurRect_);
    newBlurRect_ = {entry.x, entry.y, entry.w, entry.h};
}

blurtrack::BlurEntry CanvasInteraction::storePressed(int64_t id, int64_t frame, const view::Rect& square) {
    const blurtrack::BlurEntry entry =
        blurtrack::addBlur(frame, toFloats(square), blurtrack::kBrushScore, id);
    wxLogMessage("[VideoCanvas] New Blur id:%lld frame: %lld(%d, %d, %d, %d)", number(entry.id),
                 number(frame), entry.x, entry.y, entry.w, entry.h);
    return entry;
}

bool CanvasInteraction::leavesHole(int64_t id) const {
    const auto span = blurtrack::spanOf(id);
    return span && (frame_->index < span->startFrame || frame_->index > span->startFrame + span->frameCount);
}

bool CanvasInteraction::isElsewhereOnPicture(int64_t id) const {
    const auto& entries = blurtrack::entriesAt(frame_->index);
    const auto own = std::find_if(entries.begin(), entries.end(),
                                  [id](const blurtrack::BlurEntry& entry) { return entry.id == id; });
    if (own == entries.end())
        return false;
    // The hover may be that of another picture.
    const view::PointF video = onVideo(brush_.position);
    return !hover_.set || hover_.id != id || !blurtrack::contains(*own, video.x, video.y);
}

bool CanvasInteraction::isOnHoveredRect(view::Point position) const {
    const view::PointF video = onVideo(position);
    const auto& [x, y, w, h] = hover_.rect;
    return blurtrack::contains({hover_.id, x, y, w, h}, video.x, video.y);
}

void CanvasInteraction::resizeBrush(int rotation) {
    if (!frame_)
        return;
    const int32_t size =
        brush::sizeAfterWheel(switches::brushSize, rotation, {frame_->image.width, frame_->image.height});
    switches::brushSize.exchange(size);
    if (brush_.shown)
        brush_.size = size;
}

void CanvasInteraction::moveInside(view::Point position, bool playing) {
    if (playing) {
        if (brush_.shown)
            brush_.position = position;
        else if (hitTest(position) == Hit::No)
            newBrush(position);
    } else if (brush_.shown) {
        const Hit hit = hitTest(position);
        if (hit == Hit::Yes)
            brush_.shown = false;
        else if (hit == Hit::No)
            brush_.position = position;
    } else if (!hover_.set && hitTest(position) == Hit::No) {
        newBrush(position);
    }
}

void CanvasInteraction::pressInside(view::Point position, bool playing, CanvasEffects& effects) {
    if (playing) {
        if (!brush_.shown)
            return;
        // A press without the release of the one before.
        endRecording();
        newBrush(position);
        recordedFrame_ = frame_->index;
        newBlur();
        recording_.exchange(true);
    } else if (brush_.shown) {
        brush_.position = position;
        // A press need not have a motion before it, by touch or pen.
        hover_.set = hover_.set && isOnHoveredRect(position);
        newBlur();
        effects.startTimer = true;
    } else {
        const Hit hit = hitTest(position);
        if (hit == Hit::Yes) {
            effects.startTimer = true;
            // Should the blur be gone when the hold fires, nothing of the dab before is recorded for it.
            currentBlurId_ = blurtrack::kNoBlurId;
            newBlurRect_ = {};
        } else if (hit == Hit::No) {
            newBrush(position);
        }
    }
}

void CanvasInteraction::releaseInside(view::Point position, bool playing, CanvasEffects& effects) {
    if (!playing) {
        if (hitTest(position) == Hit::Yes)
            brush_.shown = false;
        effects.stopTimer = true;
        return;
    }
    if (!endRecording())
        return;
    wxLogMessage("[VideoCanvas] Blur while playing ended id:%lld frame: %lld", number(currentBlurId_),
                 number(frame_->index));
    // The brush stays, over a blur too.
    (void)hitTest(position);
}
