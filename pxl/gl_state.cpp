#include "pxl/gl_state.h"

#include <algorithm>
#include <array>

namespace pxl::gl {

GLenum blendEquation(BlendEquation equation) {
    switch (equation) {
    case BlendEquation::Subtract:
        return GL_FUNC_SUBTRACT;
    case BlendEquation::ReverseSubtract:
        return GL_FUNC_REVERSE_SUBTRACT;
    case BlendEquation::Min:
        return GL_MIN;
    case BlendEquation::Max:
        return GL_MAX;
    case BlendEquation::Add:
        break;
    }
    return GL_FUNC_ADD;
}

GLenum blendFactor(BlendFactor factor) {
    static constexpr std::array<GLenum, 19> factors = {
        GL_ZERO,
        GL_ONE,
        GL_SRC_COLOR,
        GL_ONE_MINUS_SRC_COLOR,
        GL_DST_COLOR,
        GL_ONE_MINUS_DST_COLOR,
        GL_SRC_ALPHA,
        GL_ONE_MINUS_SRC_ALPHA,
        GL_DST_ALPHA,
        GL_ONE_MINUS_DST_ALPHA,
        GL_CONSTANT_COLOR,
        GL_ONE_MINUS_CONSTANT_COLOR,
        GL_CONSTANT_ALPHA,
        GL_ONE_MINUS_CONSTANT_ALPHA,
        GL_SRC_ALPHA_SATURATE,
        GL_SRC1_COLOR,
        GL_ONE_MINUS_SRC1_COLOR,
        GL_SRC1_ALPHA,
        GL_ONE_MINUS_SRC1_ALPHA,
    };
    const auto code = static_cast<uint32_t>(factor);
    return code < factors.size() ? factors[code] : GL_ZERO;
}

GLint samplerFilter(Filter filter) {
    return filter == Filter::Nearest ? GL_NEAREST : GL_LINEAR;
}

GLint samplerWrap(Wrap wrap) {
    return wrap == Wrap::ClampToEdge ? GL_CLAMP_TO_EDGE : GL_REPEAT;
}

Scissor scissorOf(const RectF& clip, int32_t targetHeight) {
    Scissor scissor;
    scissor.x = static_cast<GLint>(clip.x);
    scissor.y = static_cast<GLint>(static_cast<float>(targetHeight) - clip.y - clip.height);
    scissor.width = static_cast<GLsizei>(std::max(clip.width, 0.0f));
    scissor.height = static_cast<GLsizei>(std::max(clip.height, 0.0f));
    return scissor;
}

GLuint SamplerCache::get(const SamplerSettings& settings) {
    SamplerName& sampler = samplers_[{settings.filter, settings.wrapS, settings.wrapT}];
    if (!sampler) {
        sampler = makeSampler();
        glSamplerParameteri(sampler.get(), GL_TEXTURE_MIN_FILTER, samplerFilter(settings.filter));
        glSamplerParameteri(sampler.get(), GL_TEXTURE_MAG_FILTER, samplerFilter(settings.filter));
        glSamplerParameteri(sampler.get(), GL_TEXTURE_WRAP_S, samplerWrap(settings.wrapS));
        glSamplerParameteri(sampler.get(), GL_TEXTURE_WRAP_T, samplerWrap(settings.wrapT));
    }
    return sampler.get();
}

} // namespace pxl::gl
