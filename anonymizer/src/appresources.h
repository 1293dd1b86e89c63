#pragma once

#include <wx/string.h>

/// Where the files that come with the program lie: each folder is looked for beside the executable first and
/// then two levels up, so the program works from the build tree, installed, and from any working directory.
namespace appresources {

/// Message catalogs: one folder per language code.
wxString languagesFolder();
/// Button images.
wxString imagesFolder();
/// The window icon.
wxString iconFile();

/// The icon in `Resources/Icons`, which lies where the button images are found.
wxString iconFile(const wxString& executableFolder);

/// `executableFolder`/`subfolder`, or the same two levels up when only that exists. `subfolder` uses "/".
wxString findFolder(const wxString& executableFolder, const wxString& subfolder);

} // namespace appresources
