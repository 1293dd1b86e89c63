#include "pxl/gl_rendertarget.h"

#include "pxl/gl_texture.h"
#include "pxl/log.h"

namespace pxl {

namespace {

void clearFramebuffer(GLuint framebuffer, Color color) {
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glDisable(GL_SCISSOR_TEST);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glClearColor(static_cast<float>(color.r) / 255.0f, static_cast<float>(color.g) / 255.0f,
                 static_cast<float>(color.b) / 255.0f, static_cast<float>(color.a) / 255.0f);
    glClearDepth(0);
    glClearStencil(0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
}

} // namespace

GLRenderTarget::GLRenderTarget(gl::FramebufferName framebuffer, std::shared_ptr<Texture> texture)
    : texture_(std::move(texture)), framebuffer_(std::move(framebuffer)) {}

Size GLRenderTarget::size() const {
    return {static_cast<int32_t>(texture_->width()), static_cast<int32_t>(texture_->height())};
}

void GLRenderTarget::clear(Color color) {
    clearFramebuffer(framebuffer_.get(), color);
}

std::shared_ptr<RenderTarget> createRenderTarget(uint32_t width, uint32_t height) {
    std::shared_ptr<Texture> texture = createGLTexture(width, height, 1);
    if (!texture)
        return nullptr;
    gl::FramebufferName framebuffer = gl::makeFramebuffer();
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer.get());
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture->nativeName(), 0);
    const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    if (status != GL_FRAMEBUFFER_COMPLETE) {
        log::error("Render target creation failed");
        return nullptr;
    }
    return std::shared_ptr<RenderTarget>(
        std::make_unique<GLRenderTarget>(std::move(framebuffer), std::move(texture)));
}

void clearWindow(Color color) {
    clearFramebuffer(0, color);
}

} // namespace pxl
