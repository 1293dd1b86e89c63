#include "canvasinteraction.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>

#include <wx/log.h>

#include "brush.h"
#include "hints.h"
#include "switches.h"

namespace {

std::atomic<int64_t> nextBrushId{0};

constexpr double kFallbackFps = 25;
constexpr double kHighestFps = 100000;

/// Detection holds the store for its whole pass. The window gives up after a moment instead of freezing, and
/// with it the playback thread, which needs the canvas-state mutex.
std::unique_lock<std::mutex> lockStoreSoon() {
    using Clock = std::chrono::steady_clock;
    std::unique_lock<std::mutex> lock(blurtrack::store().mutex, std::try_to_lock);
    const auto deadline = Clock::now() + std::chrono::milliseconds(2);
    while (!lock.owns_lock() && Clock::now() < deadline) {
        std::this_thread::yield();
        (void)lock.try_lock();
    }
    return lock;
}

blurtrack::RectF toFloats(const view::Rect& rect) {
    return {static_cast<float>(rect.x), static_cast<float>(rect.y), static_cast<float>(rect.w),
            static_cast<float>(rect.h)};
}

long long number(int64_t value) {
    return value;
}

} // namespace

int playbackFps(int32_t speed, double videoFps) {
    const double usable = std::isfinite(videoFps) && videoFps > 0 ? videoFps : kFallbackFps;
    return std::max(1, static_cast<int>(std::min(speed * usable, kHighestFps)));
}

int64_t upcomingBrushId() {
    return nextBrushId;
}

void CanvasInteraction::resize(view::Size window) {
    const std::lock_guard<std::mutex> lock(mutex_);
    window_ = window;
}

CanvasEffects CanvasInteraction::reset() {
    CanvasEffects effects;
    const std::lock_guard<std::mutex> lock(mutex_);
    frame_.reset();
    playState_ = Stopped;
    hover_ = {};
    brush_ = {};
    currentBlurId_ = blurtrack::kNoBlurId;
    newBlurRect_ = {};
    pressFrame_ = 0;
    recordedFrame_ = 0;
    recording_ = false;
    effects.stopTimer = true;
    effects.clearLayoutHover = true;
    effects.repaint = true;
    tellHint(effects);
    return effects;
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

CanvasEffects CanvasInteraction::onHold(bool playerSet, double videoFps, bool seekPending) {
    CanvasEffects effects;
    if (!playerSet)
        return effects;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!frame_ || frame_->index != pressFrame_)
        return effects;
    // Recording may begin on the frame that a seek is about to deliver, not before it.
    if (seekPending) {
        effects.startTimer = true;
        return effects;
    }
    const int64_t target = hover_.set ? hover_.id : currentBlurId_;
    const view::Rect rect = hover_.set ? hover_.rect : newBlurRect_;
    if (target == blurtrack::kNoBlurId || rect.empty())
        return effects;
    const auto storeLock = lockStoreSoon();
    if (!storeLock.owns_lock()) {
        effects.startTimer = true;
        return effects;
    }

    if (!hover_.set)
        wxLogMessage("[VideoCanvas] Begin blur while playing id:%lld frame: %lld", number(target),
                     number(frame_->index));
    currentBlurId_ = target;
    brush_.id = target;
    brush_.position = mappingNow().windowPixel(brush::centreOf(rect));
    brush_.size = std::max(rect.w, rect.h);
    brush_.shown = true;
    hover_.set = false;
    blurtrack::delBlur(target, frame_->index + 1);
    wxLogMessage("[VideoCanvas] Continue blur while playing id:%lld frame: %lld", number(target),
                 number(frame_->index));
    recording_ = true;
    recordedFrame_ = frame_->index;

    effects.clearLayoutHover = true;
    effects.playFps = playbackFps(switches::playbackSpeed, videoFps);
    effects.repaint = true;
    tellHint(effects);
    return effects;
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

CanvasEffects CanvasInteraction::deleteHovered() {
    CanvasEffects effects;
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto storeLock = lockStoreSoon();
    if (!storeLock.owns_lock())
        return effects;
    if (std::exchange(hover_.set, false)) {
        if (const auto span = blurtrack::spanOf(hover_.id))
            blurtrack::delBlur(hover_.id, span->startFrame);
    }
    effects.clearLayoutHover = true;
    effects.repaint = true;
    tellHint(effects);
    return effects;
}

void CanvasInteraction::deliver(std::shared_ptr<VideoPlayer::Frame> frame) {
    const std::lock_guard<std::mutex> lock(mutex_);
    frame_ = std::move(frame);
    // Paint, mouse and the end of the canvas wait for the canvas-state mutex: no waiting here.
    if (recording_)
        recordUpToPicture(std::unique_lock<std::mutex>(blurtrack::store().mutex, std::try_to_lock));
}

void CanvasInteraction::recordUpToPicture(const std::unique_lock<std::mutex>& storeLock) {
    if (!storeLock.owns_lock() || !frame_ || !brush_.shown)
        return;
    const view::Rect square = brushSquare();
    if (square.empty())
        return;
    // Frames whose conversion failed were never delivered. The store counts a span frame by frame, so a hole
    // in it would put the last frames out of reach of a deletion.
    const bool follows = playState_ != Seeking && frame_->index > recordedFrame_;
    for (int64_t f = follows ? recordedFrame_ + 1 : frame_->index; f <= frame_->index; ++f)
        blurtrack::addBlur(f, toFloats(square), blurtrack::kBrushScore, currentBlurId_);
    recordedFrame_ = frame_->index;
}

bool CanvasInteraction::endRecording() {
    if (!recording_.exchange(false))
        return false;
    if (frame_ && frame_->index != recordedFrame_) {
        recordUpToPicture(lockStoreSoon());
        if (frame_->index != recordedFrame_)
            wxLogMessage("[VideoCanvas] Blur while playing not recorded id:%lld frames: %lld to %lld",
                         number(currentBlurId_), number(recordedFrame_ + 1), number(frame_->index));
    }
    return true;
}

void CanvasInteraction::setPlayState(PlayState state) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (state == Stopped)
        endRecording();
    playState_ = state;
}

