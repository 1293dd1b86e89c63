#include "pxl/material.h"

#include "support/blank_texture.h"
#include "support/pxl_log_capture.h"

#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using pxl::Material;
using pxl::Uniform;
using pxl::UniformKind;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class FakeShader : public pxl::Shader {
public:
    explicit FakeShader(std::vector<Uniform> uniforms) : uniforms_(std::move(uniforms)) {}
    const std::vector<Uniform>& uniforms() const override { return uniforms_; }

private:
    std::vector<Uniform> uniforms_;
};

/// Floats before, between and after two samplers: 1 + 2 × 3 + 16 + 4 of them.
std::shared_ptr<pxl::Shader> mixedShader() {
    return std::make_shared<FakeShader>(std::vector<Uniform>{
        {"u_time", UniformKind::Float, 1, 0, 0},
        {"u_first", UniformKind::Sampler2D, 1, 1, 0},
        {"u_first_sampler", UniformKind::SamplerSettings, 1, -1, 0},
        {"u_points", UniformKind::Vec2, 3, 2, 0},
        {"u_matrix", UniformKind::Mat4, 1, 3, 0},
        {"u_second", UniformKind::Sampler2D, 1, 4, 1},
        {"u_second_sampler", UniformKind::SamplerSettings, 1, -1, 1},
        {"u_tint", UniformKind::Vec4, 1, 5, 0},
    });
}

struct Matrix {
    float values[16];
    Matrix() { std::iota(std::begin(values), std::end(values), 1.0f); }
};

} // namespace

TEST(Material, StoreHasRoomForComponentsTimesArraySize) {
    const Material material(mixedShader());
    EXPECT_EQ(material.floats().size(), 27u);
    EXPECT_THAT(material.floats(), testing::Each(0.0f));
}

TEST(Material, MatrixGoesBehindTheFloatsOfEarlierUniforms) {
    test::PxlLogCapture log;
    Material material(mixedShader());
    material.setMatrix("u_matrix", Matrix().values);
    for (std::size_t i = 0; i < 16; ++i)
        EXPECT_EQ(material.floats()[7 + i], static_cast<float>(i + 1));
    EXPECT_EQ(material.floats()[6], 0);
    EXPECT_EQ(material.floats()[23], 0);
    EXPECT_THAT(log.errors(), IsEmpty());
}

TEST(Material, MatrixOnAVectorIsLoggedAndCutToFourFloats) {
    test::PxlLogCapture log;
    Material material(mixedShader());
    material.setMatrix("u_tint", Matrix().values);
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Too many uniform floats"));
    EXPECT_THAT(std::vector<float>(material.floats().end() - 4, material.floats().end()),
                ElementsAre(1, 2, 3, 4));
}

TEST(Material, MatrixOnASamplerWritesNothing) {
    test::PxlLogCapture log;
    Material material(mixedShader());
    material.setMatrix("u_first", Matrix().values);
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Too many uniform floats"));
    EXPECT_THAT(material.floats(), testing::Each(0.0f));
}

TEST(Material, UnknownUniformIsIgnored) {
    test::PxlLogCapture log;
    Material material(mixedShader());
    material.setMatrix("u_nothing", Matrix().values);
    EXPECT_THAT(log.errors(), IsEmpty());
    EXPECT_THAT(material.floats(), testing::Each(0.0f));
}

TEST(Material, FewerFloatsLeaveTheRestAsItWas) {
    test::PxlLogCapture log;
    Material material(mixedShader());
    const float values[] = {7, 8, 9};
    material.setFloats("u_points", values, 3);
    EXPECT_THAT(std::vector<float>(material.floats().begin(), material.floats().begin() + 7),
                ElementsAre(0, 7, 8, 9, 0, 0, 0));
    EXPECT_THAT(log.errors(), IsEmpty());
}

