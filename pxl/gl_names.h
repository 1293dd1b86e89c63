#pragma once

#include <epoxy/gl.h>

#include <utility>

/// Owners of OpenGL names; for this folder's sources only.
namespace pxl::gl {

/// True from startGraphics() to stopGraphics(). Names that are let go of later are not given back one by one:
/// they die with the context.
bool started();
void setStarted(bool started);

/// Owns one name, 0 being none. Deletes it with the context current.
template <void (*Delete)(GLuint)>
class Name {
public:
    Name() = default;
    explicit Name(GLuint value) : value_(value) {}
    Name(Name&& other) noexcept : value_(std::exchange(other.value_, 0)) {}
    Name& operator=(Name&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Name() {
        if (value_ != 0 && started())
            Delete(value_);
    }

    GLuint get() const { return value_; }
    explicit operator bool() const { return value_ != 0; }

private:
    GLuint value_ = 0;
};

inline void deleteTexture(GLuint name) {
    glDeleteTextures(1, &name);
}
inline void deleteBuffer(GLuint name) {
    glDeleteBuffers(1, &name);
}
inline void deleteVertexArray(GLuint name) {
    glDeleteVertexArrays(1, &name);
}
inline void deleteFramebuffer(GLuint name) {
    glDeleteFramebuffers(1, &name);
}
inline void deleteSampler(GLuint name) {
    glDeleteSamplers(1, &name);
}
inline void deleteShader(GLuint name) {
    glDeleteShader(name);
}
inline void deleteProgram(GLuint name) {
    glDeleteProgram(name);
}

using TextureName = Name<deleteTexture>;
using BufferName = Name<deleteBuffer>;
using VertexArrayName = Name<deleteVertexArray>;
using FramebufferName = Name<deleteFramebuffer>;
using SamplerName = Name<deleteSampler>;
using ShaderName = Name<deleteShader>;
using ProgramName = Name<deleteProgram>;

inline TextureName makeTexture() {
    GLuint name = 0;
    glGenTextures(1, &name);
    return TextureName(name);
}
inline BufferName makeBuffer() {
    GLuint name = 0;
    glGenBuffers(1, &name);
    return BufferName(name);
}
inline VertexArrayName makeVertexArray() {
    GLuint name = 0;
    glGenVertexArrays(1, &name);
    return VertexArrayName(name);
}
inline FramebufferName makeFramebuffer() {
    GLuint name = 0;
    glGenFramebuffers(1, &name);
    return FramebufferName(name);
}
inline SamplerName makeSampler() {
    GLuint name = 0;
    glGenSamplers(1, &name);
    return SamplerName(name);
}

} // namespace pxl::gl
