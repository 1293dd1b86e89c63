#include "mainframe_fixture.h"

#include <map>
#include <stdexcept>

#include <gmock/gmock.h>
#include <wx/app.h>
#include <wx/evtloop.h>
#include <wx/sysopt.h>

#include "commands.h"
#include "hints.h"
#include "languages.h"
#include "logfiles.h"
#include "settings.h"
#include "switches.h"

namespace {

using MainFrameMenu = test::MainFrameTest;

/// "id kind label" of every item of a menu and below, depth first.
void describe(const wxMenu& menu, const std::string& indent, std::vector<std::string>& lines) {
    for (const wxMenuItem* item : menu.GetMenuItems()) {
        if (item->IsSeparator()) {
            lines.push_back(indent + "-");
            continue;
        }
        const char* kind = item->IsRadio() ? "radio " : item->IsCheck() ? "check " : "";
        std::string label = item->GetItemLabel().utf8_string();
        if (const size_t tab = label.find('\t'); tab != std::string::npos)
            label.replace(tab, 1, " | ");
        if (item->GetSubMenu()) {
            lines.push_back(indent + label + " >");
            describe(*item->GetSubMenu(), indent + "  ", lines);
        } else {
            lines.push_back(indent + std::to_string(item->GetId()) + " " + kind + label);
        }
    }
}

std::vector<std::string> describe(const wxMenuBar& bar, size_t position) {
    std::vector<std::string> lines{bar.GetMenuLabel(position).utf8_string()};
    describe(*bar.GetMenu(position), "", lines);
    return lines;
}

/// Adds a pair of labels to `shared` when they have the same underlined letter.
void noteLetter(const wxString& label, std::map<wxString, wxString>& labels,
                std::vector<std::string>& shared) {
    const int mark = label.Find('&');
    if (mark == wxNOT_FOUND)
        return;
    const wxString letter = label.Mid(static_cast<size_t>(mark) + 1, 1).Lower();
    if (const auto [other, isNew] = labels.emplace(letter, label); !isNew)
        shared.push_back((other->second + " and " + label).utf8_string());
}

void findSharedLetters(const wxMenu& menu, std::vector<std::string>& shared) {
    std::map<wxString, wxString> labels;
    for (const wxMenuItem* item : menu.GetMenuItems()) {
        noteLetter(item->GetItemLabel(), labels, shared);
        if (item->GetSubMenu())
            findSharedLetters(*item->GetSubMenu(), shared);
    }
}

std::vector<std::string> sharedLetters(const wxMenuBar& bar) {
    std::vector<std::string> shared;
    std::map<wxString, wxString> labels;
    for (size_t position = 0; position < bar.GetMenuCount(); ++position) {
        noteLetter(bar.GetMenuLabel(position), labels, shared);
        findSharedLetters(*bar.GetMenu(position), shared);
    }
    return shared;
}

} // namespace

TEST_F(MainFrameMenu, NoTwoEntriesOfAMenuHaveTheSameLetterInAnyLanguage) {
    const std::vector<languages::Entry> entries = languages::buildLanguageTable();
    EXPECT_THAT(entries, testing::SizeIs(testing::Gt(15u)));
    for (const languages::Entry& entry : entries) {
        languages::applyLanguage(entry);
        frame_->Destroy();
        test::runPending();
        makeWindow();
        EXPECT_THAT(sharedLetters(*frame_->GetMenuBar()), testing::IsEmpty()) << entry.name;
    }
    languages::applyLanguage({"", wxLANGUAGE_ENGLISH});
}

TEST_F(MainFrameMenu, HasTheThreeMenusWithTheirNumbersAndAccelerators) {
    const wxMenuBar& bar = *frame_->GetMenuBar();
    ASSERT_EQ(bar.GetMenuCount(), 3u);
    EXPECT_THAT(describe(bar, 0),
                testing::ElementsAre("&File", "6000 &Open... | Ctrl+O", "-", "6001 &Export... | Ctrl+E", "-",
                                     testing::StartsWith("5006 &Quit")));
    EXPECT_THAT(describe(bar, 1),
                testing::ElementsAre(
                    "&Tools", "Mode >", "  6107 radio &Blur mode | Ctrl+B",
                    "  6108 radio &Unblur mode | Ctrl+U", "Playback speed >", "  6109 radio 1x",
                    "  6110 radio 4x", "-", "&AI >", "  6002 &Blur humans (slow)", "  &Settings >",
                    "    &Pre-blur >", "      6010 radio 1 second", "      6011 radio 2 seconds",
                    "      6012 radio 3 seconds", "      6013 radio 4 seconds", "      6014 radio 5 seconds",
                    "    Confidence &threshold >", "      6026 radio 10 %", "      6036 radio 20 %",
                    "      6046 radio 30 %", "      6056 radio 40 %", "      6066 radio 50 %",
                    "      6076 radio 60 %", "      6086 radio 70 %", "      6096 radio 80 %",
                    "      6106 radio 90 %", "    -", "    6006 check Use &GPU", "-", "6005 &Reset all"));
    EXPECT_THAT(describe(bar, 2),
                testing::ElementsAre("&Help", "6112 &Language...", testing::StartsWith("5014 &About")));
}

