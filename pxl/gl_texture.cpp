#include "pxl/gl_texture.h"

#include "pxl/log.h"

#include <string>

namespace pxl {

namespace {

std::shared_ptr<Texture> refuse(uint32_t width, uint32_t height, const char* reason) {
    log::error("Texture creation failed: " + std::to_string(width) + "x" + std::to_string(height) + ", " +
               reason);
    return nullptr;
}

/// Errors of earlier calls would be taken for the next call's. A lost context has errors without end.
void forgetErrors() {
    for (int i = 0; i < 16 && glGetError() != GL_NO_ERROR; ++i) {
    }
}

} // namespace

GLTexture::GLTexture(gl::TextureName texture, gl::BufferName unpackBuffer, uint32_t width, uint32_t height,
                     uint8_t flipped)
    : texture_(std::move(texture)), unpackBuffer_(std::move(unpackBuffer)), width_(width), height_(height),
      flipped_(flipped) {}

void GLTexture::replacePixels(const void* pixels) {
    glBindTexture(GL_TEXTURE_2D, texture_.get());
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, static_cast<GLsizei>(width_), static_cast<GLsizei>(height_),
                    format_, type_, pixels);
    glBindTexture(GL_TEXTURE_2D, 0);
}

void GLTexture::upload(const void* pixels) {
    if (pixels == nullptr) {
        log::error("Could not upload texture: no pixels");
        return;
    }
    replacePixels(pixels);
}

Texture::Mapping GLTexture::map() {
    if (mapped_) {
        log::error("Could not map texture: it is mapped already");
        return {};
    }
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, unpackBuffer_.get());
    void* memory = glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY);
    // Left bound, it would turn the client memory of an upload of another texture into an offset.
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    if (memory == nullptr) {
        log::error("Could not map texture");
        return {};
    }
    mapped_ = true;
    return {static_cast<uint8_t*>(memory), width_ * 4};
}

bool GLTexture::unmap() {
    if (!mapped_)
        return true;
    mapped_ = false;
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, unpackBuffer_.get());
    const bool kept = glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER) == GL_TRUE;
    if (kept) {
        glActiveTexture(GL_TEXTURE0);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        replacePixels(nullptr);
    } else {
        log::error("Could not upload texture: the mapped memory was lost");
    }
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    return kept;
}

std::shared_ptr<Texture> createGLTexture(uint32_t width, uint32_t height, uint8_t flipped) {
    GLint maxSize = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxSize);
    const auto limit = static_cast<uint32_t>(maxSize);
    if (width < 1 || height < 1)
        return refuse(width, height, "the size is empty");
    if (width > limit || height > limit)
        return refuse(width, height, "larger than the driver allows");

    forgetErrors();
    gl::TextureName texture = gl::makeTexture();
    // A context that is lost.
    if (!texture)
        return refuse(width, height, "no name");
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, texture.get());
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, static_cast<GLsizei>(width), static_cast<GLsizei>(height), 0,
                 GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    gl::BufferName unpackBuffer = gl::makeBuffer();
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, unpackBuffer.get());
    glBufferData(GL_PIXEL_UNPACK_BUFFER, static_cast<GLsizeiptr>(width) * height * 4, nullptr,
                 GL_STREAM_DRAW);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    glBindTexture(GL_TEXTURE_2D, 0);
    if (glGetError() != GL_NO_ERROR)
        return refuse(width, height, "the driver has no memory for it");
    return std::shared_ptr<Texture>(
        std::make_unique<GLTexture>(std::move(texture), std::move(unpackBuffer), width, height, flipped));
}

std::shared_ptr<Texture> createTexture(uint32_t width, uint32_t height) {
    return createGLTexture(width, height, 0);
}

} // namespace pxl
