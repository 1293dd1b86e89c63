#include "canvaspainter.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include <wx/log.h>

#include "blurprocessors.h"
#include "brush.h"
#include "canvasstore.h"
#include "pxl/material.h"
#include "switches.h"

namespace {

constexpr pxl::Color kBackground{32, 32, 32, 255};
constexpr pxl::Color kWhite{255, 255, 255, 255};
/// White times 0.3, truncated.
constexpr pxl::Color kBlurFrame{76, 76, 76, 76};
constexpr float kFrameThickness = 4;

pxl::RectF rectF(int32_t x, int32_t y, int32_t width, int32_t height) {
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(width),
            static_cast<float>(height)};
}

/// Window pixels to clip space, y downward.
void setProjection(pxl::Material& material, view::Size window) {
    const float width = static_cast<float>(std::max(window.width, 1));
    const float height = static_cast<float>(std::max(window.height, 1));
    const float matrix[16] = {2 / width,     0, 0, 0, 0, -2 / height, 0, 0, 0, 0, -0.0010000100592f, 0, -1, 1,
                              -1.00001e-05f, 1};
    material.setMatrix("u_matrix", matrix);
}

/// The part of a rectangle that lies in the picture; its edges may lie beyond 32 bits.
view::Rect clipped(const view::Rect& rect, view::Size frame) {
    const int64_t left = std::max<int64_t>(rect.x, 0);
    const int64_t top = std::max<int64_t>(rect.y, 0);
    const int64_t right = std::min<int64_t>(int64_t{rect.x} + rect.w, frame.width);
    const int64_t bottom = std::min<int64_t>(int64_t{rect.y} + rect.h, frame.height);
    if (right <= left || bottom <= top)
        return {};
    return {static_cast<int32_t>(left), static_cast<int32_t>(top), static_cast<int32_t>(right - left),
            static_cast<int32_t>(bottom - top)};
}

} // namespace

CanvasPainter::CanvasPainter(std::shared_ptr<pxl::RenderTarget> target)
    : CanvasPainter(std::move(target), std::make_unique<pxl::Batch>(),
                    [](uint32_t width, uint32_t height) { return pxl::createTexture(width, height); }) {}

CanvasPainter::CanvasPainter(std::shared_ptr<pxl::RenderTarget> target, std::unique_ptr<pxl::Batch> batch,
                             MakeTexture makeTexture)
    : target_(std::move(target)), batch_(std::move(batch)), makeTexture_(std::move(makeTexture)) {
    batch_->setTarget(target_);
}

CanvasPainter::Outcome CanvasPainter::paint(const CanvasPicture& picture, view::Size window,
                                            const DrawControls& controls) {
    Outcome outcome;
    target_->clear(kBackground);
    if (!batch_->valid())
        return outcome;
    // Before anything is drawn: every change of texture draws what is pending.
    setProjection(*batch_->material(), window);
    if (!picture.frame) {
        forgetPicture();
    } else {
        outcome.pictureShown = tryToLoad(picture);
        outcome.blursCurrent = copyEntries(picture.frame->index);
        const pxl::Image& image = picture.frame->image;
        const view::Mapping mapping(window, {image.width, image.height});
        if (mapping.valid() && outcome.pictureShown)
            drawPicture(picture, mapping);
    }
    batch_->setTransform({});
    controls(*batch_);
    batch_->flush();
    return outcome;
}

void CanvasPainter::forgetPicture() {
    lastDrawn_.reset();
    refused_ = {};
    memoryShort_ = false;
    entries_.clear();
    entriesFrame_ = kNoFrame;
}

bool CanvasPainter::tryToLoad(const CanvasPicture& picture) {
    const pxl::Image& image = picture.frame->image;
    const bool sizeRefused = image.width == refused_.width && image.height == refused_.height;
    if (image.empty() || sizeRefused || (memoryShort_ && picture.frame == lastDrawn_)) {
        lastDrawn_ = picture.frame;
        return false;
    }
    try {
        const bool loaded = loadPicture(picture);
        refused_ = loaded ? view::Size{} : view::Size{image.width, image.height};
        if (!loaded)
            wxLogError("[VideoCanvas] The graphics driver refuses a texture of %d x %d", image.width,
                       image.height);
        memoryShort_ = false;
        return loaded;
    } catch (const std::bad_alloc&) {
        if (!std::exchange(memoryShort_, true))
            wxLogError("[VideoCanvas] No memory to show a frame of %d x %d", image.width, image.height);
        // One of them may still be mapped.
        slots_ = {};
        scratch_ = {};
        return false;
    }
}

bool CanvasPainter::loadPicture(const CanvasPicture& picture) {
    const pxl::Image& image = picture.frame->image;
    const bool isNew = picture.frame != lastDrawn_;
    const bool divisorChanged = picture.divisor != lastDivisor_;
    if (!isNew && !divisorChanged)
        return true;
    if (isNew)
        slot_ = 1 - slot_;
    lastDrawn_ = picture.frame;
    lastDivisor_ = picture.divisor;
    Slot& slot = slots_[static_cast<std::size_t>(slot_)];
    if (!fitSlot(slot, image))
        return false;
    if (isNew)
        writeFrame(*slot.frame, image);
    writeMosaic(*slot.mosaic, image, mosaicBlockSize(image.width, image.height, picture.divisor));
    return true;
}

