#pragma once

#include "pxl/gl_names.h"
#include "pxl/render.h"

namespace pxl {

class GLTexture : public Texture {
public:
    /// Takes over a texture of that size and the buffer that map() opens.
    GLTexture(gl::TextureName texture, gl::BufferName unpackBuffer, uint32_t width, uint32_t height,
              uint8_t flipped);

    uint32_t width() const override { return width_; }
    uint32_t height() const override { return height_; }
    uint32_t nativeName() const override { return texture_.get(); }
    void upload(const void* pixels) override;
    uint8_t flipped() const override { return flipped_; }
    Mapping map() override;
    bool unmap() override;

private:
    /// From client memory, or from an offset into the bound unpack buffer.
    void replacePixels(const void* pixels);

    gl::TextureName texture_;
    gl::BufferName unpackBuffer_;
    uint32_t width_;
    uint32_t height_;
    GLenum format_ = GL_RGBA;
    GLenum type_ = GL_UNSIGNED_BYTE;
    uint8_t flipped_;
    bool mapped_ = false;
};

/// createTexture with the flipped flag of its content.
std::shared_ptr<Texture> createGLTexture(uint32_t width, uint32_t height, uint8_t flipped);

} // namespace pxl
