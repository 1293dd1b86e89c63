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

CanvasEffects CanvasInteraction::onHold(bool playerSet, double videoFps, bool seekPending) {
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
    const auto storeLock = lockStoreSoon();
    if (!storeLock.owns_lock()) {
        effects.startTimer = true;
        return effects;
    }

    const view::Rect rect = hover_.set ? hover_.rect : newBlurRect_;
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
    if (currentBlurId_ == blurtrack::kNoBlurId || rect.empty())
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
    if (!recording_)
        return;
    recordPicture();
    // Paint, mouse and the end of the canvas wait for the canvas-state mutex: no waiting here.
    storeRecorded(std::unique_lock<std::mutex>(blurtrack::store().mutex, std::try_to_lock));
}

void CanvasInteraction::recordPicture() {
    if (!frame_ || !brush_.shown || currentBlurId_ == blurtrack::kNoBlurId)
        return;
    const view::Rect square = brushSquare();
    if (square.empty())
        return;
    // Frames whose conversion failed were never delivered. The store counts a span frame by frame, so a hole
    // in it would put the last frames out of reach of a deletion.
    const bool follows = playState_ != Seeking && frame_->index > recordedFrame_;
    for (int64_t f = follows ? recordedFrame_ + 1 : frame_->index; f <= frame_->index; ++f)
        unstored_.push_back({f, square});
    recordedFrame_ = frame_->index;
}

void CanvasInteraction::storeRecorded(const std::unique_lock<std::mutex>& storeLock) {
    if (!storeLock.owns_lock())
        return;
    for (const RecordedSquare& recorded : unstored_)
        blurtrack::addBlur(recorded.frame, toFloats(recorded.square), blurtrack::kBrushScore, currentBlurId_);
    unstored_.clear();
}

bool CanvasInteraction::endRecording() {
    if (!recording_.exchange(false))
        return false;
    if (!frame_ || currentBlurId_ == blurtrack::kNoBlurId)
        return true;
    if (frame_->index != recordedFrame_)
        recordPicture();
    if (!unstored_.empty())
        storeRecorded(lockStoreSoon());
    if (!unstored_.empty() || frame_->index != recordedFrame_) {
        const int64_t first = unstored_.empty() ? recordedFrame_ + 1 : unstored_.front().frame;
        wxLogError("[VideoCanvas] Blur while playing not recorded id:%lld frames: %lld to %lld",
                   number(currentBlurId_), number(first), number(frame_->index));
        unstored_.clear();
    }
    return true;
}

void CanvasInteraction::setPlayState(PlayState state) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (state == Stopped)
        endRecording();
    playState_ = state;
}
