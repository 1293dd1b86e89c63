#include "logfiles.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <wx/arrstr.h>
#include <wx/dir.h>
#include <wx/ffile.h>
#include <wx/filename.h>
#include <wx/intl.h>
#include <wx/log.h>

namespace logfiles {

namespace {

constexpr size_t kKept = 10;

constexpr const char* kTimeStamp = "%Y-%m-%d %H:%M:%S";

/// This run's file; null before it is open. Open until the process ends.
std::atomic<std::FILE*> logFile{nullptr};

struct LogFile {
    wxString path;
    std::time_t modified;
};

wxArrayString listLogFiles(const wxString& folder) {
    wxArrayString paths;
    if (folder.empty() || !wxDir::Exists(folder))
        return paths;
    const wxDir dir(folder);
    wxString name;
    for (bool more = dir.IsOpened() && dir.GetFirst(&name, "*.log", wxDIR_FILES); more;
         more = dir.GetNext(&name))
        if (const wxString path = folder + wxFILE_SEP_PATH + name; wxFileName::FileExists(path))
            paths.Add(path);
    return paths;
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
        // What would be lines in a file are boxes on the screen now.
        wxLog::SetLogLevel(wxLOG_Error);
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
    bool readable = !folder.empty() && wxDir::Exists(folder);
    if (readable) {
        const wxLogNull quiet;
        readable = wxDir(folder).IsOpened();
    }
    if (!readable) {
        wxLogError("Could not open log directory: %s", folder);
        return;
    }
    std::vector<LogFile> files;
    for (const wxString& path : listLogFiles(folder))
        files.push_back({path, wxFileModificationTime(path)});
    if (files.size() <= kKept)
        return;
    std::sort(files.begin(), files.end(),
              [](const LogFile& first, const LogFile& second) { return first.modified < second.modified; });
    // This run's file counts as the newest even when others bear a time in the future.
    const auto own =
        std::find_if(files.begin(), files.end(), [&](const LogFile& file) { return file.path == current; });
    if (own != files.end())
        std::rotate(own, own + 1, files.end());
    files.resize(files.size() - kKept);
    for (const LogFile& file : files) {
        const bool removed = [&] {
            const wxLogNull quiet;
            return wxRemoveFile(file.path);
        }();
        if (removed)
            wxLogMessage("Deleted old log file: %s", file.path);
        else
            wxLogError("Failed to remove log file: %s", file.path);
    }
}

void logUnhandledExceptions() {
    std::set_terminate(endWithLogLine);
}

} // namespace logfiles
