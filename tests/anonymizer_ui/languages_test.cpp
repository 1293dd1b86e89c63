#include "languages.h"

#include <clocale>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <wx/intl.h>
#include <wx/log.h>

#include "support/temp_folder.h"

namespace fs = std::filesystem;
using languages::buildLanguageTable;
using languages::Entry;
using languages::forDisplay;
using languages::withUpperInitial;

namespace {

/// A `languages` folder with empty catalogs; the table asks for their existence only.
class LanguageTable : public testing::Test {
protected:
    void makeCatalog(const std::string& code) {
        fs::create_directory(folder_.path() / code);
        folder_.write(code + "/main.mo", "");
    }
    wxString folder() const { return wxString::FromUTF8(folder_.path().u8string()); }

    /// As the GUI library answers here.
    static std::optional<wxString> fromLibrary(int32_t id) {
        const wxLogNull quiet;
        const wxLanguageInfo* language = wxLocale::GetLanguageInfo(id);
        return language ? std::optional<wxString>(language->CanonicalName) : std::nullopt;
    }
    std::vector<std::string> offered() const {
        std::vector<std::string> names;
        for (const Entry& entry : forDisplay(buildLanguageTable(folder(), fromLibrary)))
            names.push_back(entry.name.utf8_string());
        return names;
    }

    test::TempFolder folder_;
};

/// A language list with gaps.
languages::LanguageQuery listOf(std::map<int32_t, wxString> names) {
    return [names](int32_t id) -> std::optional<wxString> {
        const auto name = names.find(id);
        return name == names.end() ? std::nullopt : std::optional<wxString>(name->second);
    };
}

std::vector<int32_t> idsOf(const std::vector<Entry>& entries) {
    std::vector<int32_t> ids;
    for (const Entry& entry : entries)
        ids.push_back(entry.id);
    return ids;
}

} // namespace

TEST_F(LanguageTable, AnEmptyFolderOffersExactlyEnglish) {
    EXPECT_EQ(offered(), std::vector<std::string>{"English"});
    const auto table = buildLanguageTable(folder(), fromLibrary);
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(table[0].id, 175);
}

TEST_F(LanguageTable, AMissingFolderOffersExactlyEnglish) {
    EXPECT_EQ(buildLanguageTable("/no/such/folder", fromLibrary).size(), 1u);
}

TEST_F(LanguageTable, GermanAndFinnishCatalogsStandAroundEnglish) {
    makeCatalog("de");
    makeCatalog("fi");
    EXPECT_EQ(offered(), (std::vector<std::string>{"Deutsch", "English", "Suomi"}));
}

TEST_F(LanguageTable, TheSameHoldsInTheCLocale) {
    makeCatalog("de");
    makeCatalog("fi");
    makeCatalog("cs");
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "C");
    const auto names = offered();
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_EQ(names, (std::vector<std::string>{"Deutsch", "English", "Suomi", "\u010ce\u0161tina"}));
}

TEST_F(LanguageTable, ACodeWithoutANativeNameIsShownAsItself) {
    fs::create_directory(folder_.path() / "haw");
    folder_.write("haw/main.mo", "");
    EXPECT_EQ(offered(), (std::vector<std::string>{"English", "Haw"}));
}

TEST_F(LanguageTable, AFolderWithoutACatalogIsNotOffered) {
    fs::create_directory(folder_.path() / "de");
    fs::create_directories(folder_.path() / "fi" / "main.mo");
    EXPECT_EQ(offered(), std::vector<std::string>{"English"});
}

TEST_F(LanguageTable, TheFirstIdentifierOfACodeIsKept) {
    makeCatalog("de");
    makeCatalog("en");
    const auto table = buildLanguageTable(
        folder(), listOf({{0, "en_US"}, {2, "de_AT"}, {3, "de"}, {4, "en_GB"}, {5, "de_DE"}}));
    EXPECT_EQ(idsOf(table), (std::vector<int32_t>{0, 2}));
}

TEST_F(LanguageTable, TheWalkGoesOverTheFirstTwoGapsAndEndsAtTheNext) {
    makeCatalog("de");
    makeCatalog("fi");
    makeCatalog("sv");
    EXPECT_EQ(idsOf(buildLanguageTable(folder(), listOf({{2, "de"}, {3, "fi"}, {5, "sv"}}))),
              (std::vector<int32_t>{2, 3}));
}

TEST(LanguageNames, OnlyTheFirstCharacterBecomesUpperCase) {
    EXPECT_EQ(withUpperInitial("suomi"), "Suomi");
    EXPECT_EQ(withUpperInitial("chiShona"), "ChiShona");
    EXPECT_EQ(withUpperInitial(wxString::FromUTF8("limba rom\u00e2n\u0103")),
              wxString::FromUTF8("Limba rom\u00e2n\u0103"));
    EXPECT_EQ(withUpperInitial(wxString::FromUTF8("\u010de\u0161tina")),
              wxString::FromUTF8("\u010ce\u0161tina"));
    EXPECT_EQ(
        withUpperInitial(wxString::FromUTF8("\u0443\u043a\u0440\u0430\u0457\u043d\u0441\u044c\u043a\u0430")),
        wxString::FromUTF8("\u0423\u043a\u0440\u0430\u0457\u043d\u0441\u044c\u043a\u0430"));
    EXPECT_EQ(withUpperInitial(""), "");
}

TEST(LanguageNames, ScriptsWithoutCaseAndGeorgianStay) {
    for (const char* name :
         {"\u4e2d\u6587", "\u0627\u0644\u0639\u0631\u0628\u064a\u0629", "\u05e2\u05d1\u05e8\u05d9\u05ea",
          "\u10e5\u10d0\u10e0\u10d7\u10e3\u10da\u10d8", "\ud55c\uad6d\uc5b4"})
        EXPECT_EQ(withUpperInitial(wxString::FromUTF8(name)).utf8_string(), name);
}

TEST(LanguageNames, AreSortedByCodePointAfterTheChange) {
    const auto sorted = forDisplay({{wxString::FromUTF8("\u65e5\u672c\u8a9e"), 1},
                                    {"suomi", 2},
                                    {"Zulu", 3},
                                    {"dansk", 4},
                                    {wxString::FromUTF8("\u010de\u0161tina"), 5},
                                    {"Deutsch", 6}});
    EXPECT_EQ(idsOf(sorted), (std::vector<int32_t>{4, 6, 2, 3, 5, 1}));
}
