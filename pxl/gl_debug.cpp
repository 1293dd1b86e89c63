#include "pxl/gl_debug.h"

#include <array>
#include <utility>

namespace pxl {

namespace {

// The values of GL_DEBUG_TYPE_… and GL_DEBUG_SEVERITY_…, spelt out: this file needs no GL header.
constexpr uint32_t typeError = 0x824C;
constexpr uint32_t typeOther = 0x8251;
constexpr uint32_t severityNotification = 0x826B;

constexpr std::array<std::pair<uint32_t, const char*>, 9> typeNames = {{
    {typeError, "ERROR"},
    {0x824D, "DEPRECATED BEHAVIOR"},
    {0x824E, "UNDEFINED BEHAVIOR"},
    {0x824F, "PORTABILITY"},
    {0x8250, "PEROFRMANCE"},
    {typeOther, "OTHER"},
    {0x8268, "MARKER"},
    {0x8269, "PUSH GROUP"},
    {0x826A, "POP GROUP"},
}};

constexpr std::array<std::pair<uint32_t, const char*>, 4> severityNames = {{
    {0x9146, "HIGH"},
    {0x9147, "MEDIUM"},
    {0x9148, "LOW"},
    {severityNotification, "NOTIFICATION"},
}};

template <typename Table>
std::string find(const Table& table, uint32_t value) {
    for (const auto& [known, name] : table) {
        if (known == value)
            return name;
    }
    return {};
}

} // namespace

std::string debugTypeName(uint32_t type) {
    return find(typeNames, type);
}

std::string debugSeverityName(uint32_t severity) {
    return find(severityNames, severity);
}

std::optional<std::string> debugLine(uint32_t type, uint32_t severity, const std::string& message) {
    if (type == typeOther && severity == severityNotification)
        return std::nullopt;
    if (type == typeError)
        return "GL (" + debugTypeName(type) + ":" + debugSeverityName(severity) + ") " + message;
    if (severity == severityNotification)
        return "GL (" + debugTypeName(type) + ") " + message;
    return std::nullopt;
}

} // namespace pxl
