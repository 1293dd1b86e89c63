#include "mainframe.h"

#include <algorithm>
#include <limits>
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

#include "ai_doriq.h"
#include "appresources.h"
#include "blurtrack.h"
#include "commands.h"
#include "filedroptarget.h"
#include "fittext.h"
#include "scanprogress.h"
#include "videocanvas.h"
#include "videonotices.h"
#include "videoplayer.h"
#include "windowlink.h"

namespace {

constexpr int kMinimumSide = 128;
constexpr int kHintBorder = 8;
/// Less than the smallest window has inside its frame, more than a window has before its first layout.
constexpr int kNarrowestContents = 64;
const wxColour kBackground(32, 32, 32);
constexpr size_t kAllLines = std::numeric_limits<size_t>::max();

} // namespace

MainFrame::MainFrame(const wxString& title, const wxPoint& position, const wxSize& size)
    : wxFrame(nullptr, wxID_ANY, title, position, size), progress_(this),
      link_(std::make_shared<WindowLink>(this, this)) {
    makePlayer();
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
    player_->end();
    // The canvas, which goes later than the player, lets go of it.
    canvas_->set(nullptr);
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
    canvas_->setAiAvailable(ai::available());
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    // Closing a bar changes the picture's size but not the window's, and may give the hint room again.
    canvas_->Bind(wxEVT_SIZE, &MainFrame::onSize, this);
    sizer->Add(canvas_, 1, wxEXPAND);
    sizer->Add(bottomPanel_, 0, wxEXPAND | wxALL, kHintBorder);
    SetSizer(sizer);
    Layout();
}

void MainFrame::onClose(wxCloseEvent& event) {
    // The window manager's button works behind the worker's dialog too, and would cut the worker off with the
    // program: an export would leave a file without its index, and what a detection has found would be gone.
    // A close that can't be refused stops an export in good order; a detection leaves no file behind.
    if (worker_ != Worker::None && event.CanVeto())
        event.Veto();
    else
        stopExport([this] { leave(); });
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
    // The panel gets its new size when this event is through.
    CallAfter([this] { showHint(hintShown_); });
}

bool MainFrame::isBusy() const {
    return worker_ != Worker::None || choosingFile_;
}

bool MainFrame::refusesVideos() const {
    return isBusy() || player_->isPreprocessing();
}

video::VideoInfo MainFrame::videoInfo() const {
    return ready_ ? player_->info() : video::VideoInfo();
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

bool MainFrame::isLaidOut() const {
    return std::min(GetClientSize().x, bottomPanel_->GetClientSize().x) >= kNarrowestContents;
}

void MainFrame::showHint(const wxString& text) {
    if (!isLaidOut()) {
        hintShown_ = text;
        hintWidth_ = 0;
        hintLine_->SetLabelText(text);
        return;
    }
    const int width = bottomPanel_->GetClientSize().x;
    fitBars();
    // In a small window the controls and a strip of picture come before the last lines of a long hint.
    const int room = GetClientSize().y - barsHeight() - canvas_->GetMinSize().y - 2 * kHintBorder;
    if (text == hintShown_ && width == hintWidth_ && room == hintRoom_)
        return;
    hintShown_ = text;
    hintWidth_ = width;
    hintRoom_ = room;
    const int lines = std::max(room / hintLine_->GetCharHeight(), 1);
    const wxString fitted = fitText(*hintLine_, text, width, static_cast<size_t>(lines));
    hintLine_->SetLabelText(fitted);
    hintLine_->SetToolTip(fitted.EndsWith(kEllipsis) ? text : wxString());
    const int wanted = bottomPanel_->GetSizer()->CalcMin().y;
    bottomPanel_->SetMinSize(wxSize(wxDefaultCoord, std::clamp(room, 0, wanted)));
    Layout();
    // The panel's size handler is empty, so nothing lays it out but this.
    bottomPanel_->Layout();
}

int MainFrame::barsHeight() const {
    int height = 0;
    for (const Bar& bar : bars_)
        height += bar.window->IsShown() ? bar.window->GetSizer()->CalcMin().y : 0;
    return height;
}

void MainFrame::fitBars() {
    const int width = GetClientSize().x;
    if (width == barsWidth_)
        return;
    barsWidth_ = width;
    for (const Bar& bar : bars_)
        fitBar(bar);
    Layout();
}

void MainFrame::fitBar(const Bar& bar) {
    for (wxWindow* child : bar.window->GetChildren())
        if (auto* label = dynamic_cast<wxStaticText*>(child)) {
            const int around = bar.window->GetSizer()->CalcMin().x - label->GetBestSize().x;
            label->SetLabelText(
                isLaidOut() ? fitText(*label, bar.text, std::max(GetClientSize().x - around, 1), kAllLines)
                            : bar.text);
        }
}

void MainFrame::addBar(const wxString& text, int icon, bool aboutVideo) {
    const Bar bar{new wxInfoBarGeneric(this), text, aboutVideo};
    bars_.push_back(bar);
    GetSizer()->Add(bar.window, 0, wxEXPAND);
    bar.window->ShowMessage(text, icon);
    // The library wraps the text to the whole width and leaves no room for the icon and the close button.
    fitBar(bar);
    Layout();
    showHint(hintShown_);
}

void MainFrame::removeVideoBars() {
    const auto first =
        std::partition(bars_.begin(), bars_.end(), [](const Bar& bar) { return !bar.aboutVideo; });
    std::for_each(first, bars_.end(), [](const Bar& bar) { bar.window->Destroy(); });
    bars_.erase(first, bars_.end());
    Layout();
}

void MainFrame::showInfoBar(const wxString& text) {
    addBar(text, wxICON_ERROR, false);
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
            if (report_)
                for (const wxString& notice : noticesFor(*report_))
                    addBar(notice, wxICON_WARNING, true);
        }
    });
}
