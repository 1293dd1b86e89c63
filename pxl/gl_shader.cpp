#include "pxl/gl_shader.h"

#include "pxl/log.h"

#include <array>
#include <string_view>

namespace pxl {

namespace {

/// A non-empty log is a failure whatever the status says. The driver's words are logged after it: the
/// failure's own don't tell what it dislikes, and nobody could mend it from a user's log.
bool failed(std::string_view infoLog, const char* failure) {
    if (infoLog.empty())
        return false;
    log::error(failure);
    log::message(std::string(infoLog));
    return true;
}

gl::ShaderName compile(GLenum stage, const std::string& source, const char* failure) {
    gl::ShaderName shader(glCreateShader(stage));
    const char* text = source.c_str();
    glShaderSource(shader.get(), 1, &text, nullptr);
    glCompileShader(shader.get());
    std::array<char, 1024> buffer{};
    GLsizei length = 0;
    glGetShaderInfoLog(shader.get(), static_cast<GLsizei>(buffer.size()), &length, buffer.data());
    if (failed({buffer.data(), static_cast<std::size_t>(length)}, failure))
        return {};
    return shader;
}

UniformKind kindOf(GLenum type) {
    switch (type) {
    case GL_FLOAT:
        return UniformKind::Float;
    case GL_FLOAT_VEC2:
        return UniformKind::Vec2;
    case GL_FLOAT_VEC3:
        return UniformKind::Vec3;
    case GL_FLOAT_VEC4:
        return UniformKind::Vec4;
    case GL_FLOAT_MAT2x3:
        return UniformKind::Mat2x3;
    case GL_FLOAT_MAT4:
        return UniformKind::Mat4;
    case GL_SAMPLER_2D:
        return UniformKind::Sampler2D;
    default:
        return UniformKind::None;
    }
}

std::string withoutArraySuffix(std::string name) {
    constexpr std::string_view suffix = "[0]";
    if (name.size() >= suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
        name.resize(name.size() - suffix.size());
    return name;
}

} // namespace

GLShader::GLShader(const std::string& vertexSource, const std::string& fragmentSource) {
    gl::ProgramName program = link(vertexSource, fragmentSource);
    if (program && readUniforms(program.get()))
        program_ = std::move(program);
}

gl::ProgramName GLShader::link(const std::string& vertexSource, const std::string& fragmentSource) const {
    const gl::ShaderName vertex = compile(GL_VERTEX_SHADER, vertexSource, "Vertex shader compilation failed");
    if (!vertex)
        return {};
    const gl::ShaderName fragment =
        compile(GL_FRAGMENT_SHADER, fragmentSource, "Fragment shader compilation failed");
    if (!fragment)
        return {};

    gl::ProgramName program(glCreateProgram());
    glAttachShader(program.get(), vertex.get());
    glAttachShader(program.get(), fragment.get());
    glLinkProgram(program.get());
    std::array<char, 1024> buffer{};
    GLsizei length = 0;
    glGetProgramInfoLog(program.get(), static_cast<GLsizei>(buffer.size()), &length, buffer.data());
    glDetachShader(program.get(), vertex.get());
    glDetachShader(program.get(), fragment.get());
    if (failed({buffer.data(), static_cast<std::size_t>(length)}, "Shader program link failed"))
        return {};
    return program;
}

bool GLShader::readUniforms(GLuint program) {
    GLint count = 0;
    glGetProgramiv(program, GL_ACTIVE_UNIFORMS, &count);
    glUseProgram(program);
    uint32_t nextUnit = 0;
    bool known = true;
    for (GLint i = 0; i < count && known; ++i) {
        std::array<char, 256> buffer{};
        GLsizei length = 0;
        GLint arraySize = 0;
        GLenum type = 0;
        glGetActiveUniform(program, static_cast<GLuint>(i), static_cast<GLsizei>(buffer.size()), &length,
                           &arraySize, &type, buffer.data());
        Uniform uniform;
        uniform.name = withoutArraySuffix({buffer.data(), static_cast<std::size_t>(length)});
        uniform.kind = kindOf(type);
        uniform.arraySize = static_cast<uint32_t>(arraySize);
        uniform.location = glGetUniformLocation(program, uniform.name.c_str());
        known = uniform.kind != UniformKind::None;
        if (uniform.kind == UniformKind::Sampler2D) {
            uniform.unit = nextUnit++;
            glUniform1i(uniform.location, static_cast<GLint>(uniform.unit));
            Uniform settings;
            settings.name = uniform.name + "_sampler";
            settings.kind = UniformKind::SamplerSettings;
            settings.unit = uniform.unit;
            uniforms_.push_back(std::move(uniform));
            uniforms_.push_back(std::move(settings));
        } else {
            uniforms_.push_back(std::move(uniform));
        }
    }
    glUseProgram(0);
    if (!known)
        log::error("Invalid uniform type");
    return known;
}

std::shared_ptr<Shader> createShader(const std::string& vertexSource, const std::string& fragmentSource) {
    auto shader = std::make_unique<GLShader>(vertexSource, fragmentSource);
    if (!shader->valid()) {
        log::error("Shader creation failed");
        return nullptr;
    }
    return std::shared_ptr<Shader>(std::move(shader));
}

std::shared_ptr<Shader> createShader() {
    return createShader(batchVertexSource, batchFragmentSource);
}

} // namespace pxl
