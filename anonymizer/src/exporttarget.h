#pragma once

#include <wx/string.h>

/// Rules for the name of the exported file. Pure functions.
namespace exporttarget {

/// Positions in the save dialog's list of file types.
enum Filter : int { kMp4 = 0, kMov = 1 };

/// The type preselected for an export of that video.
Filter filterFor(const wxString& sourcePath);

/// `path` with the ending of the chosen type, unless it ends as a video already, in either type. The empty
/// path stays empty.
wxString withEnding(const wxString& path, int filter);

} // namespace exporttarget
