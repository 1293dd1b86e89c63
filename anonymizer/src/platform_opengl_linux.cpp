#include "platform.h"

#include <dlfcn.h>

namespace platform {

namespace {

using Function = void (*)();

/// Entry point of the window system's extension; the library is in the process once a context is current.
Function entryPoint(const char* name) {
    using GetProcAddress = Function (*)(const unsigned char*);
    const auto getProcAddress = reinterpret_cast<GetProcAddress>(dlsym(RTLD_DEFAULT, "glXGetProcAddressARB"));
    return getProcAddress ? getProcAddress(reinterpret_cast<const unsigned char*>(name)) : nullptr;
}

} // namespace

bool setSwapInterval(int interval) {
    if (const auto set = reinterpret_cast<int (*)(unsigned)>(entryPoint("glXSwapIntervalMESA")))
        if (set(static_cast<unsigned>(interval)) == 0)
            return true;
    const auto set = reinterpret_cast<int (*)(int)>(entryPoint("glXSwapIntervalSGI"));
    return set && set(interval) == 0;
}

} // namespace platform
