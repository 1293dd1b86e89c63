#include <wx/intl.h>
#include <wx/menu.h>

#include "aboutbox.h"
#include "commands.h"
#include "hints.h"
#include "languagedialog.h"
#include "mainframe.h"
#include "settings.h"
#include "switches.h"
#include "videocanvas.h"

namespace {

/// Positions in the menu bar.
enum : size_t { kFilePosition, kToolsPosition, kHelpPosition };

wxString withAccelerator(const char* pattern, const wxString& label) {
    return wxString::Format(pattern, label);
}

void enableItems(wxMenu& menu, bool enabled) {
    for (wxMenuItem* item : menu.GetMenuItems()) {
        if (item->IsSeparator())
            continue;
        item->Enable(enabled);
        if (wxMenu* submenu = item->GetSubMenu())
            enableItems(*submenu, enabled);
    }
}

} // namespace

void MainFrame::buildMenus() {
    menuBar_ = new wxMenuBar;
    menuBar_->Append(buildFileMenu(), _("&File"));
    menuBar_->Append(buildToolsMenu(), _("&Tools"));
    menuBar_->Append(buildHelpMenu(), _("&Help"));
    SetMenuBar(menuBar_);
    checkSettings();
    bindCommands();
}

wxMenu* MainFrame::buildFileMenu() {
    fileMenu_ = new wxMenu;
    fileMenu_->Append(commands::kOpen, withAccelerator("%s\tCtrl+O", _("&Open...")));
    fileMenu_->AppendSeparator();
    fileMenu_->Append(commands::kExport, withAccelerator("%s\tCtrl+E", _("&Export...")));
    fileMenu_->AppendSeparator();
    fileMenu_->Append(wxID_EXIT);
    return fileMenu_;
}

wxMenu* MainFrame::buildToolsMenu() {
    modeMenu_ = new wxMenu;
    modeMenu_->AppendRadioItem(commands::kBlurMode, withAccelerator("%s\tCtrl+B", _("&Blur mode")));
    modeMenu_->AppendRadioItem(commands::kUnblurMode, withAccelerator("%s\tCtrl+U", _("&Unblur mode")));

    speedMenu_ = new wxMenu;
    speedMenu_->AppendRadioItem(commands::kSpeed1x, _("1x"));
    speedMenu_->AppendRadioItem(commands::kSpeed4x, _("4x"));

    toolsMenu_ = new wxMenu;
    toolsMenu_->AppendSubMenu(modeMenu_, _("Mode"));
    toolsMenu_->AppendSubMenu(speedMenu_, _("Playback speed"));
    toolsMenu_->AppendSeparator();
    aiItem_ = toolsMenu_->AppendSubMenu(buildAiMenu(), _("&AI"));
    toolsMenu_->AppendSeparator();
    toolsMenu_->Append(commands::kResetAll, _("&Reset all"));
    return toolsMenu_;
}

wxMenu* MainFrame::buildAiMenu() {
    auto* preblurMenu = new wxMenu;
    for (int seconds = commands::kMinPreblurSeconds; seconds <= commands::kMaxPreblurSeconds; ++seconds)
        preblurMenu->AppendRadioItem(*commands::preblurItem(seconds),
                                     wxString::Format(wxPLURAL("%d second", "%d seconds", seconds), seconds));

    auto* thresholdMenu = new wxMenu;
    for (int percent = commands::kMinThreshold; percent <= commands::kMaxThreshold;
         percent += commands::kThresholdStep)
        thresholdMenu->AppendRadioItem(*commands::thresholdItem(percent),
                                       wxString::Format(_("%d %%"), percent));

    settingsMenu_ = new wxMenu;
    settingsMenu_->AppendSubMenu(preblurMenu, _("&Pre-blur"));
    settingsMenu_->AppendSubMenu(thresholdMenu, _("Confidence &threshold"));
    settingsMenu_->AppendSeparator();
    settingsMenu_->AppendCheckItem(commands::kUseGpu, _("Use &GPU"));

    aiMenu_ = new wxMenu;
    aiMenu_->Append(commands::kBlurHumans, _("&Blur humans (slow)"));
    aiMenu_->AppendSubMenu(settingsMenu_, _("&Settings"));
    return aiMenu_;
}

wxMenu* MainFrame::buildHelpMenu() {
    auto* helpMenu = new wxMenu;
    helpMenu->Append(commands::kLanguage, _("&Language..."));
    helpMenu->Append(wxID_ABOUT);
    return helpMenu;
}

void MainFrame::checkSettings() {
    if (const auto item = commands::preblurItem(settings::readInt(settings::kPreblurSeconds)))
        menuBar_->Check(*item, true);
    if (const auto item = commands::thresholdItem(switches::confidenceThreshold))
        menuBar_->Check(*item, true);
    if (const auto item = commands::speedItem(switches::playbackSpeed))
        menuBar_->Check(*item, true);
    menuBar_->Check(commands::modeItem(switches::editingMode), true);
    menuBar_->Check(commands::kUseGpu, settings::readBool(settings::kGpu));
}

void MainFrame::bindCommands() {
    const auto bind = [this](int id, void (MainFrame::*handler)()) {
        Bind(
            wxEVT_MENU, [this, handler](wxCommandEvent&) { (this->*handler)(); }, id);
    };
    bind(commands::kOpen, &MainFrame::onOpen);
    bind(commands::kExport, &MainFrame::onExport);
    bind(commands::kResetAll, &MainFrame::onReset);
    Bind(wxEVT_MENU, &MainFrame::OnAI, this, commands::kBlurHumans);
    Bind(
        wxEVT_MENU, [](wxCommandEvent& event) { settings::writeBool(settings::kGpu, event.IsChecked()); },
        commands::kUseGpu);
    Bind(
        wxEVT_MENU, [this](wxCommandEvent& event) { onChoice(event.GetId()); }, commands::kFirstPreblur,
        commands::kSpeed4x);
    Bind(
        wxEVT_MENU,
        [this](wxCommandEvent&) {
            canvas_->pause();
            chooseLanguage(this);
        },
        commands::kLanguage);
    Bind(
        wxEVT_MENU,
        [this](wxCommandEvent&) {
            // As for the window manager's button.
            if (worker_ == Worker::None)
                leave();
        },
        wxID_EXIT);
    Bind(
        wxEVT_MENU,
        [this](wxCommandEvent&) {
            canvas_->pause();
            showAboutBox();
        },
        wxID_ABOUT);
}

void MainFrame::onChoice(int id) {
    const commands::Choice choice = commands::choiceOf(id);
    switch (choice.setting) {
    case commands::Setting::PreblurSeconds:
        settings::writeInt(settings::kPreblurSeconds, choice.value);
        break;
    case commands::Setting::Threshold:
        switches::confidenceThreshold.exchange(choice.value);
        refreshPicture();
        break;
    case commands::Setting::EditingMode:
        switches::editingMode = choice.value;
        setHintState(choice.value == switches::kUnblurMode ? kHintUnblurMode : kHintBlurMode);
        refreshPicture();
        break;
    case commands::Setting::PlaybackSpeed:
        switches::playbackSpeed = choice.value;
        break;
    case commands::Setting::None:
        break;
    }
}

void MainFrame::enableEditing(bool enabled) {
    menuBar_->EnableTop(kFilePosition, true);
    menuBar_->EnableTop(kToolsPosition, enabled);
    menuBar_->EnableTop(kHelpPosition, true);
    menuBar_->Enable(commands::kExport, enabled);
    enableItems(*toolsMenu_, enabled);
}
