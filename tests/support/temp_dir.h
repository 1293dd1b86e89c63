#pragma once

#include <wx/string.h>

#include "support/temp_folder.h"

namespace test {

/// A TempFolder for those who pass paths as wxString.
class TempDir {
public:
    /// Path of a file in the folder, whether it exists or not.
    wxString file(const wxString& name) const { return wxString::FromUTF8(folder_.file(name.utf8_string())); }
    /// Writes a file byte for byte.
    void write(const wxString& name, const std::string& content) const {
        folder_.write(name.utf8_string(), content);
    }
    /// Names in it, sorted.
    std::string listing() const { return folder_.listing(); }
    wxString path() const { return wxString::FromUTF8(folder_.path().u8string()); }

private:
    TempFolder folder_;
};

} // namespace test
