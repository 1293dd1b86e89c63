#include "gl_test.h"

#include "anonymizer/src/backbuffer.h"
#include "pxl/batch_geometry.h"
#include "pxl/gl_rendertarget.h"
#include "pxl/material.h"
#include "support/gl_context.h"

using pxl::Color;
using test::readPixel;
using test::windowSide;

namespace {

/// Draws flat or textured squares over the whole of an 8 × 8 target.
class GlDrawTest : public test::GlTest {
protected:
    void SetUp() override {
        GlTest::SetUp();
        if (IsSkipped())
            return;
        target = pxl::createRenderTarget(8, 8);
        material = std::make_unique<pxl::Material>(pxl::createShader());
        material->setMatrix("u_matrix", test::Projection(8, 8).values);
        mesh = pxl::createMesh();
        target->clear(black);
    }

    void fill(Color color, pxl::Vec2 mask = pxl::maskFlat) {
        pxl::BatchGeometry geometry;
        geometry.addQuad({{{0, 0}, {8, 0}, {8, 8}, {0, 8}}}, {{{0, 0}, {1, 0}, {1, 1}, {0, 1}}},
                         {color, color, color, color}, mask);
        mesh->setVertices(pxl::batchVertexLayout(), geometry.vertices().data(), 4);
        mesh->setIndices(pxl::IndexFormat::UInt32, geometry.indices().data(), 6);
    }
    void drawAll() { pxl::draw(*target, *material, *mesh, 0, 6); }
    /// Pixel of the target counted from the top left, as the vertices are.
    static Color at(int x, int y) { return readPixel(x, 7 - y); }

    static constexpr Color black{0, 0, 0, 255};
    static constexpr Color red{255, 0, 0, 255};
    std::shared_ptr<pxl::RenderTarget> target;
    std::unique_ptr<pxl::Material> material;
    std::shared_ptr<pxl::Mesh> mesh;
};

constexpr Color GlDrawTest::black;
constexpr Color GlDrawTest::red;

const std::string plainVertex =
    "#version 330\nlayout(location=0) in vec2 a_position;\nuniform mat4 u_matrix;\n"
    "void main(void)\n{\n\tgl_Position = u_matrix * vec4(a_position, 0, 1);\n}";

/// Not of the card.
class FakeMesh : public pxl::Mesh {
public:
    void setIndices(pxl::IndexFormat, const void*, uint32_t) override {}
    void setVertices(const pxl::VertexLayout&, const void*, uint32_t) override {}
    uint32_t indexCount() const override { return 6; }
    uint32_t vertexCount() const override { return 4; }
};

} // namespace

TEST_F(GlDrawTest, FlatMaskShowsTheColourAlone) {
    fill(red);
    drawAll();
    EXPECT_EQ(at(0, 0), red);
    EXPECT_EQ(at(7, 7), red);
}

TEST_F(GlDrawTest, TexturedMaskTintsTheTexture) {
    const auto texture = pxl::createTexture(1, 1);
    const Color texel{200, 100, 50, 255};
    texture->upload(&texel);
    material->setTexture("u_texture", texture);
    fill({255, 255, 255, 255}, pxl::maskTextured);
    drawAll();
    EXPECT_EQ(at(3, 3), texel);
    target->clear(black);
    fill({255, 0, 255, 255}, pxl::maskTextured);
    drawAll();
    EXPECT_EQ(at(3, 3), (Color{200, 0, 50, 255}));
}

TEST_F(GlDrawTest, TopRowOfTheTextureIsDrawnOnTop) {
    const auto texture = pxl::createTexture(1, 2);
    const Color texels[] = {red, {0, 0, 255, 255}};
    texture->upload(texels);
    material->setTexture("u_texture", texture);
    fill({}, pxl::maskTextured);
    drawAll();
    EXPECT_EQ(at(4, 0), red);
    EXPECT_EQ(at(4, 3), red);
    EXPECT_EQ(at(4, 4), texels[1]);
    EXPECT_EQ(at(4, 7), texels[1]);
}

TEST_F(GlDrawTest, DefaultBlendMixesBySourceAlpha) {
    fill({255, 255, 255, 128});
    drawAll();
    const Color mixed = at(4, 4);
    EXPECT_NEAR(mixed.r, 128, 1);
    EXPECT_NEAR(mixed.a, 128 * 128 / 255 + 127, 2);
}

TEST_F(GlDrawTest, BlendStateIsTheMaterials) {
    target->clear({10, 20, 30, 255});
    material->blend.srcColor = pxl::BlendFactor::One;
    material->blend.dstColor = pxl::BlendFactor::One;
    material->blend.alphaEquation = pxl::BlendEquation::Min;
    fill({5, 6, 7, 9});
    drawAll();
    EXPECT_EQ(at(4, 4), (Color{15, 26, 37, 9}));
}

