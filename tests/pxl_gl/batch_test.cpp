#include "gl_test.h"

#include "pxl/batch.h"
#include "pxl/material.h"
#include "support/pxl_log_capture.h"

#include <gmock/gmock.h>

using pxl::Batch;
using pxl::Color;
using testing::ElementsAre;

namespace {

/// A texture that only has a size and a flag.
class FakeTexture : public pxl::Texture {
public:
    explicit FakeTexture(uint8_t flipped = 0) : flipped_(flipped) {}
    uint32_t width() const override { return 20; }
    uint32_t height() const override { return 10; }
    uint32_t nativeName() const override { return 0; }
    void upload(const void*) override {}
    uint8_t flipped() const override { return flipped_; }
    Mapping map() override { return {}; }
    bool unmap() override { return true; }

private:
    uint8_t flipped_;
};

class FakeShader : public pxl::Shader {
public:
    const std::vector<pxl::Uniform>& uniforms() const override { return uniforms_; }

private:
    std::vector<pxl::Uniform> uniforms_{{"u_matrix", pxl::UniformKind::Mat4, 1, 0, 0},
                                        {"u_texture", pxl::UniformKind::Sampler2D, 1, 1, 0},
                                        {"u_texture_sampler", pxl::UniformKind::SamplerSettings, 1, -1, 0}};
};

class FakeMesh : public pxl::Mesh {
public:
    void setIndices(pxl::IndexFormat format, const void*, uint32_t count) override {
        EXPECT_EQ(format, pxl::IndexFormat::UInt32);
        indices_ = count;
    }
    void setVertices(const pxl::VertexLayout& layout, const void*, uint32_t count) override {
        EXPECT_EQ(layout.stride, 28u);
        vertices_ = count;
    }
    uint32_t indexCount() const override { return indices_; }
    uint32_t vertexCount() const override { return vertices_; }

private:
    uint32_t indices_ = 0;
    uint32_t vertices_ = 0;
};

class FakeTarget : public pxl::RenderTarget {
public:
    int32_t width() const override { return 100; }
    int32_t height() const override { return 100; }
    pxl::Size size() const override { return {100, 100}; }
    void clear(Color) override {}
    std::shared_ptr<pxl::Texture> texture() const override { return nullptr; }
};

struct Call {
    const pxl::Texture* texture;
    const pxl::RenderTarget* target;
    uint32_t firstIndex;
    uint32_t indexCount;
    uint32_t vertexCount;
};

/// Records the draws of a batch without a context.
struct Recording {
    std::vector<Call> calls;
    std::shared_ptr<FakeTarget> target = std::make_shared<FakeTarget>();
    std::shared_ptr<pxl::Texture> first = std::make_shared<FakeTexture>();
    std::shared_ptr<pxl::Texture> second = std::make_shared<FakeTexture>();
    Batch batch{std::make_shared<pxl::Material>(std::make_shared<FakeShader>()), std::make_shared<FakeMesh>(),
                [this](pxl::RenderTarget& into, const pxl::Material& material, const pxl::Mesh& mesh,
                       uint32_t firstIndex, uint32_t indexCount) {
                    calls.push_back({material.samplers()[0].texture.get(), &into, firstIndex, indexCount,
                                     mesh.vertexCount()});
                }};

    Recording() { batch.setTarget(target); }
    void quad(const std::shared_ptr<pxl::Texture>& texture) {
        batch.drawTexture(texture, {0, 0, 10, 10}, {0, 0, 1, 1});
    }
};

class BatchOnCardTest : public test::GlTest {};

} // namespace

TEST(Batch, OneTextureIsOneCall) {
    Recording r;
    r.quad(r.first);
    r.quad(r.first);
    EXPECT_TRUE(r.calls.empty());
    r.batch.flush();
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].texture, r.first.get());
    EXPECT_EQ(r.calls[0].target, r.target.get());
    EXPECT_EQ(r.calls[0].firstIndex, 0u);
    EXPECT_EQ(r.calls[0].indexCount, 12u);
    EXPECT_EQ(r.calls[0].vertexCount, 8u);
    EXPECT_TRUE(r.batch.pending().empty());
}

