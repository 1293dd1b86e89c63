#pragma once

#include <wx/datetime.h>
#include <wx/string.h>

/// The log files of the data folder: one per run, the ten newest are kept.
namespace logfiles {

/// Name of the log file of a run that began at `start` (local time), for example 2026-06-25T14_03_09.log.
wxString nameFor(const wxDateTime& start);

/// Makes the file the target of the GUI library's log, appending, each line with a time stamp. On failure
/// the log's target stays, which shows its lines to the user, and gets an error line. With an empty path it
/// stays too.
void logTo(const wxString& path);

/// Removes all but the ten newest "*.log" files of the folder by modification time, never `current`
/// (full path; may be empty), whatever the clock says. Sub-folders and hidden files are left alone. What was
/// done is logged.
void delOldLogFiles(const wxString& folder, const wxString& current);

/// From now on an exception that nobody catches, on any thread, leaves an error line in the log file (on
/// standard error while there is none) before the process ends.
void logUnhandledExceptions();

} // namespace logfiles
