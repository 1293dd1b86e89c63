#include "mainframe_fixture.h"

#include <mutex>
#include <stdexcept>

#include <wx/app.h>
#include <wx/filefn.h>
#include <wx/infobar.h>
// The generic bar's header needs the one above.
#include <wx/generic/infobar.h>
#include <wx/panel.h>
#include <wx/stattext.h>

#include "commands.h"
#include "settings.h"
#include "switches.h"
#include "videocanvas.h"

namespace test {

namespace {

/// The first text in a window's tree.
wxStaticText* findText(const wxWindow* window) {
    for (wxWindow* child : window->GetChildren()) {
        if (auto* text = dynamic_cast<wxStaticText*>(child))
            return text;
        if (auto* text = findText(child))
            return text;
    }
    return nullptr;
}

} // namespace

MainFrameTest::MainFrameTest() {
    if (wxFileExists(settings::configPath()))
        wxRemoveFile(settings::configPath());
    settings::writeFirstRunDefaults();
    switches::editingMode = switches::kBlurMode;
    switches::playbackSpeed = 1;
    switches::confidenceThreshold = 50;
    switches::brushSize = 32;
    switches::blurDivisor = 50;
    switches::hintState = 0;
    switches::hintOverride = false;
    {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        blurtrack::clear();
    }
    makeWindow();
}

MainFrameTest::~MainFrameTest() {
    frame_->Destroy();
    runPending();
    wxTheApp->SetTopWindow(nullptr);
}

void MainFrameTest::makeWindow() {
    frame_ = new MainFrame("Tarvex Shroud", wxDefaultPosition, wxSize(800, 580));
    wxTheApp->SetTopWindow(frame_);
    frame_->Show();
    // The size asked for is lost, and comes back, while the window manager puts its frame around the window.
    EXPECT_TRUE(runUntil([this] {
        const bool framed = frame_->GetClientSize().x < frame_->GetSize().x;
        return framed && canvas().GetClientSize().x > 600;
    }));
    runPending();
}

VideoCanvas2& MainFrameTest::canvas() const {
    for (wxWindow* child : frame_->GetChildren())
        if (auto* found = dynamic_cast<VideoCanvas2*>(child))
            return *found;
    throw std::logic_error("the window has no canvas");
}

void MainFrameTest::openReady(const std::string& name) {
    frame_->openVideo(clip(name));
    // The player's thread still is in the callback that made it ready.
    ASSERT_TRUE(runUntil([this] { return isReady() && !frame_->refusesVideos(); })) << name;
}

bool MainFrameTest::isReady() const {
    return isEnabled(commands::kExport);
}

wxMenuItem* MainFrameTest::item(const wxString& label) const {
    const int tools = frame_->GetMenuBar()->FindMenu("Tools");
    for (wxMenuItem* candidate : frame_->GetMenuBar()->GetMenu(static_cast<size_t>(tools))->GetMenuItems())
        if (candidate->GetItemLabelText() == label)
            return candidate;
    return nullptr;
}

void MainFrameTest::command(int id) {
    wxMenuItem* chosen = item(id);
    if (!chosen->IsEnabled())
        return;
    if (chosen->IsCheckable())
        chosen->Check(chosen->IsRadio() || !chosen->IsChecked());
    wxCommandEvent event(wxEVT_MENU, id);
    event.SetInt(chosen->IsCheckable() && chosen->IsChecked());
    frame_->GetEventHandler()->ProcessEvent(event);
}

const wxStaticText& MainFrameTest::hintLine() const {
    for (wxWindow* child : frame_->GetChildren())
        if (dynamic_cast<wxPanel*>(child) && !dynamic_cast<wxInfoBarGeneric*>(child))
            if (const wxStaticText* text = findText(child))
                return *text;
    throw std::logic_error("the window has no hint line");
}

std::string MainFrameTest::hint() const {
    wxString line = hintLine().GetLabelText();
    line.Replace("\n", " ");
    return line.utf8_string();
}

int MainFrameTest::hintHeight() const {
    return hintLine().GetSize().y;
}

std::vector<std::string> MainFrameTest::bars() const {
    std::vector<std::string> texts;
    for (wxWindow* child : frame_->GetChildren())
        if (const auto* bar = dynamic_cast<wxInfoBarGeneric*>(child))
            if (const wxStaticText* text = bar->IsShown() ? findText(bar) : nullptr)
                texts.push_back(text->GetLabelText().utf8_string());
    return texts;
}

size_t MainFrameTest::blurCount() const {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    size_t count = 0;
    for (const auto& frame : blurtrack::store().frames)
        count += frame.second.size();
    return count;
}

void MainFrameTest::addBlur(int64_t frame) const {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    blurtrack::addBlur(frame, {10, 10, 20, 20}, blurtrack::kBrushScore, 7);
}

size_t MainFrameTest::storedFrames() {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    return blurtrack::store().frames.size();
}

} // namespace test
