#include "mainframe.h"

#include <algorithm>
#include <mutex>

#include <wx/filename.h>
#include <wx/iconbndl.h>
#include <wx/infobar.h>
// The generic bar's header needs the one above.
#include <wx/generic/infobar.h>
#include <wx/intl.h>
#include <wx/log.h>
#include <wx/menu.h>
#include <wx/msgdlg.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "appresources.h"
#include "blurtrack.h"
#include "commands.h"
#include "filedroptarget.h"
#include "scanprogress.h"
#include "videocanvas.h"
#include "videonotices.h"
#include "videoplayer.h"
#include "windowlink.h"

namespace {

constexpr int kMinimumSide = 128;
constexpr int kHintBorder = 8;
const wxColour kBackground(32, 32, 32);

} // namespace

MainFrame::MainFrame(const wxString& title, const wxPoint& position, const wxSize& size)
    : wxFrame(nullptr, wxID_ANY, title, position, size), progress_(this),
      link_(std::make_shared<WindowLink>(this, this)) {
    loadIcon();
    SetMinSize(wxSize(kMinimumSide, kMinimumSide));
    buildMenus();
    SetDropTarget(new FileDropTarget(this));
    buildContents();
    enableEditing(false);
    Bind(wxEVT_CLOSE_WINDOW, &MainFrame::onClose, this);
    Bind(wxEVT_SIZE, &MainFrame::onSize, this);
}

MainFrame::~MainFrame() {
    link_->cut();
    canvas_->set(nullptr);
    player_.reset();
    // Lines logged by threads wait for the event loop, which is about to end.
    wxLog::FlushActive();
}

void MainFrame::loadIcon() {
    const wxString file = appresources::iconFile();
    if (wxFileName::FileExists(file))
        SetIcons(wxIconBundle(file, wxBITMAP_TYPE_ICO));
    else
        wxLogMessage("[MainFrame] No window icon at %s", file);
}

void MainFrame::buildContents() {
    SetBackgroundColour(kBackground);
    bottomPanel_ = new wxPanel(this);
    bottomPanel_->SetBackgroundColour(kBackground);
    bottomPanel_->Bind(wxEVT_SIZE, [](wxSizeEvent&) {});
    hintLine_ = new wxStaticText(bottomPanel_, wxID_ANY, wxEmptyString);
    hintLine_->SetForegroundColour(*wxWHITE);
    auto* panelSizer = new wxBoxSizer(wxVERTICAL);
    panelSizer->Add(hintLine_);
    bottomPanel_->SetSizer(panelSizer);

    canvas_ = new VideoCanvas2(this, wxID_ANY, wxDefaultPosition, wxDefaultSize);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(canvas_, 1, wxEXPAND);
    sizer->Add(bottomPanel_, 0, wxEXPAND | wxALL, kHintBorder);
    SetSizer(sizer);
    Layout();
}

void MainFrame::onClose(wxCloseEvent& event) {
    // The worker's thread would be cut off with the program and leave a file without its index.
    if (worker_ != Worker::None && event.CanVeto())
        event.Veto();
    else
        leave();
}

void MainFrame::leave() {
    // An update of the progress dialog runs the event loop, which would delete the dialog's owner within it.
    calls_.end([this] {
        progress_.finish();
        Destroy();
    });
}

void MainFrame::onSize(wxSizeEvent& event) {
    event.Skip();
    // The panel gets its new width when this event is through.
    CallAfter([this] { showHint(hintShown_); });
}

bool MainFrame::isBusy() const {
    return worker_ != Worker::None || choosingFile_;
}

bool MainFrame::refusesVideos() const {
    return isBusy() || (player_ && player_->isPreprocessing());
}

video::VideoInfo MainFrame::videoInfo() const {
    return player_ ? player_->info() : video::VideoInfo();
}

void MainFrame::refreshPicture() {
    canvas_->refreshPicture();
}

void MainFrame::onReset() {
    if (worker_ != Worker::None)
        return;
    const video::VideoInfo info = videoInfo();
    {
        blurtrack::BlurStore& store = blurtrack::store();
        const std::lock_guard<std::mutex> lock(store.mutex);
        blurtrack::clear();
        blurtrack::initFrames(info.frameCount);
    }
    refreshPicture();
}

void MainFrame::showHint(const wxString& text) {
    const int width = bottomPanel_->GetClientSize().x;
    // In a small window the controls and a strip of picture come before the last lines of a long hint.
    const int room = GetClientSize().y - barsHeight() - canvas_->GetMinSize().y - 2 * kHintBorder;
    if (text == hintShown_ && width == hintWidth_ && room == hintRoom_)
        return;
    hintShown_ = text;
    hintWidth_ = width;
    hintRoom_ = room;
    hintLine_->SetLabelText(text);
    hintLine_->Wrap(width);
    const int wanted = bottomPanel_->GetSizer()->CalcMin().y;
    bottomPanel_->SetMinSize(wxSize(wxDefaultCoord, std::clamp(room, 0, wanted)));
    Layout();
    // The panel's size handler is empty, so nothing lays it out but this.
    bottomPanel_->Layout();
}

int MainFrame::barsHeight() const {
    int height = 0;
    for (wxSizerItem* item : GetSizer()->GetChildren())
        if (const wxWindow* window = item->GetWindow(); window != canvas_ && window != bottomPanel_)
            height += item->IsShown() ? item->CalcMin().y : 0;
    return height;
}

wxInfoBarGeneric* MainFrame::addBar(const wxString& text, int icon) {
    auto* bar = new wxInfoBarGeneric(this);
    GetSizer()->Add(bar, 0, wxEXPAND);
    // The message is wrapped to the width that the bar has when it is shown.
    bar->SetSize(GetClientSize().x, wxDefaultCoord);
    bar->Layout();
    bar->ShowMessage(text, icon);
    showHint(hintShown_);
    return bar;
}

void MainFrame::showInfoBar(const wxString& text) {
    addBar(text, wxICON_ERROR);
}

void MainFrame::showError(const wxString& text, const wxString& advice) {
    wxMessageDialog box(this, text, _("Error"), wxOK | wxICON_ERROR);
    if (!advice.empty())
        box.SetExtendedMessage(advice);
    box.ShowModal();
}

void MainFrame::queue(std::function<void()> call) {
    CallAfter([this, call = std::move(call)] { calls_.run(call); });
}

void MainFrame::start(const wxString& title, const wxString& message, int32_t total) {
    queue([this, title, message, total] { progress_.start(title, message, total); });
}

void MainFrame::update(int32_t value, const wxString& message) {
    queue([this, value, message] { progress_.update(value, message); });
}

void MainFrame::finish() {
    queue([this] {
        progress_.finish();
        // An export ends with its completion callback instead.
        if (worker_ == Worker::Detection) {
            endWorker();
            refreshPicture();
            for (const wxString& notice : noticesFor(*report_))
                notices_.push_back(addBar(notice, wxICON_WARNING));
        }
    });
}
