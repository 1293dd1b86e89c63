#include <clocale>
#include <cstdlib>
#include <cwctype>

#include "platform.h"

namespace platform {

void prepareProcess() {
    // The OpenGL canvas draws through GLX; on Wayland that needs the X11 back end.
    if (std::getenv("WAYLAND_DISPLAY"))
        setenv("GDK_BACKEND", "x11", 1);
    setTextEncoding();
}

void setTextEncoding() {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    std::setlocale(LC_NUMERIC, "C");
}

char32_t toUpper(char32_t character) {
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return unicode ? static_cast<char32_t>(towupper_l(static_cast<wint_t>(character), unicode)) : character;
}

void setLibrarySearchFolder(const wxString&) {}

} // namespace platform
