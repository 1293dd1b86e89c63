#pragma once

#include <cstdint>

#include <wx/string.h>

/// The four persistent settings, in `config.ini` in the per-user data folder. Every call opens the file,
/// does its one operation and closes it; a write is on disk when the call returns. Callable from any thread.
///
/// Several threads and processes may write at once: each write keeps what the others wrote, and a reader
/// sees the file before or after a write, never in between. What can't be understood in the file is passed
/// over in silence.
namespace settings {

/// Keys.
constexpr const char* kGpu = "gpu";
constexpr const char* kPreblurSeconds = "preblursec";
constexpr const char* kUserLanguage = "userlang";
constexpr const char* kLanguage = "lang";

/// The user's configuration folder, which holds the data folder. Asking creates nothing.
wxString userConfigFolder();

/// Folder of settings and logs, created when missing. Empty when it can't be created.
wxString dataFolder();

/// Full path of `config.ini`, also when the folder could not be created.
wxString configPath();

/// 0 when absent or unreadable. Both readers are silent.
int32_t readInt(const wxString& key);
/// False when absent or unreadable.
bool readBool(const wxString& key);
/// Silent on failure, apart from the library's own log line; the file is then as before.
void writeInt(const wxString& key, int32_t value);
void writeBool(const wxString& key, bool value);

/// Creates `config.ini` with the four keys: gpu on, one second of pre-blur, no chosen language. Does nothing
/// when the file exists.
void writeFirstRunDefaults();

} // namespace settings