TEST_F(GlDrawTest, ColourMaskProtectsChannels) {
    target->clear({1, 2, 3, 4});
    material->colorMask = pxl::MaskGreen | pxl::MaskAlpha;
    fill({255, 255, 255, 255});
    drawAll();
    EXPECT_EQ(at(4, 4), (Color{1, 255, 3, 255}));
    target->clear({9, 9, 9, 9});
    EXPECT_EQ(at(4, 4), (Color{9, 9, 9, 9}));
}

TEST_F(GlDrawTest, ClearingTheWindowSetsDepthAndStencilToZeroWhateverWasClippedBefore) {
    glBindFramebuffer(GL_FRAMEBUFFER, dynamic_cast<const pxl::GLRenderTarget&>(*target).framebuffer());
    glClearDepth(1);
    glClearStencil(5);
    glEnable(GL_SCISSOR_TEST);
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
    Backbuffer({windowSide, windowSide}).clear({51, 102, 153, 204});
    GLint framebuffer = -1;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer);
    EXPECT_EQ(framebuffer, 0);
    GLfloat depth = -1;
    GLint stencil = -1;
    GLfloat color[4] = {};
    GLboolean mask[4] = {};
    glGetFloatv(GL_DEPTH_CLEAR_VALUE, &depth);
    glGetIntegerv(GL_STENCIL_CLEAR_VALUE, &stencil);
    glGetFloatv(GL_COLOR_CLEAR_VALUE, color);
    glGetBooleanv(GL_COLOR_WRITEMASK, mask);
    EXPECT_FLOAT_EQ(depth, 0);
    EXPECT_EQ(stencil, 0);
    for (int i = 0; i < 4; ++i) {
        EXPECT_FLOAT_EQ(color[i], static_cast<float>(i + 1) * 0.2f);
        EXPECT_TRUE(mask[i]);
    }
    EXPECT_FALSE(glIsEnabled(GL_SCISSOR_TEST));
}

TEST_F(GlDrawTest, ClipIsCountedFromTheTop) {
    material->clip = pxl::RectF{1, 2, 3, 1};
    fill(red);
    drawAll();
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x)
            EXPECT_EQ(at(x, y), (y == 2 && x >= 1 && x < 4) ? red : black) << x << ", " << y;
    }
}

TEST_F(GlDrawTest, NegativeClipDrawsNothing) {
    for (const pxl::RectF clip : {pxl::RectF{4, 4, -3, 3}, pxl::RectF{4, 4, 3, -3}}) {
        material->clip = clip;
        fill(red);
        drawAll();
        EXPECT_EQ(at(4, 4), black);
        EXPECT_EQ(at(3, 3), black);
    }
}

TEST_F(GlDrawTest, ClearIgnoresTheClipOfAnEarlierDraw) {
    material->clip = pxl::RectF{0, 0, 1, 1};
    fill(red);
    drawAll();
    target->clear({1, 1, 1, 1});
    EXPECT_EQ(at(7, 7), (Color{1, 1, 1, 1}));
    material->clip.reset();
    drawAll();
    EXPECT_EQ(at(7, 7), red);
}

TEST_F(GlDrawTest, SixteenBitIndicesAndALaterStartWork) {
    fill(red);
    const uint16_t indices[] = {0, 1, 2, 0, 2, 3};
    mesh->setIndices(pxl::IndexFormat::UInt16, indices, 6);
    pxl::draw(*target, *material, *mesh, 3, 3);
    EXPECT_EQ(at(0, 7), red);
    EXPECT_EQ(at(7, 0), black);
}

TEST_F(GlDrawTest, RangesBeyondTheIndicesDrawNothing) {
    fill(red);
    const uint64_t before = pxl::drawCallCount();
    pxl::draw(*target, *material, *mesh, 0, 7);
    pxl::draw(*target, *material, *mesh, 6, 1);
    pxl::draw(*target, *material, *mesh, 0xFFFFFFFF, 3);
    pxl::draw(*target, *material, *mesh, 0, 0);
    EXPECT_EQ(pxl::drawCallCount(), before);
    drawAll();
    EXPECT_EQ(pxl::drawCallCount(), before + 1);
}

TEST_F(GlDrawTest, MeshOfAnotherKindDrawsNothing) {
    const uint64_t before = pxl::drawCallCount();
    pxl::draw(*target, *material, FakeMesh(), 0, 6);
    EXPECT_EQ(pxl::drawCallCount(), before);
    EXPECT_EQ(at(4, 4), black);
}

