#pragma once

#include <cstdint>

#include <wx/string.h>

/// The four persistent settings, in `config.ini` in the per-user data folder. Every call opens the file,
/// does its one operation and closes it; a write is on disk when the call returns. Callable from any thread.
namespace settings {

/// Keys.
constexpr const char* kGpu = "gpu";
constexpr const char* kPreblurSeconds = "preblursec";
constexpr const char* kUserLanguage = "userlang";
constexpr const char* kLanguage = "lang";

/// Folder of settings and logs, created when missing. Empty when it can't be created.
wxString dataFolder();

/// Full path of `config.ini`, also when the folder could not be created.
wxString configPath();

/// 0 when absent or unreadable.
int32_t readInt(const wxString& key);
/// False when absent or unreadable.
bool readBool(const wxString& key);
/// Silent on failure, apart from the library's own log line.
void writeInt(const wxString& key, int32_t value);
void writeBool(const wxString& key, bool value);

} // namespace settings
