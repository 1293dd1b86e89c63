#pragma once

#include "canvaspainter.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "blurprocessors.h"
#include "pxl/material.h"

/// What the graphics card would hold, for as long as the test runs.
struct Card {
    int texturesMade = 0;
    int uploads = 0;
    int maps = 0;
    /// Textures that map nothing, or refuse to be made.
    bool refuseMapping = false;
    bool refuseTextures = false;
    /// Asks for textures so far.
    int texturesAskedFor = 0;
    bool noMemory = false;
    /// Mapped memory does not survive.
    bool loseMappings = false;
    uint32_t extraPitch = 0;
    /// Mapped memory begins in the middle of a pixel.
    bool misaligned = false;
    /// When a texture is made, mapped or unmapped.
    std::function<void()> onUse = [] {};
};

class FakeTexture : public pxl::Texture {
public:
    FakeTexture(Card& card, uint32_t width, uint32_t height)
        : card_(card), width_(width), height_(height), pixels(std::size_t{width} * height) {}
    uint32_t width() const override { return width_; }
    uint32_t height() const override { return height_; }
    uint32_t nativeName() const override { return 0; }
    void upload(const void* source) override {
        ++card_.uploads;
        std::memcpy(pixels.data(), source, pixels.size() * 4);
    }
    uint8_t flipped() const override { return 0; }
    Mapping map() override {
        card_.onUse();
        if (card_.refuseMapping)
            return {};
        ++card_.maps;
        mapped_.assign(pixels.size() * 4 + 1, 0);
        if (card_.misaligned)
            return {mapped_.data() + 1, width_ * 4 + card_.extraPitch};
        return {reinterpret_cast<uint8_t*>(pixels.data()), width_ * 4 + card_.extraPitch};
    }
    bool unmap() override {
        card_.onUse();
        if (card_.loseMappings) {
            std::fill(pixels.begin(), pixels.end(), 0u);
            return false;
        }
        ++card_.uploads;
        if (card_.misaligned)
            std::memcpy(pixels.data(), mapped_.data() + 1, pixels.size() * 4);
        return true;
    }

private:
    Card& card_;
    uint32_t width_, height_;
    std::vector<uint8_t> mapped_;

public:
    std::vector<uint32_t> pixels;
};

class FakeShader : public pxl::Shader {
public:
    FakeShader() {
        uniforms_.push_back({"u_matrix", pxl::UniformKind::Mat4, 1, 0, 0});
        uniforms_.push_back({"u_texture", pxl::UniformKind::Sampler2D, 1, 1, 0});
        uniforms_.push_back({"u_texture_sampler", pxl::UniformKind::SamplerSettings, 1, -1, 0});
    }
    const std::vector<pxl::Uniform>& uniforms() const override { return uniforms_; }

private:
    std::vector<pxl::Uniform> uniforms_;
};

class FakeMesh : public pxl::Mesh {
public:
    void setIndices(pxl::IndexFormat, const void*, uint32_t count) override { indices_ = count; }
    void setVertices(const pxl::VertexLayout&, const void* data, uint32_t count) override {
        vertices.assign(static_cast<const pxl::BatchVertex*>(data),
                        static_cast<const pxl::BatchVertex*>(data) + count);
    }
    uint32_t indexCount() const override { return indices_; }
    uint32_t vertexCount() const override { return static_cast<uint32_t>(vertices.size()); }
    std::vector<pxl::BatchVertex> vertices;

private:
    uint32_t indices_ = 0;
};

class FakeTarget : public pxl::RenderTarget {
public:
    int32_t width() const override { return 640; }
    int32_t height() const override { return 512; }
    pxl::Size size() const override { return {640, 512}; }
    void clear(pxl::Color color) override { cleared.push_back(color); }
    std::shared_ptr<pxl::Texture> texture() const override { return nullptr; }
    std::vector<pxl::Color> cleared;
};

/// One rectangle that reached the card.
struct Quad {
    std::shared_ptr<pxl::Texture> texture;
    float x, y, w, h;
    pxl::Color color;
    bool textured;
    /// The part of the texture, in fractions of its size.
    float u, v, uSize, vSize;
};

