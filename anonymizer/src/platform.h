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

/// The first call of `main`, before the GUI library starts and any thread exists: the window system that
/// OpenGL needs, and `setTextEncoding`.
void prepareProcess();

/// Text of the process is UTF-8 whatever the user's locale, and numbers have a decimal point. To be called
/// again after every change of the locale.
void setTextEncoding();

/// Upper case of one character by Unicode's rules, whatever the locale.
char32_t toUpper(char32_t character);

/// Makes `folder` the place where the libraries that a loaded library needs are looked for, where the system
/// has such a setting (Windows); nothing elsewhere.
void setLibrarySearchFolder(const wxString& folder);

} // namespace platform