TEST_F(MainFrameMenu, WithoutAVideoOnlyOpeningExitAndHelpWork) {
    EXPECT_TRUE(frame_->GetMenuBar()->IsEnabledTop(0));
    EXPECT_FALSE(frame_->GetMenuBar()->IsEnabledTop(1));
    EXPECT_TRUE(frame_->GetMenuBar()->IsEnabledTop(2));
    for (const int id : {6000, 5006, 6112, 5014})
        EXPECT_TRUE(isEnabled(id)) << id;
    for (const int id : {6001, 6002, 6005, 6006, 6010, 6014, 6026, 6106, 6107, 6108, 6109, 6110})
        EXPECT_FALSE(isEnabled(id)) << id;
}

TEST_F(MainFrameMenu, ChecksWhatIsInForceAtFirst) {
    for (const int id : {6107, 6109, 6010, 6066, 6006})
        EXPECT_TRUE(item(id)->IsChecked()) << id;
}

TEST_F(MainFrameMenu, PreblurChoicesAreInTheFileWhenTheHandlerReturns) {
    openReady("plain.mp4");
    for (int seconds = 5; seconds >= 1; --seconds) {
        command(6009 + seconds);
        EXPECT_THAT(test::readFile(settings::configPath().utf8_string()),
                    testing::HasSubstr("preblursec=" + std::to_string(seconds)));
    }
}

TEST_F(MainFrameMenu, TheGpuItemWritesItsNewState) {
    openReady("plain.mp4");
    command(commands::kUseGpu);
    EXPECT_FALSE(settings::readBool(settings::kGpu));
    command(commands::kUseGpu);
    EXPECT_TRUE(settings::readBool(settings::kGpu));
}

TEST_F(MainFrameMenu, ThresholdSpeedAndModeSetTheirSwitchesAndNoSetting) {
    openReady("plain.mp4");
    const std::string before = test::readFile(settings::configPath().utf8_string());
    for (int percent = 10; percent <= 90; percent += 10) {
        command(6016 + percent);
        EXPECT_EQ(switches::confidenceThreshold, percent);
    }
    command(6110);
    EXPECT_EQ(switches::playbackSpeed, 4);
    command(6109);
    EXPECT_EQ(switches::playbackSpeed, 1);
    command(6108);
    EXPECT_EQ(switches::editingMode, switches::kUnblurMode);
    EXPECT_EQ(switches::hintState, 2);
    EXPECT_EQ(hint(), hintText(2).utf8_string());
    command(6107);
    EXPECT_EQ(switches::editingMode, switches::kBlurMode);
    EXPECT_EQ(switches::hintState, 1);
    EXPECT_EQ(hint(), hintText(1).utf8_string());
    EXPECT_EQ(test::readFile(settings::configPath().utf8_string()), before);
}

TEST_F(MainFrameMenu, TheCanvasKeepsTheHintLineThroughAChangeOfMode) {
    openReady("plain.mp4");
    setHint(hintTextForBlur(kHintRecording, 3));
    switches::hintOverride = true;
    command(6108);
    EXPECT_EQ(hint(), hintTextForBlur(kHintRecording, 3).utf8_string());
    EXPECT_EQ(switches::hintState, 2);
}

TEST_F(MainFrameMenu, ResetForgetsTheBlursAndKeepsTheSettings) {
    openReady("plain.mp4");
    const size_t frames = storedFrames();
    addBlur(3);
    command(6013);
    ASSERT_EQ(blurCount(), 1u);
    command(commands::kResetAll);
    EXPECT_EQ(blurCount(), 0u);
    EXPECT_EQ(storedFrames(), frames);
    EXPECT_EQ(settings::readInt(settings::kPreblurSeconds), 4);
}

TEST_F(MainFrameMenu, SettingsOfEarlierRunsAreChecked) {
    settings::writeInt(settings::kPreblurSeconds, 3);
    settings::writeBool(settings::kGpu, false);
    auto* second = new MainFrame("Second", wxDefaultPosition, wxSize(800, 580));
    EXPECT_TRUE(second->GetMenuBar()->IsChecked(6012));
    EXPECT_FALSE(second->GetMenuBar()->IsChecked(commands::kUseGpu));
    second->Destroy();
}

TEST_F(MainFrameMenu, AHandEditedPreblurShowsTheFirstItemAndStays) {
    for (const int seconds : {0, 6, -3, 900}) {
        settings::writeInt(settings::kPreblurSeconds, seconds);
        auto* second = new MainFrame("Second", wxDefaultPosition, wxSize(800, 580));
        EXPECT_TRUE(second->GetMenuBar()->IsChecked(6010)) << seconds;
        second->Destroy();
        EXPECT_EQ(settings::readInt(settings::kPreblurSeconds), seconds);
    }
}

