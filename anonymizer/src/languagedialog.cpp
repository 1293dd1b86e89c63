#include "languagedialog.h"

#include <algorithm>

#include <wx/choicdlg.h>
#include <wx/intl.h>

#include "languages.h"
#include "settings.h"

void chooseLanguage(wxWindow* parent) {
    const std::vector<languages::Entry> entries = languages::forDisplay(languages::buildLanguageTable());
    wxArrayString names;
    int selected = wxNOT_FOUND;
    for (const languages::Entry& entry : entries) {
        if (entry.id == languages::currentLanguage())
            selected = static_cast<int>(names.size());
        names.Add(entry.name);
    }
    wxSingleChoiceDialog dialog(parent,
                                _("A restart will be required for the language change to take effect."),
                                _("Select language"), names);
    dialog.SetSelection(selected);
    if (dialog.ShowModal() != wxID_OK || dialog.GetSelection() == wxNOT_FOUND)
        return;
    languages::applyLanguage(entries[static_cast<size_t>(dialog.GetSelection())]);
    if (languages::languageChosen()) {
        settings::writeBool(settings::kUserLanguage, true);
        settings::writeInt(settings::kLanguage, languages::currentLanguage());
    }
}
