#pragma once

#include <atomic>
#include <cstdint>

#include "pxl/render.h"

/// The canvas window's default framebuffer as a render target. Sizes are physical pixels; `resize` and the
/// readers may run on different threads and always see a width and a height that belong together.
class Backbuffer : public pxl::RenderTarget {
public:
    explicit Backbuffer(pxl::Size size);

    /// Width in the high half, height in the low half.
    uint64_t packed() const { return packed_; }
    void resize(pxl::Size size);

    int32_t width() const override { return size().width; }
    int32_t height() const override { return size().height; }
    pxl::Size size() const override;
    void clear(pxl::Color color) override;
    /// Empty: a window has no texture.
    std::shared_ptr<pxl::Texture> texture() const override;

private:
    std::atomic<uint64_t> packed_;
};
