#include "languagedialog.h"

#include <algorithm>
#include <clocale>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wx/choicdlg.h>
#include <wx/frame.h>
#include <wx/intl.h>
#include <wx/listbox.h>
#include <wx/stattext.h>

#include "gui_support.h"
#include "languages.h"
#include "settings.h"
#include "support/temp_folder.h"

namespace {

class LanguageDialog : public testing::Test {
protected:
    LanguageDialog() : window_(new wxFrame(nullptr, wxID_ANY, "Window")) {
        if (std::filesystem::exists(config()))
            std::filesystem::remove(config());
        settings::writeFirstRunDefaults();
    }
    ~LanguageDialog() override {
        languages::applyLanguage({"English", 175});
        window_->Destroy();
        test::runPending();
    }
    static std::string config() { return settings::configPath().utf8_string(); }

    /// Shows the dialog; the user chooses `name`, or cancels when it is empty, or answers so without a
    /// choice.
    void choose(const std::string& name, int withoutChoice = wxID_CANCEL) {
        test::DialogAnswers answers;
        answers.onOther([&](wxDialog* dialog) {
            auto* list = dynamic_cast<wxSingleChoiceDialog*>(dialog);
            EXPECT_TRUE(list);
            caption_ = dialog->GetTitle().utf8_string();
            message_ = messageOf(*dialog);
            const wxListBox* box = boxOf(dialog);
            offered_.clear();
            for (unsigned row = 0; row < box->GetCount(); ++row)
                offered_.push_back(box->GetString(row).utf8_string());
            selected_ = box->GetStringSelection().utf8_string();
            buttons_.clear();
            for (const int id : {wxID_OK, wxID_CANCEL})
                if (const wxWindow* button = dialog->FindWindow(id))
                    buttons_.push_back(button->GetLabel());
            if (name.empty())
                return withoutChoice;
            list->SetSelection(box->FindString(wxString::FromUTF8(name)));
            return static_cast<int>(wxID_OK);
        });
        chooseLanguage(window_);
    }
    /// Its lines joined.
    static std::string messageOf(const wxDialog& dialog) {
        wxString message;
        for (const wxWindow* child : dialog.GetChildren())
            if (const auto* line = dynamic_cast<const wxStaticText*>(child))
                message += (message.empty() ? "" : " ") + line->GetLabelText();
        message.Replace("\n", " ");
        return message.utf8_string();
    }
    static wxListBox* boxOf(wxWindow* window) {
        for (wxWindow* child : window->GetChildren())
            if (auto* box = dynamic_cast<wxListBox*>(child))
                return box;
        return nullptr;
    }

    wxFrame* window_;
    std::string caption_;
    std::string message_;
    std::vector<std::string> offered_;
    std::string selected_;
    std::vector<wxString> buttons_;
};

} // namespace

TEST_F(LanguageDialog, OffersTheBuiltCatalogsAndEnglish) {
    choose({});
    EXPECT_EQ(caption_, "Select language");
    EXPECT_EQ(message_, "A restart will be required for the language change to take effect.");
    EXPECT_THAT(offered_, testing::IsSupersetOf({"Deutsch", "English"}));
    EXPECT_TRUE(std::is_sorted(offered_.begin(), offered_.end()));
}

TEST_F(LanguageDialog, CancellingWritesNothing) {
    const std::string before = test::readFile(config());
    choose({});
    EXPECT_EQ(test::readFile(config()), before);
}

TEST_F(LanguageDialog, AChoiceIsAppliedAndStored) {
    choose("Deutsch");
    EXPECT_EQ(_("Playback speed"), "Wiedergabegeschwindigkeit");
    EXPECT_TRUE(settings::readBool(settings::kUserLanguage));
    EXPECT_EQ(settings::readInt(settings::kLanguage), languages::currentLanguage());
    choose({});
    EXPECT_EQ(selected_, "Deutsch");
}

TEST_F(LanguageDialog, EnglishCanBeTakenBack) {
    choose("Deutsch");
    choose("English");
    EXPECT_EQ(_("Playback speed"), "Playback speed");
    EXPECT_EQ(wxString(wxPLURAL("%d second", "%d seconds", 2)), "%d seconds");
    EXPECT_EQ(settings::readInt(settings::kLanguage), 175);
}

TEST_F(LanguageDialog, NothingIsSelectedWhenTheLanguageInForceIsNotOffered) {
    languages::applyLanguage({"", wxLANGUAGE_ZULU});
    const std::string before = test::readFile(config());
    choose({}, wxID_OK);
    EXPECT_EQ(selected_, "");
    EXPECT_EQ(languages::currentLanguage(), wxLANGUAGE_ZULU);
    EXPECT_EQ(test::readFile(config()), before);
}

TEST_F(LanguageDialog, NoTwoButtonsHaveTheSameLetterInAnyLanguage) {
    for (const languages::Entry& entry : languages::buildLanguageTable()) {
        languages::applyLanguage(entry);
        choose({});
        EXPECT_THAT(buttons_, testing::SizeIs(2)) << entry.name;
        std::set<wxString> letters;
        for (const wxString& label : buttons_) {
            const bool isNew =
                !label.Contains("&") || letters.insert(label.AfterFirst('&').Left(1).Lower()).second;
            EXPECT_TRUE(isNew) << entry.name << ": " << label;
        }
    }
}

TEST_F(LanguageDialog, NumbersKeepTheirDecimalPointInEveryLanguage) {
    choose("Deutsch");
    EXPECT_EQ(wxString::Format("%.1f", 0.5), "0.5");
    EXPECT_EQ(std::string(std::setlocale(LC_NUMERIC, nullptr)), "C");
}

TEST_F(LanguageDialog, AStoredChoiceIsAppliedAtTheNextStart) {
    choose("Deutsch");
    languages::applyLanguage({"English", 175});
    languages::applyStoredChoice();
    EXPECT_EQ(_("Mode"), "Modus");
}

TEST_F(LanguageDialog, AStoredChoiceWithoutTheFlagOrWithoutACatalogIsIgnored) {
    choose("Deutsch");
    languages::applyLanguage({"English", 175});
    settings::writeBool(settings::kUserLanguage, false);
    languages::applyStoredChoice();
    EXPECT_EQ(_("Mode"), "Mode");
    settings::writeBool(settings::kUserLanguage, true);
    settings::writeInt(settings::kLanguage, 100000);
    languages::applyStoredChoice();
    EXPECT_EQ(_("Mode"), "Mode");
}

TEST_F(LanguageDialog, AChoiceWritesTheFlagBeforeTheLanguage) {
    std::filesystem::remove(config());
    choose("Deutsch");
    EXPECT_THAT(test::readFile(config()), testing::MatchesRegex("userlang=1\nlang=[0-9]+\n"));
}
