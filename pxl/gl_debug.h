#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace pxl {

/// Name of a driver message's type (GL_DEBUG_TYPE_…) or severity; empty for an unknown value.
std::string debugTypeName(uint32_t type);
std::string debugSeverityName(uint32_t severity);

/// The line that is printed for a driver message, without a line break; none when the message is dropped.
std::optional<std::string> debugLine(uint32_t type, uint32_t severity, const std::string& message);

} // namespace pxl
