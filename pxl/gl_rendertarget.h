#pragma once

#include "pxl/gl_names.h"
#include "pxl/render.h"

namespace pxl {

/// A framebuffer object with one colour texture.
class GLRenderTarget : public RenderTarget {
public:
    GLRenderTarget(gl::FramebufferName framebuffer, std::shared_ptr<Texture> texture);

    int32_t width() const override { return size().width; }
    int32_t height() const override { return size().height; }
    Size size() const override;
    void clear(Color color) override;
    std::shared_ptr<Texture> texture() const override { return texture_; }

    GLuint framebuffer() const { return framebuffer_.get(); }

private:
    std::shared_ptr<Texture> texture_;
    gl::FramebufferName framebuffer_;
};

} // namespace pxl
