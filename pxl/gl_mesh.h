#pragma once

#include "pxl/gl_names.h"
#include "pxl/render.h"

namespace pxl {

class GLMesh : public Mesh {
public:
    explicit GLMesh(gl::VertexArrayName vertexArray);

    void setIndices(IndexFormat format, const void* data, uint32_t count) override;
    void setVertices(const VertexLayout& layout, const void* data, uint32_t count) override;
    uint32_t indexCount() const override { return indexCount_; }
    uint32_t vertexCount() const override { return vertexCount_; }

    /// glDrawElements over indices that exist.
    void drawTriangles(uint32_t firstIndex, uint32_t count) const;

    GLuint vertexBuffer() const { return vertexBuffer_.get(); }
    uint16_t stride() const { return stride_; }

private:
    gl::VertexArrayName vertexArray_;
    gl::BufferName vertexBuffer_;
    gl::BufferName indexBuffer_;
    uint32_t vertexCount_ = 0;
    uint32_t indexCount_ = 0;
    uint16_t stride_ = 0;
    GLenum indexType_ = GL_UNSIGNED_SHORT;
    uint32_t indexSize_ = 2;
};

} // namespace pxl
