#pragma once

#include <cstdint>
#include <functional>

namespace pxl {

/// What the driver allows, as it reported at start-up.
struct GraphicsLimits {
    int32_t maxColorAttachments = 0;
    int32_t maxElementsIndices = 0;
    int32_t maxElementsVertices = 0;
    int32_t maxRenderbufferSize = 0;
    int32_t maxSamples = 0;
    int32_t maxTextureImageUnits = 0;
    int32_t maxTextureSize = 0;
    int32_t majorVersion = 0;
    int32_t minorVersion = 0;
};

/// Call once when the canvas first made its context current, before any other graphics call.
/// `setSwapInterval` is the window system's way to wait for the display's refresh; it is called with 1 and
/// may be empty or fail without consequence. False (logged) when the context is older than OpenGL 3.3:
/// nothing can be drawn then.
bool startGraphics(const std::function<bool(int)>& setSwapInterval = {});

/// Call when the canvas's own objects are gone, before their context is destroyed. Names that are let go of
/// afterwards are not given back but die with it.
void stopGraphics();

/// The same with the canvas's objects still there, when the context can't be made current any more.
void abandonGraphics();

/// All 0 before startGraphics.
const GraphicsLimits& graphicsLimits();

} // namespace pxl
