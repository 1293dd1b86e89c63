#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>

#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/intl.h>
#include <wx/menu.h>
#include <wx/utils.h>

#include "ai_doriq.h"
#include "blurtrack.h"
#include "commands.h"
#include "hints.h"
#include "mainframe.h"
#include "scanprogress.h"
#include "scopedflag.h"
#include "switches.h"
#include "videocanvas.h"
#include "videonotices.h"
#include "videoplayer.h"

namespace {

constexpr const char* kTitle = "Tarvex Shroud";

} // namespace

void MainFrame::onOpen() {
    if (isBusy())
        return;
    // A button held down would record under the dialog, unseen.
    canvas_->pause();
    wxString path;
    {
        const ScopedFlag choosing(choosingFile_);
        wxFileDialog dialog(this, _("Open video file"), lastFolder_, wxEmptyString,
                            wxString::Format("%s (*.mp4;*.mov)|*.mp4;*.mov", _("Video files")),
                            wxFD_OPEN | wxFD_FILE_MUST_EXIST);
        if (dialog.ShowModal() != wxID_OK)
            return;
        path = dialog.GetPath();
    }
    openVideo(path);
}

void MainFrame::closeVideo() {
    std::unique_ptr<VideoPlayer> ended;
    if (!player_->canOpen()) {
        player_->end();
        // The canvas lets go of it below.
        ended = std::move(player_);
        makePlayer();
    }
    canvas_->set(nullptr);
    canvas_->setAiAvailable(ai::available());
    ready_ = false;
    // The dialog of a pre-processing that was cut short; an update of it may be under way further up.
    calls_.run([this] { progress_.finish(); });
    removeVideoBars();
    enableEditing(false);

    blurtrack::BlurStore& store = blurtrack::store();
    const std::lock_guard<std::mutex> lock(store.mutex);
    blurtrack::clear();
}

void MainFrame::makePlayer() {
    ++openNumber_;
    scanProgress_ = std::make_unique<ScanProgress>([this, openNumber = openNumber_](ScanProgress::Call call) {
        queue([this, openNumber, call = std::move(call)] {
            if (openNumber == openNumber_)
                call(progress_);
        });
    });
    player_ = std::make_unique<VideoPlayer>(scanProgress_.get());
}

void MainFrame::openVideo(const wxString& path) {
    if (worker_ != Worker::None)
        return;
    wxString error;
    bool opened = false;
    bool refusedContent = false;
    {
        const wxBusyCursor busy;
        closeVideo();
        setHintState(kHintNoVideo);
        player_->setOnReady([this, openNumber = openNumber_] { onReady(openNumber); });
        opened = player_->open(path, error);
        refusedContent = player_->refusedContent();
    }
    if (opened) {
        videoPath_ = path;
        // The command line may name a file relative to the folder that the program was started in.
        wxFileName file(path);
        file.MakeAbsolute();
        lastFolder_ = file.GetPath();
        SetTitle(wxString(kTitle) + " - " + path);
        return;
    }
    videoPath_.clear();
    SetTitle(kTitle);
    if (error.empty())
        error = _("The file contains no video that can be read.");
    showError(wxString::Format(_("Error while opening the video file %s: %s"), path, error),
              refusedContent
                  ? _("The file may be damaged, unfinished or protected, or it may be no video at all.")
                  : wxString());
}

void MainFrame::onReady(int64_t openNumber) {
    if (!wxIsMainThread()) {
        queue([this, openNumber] { onReady(openNumber); });
        return;
    }
    if (openNumber == openNumber_)
        readyVideo();
}

void MainFrame::readyVideo() {
    ready_ = true;
    const video::VideoInfo info = videoInfo();
    {
        blurtrack::BlurStore& store = blurtrack::store();
        const std::lock_guard<std::mutex> lock(store.mutex);
        blurtrack::initFrames(info.frameCount);
    }
    switches::brushSize.exchange(std::min(info.width, info.height) / 10);
    canvas_->set(player_.get());
    enableEditing(true);
    aiItem_->Enable(ai::available());
    canvas_->setAiAvailable(ai::available());
    if (const auto item = commands::speedItem(switches::playbackSpeed))
        menuBar_->Check(*item, true);
    menuBar_->Check(commands::modeItem(switches::editingMode), true);
    setHintState(kHintBlurMode);
    canvas_->setAiRequest([this, openNumber = openNumber_] {
        CallAfter([this, openNumber] {
            wxCommandEvent none;
            if (openNumber == openNumber_)
                OnAI(none);
        });
    });
    for (const wxString& notice : noticesFor(info, player_->isUneven()))
        addBar(notice, wxICON_WARNING, true);
}
