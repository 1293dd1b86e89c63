#include "pxl/gl_startup.h"

#include "pxl/gl_debug.h"
#include "pxl/gl_names.h"
#include "pxl/log.h"
#include "pxl/render.h"

#include <cstdio>
#include <string>

namespace pxl {

namespace {

bool isStarted = false;
GraphicsLimits limits;

void GLAPIENTRY onDebugMessage(GLenum, GLenum type, GLuint, GLenum severity, GLsizei length,
                               const GLchar* message, const void*) {
    const std::string text =
        length < 0 ? std::string(message) : std::string(message, static_cast<std::size_t>(length));
    if (const auto line = debugLine(type, severity, text)) {
        std::fwrite(line->data(), 1, line->size(), stdout);
        std::fflush(stdout);
    }
}

void installDebugCallback() {
    // An old driver, which the tests' one is not.
    if (epoxy_gl_version() < 43 && !epoxy_has_gl_extension("GL_KHR_debug"))
        return;
    glEnable(GL_DEBUG_OUTPUT);
    glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
    glDebugMessageCallback(onDebugMessage, nullptr);
}

int32_t query(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

void queryLimits() {
    limits.maxColorAttachments = query(GL_MAX_COLOR_ATTACHMENTS);
    limits.maxElementsIndices = query(GL_MAX_ELEMENTS_INDICES);
    limits.maxElementsVertices = query(GL_MAX_ELEMENTS_VERTICES);
    limits.maxRenderbufferSize = query(GL_MAX_RENDERBUFFER_SIZE);
    limits.maxSamples = query(GL_MAX_SAMPLES);
    limits.maxTextureImageUnits = query(GL_MAX_TEXTURE_IMAGE_UNITS);
    limits.maxTextureSize = query(GL_MAX_TEXTURE_SIZE);
    limits.majorVersion = query(GL_MAJOR_VERSION);
    limits.minorVersion = query(GL_MINOR_VERSION);
}

} // namespace

namespace gl {

bool started() {
    return isStarted;
}

void setStarted(bool started) {
    isStarted = started;
}

} // namespace gl

bool startGraphics(const std::function<bool(int)>& setSwapInterval) {
    const int version = epoxy_gl_version();
    // Only with a driver that gives another context than the one asked for.
    if (!epoxy_is_desktop_gl() || version < 33) {
        log::error("OpenGL 3.3 is needed, the driver offers " + std::to_string(version / 10) + "." +
                   std::to_string(version % 10));
        return false;
    }
    gl::setStarted(true);
    installDebugCallback();
    queryLimits();
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (setSwapInterval)
        setSwapInterval(1);
    return true;
}

void stopGraphics() {
    setCurrentRenderTarget(nullptr);
    gl::setStarted(false);
}

void abandonGraphics() {
    gl::setStarted(false);
    stopGraphics();
}

const GraphicsLimits& graphicsLimits() {
    return limits;
}

} // namespace pxl