TEST(Batch, AnotherTextureFlushesWhatIsPending) {
    Recording r;
    r.quad(r.first);
    r.quad(r.second);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].texture, r.first.get());
    EXPECT_EQ(r.calls[0].vertexCount, 4u);
    r.batch.flush();
    ASSERT_EQ(r.calls.size(), 2u);
    EXPECT_EQ(r.calls[1].texture, r.second.get());
    EXPECT_EQ(r.batch.drawCalls(), 2u);
}

TEST(Batch, AnotherTextureWithNothingPendingIsNoCall) {
    Recording r;
    r.batch.setTexture(r.first);
    r.batch.setTexture(r.second);
    r.batch.flush();
    EXPECT_TRUE(r.calls.empty());
}

TEST(Batch, APaintCostsItsTextureChangesPlusOneWhateverTheRectangles) {
    Recording r;
    r.quad(r.first);
    for (int i = 0; i < 500; ++i) {
        r.quad(r.second);
        for (int bar = 0; bar < 4; ++bar)
            r.batch.fillRect({0, 0, 4, 4}, {76, 76, 76, 76});
    }
    r.batch.addCircle({5, 5}, 8, {});
    r.batch.flush();
    EXPECT_EQ(r.batch.drawCalls(), 2u);
    EXPECT_EQ(r.calls[1].vertexCount, 500u * 20 + 72);
}

TEST(Batch, FlushingTwiceIsOneCall) {
    Recording r;
    r.quad(r.first);
    r.batch.flush();
    r.batch.flush();
    EXPECT_EQ(r.calls.size(), 1u);
}

TEST(Batch, FlatRectangleHasTheFlatMaskAndItsColour) {
    Recording r;
    r.batch.fillRect({1, 2, 3, 4}, {5, 6, 7, 8});
    const auto& vertices = r.batch.pending().vertices();
    ASSERT_EQ(vertices.size(), 4u);
    EXPECT_EQ(vertices[0].position.x, 1);
    EXPECT_EQ(vertices[0].position.y, 2);
    EXPECT_EQ(vertices[2].position.x, 4);
    EXPECT_EQ(vertices[2].position.y, 6);
    for (const pxl::BatchVertex& vertex : vertices) {
        EXPECT_EQ(vertex.color, (Color{5, 6, 7, 8}));
        EXPECT_EQ(vertex.mask.x, 0);
        EXPECT_EQ(vertex.mask.y, 1);
    }
}

TEST(Batch, ImageIsDrawnAtItsPositionInTheRegionsSize) {
    Recording r;
    r.batch.drawImage({r.first, {5, 2, 10, 4}}, {100, 200}, {1, 2, 3, 4});
    const auto& vertices = r.batch.pending().vertices();
    ASSERT_EQ(vertices.size(), 4u);
    EXPECT_EQ(vertices[0].position.x, 100);
    EXPECT_EQ(vertices[0].position.y, 200);
    EXPECT_EQ(vertices[2].position.x, 110);
    EXPECT_EQ(vertices[2].position.y, 204);
    EXPECT_FLOAT_EQ(vertices[0].tex.x, 0.25f);
    EXPECT_FLOAT_EQ(vertices[0].tex.y, 0.2f);
    EXPECT_FLOAT_EQ(vertices[2].tex.x, 0.75f);
    EXPECT_FLOAT_EQ(vertices[2].tex.y, 0.6f);
    EXPECT_EQ(vertices[3].color, (Color{1, 2, 3, 4}));
    EXPECT_EQ(vertices[3].mask.x, 1);
    EXPECT_EQ(vertices[3].mask.y, 0);
    EXPECT_EQ(r.batch.texture(), r.first);
}

TEST(Batch, WholeRegionCoversTheTexture) {
    const auto texture = std::make_shared<FakeTexture>();
    const pxl::ImageRegion region = pxl::ImageRegion::whole(texture);
    EXPECT_EQ(region.rect.width, 20);
    EXPECT_EQ(region.rect.height, 10);
    EXPECT_EQ(pxl::ImageRegion::whole(nullptr).rect.width, 0);
}

TEST(Batch, MissingTextureDrawsNothing) {
    Recording r;
    r.quad(nullptr);
    r.batch.drawImage({}, {0, 0});
    EXPECT_TRUE(r.batch.pending().empty());
}

