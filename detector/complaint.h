#pragma once

/// Writes what went wrong to standard error, as one line that names the library. Never throws.
void complain(const char* text) noexcept;
