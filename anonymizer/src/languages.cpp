#include "languages.h"

#include <algorithm>
#include <memory>
#include <set>

#include <wx/ffile.h>
#include <wx/filename.h>
#include <wx/intl.h>
#include <wx/log.h>
#include <wx/translation.h>

#include "appresources.h"
#include "catalogcheck.h"
#include "nativenames.h"
#include "platform.h"
#include "settings.h"

namespace languages {

namespace {

/// The library's plain English, which needs no catalog.
constexpr int32_t kPlainEnglish = 175;
/// The first identifiers mean the system's language and none known: they may be without a name.
constexpr int32_t kFirstLanguage = 2;

int32_t current = wxLANGUAGE_DEFAULT;
/// Set once a language was chosen rather than found.
bool chosen = false;
wxLayoutDirection direction = wxLayout_LeftToRight;
std::unique_ptr<wxLocale> locale;

wxString codeOf(const wxString& canonicalName) {
    return canonicalName.BeforeFirst('_');
}

/// Null for an identifier that the library does not know, or that stands for nothing here.
const wxLanguageInfo* languageInfo(int32_t id) {
    // Asking for the system's language warns when the system lacks that locale.
    const wxLogNull quiet;
    return wxLocale::GetLanguageInfo(id);
}

std::optional<wxString> libraryName(int32_t id) {
    const wxLanguageInfo* language = languageInfo(id);
    return language ? std::optional<wxString>(language->CanonicalName) : std::nullopt;
}

std::string contentOf(const wxString& path) {
    const wxLogNull quiet;
    wxFFile file(path, "rb");
    if (!file.IsOpened())
        return {};
    std::string content(static_cast<std::size_t>(std::max<wxFileOffset>(file.Length(), 0)), '\0');
    content.resize(file.Read(content.data(), content.size()));
    return content;
}

/// Without its catalog the texts are English. There is no language unknown to the library (null) for which it
/// takes a catalog.
wxLayoutDirection directionOfTexts(bool hasCatalog, const wxLanguageInfo* language) {
    return hasCatalog && language ? language->LayoutDirection : wxLayout_LeftToRight;
}

/// Keeps the program's own catalogs from the library when they are damaged; its texts are English then.
class SoundCatalogsLoader : public wxFileTranslationsLoader {
public:
    explicit SoundCatalogsLoader(const wxString& folder) : folder_(folder) {}

    wxMsgCatalog* LoadCatalog(const wxString& domain, const wxString& language) override {
        const wxString path = wxString::Format("%s/%s/%s.mo", folder_, language, domain);
        if (!wxFileName::FileExists(path) || isSoundCatalog(contentOf(path)))
            return wxFileTranslationsLoader::LoadCatalog(domain, language);
        wxLogMessage("[Languages] Damaged catalog %s is not used", path);
        return nullptr;
    }

private:
    const wxString folder_;
};

void replaceTranslations(const wxString& folder) {
    auto* translations = new wxTranslations;
    translations->SetLoader(new SoundCatalogsLoader(folder));
    wxTranslations::Set(translations);
}

/// A locale that the system lacks is no obstacle: the texts are translated all the same.
void replaceLocale(int32_t id) {
    const wxLogNull quiet;
    locale.reset();
    locale = std::make_unique<wxLocale>();
    locale->Init(id, wxLOCALE_LOAD_DEFAULT);
    platform::setTextEncoding();
}

} // namespace

void initTranslations() {
    initTranslations(appresources::languagesFolder());
}

void initTranslations(const wxString& folder) {
    replaceTranslations(folder);
    wxTranslations* translations = wxTranslations::Get();
    replaceLocale(current);
    wxFileTranslationsLoader::AddCatalogLookupPathPrefix(folder);
    translations->AddCatalog("wxstd", wxLANGUAGE_ENGLISH_US);
    const wxArrayString available = translations->GetAvailableTranslations("main");
    const wxString best = codeOf(translations->GetBestTranslation("main", wxLANGUAGE_ENGLISH_US));
    if (available.Index(best) != wxNOT_FOUND) {
        const bool added = translations->AddCatalog("main", wxLANGUAGE_ENGLISH_US);
        direction = directionOfTexts(added, wxLocale::FindLanguageInfo(best));
        return;
    }
    locale.reset();
    wxTranslations::Set(nullptr);
    replaceLocale(wxLANGUAGE_ENGLISH_US);
    direction = wxLayout_LeftToRight;
}

std::vector<Entry> buildLanguageTable(const wxString& folder, const LanguageQuery& canonicalName) {
    std::vector<Entry> table;
    std::set<wxString> seen;
    for (int32_t id = 0;; ++id) {
        const std::optional<wxString> name = canonicalName(id);
        if (!name) {
            if (id < kFirstLanguage)
                continue;
            return table;
        }
        const wxString code = codeOf(*name);
        const wxString catalog = wxString::Format("%s/%s/main.mo", folder, code);
        if (id != kPlainEnglish && !wxFileName::FileExists(catalog))
            continue;
        if (!seen.insert(code).second)
            continue;
        const wxString native = wxString::FromUTF8(nativeName(code.utf8_string()));
        table.push_back({native.empty() ? code : native, id});
    }
}

std::vector<Entry> buildLanguageTable() {
    return buildLanguageTable(appresources::languagesFolder(), libraryName);
}

void applyLanguage(const Entry& entry) {
    current = entry.id;
    chosen = true;
    // The catalogs of the language before are forgotten with the object that holds them.
    replaceTranslations(appresources::languagesFolder());
    replaceLocale(current);
    const wxLanguageInfo* language = languageInfo(current);
    // Known, since it stands in the table. Left to itself the library takes the first of the user's preferred
    // languages instead, as in a German system with LANGUAGE=en, where "Deutsch" could never be had.
    if (current == wxLANGUAGE_DEFAULT && language)
        wxTranslations::Get()->SetLanguage(language->CanonicalName);
    wxLocale::AddCatalogLookupPathPrefix(appresources::languagesFolder());
    locale->AddCatalog("wxstd");
    const bool added = locale->AddCatalog("main");
    direction = directionOfTexts(added, language);
}

void applyStoredChoice() {
    if (!settings::readBool(settings::kUserLanguage))
        return;
    const int32_t stored = settings::readInt(settings::kLanguage);
    for (const Entry& entry : buildLanguageTable())
        if (entry.id == stored) {
            applyLanguage(entry);
            return;
        }
}

int32_t currentLanguage() {
    return current;
}

bool languageChosen() {
    return chosen;
}

wxLayoutDirection layoutDirection() {
    return direction;
}

std::vector<Entry> forDisplay(std::vector<Entry> entries) {
    for (Entry& entry : entries)
        entry.name = withUpperInitial(entry.name);
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& first, const Entry& second) { return first.name.Cmp(second.name) < 0; });
    return entries;
}

wxString withUpperInitial(const wxString& name) {
    if (name.empty())
        return name;
    const wxUint32 first = name[0].GetValue();
    const bool georgian = first >= 0x10A0 && first <= 0x10FF;
    if (georgian)
        return name;
    return wxString(wxUniChar(platform::toUpper(first))) + name.Mid(1);
}

} // namespace languages
