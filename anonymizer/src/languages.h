#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include <wx/intl.h>
#include <wx/string.h>

/// The language of the texts. User-interface thread only.
namespace languages {

/// A language that can be chosen.
struct Entry {
    wxString name;
    /// The GUI library's identifier.
    int32_t id = 0;
};

/// Takes the system's language if there are texts in it, plain English otherwise. Once, at start-up.
void initTranslations();
/// The same with the catalogs below `folder` (`folder`/de/main.mo).
void initTranslations(const wxString& folder);

/// Languages with a catalog, and English, in the library's order with names as their speakers write them.
std::vector<Entry> buildLanguageTable();

/// Switches the texts fetched from now on. Those on the screen stay.
void applyLanguage(const Entry& entry);

/// Applies the user's stored choice; nothing when there is none or its catalog is gone.
void applyStoredChoice();

/// Identifier of the language applied last; 0, the system's language, before.
int32_t currentLanguage();

/// True once `applyLanguage` has run.
bool languageChosen();

/// Which way the texts fetched now are read; that of windows made from now on.
wxLayoutDirection layoutDirection();

/// Canonical name ("de_AT") of an identifier; nothing when the library has none.
using LanguageQuery = std::function<std::optional<wxString>(int32_t id)>;

/// The table for the catalogs below `folder` (`folder`/de/main.mo) and a list of languages.
std::vector<Entry> buildLanguageTable(const wxString& folder, const LanguageQuery& canonicalName);

/// The entries as the dialog offers them: first letters in upper case, sorted by code point.
std::vector<Entry> forDisplay(std::vector<Entry> entries);

/// Only the first character becomes upper case, by Unicode's rules whatever the locale. Scripts without
/// case stay, and Georgian does, whose capitals no sentence begins with.
wxString withUpperInitial(const wxString& name);

} // namespace languages
