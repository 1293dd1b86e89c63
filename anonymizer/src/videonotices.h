#pragma once

#include <vector>

#include <wx/string.h>

#include "video_backend.h"

/// What the user should know about a video before relying on it, in words; usually nothing.
std::vector<wxString> noticesFor(const video::VideoInfo& info);