TEST(Batch, FlippedFlagComesFromTheTextureWhileFlippingIsOn) {
    Recording r;
    const auto drawnInto = std::make_shared<FakeTexture>(1);
    r.quad(drawnInto);
    EXPECT_EQ(r.batch.pending().vertices()[0].tex.y, 1);
    r.quad(r.first);
    EXPECT_EQ(r.batch.pending().vertices()[0].tex.y, 0);
    pxl::setFlippingEnabled(false);
    EXPECT_FALSE(pxl::flippingEnabled());
    r.quad(drawnInto);
    EXPECT_EQ(r.batch.pending().vertices()[0].tex.y, 0);
    pxl::setFlippingEnabled(true);
}

TEST(Batch, PoppedStateBringsTextureAndFlagBack) {
    Recording r;
    const auto drawnInto = std::make_shared<FakeTexture>(1);
    r.batch.setTexture(r.first);
    r.batch.pushState();
    EXPECT_EQ(r.batch.texture(), r.first);
    r.quad(drawnInto);
    r.batch.popState();
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].texture, drawnInto.get());
    EXPECT_EQ(r.batch.texture(), r.first);
    EXPECT_FALSE(r.batch.pending().flipped);
    r.batch.popState();
    EXPECT_EQ(r.batch.texture(), r.first);
}

TEST(Batch, PoppingToTheSameTextureIsNoCall) {
    Recording r;
    r.quad(r.first);
    r.batch.pushState();
    r.quad(r.first);
    r.batch.popState();
    EXPECT_TRUE(r.calls.empty());
}

TEST(Batch, TransformAppliesToWhatFollows) {
    Recording r;
    r.batch.fillRect({0, 0, 1, 1}, {});
    r.batch.setTransform({2, 0, 0, 2, 10, 20});
    r.batch.fillRect({1, 1, 1, 1}, {});
    EXPECT_EQ(r.batch.pending().vertices()[2].position.x, 1);
    EXPECT_EQ(r.batch.pending().vertices()[4].position.x, 12);
    EXPECT_EQ(r.batch.pending().vertices()[4].position.y, 22);
    EXPECT_EQ(r.batch.transform().a, 2);
}

TEST(Batch, AnotherTargetFlushesIntoTheFormerOne) {
    Recording r;
    const auto other = std::make_shared<FakeTarget>();
    r.quad(r.first);
    r.batch.setTarget(other);
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].target, r.target.get());
    r.quad(r.first);
    r.batch.flush();
    EXPECT_EQ(r.calls[1].target, other.get());
}

TEST(Batch, TheSameTargetAgainIsNoCall) {
    Recording r;
    r.quad(r.first);
    r.batch.setTarget(r.target);
    EXPECT_TRUE(r.calls.empty());
}

TEST(Batch, NoTextureIsNotFlipped) {
    Recording r;
    r.batch.setTexture(std::make_shared<FakeTexture>(1));
    EXPECT_TRUE(r.batch.pending().flipped);
    r.batch.setTexture(nullptr);
    EXPECT_FALSE(r.batch.pending().flipped);
    EXPECT_EQ(r.batch.texture(), nullptr);
}

TEST(Batch, WithoutATargetTheCurrentOneIsUsed) {
    Recording r;
    r.batch.setTarget(nullptr);
    r.quad(r.first);
    r.batch.flush();
    EXPECT_TRUE(r.calls.empty());
    EXPECT_TRUE(r.batch.pending().empty());
    pxl::setCurrentRenderTarget(r.target);
    r.quad(r.first);
    r.batch.flush();
    ASSERT_EQ(r.calls.size(), 1u);
    EXPECT_EQ(r.calls[0].target, r.target.get());
    pxl::setCurrentRenderTarget(nullptr);
}

TEST(Batch, WithoutMaterialOrMeshIsHarmless) {
    Batch batch(nullptr, nullptr);
    EXPECT_FALSE(batch.valid());
    batch.setTarget(std::make_shared<FakeTarget>());
    batch.fillRect({0, 0, 1, 1}, {});
    EXPECT_EQ(batch.pending().vertices().size(), 4u);
    batch.flush();
    EXPECT_EQ(batch.drawCalls(), 0u);
    EXPECT_TRUE(batch.pending().empty());
}

