#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wx/intl.h>
#include <wx/translation.h>

#include "hints.h"
#include "languages.h"
#include "support/log_capture.h"
#include "support/message_catalog.h"
#include "support/temp_folder.h"

namespace fs = std::filesystem;

namespace {

/// The start of the program with a `languages` folder of its own. "&Tools" stands for the program's texts,
/// "&Quit" for those of the GUI library.
class Translations : public testing::Test {
protected:
    ~Translations() override {
        const test::TempFolder empty;
        start(empty, "eo");
    }
    void makeCatalog(const std::string& code, const std::string& tools) const {
        write(code + "/main.mo", test::messageCatalog({{"&Tools", tools}}));
    }
    void makeLibraryCatalog(const std::string& code, const std::string& quit) const {
        write(code + "/wxstd.mo", test::messageCatalog({{"&Quit", quit}}));
    }
    void write(const std::string& name, const std::string& content) const {
        fs::create_directories((folder_.path() / name).parent_path());
        folder_.write(name, content);
    }
    void startIn(const std::string& preferred) const { start(folder_, preferred); }
    static std::string tools() { return _("&Tools").utf8_string(); }
    static std::string quit() { return wxGetTranslation("&Quit", "wxstd").utf8_string(); }

    test::TempFolder folder_;

private:
    static void start(const test::TempFolder& folder, const std::string& preferred) {
        const test::Environment system("LC_ALL", "C.UTF-8");
        const test::Environment language("LANGUAGE", preferred);
        languages::initTranslations(wxString::FromUTF8(folder.path().u8string()));
    }
};

} // namespace

TEST_F(Translations, TheSystemsLanguageIsTakenWhenItHasTexts) {
    makeCatalog("de", "&Werkzeuge");
    makeLibraryCatalog("de", "&Beenden");
    startIn("de");
    EXPECT_EQ(tools(), "&Werkzeuge");
    EXPECT_EQ(quit(), "&Beenden");
}

TEST_F(Translations, ACountrysVariantCountsAsItsLanguage) {
    makeCatalog("de", "&Werkzeuge");
    startIn("de_AT");
    EXPECT_EQ(tools(), "&Werkzeuge");
    makeCatalog("de_AT", "&Werkzeug");
    startIn("de_AT");
    EXPECT_NE(tools(), "&Tools");
}

TEST_F(Translations, AVariantWithoutItsLanguageIsNotTaken) {
    makeCatalog("de_AT", "&Werkzeug");
    startIn("de_AT");
    EXPECT_EQ(tools(), "&Tools");
}

TEST_F(Translations, WithoutTextsInTheSystemsLanguageTheLibrarysAreEnglishToo) {
    makeCatalog("de", "&Werkzeuge");
    makeLibraryCatalog("eo", "&Eliri");
    startIn("eo");
    EXPECT_EQ(tools(), "&Tools");
    EXPECT_EQ(quit(), "&Quit");
    startIn("de");
    EXPECT_EQ(tools(), "&Werkzeuge") << "and the next start is free of it";
}

TEST_F(Translations, TheFirstPreferredLanguageWithTextsIsTaken) {
    makeCatalog("de", "&Werkzeuge");
    makeCatalog("fr", "&Outils");
    startIn("eo:fr:de");
    EXPECT_EQ(tools(), "&Outils");
}

TEST_F(Translations, ADamagedCatalogLeavesTheTextsEnglish) {
    write("de/main.mo", test::messageCatalog({{"&Tools", "&Werkzeuge"}}).substr(0, 50));
    startIn("de");
    EXPECT_EQ(tools(), "&Tools");
}

TEST_F(Translations, TheDirectionIsThatOfTheTexts) {
    makeCatalog("ar", "tools in Arabic");
    startIn("ar");
    EXPECT_EQ(languages::layoutDirection(), wxLayout_RightToLeft);
    startIn("fa");
    EXPECT_EQ(languages::layoutDirection(), wxLayout_LeftToRight) << "Persian has no texts, English is read";
}

TEST_F(Translations, WithADamagedCatalogTheDirectionIsThatOfEnglish) {
    const test::LogCapture log;
    for (const std::string code : {"ar", "he"}) {
        makeCatalog(code, "tools from the right");
        startIn(code);
        EXPECT_EQ(languages::layoutDirection(), wxLayout_RightToLeft);
        write(code + "/main.mo", test::messageCatalog({{"&Tools", "tools from the right"}}).substr(0, 50));
        startIn(code);
        EXPECT_EQ(tools(), "&Tools");
        EXPECT_EQ(languages::layoutDirection(), wxLayout_LeftToRight) << code;
    }
}

TEST_F(Translations, AChosenLanguageHasItsDirectionOnlyWithItsCatalog) {
    // The catalogs of this build lie above the tests.
    languages::applyLanguage({"", wxLANGUAGE_HEBREW});
    EXPECT_EQ(languages::layoutDirection(), wxLayout_RightToLeft);
    languages::applyLanguage({"", wxLANGUAGE_FARSI});
    EXPECT_EQ(tools(), "&Tools");
    EXPECT_EQ(languages::layoutDirection(), wxLayout_LeftToRight);
    languages::applyLanguage({"", wxLANGUAGE_DEFAULT});
}

TEST_F(Translations, ADoubleAmpersandOfALabelIsSingleInTheHint) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // The table of hints is built once in a process.
    EXPECT_EXIT(
        {
            write("de/main.mo", test::messageCatalog({{"&File", "&Datei && mehr"}}));
            startIn("de");
            const std::string hint = hintText(kHintNoVideo).utf8_string();
            fs::remove_all(folder_.path());
            std::fprintf(stderr, "%s", hint.c_str());
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "Open the video by selecting Datei & mehr > Open... in the menu");
}

TEST_F(Translations, ACatalogThatIsDamagedOrMayNotBeReadIsToldAndNotUsed) {
    const fs::path catalog = folder_.path() / "de" / "main.mo";
    const std::string told = "[Languages] Damaged catalog " + catalog.u8string() + " is not used";
    {
        write("de/main.mo", "no catalog");
        const test::LogCapture log;
        startIn("de");
        EXPECT_THAT(log.lines(wxLOG_Message), testing::Contains(told));
        EXPECT_EQ(tools(), "&Tools");
    }
    makeCatalog("de", "&Werkzeuge");
    fs::permissions(catalog, fs::perms::none);
    fs::permissions(folder_.path(), fs::perms::others_read | fs::perms::others_exec, fs::perm_options::add);
    const test::LogCapture log;
    const test::WithoutPrivileges ordinaryUser;
    startIn("de");
    EXPECT_THAT(log.lines(wxLOG_Message), testing::Contains(told));
    EXPECT_EQ(tools(), "&Tools");
}
