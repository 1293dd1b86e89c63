#include "pxl/gl_mesh.h"
#include "pxl/gl_rendertarget.h"
#include "pxl/gl_shader.h"
#include "pxl/gl_state.h"
#include "pxl/material.h"

#include <algorithm>
#include <atomic>

namespace pxl {

namespace {

std::atomic<uint64_t> drawCalls{0};

void bindTarget(const RenderTarget& target, Size size) {
    const auto* offScreen = dynamic_cast<const GLRenderTarget*>(&target);
    glBindFramebuffer(GL_FRAMEBUFFER, offScreen != nullptr ? offScreen->framebuffer() : 0);
    glViewport(0, 0, std::max(size.width, 0), std::max(size.height, 0));
}

void uploadUniforms(const GLShader& shader, const std::vector<float>& floats) {
    const float* values = floats.data();
    for (const Uniform& uniform : shader.uniforms()) {
        const auto count = static_cast<GLsizei>(uniform.arraySize);
        switch (uniform.kind) {
        case UniformKind::Float:
            glUniform1fv(uniform.location, count, values);
            break;
        case UniformKind::Vec2:
            glUniform2fv(uniform.location, count, values);
            break;
        case UniformKind::Vec3:
            glUniform3fv(uniform.location, count, values);
            break;
        case UniformKind::Vec4:
            glUniform4fv(uniform.location, count, values);
            break;
        case UniformKind::Mat2x3:
            glUniformMatrix2x3fv(uniform.location, count, GL_FALSE, values);
            break;
        case UniformKind::Mat4:
            glUniformMatrix4fv(uniform.location, count, GL_FALSE, values);
            break;
        case UniformKind::None:
            // No shader that could be made has one.
        case UniformKind::Sampler2D:
        case UniformKind::SamplerSettings:
            break;
        }
        values += std::size_t{uniformFloats(uniform.kind)} * uniform.arraySize;
    }
}

void bindSamplers(const GLShader& shader, const std::vector<Material::Sampler>& samplers) {
    for (const Material::Sampler& sampler : samplers) {
        glActiveTexture(GL_TEXTURE0 + sampler.unit);
        glBindTexture(GL_TEXTURE_2D, sampler.texture ? sampler.texture->nativeName() : 0);
        glBindSampler(sampler.unit, shader.sampler(sampler.settings));
    }
}

void setBlend(const BlendState& blend, uint8_t mask) {
    glEnable(GL_BLEND);
    glBlendEquationSeparate(gl::blendEquation(blend.colorEquation), gl::blendEquation(blend.alphaEquation));
    glBlendFuncSeparate(gl::blendFactor(blend.srcColor), gl::blendFactor(blend.dstColor),
                        gl::blendFactor(blend.srcAlpha), gl::blendFactor(blend.dstAlpha));
    const auto bit = [mask](ColorMask channel) { return (mask & channel) != 0 ? GL_TRUE : GL_FALSE; };
    glColorMask(bit(MaskRed), bit(MaskGreen), bit(MaskBlue), bit(MaskAlpha));
}

void setClip(const std::optional<RectF>& clip, int32_t targetHeight) {
    if (!clip) {
        glDisable(GL_SCISSOR_TEST);
        return;
    }
    const gl::Scissor scissor = gl::scissorOf(*clip, targetHeight);
    glEnable(GL_SCISSOR_TEST);
    glScissor(scissor.x, scissor.y, scissor.width, scissor.height);
}

} // namespace

void draw(RenderTarget& target, const Material& material, const Mesh& mesh, uint32_t firstIndex,
          uint32_t indexCount) {
    const auto* shader = dynamic_cast<const GLShader*>(material.shader().get());
    const auto* triangles = dynamic_cast<const GLMesh*>(&mesh);
    if (shader == nullptr || triangles == nullptr || indexCount == 0 ||
        uint64_t{firstIndex} + indexCount > mesh.indexCount())
        return;
    const Size size = target.size();
    bindTarget(target, size);
    glUseProgram(shader->program());
    uploadUniforms(*shader, material.floats());
    bindSamplers(*shader, material.samplers());
    setBlend(material.blend, material.colorMask);
    setClip(material.clip, size.height);
    triangles->drawTriangles(firstIndex, indexCount);
    ++drawCalls;
}

uint64_t drawCallCount() {
    return drawCalls;
}

} // namespace pxl
