#include "appresources.h"

#include <wx/filename.h>
#include <wx/stdpaths.h>

namespace appresources {

namespace {

wxString executableFolder() {
    return wxFileName(wxStandardPaths::Get().GetExecutablePath()).GetPath();
}

} // namespace

wxString findFolder(const wxString& executableFolder, const wxString& subfolder) {
    wxFileName twoUp = wxFileName::DirName(executableFolder);
    const wxString beside = executableFolder + wxFILE_SEP_PATH + subfolder;
    if (wxFileName::DirExists(beside) || twoUp.GetDirCount() < 2)
        return beside;
    twoUp.RemoveLastDir();
    twoUp.RemoveLastDir();
    const wxString above = twoUp.GetPathWithSep() + subfolder;
    return wxFileName::DirExists(above) ? above : beside;
}

wxString languagesFolder() {
    return findFolder(executableFolder(), "languages");
}

wxString imagesFolder() {
    return findFolder(executableFolder(), "resources/images");
}

wxString iconFile() {
    return findFolder(executableFolder(), "Resources/Icons") + wxFILE_SEP_PATH + "tarvex_shroud.ico";
}

} // namespace appresources
