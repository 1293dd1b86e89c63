#pragma once

#include <wx/string.h>

#include "options.h"
#include "video_backend.h"

/// Loads the installed detection library. False when there is none, with a reason in `error`: an export that
/// was to hide people must not go on without.
bool findDetector(wxString& error);

/// Adds the persons and faces of the whole video to the store, as the window's command does. The user's
/// stored settings are neither used nor changed. False, with a reason in `error`, when some frame was not
/// looked at or the program was asked to stop; what the library did wrong besides is told as a warning.
bool detectInto(const Options& options, const video::VideoInfo& info, wxString& error);

/// Writes what stands in the store, one line per frame and rectangle. False on failure, with a reason in
/// `error`.
bool writeDetections(const wxString& path, wxString& error);