TEST_F(GlDrawTest, MaterialWithoutAShaderDrawsNothing) {
    fill(red);
    const pxl::Material empty(nullptr);
    pxl::draw(*target, empty, *mesh, 0, 6);
    EXPECT_EQ(at(4, 4), black);
}

TEST_F(GlDrawTest, LaterUniformsAreNotDisturbedByEarlierArrays) {
    const auto shader = pxl::createShader(
        plainVertex, "#version 330\nuniform vec2 u_list[2];\nuniform mat2x3 u_map;\nuniform float u_alpha;\n"
                     "out vec4 o_color;\nvoid main(void)\n{\n"
                     "\to_color = vec4(u_map * (u_list[0] + u_list[1]), u_alpha);\n}");
    ASSERT_TRUE(shader);
    pxl::Material custom(shader);
    custom.setMatrix("u_matrix", test::Projection(8, 8).values);
    const float list[] = {0.5f, 0, 0, 0.5f};
    const float map[] = {0.4f, 0, 0, 0, 0.8f, 0.2f};
    const float alpha = 1;
    custom.setFloats("u_list", list, 4);
    custom.setFloats("u_map", map, 6);
    custom.setFloats("u_alpha", &alpha, 1);
    fill(red);
    pxl::draw(*target, custom, *mesh, 0, 6);
    const Color color = at(4, 4);
    EXPECT_NEAR(color.r, 51, 1);
    EXPECT_NEAR(color.g, 102, 1);
    EXPECT_NEAR(color.b, 26, 1);
    EXPECT_EQ(color.a, 255);
}

TEST_F(GlDrawTest, UniformsOfThreeAndFourFloatsReachTheCard) {
    const auto shader = pxl::createShader(
        plainVertex, "#version 330\nuniform vec3 u_shade;\nuniform vec4 u_base;\nout vec4 o_color;\n"
                     "void main(void)\n{\n\to_color = u_base + vec4(u_shade, 0);\n}");
    ASSERT_TRUE(shader);
    pxl::Material custom(shader);
    custom.setMatrix("u_matrix", test::Projection(8, 8).values);
    const float shade[] = {0.2f, 0, 0.4f};
    const float base[] = {0.2f, 0.6f, 0, 1};
    custom.setFloats("u_shade", shade, 3);
    custom.setFloats("u_base", base, 4);
    fill(red);
    pxl::draw(*target, custom, *mesh, 0, 6);
    const Color color = at(4, 4);
    EXPECT_NEAR(color.r, 102, 1);
    EXPECT_NEAR(color.g, 153, 1);
    EXPECT_NEAR(color.b, 102, 1);
    EXPECT_EQ(color.a, 255);
}

TEST_F(GlDrawTest, SamplerSettingsDecideBetweenNearestAndLinear) {
    const auto texture = pxl::createTexture(2, 1);
    const Color texels[] = {black, {255, 255, 255, 255}};
    texture->upload(texels);
    material->setTexture("u_texture", texture);
    fill({}, pxl::maskTextured);
    drawAll();
    EXPECT_EQ(at(3, 4), black);
    EXPECT_EQ(at(4, 4).r, 255);
    material->setSampler("u_texture_sampler",
                         {pxl::Filter::Linear, pxl::Wrap::ClampToEdge, pxl::Wrap::ClampToEdge});
    drawAll();
    EXPECT_GT(at(3, 4).r, 60);
    EXPECT_LT(at(4, 4).r, 195);
    EXPECT_EQ(at(0, 4), black);
}

TEST_F(GlDrawTest, WindowTargetIsTheDefaultFramebuffer) {
    Backbuffer window({windowSide, windowSide});
    window.clear({32, 32, 32, 255});
    target->clear(black);
    material->setMatrix("u_matrix", test::Projection(64, 64).values);
    fill(red);
    pxl::draw(window, *material, *mesh, 0, 6);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    EXPECT_EQ(readPixel(0, 63), red);
    EXPECT_EQ(readPixel(7, 56), red);
    EXPECT_EQ(readPixel(8, 63), (Color{32, 32, 32, 255}));
    EXPECT_EQ(readPixel(0, 0), (Color{32, 32, 32, 255}));
    EXPECT_EQ(test::readTexture(*target->texture())[0], black);
}

TEST_F(GlDrawTest, CurrentTargetIsRemembered) {
    EXPECT_EQ(pxl::currentRenderTarget(), nullptr);
    pxl::setCurrentRenderTarget(target);
    EXPECT_EQ(pxl::currentRenderTarget(), target);
    pxl::setCurrentRenderTarget(nullptr);
}
