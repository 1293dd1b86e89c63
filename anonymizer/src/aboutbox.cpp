#include "aboutbox.h"

#include <wx/aboutdlg.h>
#include <wx/intl.h>

namespace {

constexpr int kFirstYear = 2024;
constexpr const char* kWebSite = "https://www.example.com/tarvex-shroud";

} // namespace

wxString rightsNotice(const std::string& buildDate) {
    const std::string year = buildDate.substr(buildDate.size() - 4);
    return wxString::FromUTF8("\u00a9 ") + wxString::Format("%d-%s Harmo Labs ", kFirstYear, year) +
           _("All rights reserved.");
}

wxAboutDialogInfo aboutInfo() {
    wxAboutDialogInfo info;
    info.SetName("Tarvex Shroud");
    info.SetVersion("2.0");
    info.SetCopyright(rightsNotice(__DATE__));
    info.SetWebSite(kWebSite);
    return info;
}

void showAboutBox() {
    wxAboutBox(aboutInfo());
}