bool CanvasPainter::fitSlot(Slot& slot, const pxl::Image& image) {
    const auto width = static_cast<uint32_t>(image.width);
    const auto height = static_cast<uint32_t>(image.height);
    for (std::shared_ptr<pxl::Texture>* texture : {&slot.frame, &slot.mosaic})
        if (!*texture || (*texture)->width() != width || (*texture)->height() != height)
            *texture = makeTexture_(width, height);
    return slot.frame && slot.mosaic;
}

void CanvasPainter::writeFrame(pxl::Texture& texture, const pxl::Image& image) {
    const pxl::Texture::Mapping mapping = texture.map();
    if (mapping)
        std::memcpy(mapping.pixels, image.pixels, image.byteCount());
    if (!mapping || !texture.unmap())
        texture.upload(image.pixels);
}

void CanvasPainter::writeMosaic(pxl::Texture& texture, const pxl::Image& image, int32_t block) {
    const pxl::Texture::Mapping mapping = texture.map();
    const bool aligned = reinterpret_cast<std::uintptr_t>(mapping.pixels) % sizeof(uint32_t) == 0;
    const bool mappedDirectly = mapping && aligned && mapping.pitch == static_cast<uint32_t>(image.width) * 4;
    if (mappedDirectly) {
        void* pixels = mapping.pixels;
        pixelate(image, static_cast<uint32_t*>(pixels), block);
        if (texture.unmap())
            return;
    }
    const bool writable = mapping && !mappedDirectly;
    if (scratch_.width != image.width || scratch_.height != image.height)
        scratch_ = pxl::Image(image.width, image.height);
    pixelate(image, scratch_.pixels, block);
    if (writable)
        std::memcpy(mapping.pixels, scratch_.pixels, scratch_.byteCount());
    if (!writable || !texture.unmap())
        texture.upload(scratch_.pixels);
}

bool CanvasPainter::copyEntries(int64_t frame) {
    const bool known = frame == entriesFrame_;
    // Most who hold the store do so for microseconds; drawn without waiting for them, a new frame would flash
    // up without its blurs.
    const auto lock =
        known ? std::unique_lock<std::mutex>(blurtrack::store().mutex, std::try_to_lock) : lockStoreSoon();
    if (lock.owns_lock()) {
        const auto& entries = blurtrack::entriesAt(frame);
        entries_.assign(entries.begin(), entries.end());
        entriesFrame_ = frame;
    } else if (!known) {
        entries_.clear();
        entriesFrame_ = kNoFrame;
    }
    return lock.owns_lock();
}

void CanvasPainter::drawPicture(const CanvasPicture& picture, const view::Mapping& mapping) {
    const Slot& slot = slots_[static_cast<std::size_t>(slot_)];
    const bool unblur = picture.editingMode == switches::kUnblurMode;
    const auto& base = unblur ? slot.mosaic : slot.frame;
    const auto& patch = unblur ? slot.frame : slot.mosaic;
    const view::Size frame = mapping.frame();
    batch_->setTransform({mapping.scale(), 0, 0, mapping.scale(), mapping.origin().x, mapping.origin().y});
    batch_->drawTexture(base, rectF(0, 0, frame.width, frame.height), {0, 0, 1, 1}, kWhite);

    for (const blurtrack::BlurEntry& entry : entries_)
        if (entry.id != blurtrack::kAnonymousBlurId || entry.score >= picture.threshold)
            drawPatch(patch, {entry.x, entry.y, entry.w, entry.h}, kBlurFrame, frame);
    if (picture.brushShown) {
        const view::Rect square =
            brush::square(mapping.videoPixel(picture.brushPosition), picture.brushSize, frame);
        if (!square.empty())
            drawPatch(patch, square, kWhite, frame);
    }
    if (picture.hovering) {
        const auto hovered =
            std::find_if(entries_.begin(), entries_.end(),
                         [&](const blurtrack::BlurEntry& entry) { return entry.id == picture.hoverId; });
        if (hovered != entries_.end())
            drawPatch(patch, {hovered->x, hovered->y, hovered->w, hovered->h}, kWhite, frame);
    }
}

void CanvasPainter::drawPatch(const std::shared_ptr<pxl::Texture>& texture, const view::Rect& rect,
                              pxl::Color frameColor, view::Size frame) {
    const view::Rect inside = clipped(rect, frame);
    if (!inside.empty()) {
        const auto width = static_cast<float>(frame.width);
        const auto height = static_cast<float>(frame.height);
        const pxl::RectF place = rectF(inside.x, inside.y, inside.w, inside.h);
        batch_->drawTexture(texture, place,
                            {place.x / width, place.y / height, place.width / width, place.height / height},
                            kWhite);
    }
    const pxl::RectF whole = rectF(rect.x, rect.y, rect.w, rect.h);
    const float right = whole.x + whole.width - kFrameThickness;
    const float bottom = whole.y + whole.height - kFrameThickness;
    const float between = whole.width - 2 * kFrameThickness;
    drawBar({whole.x, whole.y, kFrameThickness, whole.height}, frameColor);
    drawBar({right, whole.y, kFrameThickness, whole.height}, frameColor);
    drawBar({whole.x + kFrameThickness, whole.y, between, kFrameThickness}, frameColor);
    drawBar({whole.x + kFrameThickness, bottom, between, kFrameThickness}, frameColor);
}

void CanvasPainter::drawBar(const pxl::RectF& bar, pxl::Color color) {
    if (bar.width > 0 && bar.height > 0)
        batch_->fillRect(bar, color);
}
