#pragma once

#include <wx/string.h>

/// Files that take another one's place when they are finished. None of the functions logs or throws.
namespace draftfile {

/// The file that writing to `path` would write to: absolute, at the end of a chain of links, also where
/// nothing exists yet. A finished draft belongs there, so that the links stay.
wxString placeOf(const wxString& path);

/// Creates an empty file in the folder of `place`, named `prefix`, a few random letters and `suffix`. It has
/// the permissions of the file at `place`, those any new file gets if there is none. Returns its absolute
/// path; empty on failure, `errno` says why.
wxString create(const wxString& place, const wxString& prefix, const wxString& suffix);

} // namespace draftfile
