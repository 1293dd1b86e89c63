#include "pxl/batch.h"

#include "pxl/material.h"

#include <atomic>
#include <utility>

namespace pxl {

namespace {

std::atomic<bool> flippingOn{true};

std::array<Vec2, 4> cornersOf(const RectF& rect) {
    const float right = rect.x + rect.width;
    const float bottom = rect.y + rect.height;
    return {{{rect.x, rect.y}, {right, rect.y}, {right, bottom}, {rect.x, bottom}}};
}

} // namespace

ImageRegion ImageRegion::whole(std::shared_ptr<Texture> texture) {
    ImageRegion region;
    if (texture)
        region.rect = {0, 0, static_cast<float>(texture->width()), static_cast<float>(texture->height())};
    region.texture = std::move(texture);
    return region;
}

void setFlippingEnabled(bool enabled) {
    flippingOn = enabled;
}

bool flippingEnabled() {
    return flippingOn;
}

Batch::Batch() : Batch(nullptr, nullptr) {
    if (auto shader = createShader())
        material_ = std::make_unique<Material>(std::move(shader));
    mesh_ = createMesh();
}

Batch::Batch(std::shared_ptr<Material> material, std::shared_ptr<Mesh> mesh, DrawFunction drawFunction)
    : material_(std::move(material)), mesh_(std::move(mesh)), draw_(std::move(drawFunction)), states_(1) {}

Batch::~Batch() = default;

void Batch::setTarget(std::shared_ptr<RenderTarget> target) {
    if (target == target_)
        return;
    flush();
    target_ = std::move(target);
}

void Batch::pushState() {
    states_.push_back(states_.back());
}

void Batch::popState() {
    if (states_.size() < 2)
        return;
    const State saved = states_[states_.size() - 2];
    enter(saved);
    states_.pop_back();
}

void Batch::setTexture(const std::shared_ptr<Texture>& texture) {
    enter({texture, flippingOn && texture && texture->flipped() != 0});
}

const std::shared_ptr<Texture>& Batch::texture() const {
    return states_.back().texture;
}

void Batch::enter(const State& state) {
    if (state.texture != states_.back().texture && !geometry_.empty())
        flush();
    states_.back() = state;
    geometry_.flipped = state.flipped;
}

void Batch::addQuad(const std::array<Vec2, 4>& corners, const std::array<Vec2, 4>& tex,
                    const std::array<Color, 4>& colors, Vec2 mask) {
    geometry_.addQuad(corners, tex, colors, mask);
}

void Batch::addTriangle(const std::array<Vec2, 3>& corners, const std::array<Color, 3>& colors) {
    geometry_.addTriangle(corners, colors);
}

void Batch::addCircle(Vec2 centre, float radius, Color centreColor, Color rimColor) {
    geometry_.addCircle(centre, radius, centreColor, rimColor);
}

void Batch::fillRect(const RectF& rect, Color color) {
    geometry_.addQuad(cornersOf(rect), {}, {color, color, color, color}, maskFlat);
}

void Batch::drawTexture(const std::shared_ptr<Texture>& texture, const RectF& target, const RectF& tex,
                        Color tint) {
    if (!texture)
        return;
    setTexture(texture);
    geometry_.addQuad(cornersOf(target), cornersOf(tex), {tint, tint, tint, tint}, maskTextured);
}

void Batch::drawImage(const ImageRegion& region, Vec2 position, Color tint) {
    if (!region.texture)
        return;
    const auto width = static_cast<float>(region.texture->width());
    const auto height = static_cast<float>(region.texture->height());
    const RectF& rect = region.rect;
    drawTexture(region.texture, {position.x, position.y, rect.width, rect.height},
                {rect.x / width, rect.y / height, rect.width / width, rect.height / height}, tint);
}

void Batch::flush() {
    if (geometry_.empty())
        return;
    const std::shared_ptr<RenderTarget> target = target_ ? target_ : currentRenderTarget();
    if (valid() && target) {
        const auto& vertices = geometry_.vertices();
        const auto& indices = geometry_.indices();
        mesh_->setVertices(batchVertexLayout(), vertices.data(), static_cast<uint32_t>(vertices.size()));
        mesh_->setIndices(IndexFormat::UInt32, indices.data(), static_cast<uint32_t>(indices.size()));
        material_->setTexture("u_texture", texture());
        draw_(*target, *material_, *mesh_, 0, mesh_->indexCount());
        ++drawCalls_;
    }
    geometry_.clear();
}

} // namespace pxl
