#pragma once

#include <wx/string.h>

class wxWindow;

constexpr const wchar_t* kEllipsis = L"\u2026";

/// The text in lines no wider than `width` pixels in the window's font: broken at blanks, and within a word
/// that is wider than a line, as in scripts that write none. When it takes more than `maxLines` (at least 1)
/// the last line ends with `kEllipsis`.
wxString fitText(const wxWindow& window, const wxString& text, int width, size_t maxLines);
