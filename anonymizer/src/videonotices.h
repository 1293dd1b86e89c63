#pragma once

#include <cstdint>
#include <vector>

#include <wx/string.h>

#include "aiworker.h"
#include "video_backend.h"

/// What the user should know about a video before relying on it, in words; usually nothing. `variableRate`:
/// the scan found frames that are not evenly spaced in time.
std::vector<wxString> noticesFor(const video::VideoInfo& info, bool variableRate);

/// What the user should know about a detection pass before relying on it, in words; usually nothing.
std::vector<wxString> noticesFor(const AiReport& report);

/// What the user should know about an exported file, in words; usually nothing. `skippedFrames`: how many
/// frames of the video are missing in it (exportworker.h).
std::vector<wxString> noticesForExport(int64_t skippedFrames);