TEST_F(BatchOnCardTest, IsHarmlessWithoutItsShader) {
    test::PxlLogCapture log;
    const test::Replaced<PFNGLGETSHADERINFOLOGPROC> refuse(
        epoxy_glGetShaderInfoLog, [](GLuint, GLsizei, GLsizei* length, GLchar* text) {
            *text = '!';
            *length = 1;
        });
    Batch batch;
    EXPECT_FALSE(batch.valid());
    EXPECT_THAT(log.errors(),
                ElementsAre("[Error] Vertex shader compilation failed", "[Error] Shader creation failed"));
    batch.setTarget(pxl::createRenderTarget(4, 4));
    batch.fillRect({0, 0, 4, 4}, {});
    batch.flush();
    EXPECT_EQ(batch.drawCalls(), 0u);
    EXPECT_TRUE(batch.pending().empty());
}

TEST_F(BatchOnCardTest, DrawsVideoOverlayAndKnobInTheirPlaces) {
    const auto target = pxl::createRenderTarget(40, 40);
    const auto texture = pxl::createTexture(2, 2);
    const Color texels[] = {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {255, 255, 0, 255}};
    texture->upload(texels);
    Batch batch;
    ASSERT_TRUE(batch.valid());
    batch.setTarget(target);
    batch.material()->setMatrix("u_matrix", test::Projection(40, 40).values);
    target->clear({32, 32, 32, 255});
    batch.setTransform({10, 0, 0, 10, 0, 0});
    batch.drawImage(pxl::ImageRegion::whole(texture), {1, 1});
    batch.setTransform({});
    batch.fillRect({10, 10, 4, 4}, {255, 255, 255, 255});
    batch.addCircle({35, 35}, 4, {0, 180, 255, 255});
    const uint64_t before = pxl::drawCallCount();
    batch.flush();
    EXPECT_EQ(pxl::drawCallCount(), before + 1);
    const auto at = [](int x, int y) { return test::readPixel(x, 39 - y); };
    EXPECT_EQ(at(5, 5), (Color{32, 32, 32, 255}));
    EXPECT_EQ(at(11, 11), (Color{255, 255, 255, 255}));
    EXPECT_EQ(at(16, 16), texels[0]);
    EXPECT_EQ(at(24, 16), texels[1]);
    EXPECT_EQ(at(16, 24), texels[2]);
    EXPECT_EQ(at(29, 29), texels[3]);
    EXPECT_EQ(at(30, 30), (Color{32, 32, 32, 255}));
    EXPECT_EQ(at(35, 35), (Color{0, 180, 255, 255}));
    EXPECT_EQ(at(35, 39), (Color{32, 32, 32, 255}));
}

TEST_F(BatchOnCardTest, WhatWasDrawnIntoATargetIsDrawnUpright) {
    const auto first = pxl::createRenderTarget(4, 4);
    const auto second = pxl::createRenderTarget(4, 4);
    first->clear({0, 0, 0, 255});
    second->clear({0, 0, 0, 255});
    Batch batch;
    batch.material()->setMatrix("u_matrix", test::Projection(4, 4).values);
    batch.setTarget(first);
    batch.fillRect({0, 0, 4, 1}, {255, 0, 0, 255});
    batch.setTarget(second);
    batch.drawImage(pxl::ImageRegion::whole(first->texture()), {0, 0});
    batch.flush();
    EXPECT_EQ(test::readPixel(0, 3), (Color{255, 0, 0, 255}));
    EXPECT_EQ(test::readPixel(0, 0), (Color{0, 0, 0, 255}));
}

TEST_F(BatchOnCardTest, FlatColoursNeedNoTexture) {
    const auto target = pxl::createRenderTarget(4, 4);
    target->clear({0, 0, 0, 255});
    Batch batch;
    batch.material()->setMatrix("u_matrix", test::Projection(4, 4).values);
    batch.setTarget(target);
    batch.fillRect({0, 0, 4, 4}, {1, 2, 3, 255});
    batch.flush();
    EXPECT_EQ(test::readPixel(2, 2), (Color{1, 2, 3, 255}));
}

TEST_F(BatchOnCardTest, WithoutAMeshIsInvalid) {
    test::PxlLogCapture log;
    const test::Replaced<PFNGLGENVERTEXARRAYSPROC> none(epoxy_glGenVertexArrays,
                                                        [](GLsizei, GLuint* names) { *names = 0; });
    const Batch batch;
    EXPECT_FALSE(batch.valid());
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Mesh creation failed"));
}
