#pragma once

#include "pxl/batch_geometry.h"
#include "pxl/geometry.h"
#include "pxl/render.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace pxl {

class Material;

/// A rectangle of a texture, in its pixels from the top left.
struct ImageRegion {
    std::shared_ptr<Texture> texture;
    RectF rect;

    /// The whole texture; an empty texture gives an empty region.
    static ImageRegion whole(std::shared_ptr<Texture> texture);
};

/// Lets the batch take the flipped flag of textures that were drawn into. On at first; process-wide.
void setFlippingEnabled(bool enabled);
bool flippingEnabled();

/// Collects triangles and draws them in one call per change of texture plus one at the end. Flat colours
/// change no texture, so they never cost a call. Same thread and context rules as the render objects.
///
/// A paint: set "u_matrix" of the material (a change of texture draws long before the end), setTransform,
/// draw whatever there is, flush.
class Batch {
public:
    /// What reaches the graphics card; pxl::draw unless a test listens in.
    using DrawFunction = std::function<void(RenderTarget&, const Material&, const Mesh&, uint32_t firstIndex,
                                            uint32_t indexCount)>;

    /// Makes its own mesh and, with the program's shader, its material. See valid().
    Batch();
    /// With either pointer empty the batch collects geometry (see pending()) and draws nothing, which needs
    /// no context.
    Batch(std::shared_ptr<Material> material, std::shared_ptr<Mesh> mesh, DrawFunction drawFunction = draw);
    ~Batch();
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    /// False when the shader or the mesh is missing (logged when it could not be made): every operation is
    /// harmless then and nothing shows.
    bool valid() const { return material_ && mesh_; }
    /// What flush() draws with; "u_texture" is set by the batch. Never null in a valid batch.
    const std::shared_ptr<Material>& material() const { return material_; }

    /// Applies to what is added from now on.
    void setTransform(const Affine& transform) { geometry_.transform = transform; }
    const Affine& transform() const { return geometry_.transform; }

    /// The target that flush() draws into; empty (the start) means currentRenderTarget().
    void setTarget(std::shared_ptr<RenderTarget> target);

    /// Saves the current texture and flipped flag.
    void pushState();
    /// Goes back to the last saved state, flushing first when that changes the texture. Without a saved
    /// state nothing happens.
    void popState();
    /// Makes the texture current for the following textured quads, flushing what is pending when it is
    /// another one.
    void setTexture(const std::shared_ptr<Texture>& texture);
    const std::shared_ptr<Texture>& texture() const;

    /// Uses the current texture.
    void addQuad(const std::array<Vec2, 4>& corners, const std::array<Vec2, 4>& tex,
                 const std::array<Color, 4>& colors, Vec2 mask);
    void addTriangle(const std::array<Vec2, 3>& corners, const std::array<Color, 3>& colors);
    void addCircle(Vec2 centre, float radius, Color centreColor, Color rimColor);
    void addCircle(Vec2 centre, float radius, Color color) { addCircle(centre, radius, color, color); }

    /// Flat rectangle.
    void fillRect(const RectF& rect, Color color);
    /// Rectangle `target` filled with the part `tex` (fractions of the texture, 0 … 1), tinted. Makes the
    /// texture current.
    void drawTexture(const std::shared_ptr<Texture>& texture, const RectF& target, const RectF& tex,
                     Color tint = {});
    /// The region at its own size, its top left corner at `position`. Makes its texture current.
    void drawImage(const ImageRegion& region, Vec2 position, Color tint = {});

    /// Draws what is pending in one call and empties the arrays. Nothing pending: no call.
    void flush();

    /// Draw calls of this batch since it was made.
    uint64_t drawCalls() const { return drawCalls_; }
    const BatchGeometry& pending() const { return geometry_; }

private:
    struct State {
        std::shared_ptr<Texture> texture;
        bool flipped = false;
    };

    void enter(const State& state);

    std::shared_ptr<Material> material_;
    std::shared_ptr<Mesh> mesh_;
    DrawFunction draw_;
    std::shared_ptr<RenderTarget> target_;
    BatchGeometry geometry_;
    std::vector<State> states_;
    uint64_t drawCalls_ = 0;
};

} // namespace pxl