TEST(Material, SamplersKeepTheShadersOrderAndUnits) {
    Material material(mixedShader());
    ASSERT_EQ(material.samplers().size(), 2u);
    EXPECT_EQ(material.samplers()[0].name, "u_first");
    EXPECT_EQ(material.samplers()[0].unit, 0u);
    EXPECT_EQ(material.samplers()[1].name, "u_second");
    EXPECT_EQ(material.samplers()[1].unit, 1u);
    for (const Material::Sampler& sampler : material.samplers()) {
        EXPECT_EQ(static_cast<uint32_t>(sampler.settings.filter), 2u);
        EXPECT_EQ(static_cast<uint32_t>(sampler.settings.wrapS), 1u);
        EXPECT_EQ(static_cast<uint32_t>(sampler.settings.wrapT), 1u);
        EXPECT_EQ(sampler.texture, nullptr);
    }
}

TEST(Material, TextureIsBoundToTheNamedSamplerOnly) {
    test::PxlLogCapture log;
    Material material(mixedShader());
    const auto texture = std::make_shared<test::BlankTexture>();
    material.setTexture("u_second", texture);
    EXPECT_EQ(material.samplers()[0].texture, nullptr);
    EXPECT_EQ(material.samplers()[1].texture, texture);
    EXPECT_THAT(log.errors(), IsEmpty());
}

TEST(Material, TextureOnAnotherNameIsLogged) {
    for (const char* name : {"u_matrix", "u_first_sampler", "u_nothing"}) {
        test::PxlLogCapture log;
        Material material(mixedShader());
        material.setTexture(name, std::make_shared<test::BlankTexture>());
        EXPECT_THAT(log.errors(), ElementsAre("[Error] Could not set texture")) << name;
        EXPECT_EQ(material.samplers()[0].texture, nullptr);
    }
}

TEST(Material, SettingsAreSetByTheNameOfTheirEntry) {
    test::PxlLogCapture log;
    Material material(mixedShader());
    material.setSampler("u_second_sampler", {pxl::Filter::Linear, pxl::Wrap::Repeat, pxl::Wrap::ClampToEdge});
    EXPECT_EQ(material.samplers()[0].settings.filter, pxl::Filter::Nearest);
    EXPECT_EQ(material.samplers()[1].settings.filter, pxl::Filter::Linear);
    EXPECT_EQ(material.samplers()[1].settings.wrapS, pxl::Wrap::Repeat);
    EXPECT_THAT(log.errors(), IsEmpty());
}

TEST(Material, SettingsOnAnotherNameAreLogged) {
    for (const char* name : {"u_matrix", "u_first", "u_nothing"}) {
        test::PxlLogCapture log;
        Material material(mixedShader());
        material.setSampler(name, {pxl::Filter::Linear, pxl::Wrap::Repeat, pxl::Wrap::Repeat});
        EXPECT_THAT(log.errors(), ElementsAre("[Error] Could not set texture sampler")) << name;
        EXPECT_EQ(material.samplers()[0].settings.filter, pxl::Filter::Nearest);
    }
}

TEST(Material, StartsWithAlphaBlendingAllChannelsAndNoClip) {
    const Material material(mixedShader());
    EXPECT_EQ(static_cast<uint32_t>(material.blend.srcColor), 6u);
    EXPECT_EQ(static_cast<uint32_t>(material.blend.dstColor), 7u);
    EXPECT_EQ(static_cast<uint32_t>(material.blend.srcAlpha), 6u);
    EXPECT_EQ(static_cast<uint32_t>(material.blend.dstAlpha), 7u);
    EXPECT_EQ(static_cast<uint32_t>(material.blend.colorEquation), 0u);
    EXPECT_EQ(static_cast<uint32_t>(material.blend.alphaEquation), 0u);
    EXPECT_EQ(material.colorMask, 15);
    EXPECT_FALSE(material.clip.has_value());
}

TEST(Material, WithoutAShaderHoldsNothing) {
    test::PxlLogCapture log;
    Material material(nullptr);
    material.setMatrix("u_matrix", Matrix().values);
    material.setTexture("u_texture", nullptr);
    material.setSampler("u_texture_sampler", {});
    EXPECT_TRUE(material.floats().empty());
    EXPECT_THAT(log.errors(),
                ElementsAre("[Error] Could not set texture", "[Error] Could not set texture sampler"));
}
