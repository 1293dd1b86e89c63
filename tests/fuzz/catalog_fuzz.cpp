// Any bytes as a message catalog, checked, loaded and used through the library as the program does it.
#include <wx/arrstr.h>
#include <wx/translation.h>

#include "catalogcheck.h"
#include "fuzz/fuzz_target.h"

namespace {

/// Offers the input as the one catalog there is.
class InputLoader : public wxTranslationsLoader {
public:
    InputLoader(const uint8_t* data, size_t size)
        : bytes_(wxScopedCharBuffer::CreateNonOwned(reinterpret_cast<const char*>(data), size)) {}

    wxMsgCatalog* LoadCatalog(const wxString& domain, const wxString&) override {
        return wxMsgCatalog::CreateFromData(bytes_, domain);
    }
    wxArrayString GetAvailableTranslations(const wxString&) const override {
        wxArrayString languages;
        languages.Add("de");
        return languages;
    }

private:
    wxScopedCharBuffer bytes_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (!isSoundCatalog(fuzz::text(data, size)))
        return 0;
    wxTranslations translations;
    translations.SetLoader(new InputLoader(data, size));
    translations.SetLanguage("de");
    if (!translations.AddCatalog("main", wxLANGUAGE_ENGLISH_US))
        return 0;
    translations.GetHeaderValue("Content-Type");
    for (const char* message : {"", "Open", "Export", "Cancel", "%d frame", "no such text"}) {
        translations.GetTranslatedString(message);
        for (const unsigned count : {0u, 1u, 2u, 5u, 11u, 1000000u})
            if (const wxString* found = translations.GetTranslatedString(message, count))
                fuzz::require(found->length() <= size, "a text lies within the catalog");
    }
    return 0;
}
