#pragma once

#include "pxl/geometry.h"
#include "pxl/render.h"

#include <array>
#include <cstdint>
#include <vector>

namespace pxl {

struct BatchVertex {
    Vec2 position;
    Vec2 tex;
    Color color;
    /// (1, 0): texture × colour; (0, 1): the colour alone.
    Vec2 mask;
};

/// The layout of BatchVertex, matching the program's vertex shader.
const VertexLayout& batchVertexLayout();

constexpr Vec2 maskTextured{1, 0};
constexpr Vec2 maskFlat{0, 1};

/// Triangles on their way into one draw call. Points are given in the transform's source space. Keeps its
/// memory when emptied.
class BatchGeometry {
public:
    Affine transform;
    /// True turns every texture v of the following quads into 1 − v.
    bool flipped = false;

    /// Corners in turn around the quad: its triangles are 0-1-2 and 0-2-3.
    void addQuad(const std::array<Vec2, 4>& corners, const std::array<Vec2, 4>& tex,
                 const std::array<Color, 4>& colors, Vec2 mask);
    /// Flat colours, blended between the corners.
    void addTriangle(const std::array<Vec2, 3>& corners, const std::array<Color, 3>& colors);
    /// Fan of 24 triangles.
    void addCircle(Vec2 centre, float radius, Color centreColor, Color rimColor);

    void clear();
    bool empty() const { return indices_.empty(); }
    const std::vector<BatchVertex>& vertices() const { return vertices_; }
    const std::vector<uint32_t>& indices() const { return indices_; }

private:
    std::vector<BatchVertex> vertices_;
    std::vector<uint32_t> indices_;
};

} // namespace pxl
