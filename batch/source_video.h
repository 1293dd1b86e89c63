#pragma once

#include <cstdint>

#include <wx/string.h>

#include "safeprogress.h"
#include "video_backend.h"

/// What one complete reading tells about a video.
struct SourceVideo {
    /// As scanned; the path is absolute.
    video::VideoInfo info;
    /// Frames the container states, possibly 0.
    int64_t statedFrameCount = 0;
    /// Short name, such as "h264".
    wxString codec;
    bool variableRate = false;
};

/// False, with a reason in `error`, for pipes and devices: opening or reading those can last for ever.
bool canBeReadToItsEnd(const wxString& path, wxString& error);

/// Opens and scans a video. False on failure, with a reason in `error`, and when the program is asked to
/// stop.
bool readSource(const wxString& path, ISafeProgress& progress, SourceVideo& source, wxString& error);
