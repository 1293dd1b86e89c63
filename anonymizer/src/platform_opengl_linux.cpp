#include "platform.h"

#include <dlfcn.h>

#include <string>

namespace platform {

namespace {

using Function = void (*)();

/// Of the libraries in the process: OpenGL's are there once a context is current.
template <typename Signature>
Signature symbol(const char* name) {
    return reinterpret_cast<Signature>(dlsym(RTLD_DEFAULT, name));
}

/// The window system's extensions for the current context's display, with a blank at either end.
std::string extensions() {
    const auto currentDisplay = symbol<void* (*)()>("glXGetCurrentDisplay");
    const auto defaultScreen = symbol<int (*)(void*)>("XDefaultScreen");
    const auto queryExtensions = symbol<const char* (*)(void*, int)>("glXQueryExtensionsString");
    if (!currentDisplay || !defaultScreen || !queryExtensions)
        return {};
    void* const display = currentDisplay();
    const char* const names = display ? queryExtensions(display, defaultScreen(display)) : nullptr;
    return names ? std::string(" ") + names + " " : std::string();
}

} // namespace

bool setSwapInterval(int interval) {
    // An entry point exists for every known name; calling one that the display does not offer is an error of
    // the window system, which ends the program.
    if (extensions().find(" GLX_MESA_swap_control ") == std::string::npos)
        return false;
    const auto getProcAddress = symbol<Function (*)(const unsigned char*)>("glXGetProcAddressARB");
    if (!getProcAddress)
        return false;
    const char* const name = "glXSwapIntervalMESA";
    const auto set = reinterpret_cast<int (*)(unsigned)>(
        getProcAddress(reinterpret_cast<const unsigned char*>(name)));
    return set && set(static_cast<unsigned>(interval)) == 0;
}

} // namespace platform
