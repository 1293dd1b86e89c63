#include "pxl/batch_geometry.h"

#include <cmath>
#include <cstddef>

namespace pxl {

static_assert(sizeof(BatchVertex) == 28);
static_assert(offsetof(BatchVertex, tex) == 8);
static_assert(offsetof(BatchVertex, color) == 16);
static_assert(offsetof(BatchVertex, mask) == 20);

const VertexLayout& batchVertexLayout() {
    static const VertexLayout layout = [] {
        VertexLayout result;
        result.add(0, VertexElement::Float2);
        result.add(1, VertexElement::Float2);
        result.add(2, VertexElement::UByte4, true);
        result.add(3, VertexElement::Float2);
        return result;
    }();
    return layout;
}

void BatchGeometry::addQuad(const std::array<Vec2, 4>& corners, const std::array<Vec2, 4>& tex,
                            const std::array<Color, 4>& colors, Vec2 mask) {
    const auto base = static_cast<uint32_t>(vertices_.size());
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Vec2 uv = flipped ? Vec2{tex[i].x, 1 - tex[i].y} : tex[i];
        vertices_.push_back({transform.apply(corners[i]), uv, colors[i], mask});
    }
    indices_.insert(indices_.end(), {base + 0, base + 1, base + 2, base + 0, base + 2, base + 3});
}

void BatchGeometry::addTriangle(const std::array<Vec2, 3>& corners, const std::array<Color, 3>& colors) {
    const auto base = static_cast<uint32_t>(vertices_.size());
    for (std::size_t i = 0; i < corners.size(); ++i)
        vertices_.push_back({transform.apply(corners[i]), Vec2{0, 0}, colors[i], maskFlat});
    indices_.insert(indices_.end(), {base + 0, base + 1, base + 2});
}

void BatchGeometry::addCircle(Vec2 centre, float radius, Color centreColor, Color rimColor) {
    constexpr int segments = 24;
    constexpr float fullTurn = 6.2831855f;
    Vec2 previous{centre.x + radius, centre.y};
    for (int i = 1; i <= segments; ++i) {
        const float angle = static_cast<float>(i) / segments * fullTurn;
        const Vec2 rim{centre.x + std::cos(angle) * radius, centre.y + std::sin(angle) * radius};
        addTriangle({previous, rim, centre}, {rimColor, rimColor, centreColor});
        previous = rim;
    }
}

void BatchGeometry::clear() {
    vertices_.clear();
    indices_.clear();
}

} // namespace pxl
