#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "blurtrack.h"
#include "canvasinteraction.h"
#include "pxl/batch.h"
#include "pxl/image.h"
#include "viewmapping.h"

/// Draws the canvas: the picture letter-boxed, the mosaic of every blur of its frame with a frame around it,
/// the brush, the highlighted blur, and the controls on top. Thread and context rules of the render objects.
class CanvasPainter {
public:
    using MakeTexture = std::function<std::shared_ptr<pxl::Texture>(uint32_t width, uint32_t height)>;
    /// Adds the controls to the batch, in window pixels.
    using DrawControls = std::function<void(pxl::Batch&)>;

    struct Outcome {
        /// False: the blur store was held, and what was known of the frame's blurs has been drawn instead.
        /// Paint again a little later.
        bool blursCurrent = true;
        /// False: there is a picture and the driver refused a texture for it (not tried again before a
        /// picture of another size comes or `forgetPicture`), or there is no memory (tried again with the
        /// next picture). Logged once.
        bool pictureShown = true;
    };

    /// Draws into `target`, with a batch and textures of the rendering layer.
    explicit CanvasPainter(std::shared_ptr<pxl::RenderTarget> target);
    /// With another batch and other textures; for tests without a context.
    CanvasPainter(std::shared_ptr<pxl::RenderTarget> target, std::unique_ptr<pxl::Batch> batch,
                  MakeTexture makeTexture);

    /// One paint, without the swap of buffers. `window` in window pixels, which may be fewer than the
    /// target's physical ones. Waits for the blur store for a moment when the frame's blurs are not known
    /// yet, else not at all. Takes no lock while `controls` runs.
    Outcome paint(const CanvasPicture& picture, view::Size window, const DrawControls& controls);

    /// Lets go of the last drawn picture. Needs no context.
    void forgetPicture();

    bool valid() const { return batch_->valid(); }
    const pxl::Batch& batch() const { return *batch_; }
    /// Index of the texture slot drawn from last.
    int slot() const { return slot_; }

private:
    struct Slot {
        std::shared_ptr<pxl::Texture> frame;
        std::shared_ptr<pxl::Texture> mosaic;
    };

    /// False when the picture can't be shown.
    bool tryToLoad(const CanvasPicture& picture);
    /// Expects that the picture drawn last could be shown, or is another one.
    bool loadPicture(const CanvasPicture& picture);
    bool fitSlot(Slot& slot, const pxl::Image& image);
    void writeFrame(pxl::Texture& texture, const pxl::Image& image);
    void writeMosaic(pxl::Texture& texture, const pxl::Image& image, int32_t block);
    bool copyEntries(int64_t frame);
    void drawPicture(const CanvasPicture& picture, const view::Mapping& mapping);
    /// As much of the picture's texture as the rectangle shows, and four bars around the rectangle, which
    /// may reach out of the picture.
    void drawPatch(const std::shared_ptr<pxl::Texture>& texture, const view::Rect& rect,
                   pxl::Color frameColor, view::Size frame);
    /// Nothing for a bar that a narrow rectangle leaves no room for.
    void drawBar(const pxl::RectF& bar, pxl::Color color);

    std::shared_ptr<pxl::RenderTarget> target_;
    std::unique_ptr<pxl::Batch> batch_;
    MakeTexture makeTexture_;
    std::array<Slot, 2> slots_;
    int slot_ = 1;
    /// Kept alive: its memory given back, the next frame could come to lie at the same address and pass for
    /// this one.
    std::shared_ptr<VideoPlayer::Frame> lastDrawn_;
    int32_t lastDivisor_ = 0;
    /// Size of the pictures that can't be shown.
    view::Size refused_;
    /// There was no memory for the picture drawn last.
    bool memoryShort_ = false;
    pxl::Image scratch_;
    static constexpr int64_t kNoFrame = 0;
    /// The blurs of frame `entriesFrame_` as they were copied last; none while that is kNoFrame.
    std::vector<blurtrack::BlurEntry> entries_;
    int64_t entriesFrame_ = kNoFrame;
};
