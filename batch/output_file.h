#pragma once

#include <vector>

#include <wx/string.h>

/// A file that takes the place of the target only when it is finished: it is written beside the target, under
/// a name of its own with the same ending, and gone with this object unless `commit` succeeded.
class OutputFile {
public:
    enum class Kind { Video, Text };

    OutputFile() = default;
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Says what to replace; nothing is created. Fails, with a reason in `error`, when the target is or would
    /// be one of `sources` (links included), is anything but a regular file, is one that must not be written,
    /// or has no ending of a video although it is to be one.
    bool aimAt(Kind kind, const wxString& target, const std::vector<wxString>& sources, wxString& error);

    /// Creates the draft, with the permissions of the file that it is to replace. False, with a reason in
    /// `error`, when the folder takes no file.
    bool create(wxString& error);

    /// Absolute path of the file to write. Empty before `create`.
    const wxString& draftPath() const { return draft_; }

    /// Puts the draft on disk and in the target's place.
    bool commit(wxString& error);

private:
    wxString target_;
    /// The target's as it was given, with its dot.
    wxString ending_;
    wxString draft_;
};
