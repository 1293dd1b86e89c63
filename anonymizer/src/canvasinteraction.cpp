#include "canvasinteraction.h"

#include <chrono>
#include <thread>
#include <utility>

#include "brush.h"
#include "canvasstore.h"
#include "hints.h"
#include "switches.h"

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
    recordedFrame_ = 0;
    playedFrom_ = 0;
    unstored_.clear();
    recording_.exchange(false);
    effects.stopTimer = true;
    effects.clearLayoutHover = true;
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
    storeKept(storeLock);
    if (std::exchange(hover_.set, false)) {
        if (const auto span = blurtrack::spanOf(hover_.id))
            blurtrack::delBlur(hover_.id, span->startFrame);
    }
    effects.clearLayoutHover = true;
    effects.repaint = true;
    tellHint(effects);
    return effects;
}

CanvasEffects CanvasInteraction::settle() {
    CanvasEffects effects;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (hover_.set || !unstored_.empty()) {
        const auto storeLock = lockStoreSoon();
        storeKept(storeLock);
        if (hover_.set && storeLock.owns_lock() && !blurtrack::spanOf(hover_.id))
            hover_.set = false;
    }
    effects.repaint = true;
    tellHint(effects);
    return effects;
}

bool CanvasInteraction::hasUnstored() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return !unstored_.empty();
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

void CanvasInteraction::tellHint(CanvasEffects& effects) {
    CanvasEffects::Hint hint;
    if (hover_.set)
        hint = {kHintSelected, hover_.id};
    else if (brush_.shown && recording_ && currentBlurId_ != blurtrack::kNoBlurId)
        hint = {kHintRecording, currentBlurId_};
    if (hint.key == hintShown_.key && hint.blurId == hintShown_.blurId)
        return;
    hintShown_ = hint;
    effects.hint = hint;
}
