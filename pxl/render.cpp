#include "pxl/render.h"

#include <utility>

namespace pxl {

namespace {

std::shared_ptr<RenderTarget>& currentTarget() {
    static std::shared_ptr<RenderTarget> target;
    return target;
}

} // namespace

uint32_t uniformFloats(UniformKind kind) {
    switch (kind) {
    case UniformKind::Float:
        return 1;
    case UniformKind::Vec2:
        return 2;
    case UniformKind::Vec3:
        return 3;
    case UniformKind::Vec4:
        return 4;
    case UniformKind::Mat2x3:
        return 6;
    case UniformKind::Mat4:
        return 16;
    case UniformKind::None:
    case UniformKind::Sampler2D:
    case UniformKind::SamplerSettings:
        break;
    }
    return 0;
}

uint32_t vertexElementSize(VertexElement kind) {
    switch (kind) {
    case VertexElement::Float1:
        return 4;
    case VertexElement::Float2:
        return 8;
    case VertexElement::Float3:
        return 12;
    case VertexElement::Float4:
        return 16;
    case VertexElement::Byte2:
    case VertexElement::UByte2:
        return 2;
    case VertexElement::Byte4:
    case VertexElement::UByte4:
    case VertexElement::Short2:
    case VertexElement::UShort2:
        return 4;
    case VertexElement::Short4:
    case VertexElement::UShort4:
        return 8;
    }
    return 0;
}

bool VertexLayout::add(uint32_t location, VertexElement kind, bool normalised) {
    if (count == maxAttributes)
        return false;
    attributes[count++] = {location, kind, static_cast<uint8_t>(normalised ? 1 : 0)};
    stride += vertexElementSize(kind);
    return true;
}

void setCurrentRenderTarget(std::shared_ptr<RenderTarget> target) {
    currentTarget() = std::move(target);
}

std::shared_ptr<RenderTarget> currentRenderTarget() {
    return currentTarget();
}

} // namespace pxl
