#pragma once

#include <string>

/// Name of a language in that language, UTF-8, for a two-letter code; empty for an unknown code. Written as
/// the language writes it within a sentence, so the first letter may be small.
std::string nativeName(const std::string& code);
