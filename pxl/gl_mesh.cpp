#include "pxl/gl_mesh.h"

#include "pxl/log.h"

#include <algorithm>

namespace pxl {

namespace {

struct ElementFormat {
    GLint components;
    GLenum type;
};

ElementFormat formatOf(VertexElement kind) {
    switch (kind) {
    case VertexElement::Float1:
        return {1, GL_FLOAT};
    case VertexElement::Float2:
        return {2, GL_FLOAT};
    case VertexElement::Float3:
        return {3, GL_FLOAT};
    case VertexElement::Float4:
        return {4, GL_FLOAT};
    case VertexElement::Byte2:
        return {2, GL_BYTE};
    case VertexElement::Byte4:
        return {4, GL_BYTE};
    case VertexElement::UByte4:
        return {4, GL_UNSIGNED_BYTE};
    case VertexElement::UByte2:
        return {2, GL_UNSIGNED_BYTE};
    case VertexElement::Short2:
        return {2, GL_SHORT};
    case VertexElement::UShort2:
        return {2, GL_UNSIGNED_SHORT};
    case VertexElement::Short4:
        return {4, GL_SHORT};
    case VertexElement::UShort4:
        return {4, GL_UNSIGNED_SHORT};
    }
    return {1, GL_UNSIGNED_BYTE};
}

const void* bufferOffset(uintptr_t offset) {
    return reinterpret_cast<const void*>(offset);
}

} // namespace

GLMesh::GLMesh(gl::VertexArrayName vertexArray) : vertexArray_(std::move(vertexArray)) {}

void GLMesh::setIndices(IndexFormat format, const void* data, uint32_t count) {
    indexType_ = format == IndexFormat::UInt16 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT;
    indexSize_ = format == IndexFormat::UInt16 ? 2 : 4;
    indexCount_ = count;
    glBindVertexArray(vertexArray_.get());
    if (!indexBuffer_)
        indexBuffer_ = gl::makeBuffer();
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indexBuffer_.get());
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(indexSize_) * count, data, GL_DYNAMIC_DRAW);
    glBindVertexArray(0);
}

void GLMesh::setVertices(const VertexLayout& layout, const void* data, uint32_t count) {
    stride_ = static_cast<uint16_t>(layout.stride);
    vertexCount_ = count;
    glBindVertexArray(vertexArray_.get());
    if (!vertexBuffer_)
        vertexBuffer_ = gl::makeBuffer();
    glBindBuffer(GL_ARRAY_BUFFER, vertexBuffer_.get());
    uintptr_t offset = 0;
    for (uint32_t i = 0; i < std::min(layout.count, VertexLayout::maxAttributes); ++i) {
        const VertexAttribute& attribute = layout.attributes[i];
        const ElementFormat format = formatOf(attribute.kind);
        glEnableVertexAttribArray(attribute.location);
        glVertexAttribPointer(attribute.location, format.components, format.type,
                              attribute.normalised != 0 ? GL_TRUE : GL_FALSE, stride_, bufferOffset(offset));
        glVertexAttribDivisor(attribute.location, 0);
        offset += vertexElementSize(attribute.kind);
    }
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(stride_) * count, data, GL_DYNAMIC_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindVertexArray(0);
}

void GLMesh::drawTriangles(uint32_t firstIndex, uint32_t count) const {
    glBindVertexArray(vertexArray_.get());
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indexBuffer_.get());
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(count), indexType_,
                   bufferOffset(uintptr_t{firstIndex} * indexSize_));
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    glBindVertexArray(0);
}

std::shared_ptr<Mesh> createMesh() {
    gl::VertexArrayName vertexArray = gl::makeVertexArray();
    if (!vertexArray) {
        log::error("Mesh creation failed");
        return nullptr;
    }
    return std::shared_ptr<Mesh>(std::make_unique<GLMesh>(std::move(vertexArray)));
}

} // namespace pxl
