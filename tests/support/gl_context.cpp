#include "support/gl_context.h"

#include <epoxy/egl.h>

#include <array>
#include <cstdlib>

namespace test {

namespace {

EGLDisplay display = EGL_NO_DISPLAY;

EGLDisplay findDisplay() {
    if (epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_MESA_platform_surfaceless"))
        return eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr);
    return eglGetDisplay(EGL_DEFAULT_DISPLAY);
}

} // namespace

std::string makeOffscreenContextCurrent() {
    // A shader found in the driver's cache is not compiled again and comes without its warnings.
    setenv("MESA_SHADER_CACHE_DISABLE", "true", 1);
    setenv("MESA_GLSL_CACHE_DISABLE", "true", 1);
    display = findDisplay();
    if (display == EGL_NO_DISPLAY || eglInitialize(display, nullptr, nullptr) != EGL_TRUE)
        return "no EGL display";
    if (eglBindAPI(EGL_OPENGL_API) != EGL_TRUE)
        return "EGL offers no desktop OpenGL";
    const std::array<EGLint, 17> wanted = {EGL_SURFACE_TYPE,
                                           EGL_PBUFFER_BIT,
                                           EGL_RENDERABLE_TYPE,
                                           EGL_OPENGL_BIT,
                                           EGL_RED_SIZE,
                                           8,
                                           EGL_GREEN_SIZE,
                                           8,
                                           EGL_BLUE_SIZE,
                                           8,
                                           EGL_ALPHA_SIZE,
                                           8,
                                           EGL_DEPTH_SIZE,
                                           16,
                                           EGL_STENCIL_SIZE,
                                           8,
                                           EGL_NONE};
    EGLConfig config = nullptr;
    EGLint configs = 0;
    if (eglChooseConfig(display, wanted.data(), &config, 1, &configs) != EGL_TRUE || configs == 0)
        return "no EGL configuration with RGBA, depth and stencil";
    const std::array<EGLint, 9> version = {EGL_CONTEXT_MAJOR_VERSION,
                                           3,
                                           EGL_CONTEXT_MINOR_VERSION,
                                           3,
                                           EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                           EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                           EGL_CONTEXT_OPENGL_DEBUG,
                                           EGL_TRUE,
                                           EGL_NONE};
    const EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, version.data());
    if (context == EGL_NO_CONTEXT)
        return "no OpenGL 3.3 core context";
    const std::array<EGLint, 5> size = {EGL_WIDTH, windowSide, EGL_HEIGHT, windowSide, EGL_NONE};
    const EGLSurface surface = eglCreatePbufferSurface(display, config, size.data());
    if (eglMakeCurrent(display, surface, surface, context) != EGL_TRUE)
        return "the OpenGL context can't be made current";
    return {};
}

void destroyOffscreenContext() {
    if (display == EGL_NO_DISPLAY)
        return;
    const EGLContext context = eglGetCurrentContext();
    const EGLSurface surface = eglGetCurrentSurface(EGL_DRAW);
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    if (surface != EGL_NO_SURFACE)
        eglDestroySurface(display, surface);
    if (context != EGL_NO_CONTEXT)
        eglDestroyContext(display, context);
    // The display stays open until the process ends: an unloaded driver would leave its own leaks nameless.
    display = EGL_NO_DISPLAY;
}

} // namespace test
