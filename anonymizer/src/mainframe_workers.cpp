#include <memory>
#include <utility>
#include <vector>

#include <wx/app.h>
#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/intl.h>
#include <wx/msgdlg.h>

#include "aiworker.h"
#include "exporttarget.h"
#include "mainframe.h"
#include "platform.h"
#include "runningthread.h"
#include "safeprogress.h"
#include "scopedflag.h"
#include "switches.h"
#include "videocanvas.h"
#include "videonotices.h"
#include "windowlink.h"

void MainFrame::startWorker(Worker worker, const wxString& title, const wxString& message) {
    worker_ = worker;
    // The worker's own report comes later: the window has to be out of reach from the first moment.
    const int32_t total = progressValue(videoInfo().frameCount);
    calls_.run([this, title, message, total] { progress_.start(title, message, total); });
}

void MainFrame::endWorker() {
    worker_ = Worker::None;
    calls_.run([this] { progress_.finish(); });
}

void MainFrame::OnAI(wxCommandEvent&) {
    if (isBusy())
        return;
    // The pass holds the blurs all the time.
    canvas_->pause();
    // Without a video there is nothing that could go wrong with it.
    report_ = ready_ ? std::make_shared<AiReport>() : nullptr;
    auto worker = std::make_unique<AiWorker>(videoInfo(), link_.get());
    worker->setReport(report_);
    // The pass is followed through its progress alone; the callback only keeps the link alive.
    worker->setDone([link = link_] {});
    startWorker(Worker::Detection, "Tarvex AI", _("Initializing"));
    if (worker->Run() == wxTHREAD_NO_ERROR) {
        worker.release();
        return;
    }
    endWorker();
    showError(_("The detection could not be started."));
}

void MainFrame::onExport() {
    if (isBusy() || !ready_)
        return;
    // A button held down would record under the dialog, unseen.
    canvas_->pause();
    const int64_t openNumber = openNumber_;
    const auto path = chooseExportPath();
    // A video opened meanwhile has no blurs yet, and the name was chosen for another.
    if (path && openNumber == openNumber_)
        exportTo(*path);
}

std::optional<wxString> MainFrame::chooseExportPath() {
    const ScopedFlag choosing(choosingFile_);
    wxFileDialog dialog(this, _("Export video file"), lastFolder_, wxEmptyString,
                        wxString::Format("%s (*.mp4)|*.mp4|%s (*.mov)|*.mov", _("MP4 files"), _("MOV files")),
                        wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    dialog.SetFilterIndex(exporttarget::filterFor(videoPath_));
    if (dialog.ShowModal() != wxID_OK)
        return std::nullopt;
    const wxString chosen = dialog.GetPath();
    const wxString path = exporttarget::withEnding(chosen, dialog.GetFilterIndex());
    // The dialog asked about the name without the ending.
    if (path != chosen && wxFileName::FileExists(path) &&
        wxMessageBox(wxString::Format(_("The file %s already exists. Do you want to replace it?"), path),
                     _("Export video file"), wxYES_NO | wxNO_DEFAULT | wxICON_WARNING, this) != wxYES)
        return std::nullopt;
    return path;
}

void MainFrame::exportTo(const wxString& outputPath) {
    if (isBusy() || !ready_)
        return;
    if (outputPath.empty()) {
        showError(_("File path was empty. Failed to export video."));
        return;
    }
    if (platform::isSameFile(outputPath, videoPath_)) {
        showError(
            wxString::Format(_("The file %s is the open video itself and can't be replaced by its export."),
                             outputPath),
            _("Choose another name or folder."));
        return;
    }
    lastFolder_ = wxFileName(outputPath).GetPath();
    canvas_->pause();
    std::unique_ptr<ExportWorker> worker(
        createExportWorker(switches::editingMode, outputPath, videoInfo(), link_.get()));
    const auto running = std::make_shared<RunningThread>(*worker);
    worker->setDone([this, running, link = link_, outputPath,
                     exporting = worker.get()](ExportResult result, const wxString& reason) {
        running->ends();
        const std::vector<wxString> notices = result == ExportResult::Failed
                                                  ? std::vector<wxString>()
                                                  : noticesForExport(exporting->skippedFrames());
        link->queue([this, result, outputPath, reason, notices] {
            calls_.run([this, result, outputPath, reason, notices] {
                endExport();
                for (const wxString& notice : notices)
                    addBar(notice, wxICON_WARNING, true);
                // Shown outside the queue: a box waits for the user, and the next call must not wait for it.
                CallAfter([this, result, outputPath, reason] { onExportDone(result, outputPath, reason); });
            });
        });
    });
    exportStopped_ = nullptr;
    startWorker(Worker::Export, _("Export"), wxString::Format(_("Exporting video %s"), outputPath));
    if (worker->Run() == wxTHREAD_NO_ERROR) {
        worker.release();
        export_ = running;
        // Asked for while the dialog came up.
        if (exportStopped_)
            export_->stop();
        return;
    }
    endExport();
    onExportDone(ExportResult::Failed, outputPath, _("The export could not be started."));
}

void MainFrame::stopExport(std::function<void()> stopped) {
    if (worker_ != Worker::Export) {
        stopped();
        return;
    }
    exportStopped_ = std::move(stopped);
    if (export_)
        export_->stop();
}

void MainFrame::endExport() {
    endWorker();
    export_.reset();
    if (exportStopped_)
        exportStopped_();
}

void MainFrame::onExportDone(ExportResult result, const wxString& outputPath, const wxString& reason) {
    // The window would be deleted under the box, by the box's own event loop.
    if (wxPendingDelete.Member(this))
        return;
    if (result == ExportResult::Failed)
        showError(wxString::Format(_("Error while exporting the video file %s: %s"), outputPath, reason));
}
