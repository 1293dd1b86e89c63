#pragma once

#include <vector>

#include <wx/string.h>

#include "aiworker.h"
#include "video_backend.h"

/// What the user should know about a video before relying on it, in words; usually nothing. `variableRate`:
/// the scan found frames that are not evenly spaced in time.
std::vector<wxString> noticesFor(const video::VideoInfo& info, bool variableRate);

/// What the user should know about a detection pass before relying on it, in words; usually nothing.
std::vector<wxString> noticesFor(const AiReport& report);
