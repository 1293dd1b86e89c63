#include "platform.h"

#include <windows.h>

namespace platform {

bool setSwapInterval(int interval) {
    using SwapInterval = BOOL(WINAPI*)(int);
    const auto set = reinterpret_cast<SwapInterval>(wglGetProcAddress("wglSwapIntervalEXT"));
    return set && set(interval) == TRUE;
}

} // namespace platform
