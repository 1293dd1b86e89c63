#include "languagedialog.h"

#include <algorithm>

#include <wx/choicdlg.h>
#include <wx/intl.h>
#include <wx/listbox.h>

#include "languages.h"
#include "settings.h"

namespace {

/// The library's dialog selects the first name by itself and can't be told to select none.
class LanguageDialog : public wxSingleChoiceDialog {
public:
    using wxSingleChoiceDialog::wxSingleChoiceDialog;

    void select(int selection) {
        m_listbox->SetSelection(selection);
        m_selection = selection;
    }
};

} // namespace

void chooseLanguage(wxWindow* parent) {
    const std::vector<languages::Entry> entries = languages::forDisplay(languages::buildLanguageTable());
    wxArrayString names;
    int selected = wxNOT_FOUND;
    for (const languages::Entry& entry : entries) {
        if (entry.id == languages::currentLanguage())
            selected = static_cast<int>(names.size());
        names.Add(entry.name);
    }
    LanguageDialog dialog(parent, _("A restart will be required for the language change to take effect."),
                          _("Select language"), names);
    dialog.select(selected);
    if (dialog.ShowModal() != wxID_OK || dialog.GetSelection() == wxNOT_FOUND)
        return;
    languages::applyLanguage(entries[static_cast<size_t>(dialog.GetSelection())]);
    // Always, now that one was applied.
    if (languages::languageChosen()) {
        settings::writeBool(settings::kUserLanguage, true);
        settings::writeInt(settings::kLanguage, languages::currentLanguage());
    }
}
