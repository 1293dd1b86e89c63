#pragma once

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

/// The sampler object for the settings, made when it is first asked for and kept until dropSamplers().
GLuint samplerFor(const SamplerSettings& settings);
void dropSamplers();

} // namespace pxl::gl
