#pragma once

#include "pxl/gl_names.h"
#include "pxl/gl_state.h"
#include "pxl/render.h"

namespace pxl {

class GLShader : public Shader {
public:
    /// Compiles, links and lists the uniforms; see valid(). Failures are logged.
    GLShader(const std::string& vertexSource, const std::string& fragmentSource);

    const std::vector<Uniform>& uniforms() const override { return uniforms_; }

    bool valid() const { return static_cast<bool>(program_); }
    GLuint program() const { return program_.get(); }
    /// A shader lives in one context, and so do the sampler objects of what is drawn with it.
    GLuint sampler(const SamplerSettings& settings) const { return samplers_.get(settings); }

private:
    gl::ProgramName link(const std::string& vertexSource, const std::string& fragmentSource) const;
    /// False when the program has a uniform of a type that no kind stands for.
    bool readUniforms(GLuint program);

    gl::ProgramName program_;
    std::vector<Uniform> uniforms_;
    mutable gl::SamplerCache samplers_;
};

/// The sources of the program's one shader.
extern const char* const batchVertexSource;
extern const char* const batchFragmentSource;

} // namespace pxl
