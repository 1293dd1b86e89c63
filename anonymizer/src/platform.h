#pragma once

#include <wx/string.h>

/// Everything that differs between operating systems, one source file per system. All paths are UTF-8-safe
/// wxStrings.
namespace platform {

/// True when both paths name one existing file, links included. False when either does not exist.
bool isSameFile(const wxString& first, const wxString& second);

/// Renames within one folder, replacing the target in one step. False on failure; the target is then as
/// before.
bool replaceFile(const wxString& from, const wxString& to);

/// Asks the system to put the file's content on the disk. False when it reports an error.
bool syncToDisk(const wxString& path);

} // namespace platform