CanvasEffects CanvasInteraction::settle() {
    CanvasEffects effects;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (hover_.set) {
        const auto storeLock = lockStoreSoon();
        if (storeLock.owns_lock() && !blurtrack::spanOf(hover_.id))
            hover_.set = false;
    }
    effects.repaint = true;
    tellHint(effects);
    return effects;
}

CanvasPicture CanvasInteraction::picture() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    CanvasPicture picture;
    picture.frame = frame_;
    picture.hovering = hover_.set;
    picture.hoverId = hover_.id;
    picture.brushShown = brush_.shown;
    picture.brushPosition = brush_.position;
    picture.brushSize = brush_.size;
    picture.divisor = switches::blurDivisor;
    picture.threshold = switches::confidenceThreshold;
    picture.editingMode = switches::editingMode;
    return picture;
}

bool CanvasInteraction::hovering() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return hover_.set;
}

view::Mapping CanvasInteraction::mapping() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return mappingNow();
}

view::Mapping CanvasInteraction::mappingNow() const {
    if (!frame_)
        return {};
    return {window_, {frame_->image.width, frame_->image.height}};
}

view::Rect CanvasInteraction::brushSquare() const {
    const view::Mapping mapping = mappingNow();
    if (!mapping.valid())
        return {};
    return brush::square(mapping.videoPixel(brush_.position), brush_.size, mapping.frame());
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
    brush_.id = nextBrushId++;
    brush_.size = switches::brushSize;
    brush_.position = position;
    brush_.shown = true;
    wxLogMessage("[VideoCanvas] New Blur Brush id:% lld", number(brush_.id));
}

void CanvasInteraction::moveBrush(view::Point position) {
    bool used = false;
    {
        const auto storeLock = lockStoreSoon();
        used = storeLock.owns_lock() && blurtrack::spanOf(brush_.id).has_value();
    }
    // A recording leaves its brush on the screen. An id has one rectangle per frame, so clicking on with the
    // same brush would paint nothing.
    if (used)
        newBrush(position);
    else
        brush_.position = position;
}

int64_t CanvasInteraction::newBlur() {
    currentBlurId_ = blurtrack::kNoBlurId;
    newBlurRect_ = brushSquare();
    if (newBlurRect_.empty())
        return currentBlurId_;
    const auto storeLock = lockStoreSoon();
    if (!storeLock.owns_lock()) {
        wxLogMessage("[VideoCanvas] Blur not painted, the blurs are in use id:%lld frame: %lld",
                     number(brush_.id), number(frame_->index));
        return currentBlurId_;
    }
    const blurtrack::BlurEntry entry =
        blurtrack::addBlur(frame_->index, toFloats(newBlurRect_), blurtrack::kBrushScore, brush_.id);
    currentBlurId_ = entry.id;
    newBlurRect_ = {entry.x, entry.y, entry.w, entry.h};
    wxLogMessage("[VideoCanvas] New Blur id:%lld frame: %lld(%d, %d, %d, %d)", number(entry.id),
                 number(frame_->index), entry.x, entry.y, entry.w, entry.h);
    return currentBlurId_;
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
            moveBrush(position);
    } else if (!hover_.set && hitTest(position) == Hit::No) {
        newBrush(position);
    }
}

void CanvasInteraction::pressInside(view::Point position, bool playing, CanvasEffects& effects) {
    pressFrame_ = frame_->index;
    if (playing) {
        if (!brush_.shown)
            return;
        newBrush(position);
        if (newBlur() != blurtrack::kNoBlurId) {
            recordedFrame_ = frame_->index;
            recording_ = true;
        }
    } else if (brush_.shown) {
        brush_.position = position;
        newBlur();
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
    if (hitTest(position) == Hit::No)
        brush_.shown = false;
}

void CanvasInteraction::tellHint(CanvasEffects& effects) {
    CanvasEffects::Hint hint;
    if (hover_.set)
        hint = {kHintSelected, hover_.id};
    else if (brush_.shown && recording_)
        hint = {kHintRecording, currentBlurId_};
    if (hint.key == hintShown_.key && hint.blurId == hintShown_.blurId)
        return;
    hintShown_ = hint;
    effects.hint = hint;
}
