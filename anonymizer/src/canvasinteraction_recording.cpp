#include "canvasinteraction.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <wx/log.h>

#include "brush.h"
#include "canvasstore.h"
#include "switches.h"

// Recording while playing.

namespace {

constexpr double kFallbackFps = 25;
constexpr double kHighestFps = 100000;

} // namespace

int playbackFps(int32_t speed, double videoFps) {
    const double usable = std::isfinite(videoFps) && videoFps > 0 ? videoFps : kFallbackFps;
    return std::max(1, static_cast<int>(std::min(speed * usable, kHighestFps)));
}

CanvasEffects CanvasInteraction::onHold(bool playerSet, double videoFps, bool seekPending,
                                        int64_t playerPosition) {
    CanvasEffects effects;
    if (!playerSet)
        return effects;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!frame_)
        return effects;
    if (seekPending) {
        effects.startTimer = true;
        return effects;
    }
    if (playerPosition != frame_->index) {
        effects.startTimer = true;
        effects.stopAndSeekTo = frame_->index;
        return effects;
    }
    const auto storeLock = lockStoreSoon();
    if (!storeLock.owns_lock()) {
        effects.startTimer = true;
        return effects;
    }
    storeKept(storeLock);

    const view::Rect rect = hover_.set ? hover_.rect : newBlurRect_;
    // The pressed blur has gone from the store.
    if (rect.empty() && !brush_.shown)
        return effects;
    if (hover_.set)
        currentBlurId_ = hover_.id;
    hideOnPicture(rect);
    if (!hover_.set)
        wxLogMessage("[VideoCanvas] Begin blur while playing id:%lld frame: %lld", number(currentBlurId_),
                     number(frame_->index));
    // Without a blur the brush stays as it is.
    if (!rect.empty()) {
        brush_.id = currentBlurId_;
        brush_.position = mappingNow().windowPixel(brush::centreOf(rect));
        brush_.size = std::max(rect.w, rect.h);
    }
    brush_.shown = true;
    hover_.set = false;
    blurtrack::delBlur(currentBlurId_, frame_->index + 1);
    wxLogMessage("[VideoCanvas] Continue blur while playing id:%lld frame: %lld", number(currentBlurId_),
                 number(frame_->index));
    recording_.exchange(true);
    recordedFrame_ = frame_->index;

    effects.clearLayoutHover = true;
    effects.playFps = playbackFps(switches::playbackSpeed, videoFps);
    effects.repaint = true;
    tellHint(effects);
    return effects;
}

void CanvasInteraction::hideOnPicture(const view::Rect& rect) {
    if (currentBlurId_ == blurtrack::kNoBlurId)
        return;
    const auto& entries = blurtrack::entriesAt(frame_->index);
    if (std::any_of(entries.begin(), entries.end(),
                    [this](const blurtrack::BlurEntry& entry) { return entry.id == currentBlurId_; }))
        return;
    if (leavesHole(currentBlurId_)) {
        takeNextBrushId();
        currentBlurId_ = brush_.id;
    }
    newBlurRect_ = rect;
    storeNewBlur();
}

CanvasEffects CanvasInteraction::pause(bool playerPlays) {
    CanvasEffects effects;
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool wasRecording = endRecording();
    if (!unstored_.empty())
        storeKept(lockStoreSoon());
    if (!unstored_.empty()) {
        const PaintedSquare& last = unstored_.back();
        wxLogError("[VideoCanvas] Blurs not stored, they are in use. The last one: id:%lld frame: %lld",
                   number(last.id), number(last.frame));
        unstored_.clear();
        effects.blurLost = true;
    }
    effects.stopTimer = true;
    if ((playerPlays || wasRecording) && frame_)
        effects.stopAndSeekTo = frame_->index;
    effects.repaint = true;
    tellHint(effects);
    return effects;
}

void CanvasInteraction::deliver(std::shared_ptr<VideoPlayer::Frame> frame) {
    const std::lock_guard<std::mutex> lock(mutex_);
    frame_ = std::move(frame);
    if (!playedFrom_)
        playedFrom_ = frame_->index - 1;
    if (recording_)
        recordPicture();
    // Paint, mouse and the end of the canvas wait for the canvas-state mutex: no waiting here.
    storeKeptIfFree();
}

void CanvasInteraction::recordPicture() {
    // Whatever hides the brush ends the recording first.
    if (!brush_.shown || currentBlurId_ == blurtrack::kNoBlurId)
        return;
    const view::Rect square = brushSquare();
    if (square.empty())
        return;
    // Frames whose conversion failed were never delivered. The store counts a span frame by frame, so a hole
    // in it would put the last frames out of reach of a deletion. What playing has not passed is no such
    // frame, though the decoder may stand far behind the picture: one of a seek whose conversion failed.
    const int64_t passedFrom = std::max(recordedFrame_, playedFrom_.value_or(0)) + 1;
    const bool follows = playState_ != Seeking && passedFrom < frame_->index;
    for (int64_t f = follows ? passedFrom : frame_->index; f <= frame_->index; ++f)
        keep(f, square, false);
    recordedFrame_ = frame_->index;
}

void CanvasInteraction::keep(int64_t frame, const view::Rect& square, bool pressed) {
    unstored_.push_back({currentBlurId_, frame, square, pressed, blurtrack::store().timesCleared});
}

void CanvasInteraction::storeKept(const std::unique_lock<std::mutex>& storeLock) {
    if (!storeLock.owns_lock())
        return;
    for (const PaintedSquare& kept : unstored_) {
        if (kept.timesCleared != blurtrack::store().timesCleared)
            continue;
        if (kept.pressed)
            storePressed(kept.id, kept.frame, kept.square);
        else
            blurtrack::addBlur(kept.frame, toFloats(kept.square), blurtrack::kBrushScore, kept.id);
    }
    unstored_.clear();
}

void CanvasInteraction::storeKeptIfFree() {
    if (!unstored_.empty())
        storeKept(std::unique_lock<std::mutex>(blurtrack::store().mutex, std::try_to_lock));
}

bool CanvasInteraction::endRecording() {
    if (!recording_.exchange(false))
        return false;
    if (currentBlurId_ == blurtrack::kNoBlurId)
        return true;
    if (frame_->index != recordedFrame_)
        recordPicture();
    if (frame_->index != recordedFrame_)
        wxLogError("[VideoCanvas] Blur while playing not recorded id:%lld frames: %lld to %lld",
                   number(currentBlurId_), number(recordedFrame_ + 1), number(frame_->index));
    if (!unstored_.empty())
        storeKept(lockStoreSoon());
    return true;
}

void CanvasInteraction::setPlayState(PlayState state, int64_t playerPosition) {
    const std::lock_guard<std::mutex> lock(mutex_);
    // At the end of the video the button is still held. Left on, the recording would go on from whatever
    // frame a seek or a play delivers next.
    if (state == Stopped)
        endRecording();
    if (state == Playing) {
        playedFrom_.reset();
        if (playerPosition > 0)
            playedFrom_ = playerPosition;
    }
    playState_ = state;
}
