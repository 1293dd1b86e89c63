#include "logfiles.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <wx/ffile.h>
#include <wx/intl.h>
#include <wx/log.h>

namespace logfiles {

namespace {

constexpr size_t kKept = 10;

constexpr const char* kTimeStamp = "%Y-%m-%d %H:%M:%S";

/// This run's file; null before it is open. Open until the process ends.
std::atomic<std::FILE*> logFile{nullptr};

namespace fs = std::filesystem;

struct LogFile {
    fs::path path;
    fs::file_time_type modified;
};

fs::path pathFrom(const wxString& text) {
    return fs::u8path(text.utf8_string());
}

/// For the eye: a name may be made of bytes that are no text.
wxString textFrom(const fs::path& path) {
    constexpr wxUint32 kLastCharacter = 0x10FFFF;
    std::string bytes = path.u8string();
    const wxString text = wxString::FromUTF8(bytes);
    // The library takes sequences beyond the last character for characters, and then asserts that there are
    // none.
    if (!text.empty() && std::all_of(text.begin(), text.end(), [](const wxUniChar& character) {
            return character.GetValue() <= kLastCharacter;
        }))
        return text;
    std::replace_if(
        bytes.begin(), bytes.end(), [](char byte) { return static_cast<unsigned char>(byte) > 127; }, '?');
    return wxString::FromAscii(bytes.c_str());
}

/// Nothing when the folder can't be opened.
std::optional<std::vector<LogFile>> listLogFiles(const wxString& folder) {
    std::error_code failed;
    fs::directory_iterator entry(pathFrom(folder), failed);
    if (failed)
        return std::nullopt;
    std::vector<LogFile> files;
    // Of a folder that breaks off in between, on a disk that fails, what was read counts.
    for (; !failed && entry != fs::directory_iterator(); entry.increment(failed)) {
        std::error_code ignored;
        const fs::path& path = entry->path();
        const bool isHidden = path.filename().u8string()[0] == '.';
        if (!isHidden && path.extension() == ".log" && entry->is_regular_file(ignored))
            files.push_back({path, entry->last_write_time(ignored)});
    }
    return files;
}

/// The GUI library's log may be what failed, or its lock may be held: this line goes round it.
[[noreturn]] void endWithLogLine() {
    std::string reason = "of an unknown kind";
    try {
        if (const std::exception_ptr exception = std::current_exception())
            std::rethrow_exception(exception);
        reason = "none under way";
    } catch (const std::exception& exception) {
        reason = exception.what();
    } catch (...) {
    }
    char time[32] = "";
    const std::time_t now = std::time(nullptr);
    // Null for years that no number holds.
    if (const std::tm* local = std::localtime(&now))
        std::strftime(time, sizeof time, kTimeStamp, local);
    std::FILE* target = logFile ? logFile.load() : stderr;
    std::fprintf(target, "%s: Error: Unhandled exception: %s\n", time, reason.c_str());
    std::fflush(target);
    std::abort();
}

} // namespace

wxString nameFor(const wxDateTime& start) {
    wxString name = start.FormatISOCombined('T') + ".log";
    name.Replace(":", "_");
    return name;
}

void logTo(const wxString& path) {
    std::FILE* file = path.empty() ? nullptr : wxFopen(path, "a");
    if (!file) {
        if (!path.empty())
            wxLogError(_("Log file %s could not be opened"), path);
        return;
    }
    auto target = std::make_unique<wxLogStderr>(file, wxConvUTF8);
    wxLog::SetTimestamp(kTimeStamp);
    logFile = file;
    delete wxLog::SetActiveTarget(target.release());
}

void delOldLogFiles(const wxString& folder, const wxString& current) {
    const std::optional<std::vector<LogFile>> found = listLogFiles(folder);
    if (!found) {
        wxLogError("Could not open log directory: %s", folder);
        return;
    }
    if (found->size() <= kKept)
        return;
    std::vector<LogFile> files = *found;
    std::sort(files.begin(), files.end(),
              [](const LogFile& first, const LogFile& second) { return first.modified < second.modified; });
    // This run's file counts as the newest even when others bear a time in the future.
    const auto own = std::find_if(files.begin(), files.end(),
                                  [&](const LogFile& file) { return file.path == pathFrom(current); });
    if (own != files.end())
        std::rotate(own, own + 1, files.end());
    files.resize(files.size() - kKept);
    for (const LogFile& file : files) {
        std::error_code failed;
        if (fs::remove(file.path, failed))
            wxLogMessage("Deleted old log file: %s", textFrom(file.path));
        else if (failed) // another start may have removed it
            wxLogError("Failed to remove log file: %s", textFrom(file.path));
    }
}

void logUnhandledExceptions() {
    std::set_terminate(endWithLogLine);
}

} // namespace logfiles
