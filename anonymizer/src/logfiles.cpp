#include "logfiles.h"

#include <algorithm>
#include <ctime>
#include <memory>
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

} // namespace

wxString nameFor(const wxDateTime& start) {
    wxString name = start.FormatISOCombined('T') + ".log";
    name.Replace(":", "_");
    return name;
}

void logTo(const wxString& path) {
    if (path.empty())
        return;
    std::FILE* file = wxFopen(path, "a");
    if (!file) {
        wxLogError(_("Log file %s could not be opened"), path);
        return;
    }
    auto target = std::make_unique<wxLogStderr>(file, wxConvUTF8);
    wxLog::SetTimestamp("%Y-%m-%d %H:%M:%S");
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

} // namespace logfiles
