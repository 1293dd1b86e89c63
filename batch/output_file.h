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

    /// Creates the draft. Fails, with a reason in `error`, when the target is one of `sources` (links
    /// included), is anything but a regular file, has no ending of a video although it is to be one, or can't
    /// be written.
    bool create(Kind kind, const wxString& target, const std::vector<wxString>& sources, wxString& error);

    /// Absolute path of the file to write. Empty before `create`.
    const wxString& draftPath() const { return draft_; }

    /// Puts the draft on disk and in the target's place.
    bool commit(wxString& error);

private:
    wxString target_;
    wxString draft_;
};
