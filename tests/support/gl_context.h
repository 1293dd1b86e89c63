#pragma once

#include <string>

namespace test {

/// Makes an OpenGL 3.3 core context (with debug output where the driver has it) current on this thread,
/// without a display, on a 64 × 64 pixel buffer that stands for the window. Empty when that worked, else the
/// reason.
std::string makeOffscreenContextCurrent();
void destroyOffscreenContext();

/// Side of the buffer that stands for the window, in pixels.
constexpr int windowSide = 64;

} // namespace test
