#pragma once

#include "pxl/geometry.h"
#include "pxl/render.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pxl {

enum class Filter : uint32_t {
    Linear = 1,
    Nearest = 2,
};

enum class Wrap : uint32_t {
    ClampToEdge = 1,
    Repeat = 2,
};

/// How a sampler reads its texture.
struct SamplerSettings {
    Filter filter = Filter::Nearest;
    Wrap wrapS = Wrap::ClampToEdge;
    Wrap wrapT = Wrap::ClampToEdge;
};

enum class BlendEquation : uint32_t {
    Add = 0,
    Subtract = 1,
    ReverseSubtract = 2,
    Min = 3,
    Max = 4,
};

/// An unknown number counts as Zero.
enum class BlendFactor : uint32_t {
    Zero = 0,
    One = 1,
    SrcColor = 2,
    OneMinusSrcColor = 3,
    DstColor = 4,
    OneMinusDstColor = 5,
    SrcAlpha = 6,
    OneMinusSrcAlpha = 7,
    DstAlpha = 8,
    OneMinusDstAlpha = 9,
    ConstantColor = 10,
    OneMinusConstantColor = 11,
    ConstantAlpha = 12,
    OneMinusConstantAlpha = 13,
    SrcAlphaSaturate = 14,
    Src1Color = 15,
    OneMinusSrc1Color = 16,
    Src1Alpha = 17,
    OneMinusSrc1Alpha = 18,
};

/// Starts as ordinary alpha blending of straight colours.
struct BlendState {
    BlendEquation colorEquation = BlendEquation::Add;
    BlendEquation alphaEquation = BlendEquation::Add;
    BlendFactor srcColor = BlendFactor::SrcAlpha;
    BlendFactor dstColor = BlendFactor::OneMinusSrcAlpha;
    BlendFactor srcAlpha = BlendFactor::SrcAlpha;
    BlendFactor dstAlpha = BlendFactor::OneMinusSrcAlpha;
};

/// Bits of Material::colorMask.
enum ColorMask : uint8_t {
    MaskRed = 1,
    MaskGreen = 2,
    MaskBlue = 4,
    MaskAlpha = 8,
    MaskAll = 15,
};

/// A shader, the values of its uniforms and the render state of a draw. Plain data: needs no context, but
/// holds textures that do.
class Material {
public:
    /// A sampler uniform with what is bound to it.
    struct Sampler {
        std::string name;
        uint32_t unit = 0;
        std::shared_ptr<Texture> texture;
        SamplerSettings settings;
    };

    /// All floats start as 0, all samplers without a texture. An empty shader gives a material that draws
    /// nothing.
    explicit Material(std::shared_ptr<Shader> shader);

    /// Sets the first `count` floats of a uniform. What goes beyond the uniform is logged and left out; an
    /// unknown name is ignored.
    void setFloats(const std::string& name, const float* values, uint32_t count);
    /// Sets 16 floats in column order, with the rules of setFloats.
    void setMatrix(const std::string& name, const float (&values)[16]);
    /// Binds a texture (empty: none) to a sampler. A name that is no sampler's is logged.
    void setTexture(const std::string& name, std::shared_ptr<Texture> texture);
    /// Takes the name of the settings ("u_texture_sampler" for "u_texture"). Any other name is logged.
    void setSampler(const std::string& name, SamplerSettings settings);

    const std::shared_ptr<Shader>& shader() const { return shader_; }
    /// Values of all uniforms that are not samplers, in the order of the shader's list.
    const std::vector<float>& floats() const { return floats_; }
    /// In the order of the shader's list.
    const std::vector<Sampler>& samplers() const { return samplers_; }

    BlendState blend;
    uint8_t colorMask = MaskAll;
    /// Physical pixels from the target's top left corner; nothing is drawn outside. A negative width or
    /// height leaves nothing.
    std::optional<RectF> clip;

private:
    std::shared_ptr<Shader> shader_;
    std::vector<float> floats_;
    std::vector<Sampler> samplers_;
};

} // namespace pxl