TEST_F(MainFrameMenu, ASwitchWithoutAnItemShowsTheFirstItemAndStays) {
    switches::confidenceThreshold = 55;
    switches::playbackSpeed = 2;
    frame_->Destroy();
    test::runPending();
    makeWindow();
    openReady("plain.mp4");
    EXPECT_TRUE(item(*commands::thresholdItem(10))->IsChecked());
    EXPECT_TRUE(item(commands::kSpeed1x)->IsChecked());
    EXPECT_EQ(switches::confidenceThreshold, 55);
    EXPECT_EQ(switches::playbackSpeed, 2);
}

TEST_F(MainFrameMenu, NumbersBetweenTheItemsChooseNothing) {
    const std::string before = test::readFile(settings::configPath().utf8_string());
    for (int id = commands::kFirstPreblur; id <= commands::kSpeed4x; ++id)
        if (!frame_->GetMenuBar()->FindItem(id)) {
            wxCommandEvent event(wxEVT_MENU, id);
            frame_->GetEventHandler()->ProcessEvent(event);
        }
    EXPECT_EQ(test::readFile(settings::configPath().utf8_string()), before);
    EXPECT_EQ(switches::confidenceThreshold, 50);
    EXPECT_EQ(switches::editingMode, switches::kBlurMode);
    EXPECT_EQ(switches::playbackSpeed, 1);
    EXPECT_EQ(switches::hintState, kHintNoVideo);
}

TEST_F(MainFrameMenu, TheHintLineShowsAmpersands) {
    setHint("Drag & drop a && b");
    EXPECT_EQ(hint(), "Drag & drop a && b");
}

TEST_F(MainFrameMenu, TheHintLineFollowsTheWindowsWidth) {
    setHint(hintText(kHintNoVideo));
    const int oneLine = hintHeight();
    frame_->SetSize(300, 400);
    ASSERT_TRUE(test::runUntil([&] { return hintHeight() > oneLine; }));
    EXPECT_EQ(hint(), hintText(kHintNoVideo).utf8_string());
    frame_->SetSize(800, 580);
    ASSERT_TRUE(test::runUntil([&] { return hintHeight() == oneLine; }));
}

TEST_F(MainFrameMenu, TheKeypadDoublesAndHalvesTheMosaicWithinItsBounds) {
    const auto press = [this](int key) {
        for (const wxEventType type : {wxEVT_CHAR_HOOK, wxEVT_KEY_DOWN, wxEVT_CHAR, wxEVT_KEY_UP}) {
            wxKeyEvent event(type);
            event.m_keyCode = key;
            event.SetEventObject(frame_);
            frame_->GetEventHandler()->ProcessEvent(event);
        }
        return switches::blurDivisor.load();
    };
    for (const int expected : {100, 200, 400, 400})
        EXPECT_EQ(press(WXK_NUMPAD_ADD), expected);
    for (const int expected : {200, 100, 50, 25, 25})
        EXPECT_EQ(press(WXK_NUMPAD_SUBTRACT), expected);
    for (const int other : {static_cast<int>('+'), static_cast<int>('-'), static_cast<int>(WXK_ADD)})
        EXPECT_EQ(press(other), 25);
}

TEST_F(MainFrameMenu, KeysOfTheMosaicReachTheirWindowLikeEveryOther) {
    std::vector<int> reached;
    frame_->Bind(wxEVT_KEY_DOWN, [&](wxKeyEvent& event) { reached.push_back(event.GetKeyCode()); });
    const std::vector<int> keys{WXK_NUMPAD_ADD, WXK_NUMPAD_SUBTRACT, WXK_SPACE};
    for (const int key : keys) {
        wxKeyEvent event(wxEVT_KEY_DOWN);
        event.m_keyCode = key;
        event.SetEventObject(frame_);
        EXPECT_EQ(wxTheApp->FilterEvent(event), -1) << key;
        frame_->GetEventHandler()->ProcessEvent(event);
    }
    EXPECT_EQ(reached, keys);
    for (const wxEventType other : {wxEVT_KEY_UP, wxEVT_CHAR, wxEVT_CHAR_HOOK}) {
        wxKeyEvent event(other);
        event.m_keyCode = WXK_NUMPAD_ADD;
        EXPECT_EQ(wxTheApp->FilterEvent(event), -1);
    }
    wxCommandEvent command(wxEVT_MENU, commands::kResetAll);
    EXPECT_EQ(wxTheApp->FilterEvent(command), -1);
}

TEST_F(MainFrameMenu, TheWindowHasItsSmallestSize) {
    EXPECT_EQ(frame_->GetMinSize(), wxSize(128, 128));
}

TEST_F(MainFrameMenu, TheLibraryIsToldToLeaveExceptionsAlone) {
    EXPECT_TRUE(wxSystemOptions::HasOption("catch-unhandled-exceptions"));
    EXPECT_EQ(wxSystemOptions::GetOptionInt("catch-unhandled-exceptions"), 0);
}

TEST_F(MainFrameMenu, AnExceptionThatLeavesAHandlerEndsTheProcessWithALogLine) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            logfiles::logUnhandledExceptions();
            frame_->CallAfter([] { throw std::runtime_error("out of film"); });
            // What the library's own entry function does around the event loop.
            try {
                wxGUIEventLoop().Run();
            } catch (...) {
                wxTheApp->OnUnhandledException();
            }
        },
        "Error: Unhandled exception: out of film");
}
