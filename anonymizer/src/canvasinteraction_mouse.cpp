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
            pressInside(event.position, playerPlays, effects);
        break;
    case CanvasMouse::LeftUp:
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
    const view::PointF video =
        mappingNow().toVideo({static_cast<float>(position.x), static_cast<float>(position.y)});
    const auto& entries = blurtrack::entriesAt(frame_->index);
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

bool CanvasInteraction::newBlur() {
    currentBlurId_ = blurtrack::kNoBlurId;
    newBlurRect_ = brushSquare();
    if (newBlurRect_.empty())
        return false;
    const auto storeLock = lockStoreSoon();
    if (storeLock.owns_lock() && (leavesHole(brush_.id) || isElsewhereOnPicture(brush_.id)))
        takeNextBrushId();
    currentBlurId_ = brush_.id;
    if (storeLock.owns_lock())
        storeNewBlur();
    return storeLock.owns_lock();
}

void CanvasInteraction::storeNewBlur() {
    if (currentBlurId_ == blurtrack::kNoBlurId)
        return;
    const blurtrack::BlurEntry entry =
        blurtrack::addBlur(frame_->index, toFloats(newBlurRect_), blurtrack::kBrushScore, currentBlurId_);
    newBlurRect_ = {entry.x, entry.y, entry.w, entry.h};
    wxLogMessage("[VideoCanvas] New Blur id:%lld frame: %lld(%d, %d, %d, %d)", number(entry.id),
                 number(frame_->index), entry.x, entry.y, entry.w, entry.h);
}

bool CanvasInteraction::leavesHole(int64_t id) const {
    const auto span = blurtrack::spanOf(id);
    return span && (frame_->index < span->startFrame || frame_->index > span->startFrame + span->frameCount);
}

bool CanvasInteraction::isElsewhereOnPicture(int64_t id) const {
    if (hover_.set && hover_.id == id)
        return false;
    const auto& entries = blurtrack::entriesAt(frame_->index);
    return std::any_of(entries.begin(), entries.end(),
                       [id](const blurtrack::BlurEntry& entry) { return entry.id == id; });
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
        if (!newBlur() && currentBlurId_ != blurtrack::kNoBlurId)
            unstored_.push_back({frame_->index, newBlurRect_});
        recording_.exchange(true);
    } else if (brush_.shown) {
        brush_.position = position;
        if (!newBlur() && currentBlurId_ != blurtrack::kNoBlurId)
            wxLogError("[VideoCanvas] Blur not painted, the blurs are in use id:%lld frame: %lld",
                       number(currentBlurId_), number(frame_->index));
        effects.startTimer = true;
    } else {
        const Hit hit = hitTest(position);
        if (hit == Hit::Yes)
            effects.startTimer = true;
        else if (hit == Hit::No)
            newBrush(position);
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
