#pragma once

#include <map>
#include <tuple>

#include "pxl/gl_names.h"
#include "pxl/material.h"

/// Translation of a material's render state into OpenGL.
namespace pxl::gl {

GLenum blendEquation(BlendEquation equation);
GLenum blendFactor(BlendFactor factor);
GLint samplerFilter(Filter filter);
GLint samplerWrap(Wrap wrap);

/// glScissor's arguments.
struct Scissor {
    GLint x = 0;
    GLint y = 0;
    GLsizei width = 0;
    GLsizei height = 0;
};

/// The clip rectangle counted from the target's bottom left corner, its width and height never negative.
Scissor scissorOf(const RectF& clip, int32_t targetHeight);

/// Sampler objects of one context, which must be current when one is asked for and when the cache goes.
class SamplerCache {
public:
    /// The sampler object for the settings, made when it is first asked for.
    GLuint get(const SamplerSettings& settings);

private:
    std::map<std::tuple<Filter, Wrap, Wrap>, SamplerName> samplers_;
};

} // namespace pxl::gl
