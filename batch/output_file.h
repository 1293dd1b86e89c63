#pragma once

#include <vector>

#include <wx/string.h>

/// A file that takes the place of the target only when it is finished: it is written beside the target, under
/// a name of its own with the same ending, and gone with this object unless `commit` succeeded. So is the
/// copy of the old target, unless `revert` failed.
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

    /// Puts the draft on disk. False on failure, with a reason in `error`.
    bool sync(wxString& error);

    /// Keeps a copy of the file that is to be replaced as it is now, for `revert`. A later call replaces the
    /// copy of an earlier one. False on failure, with a reason in `error`; nothing can be reverted then.
    bool keepOld(wxString& error);

    /// Puts the draft in the target's place, after `sync`. False on failure, with a reason in `error`; the
    /// target is then as before.
    bool commit(wxString& error);

    /// Undoes a `commit` that `keepOld` came before: the target is what it was, or gone if there was none.
    /// False on failure; `left` is then the path of the copy of the old target, which is left there, or empty
    /// if there was no old target.
    bool revert(wxString& left);

private:
    bool createDraft(wxString& draft, wxString& error);
    void dropOld();

    wxString target_;
    /// The target's as it was given, with its dot.
    wxString ending_;
    wxString draft_;
    /// Copy of the old target; empty when there was none.
    wxString old_;
};
