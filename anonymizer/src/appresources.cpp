#include "appresources.h"

#include <wx/filename.h>
#include <wx/stdpaths.h>

namespace appresources {

namespace {

constexpr const char* kImages = "resources/images";

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
    return findFolder(executableFolder(), kImages);
}

wxString iconFile() {
    return iconFile(executableFolder());
}

wxString iconFile(const wxString& executableFolder) {
    wxFileName folder = wxFileName::DirName(findFolder(executableFolder, kImages));
    folder.RemoveLastDir();
    folder.RemoveLastDir();
    folder.AppendDir("Resources");
    folder.AppendDir("Icons");
    folder.SetFullName("tarvex_shroud.ico");
    return folder.GetFullPath();
}

} // namespace appresources