/// A picture of 320 × 240, its pixels all different, in a window that shows it at scale 1.
class Painter : public testing::Test {
protected:
    Painter() {
        blurtrack::clear();
        blurtrack::initFrames(100);
        auto mesh = std::make_shared<FakeMesh>();
        auto material = std::make_shared<pxl::Material>(std::make_shared<FakeShader>());
        auto batch = std::make_unique<pxl::Batch>(
            material, mesh,
            [this, mesh](pxl::RenderTarget&, const pxl::Material& used, const pxl::Mesh&, uint32_t,
                         uint32_t) {
                ++draws;
                if (onDraw)
                    onDraw();
                matrix = used.floats();
                matrices.push_back(matrix);
                for (std::size_t i = 0; i + 3 < mesh->vertices.size(); i += 4) {
                    const pxl::BatchVertex& first = mesh->vertices[i];
                    const pxl::BatchVertex& opposite = mesh->vertices[i + 2];
                    quads.push_back({used.samplers()[0].texture, first.position.x, first.position.y,
                                     opposite.position.x - first.position.x,
                                     opposite.position.y - first.position.y, first.color, first.mask.x == 1,
                                     first.tex.x, first.tex.y, opposite.tex.x - first.tex.x,
                                     opposite.tex.y - first.tex.y});
                }
            });
        painter = std::make_unique<CanvasPainter>(
            target, std::move(batch),
            [this](uint32_t width, uint32_t height) -> std::shared_ptr<pxl::Texture> {
                ++card.texturesAskedFor;
                card.onUse();
                if (card.noMemory)
                    throw std::bad_alloc();
                if (card.refuseTextures)
                    return nullptr;
                ++card.texturesMade;
                return std::make_shared<FakeTexture>(card, width, height);
            });
        picture.divisor = 50;
        picture.threshold = 50;
        picture.frame = frame(1);
    }
    ~Painter() override { blurtrack::clear(); }

    static std::shared_ptr<VideoPlayer::Frame> frame(int64_t index, int32_t width = 320,
                                                     int32_t height = 240) {
        auto made = std::make_shared<VideoPlayer::Frame>();
        made->index = index;
        made->image = pxl::Image(width, height);
        for (std::size_t i = 0; i < made->image.pixelCount(); ++i)
            made->image.pixels[i] =
                0xFF000000u + static_cast<uint32_t>(i) + static_cast<uint32_t>(index) * 100000;
        return made;
    }
    CanvasPainter::Outcome paint() {
        quads.clear();
        matrices.clear();
        draws = 0;
        return painter->paint(picture, window, [](pxl::Batch&) {});
    }
    static const std::vector<uint32_t>& pixelsOf(const Quad& quad) {
        return static_cast<const FakeTexture&>(*quad.texture).pixels;
    }
    bool holdsFrame(const Quad& quad) const {
        const pxl::Image& image = picture.frame->image;
        return std::memcmp(pixelsOf(quad).data(), image.pixels, image.byteCount()) == 0;
    }
    bool holdsMosaic(const Quad& quad) const {
        const pxl::Image& image = picture.frame->image;
        std::vector<uint32_t> wanted(image.pixelCount());
        pixelate(image, wanted.data(), mosaicBlockSize(image.width, image.height, picture.divisor));
        return pixelsOf(quad) == wanted;
    }
    /// Textured rectangles after the first, which is the picture.
    std::vector<Quad> patches() const {
        std::vector<Quad> found;
        for (std::size_t i = 1; i < quads.size(); ++i)
            if (quads[i].textured)
                found.push_back(quads[i]);
        return found;
    }

    Card card;
    std::shared_ptr<FakeTarget> target = std::make_shared<FakeTarget>();
    std::unique_ptr<CanvasPainter> painter;
    CanvasPicture picture;
    view::Size window{320, 240 + view::kControlBarHeight};
    std::vector<Quad> quads;
    std::vector<float> matrix;
    /// Of every draw of the last paint.
    std::vector<std::vector<float>> matrices;
    int draws = 0;
    std::function<void()> onDraw;
};

inline void expectPlace(const Quad& quad, float x, float y, float w, float h) {
    EXPECT_FLOAT_EQ(quad.x, x);
    EXPECT_FLOAT_EQ(quad.y, y);
    EXPECT_FLOAT_EQ(quad.w, w);
    EXPECT_FLOAT_EQ(quad.h, h);
}

/// In a picture shown at scale 1 from the window's corner on: the texture's own pixels at their place.
inline void expectShowsWhatLiesThere(const Quad& quad) {
    const auto width = static_cast<float>(quad.texture->width());
    const auto height = static_cast<float>(quad.texture->height());
    EXPECT_FLOAT_EQ(quad.u, quad.x / width);
    EXPECT_FLOAT_EQ(quad.v, quad.y / height);
    EXPECT_NEAR(quad.uSize, quad.w / width, 1e-6);
    EXPECT_NEAR(quad.vSize, quad.h / height, 1e-6);
}
