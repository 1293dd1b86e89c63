#include <memory>

#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/intl.h>
#include <wx/msgdlg.h>

#include "aiworker.h"
#include "exporttarget.h"
#include "mainframe.h"
#include "platform.h"
#include "switches.h"
#include "videocanvas.h"

void MainFrame::OnAI(wxCommandEvent&) {
    if (worker_ != Worker::None)
        return;
    // The pass holds the blurs all the time.
    canvas_->pause();
    auto worker = std::make_unique<AiWorker>(videoInfo(), this);
    // The pass is followed through its progress alone.
    worker->setDone([] {});
    worker_ = Worker::Detection;
    if (worker->Run() == wxTHREAD_NO_ERROR) {
        worker.release();
        return;
    }
    worker_ = Worker::None;
    showError(_("The detection could not be started."));
}

void MainFrame::onExport() {
    if (worker_ != Worker::None)
        return;
    wxFileDialog dialog(this, _("Export video file"), lastFolder_, wxEmptyString,
                        wxString::Format("%s (*.mp4)|*.mp4|%s (*.mov)|*.mov", _("MP4 files"), _("MOV files")),
                        wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    dialog.SetFilterIndex(exporttarget::filterFor(videoPath_));
    if (dialog.ShowModal() != wxID_OK)
        return;
    const wxString chosen = dialog.GetPath();
    const wxString path = exporttarget::withEnding(chosen, dialog.GetFilterIndex());
    // The dialog asked about the name without the ending.
    if (path != chosen && wxFileName::FileExists(path) &&
        wxMessageBox(wxString::Format(_("The file %s already exists. Do you want to replace it?"), path),
                     _("Export video file"), wxYES_NO | wxNO_DEFAULT | wxICON_WARNING, this) != wxYES)
        return;
    exportTo(path);
}

void MainFrame::exportTo(const wxString& outputPath) {
    if (worker_ != Worker::None)
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
        createExportWorker(switches::editingMode, outputPath, videoInfo(), this));
    worker->setDone([this, outputPath](ExportResult result, const wxString& reason) {
        queue([this, result, outputPath, reason] {
            worker_ = Worker::None;
            // Shown outside the queue: a box waits for the user, and the next call must not wait for it.
            CallAfter([this, result, outputPath, reason] { onExportDone(result, outputPath, reason); });
        });
    });
    worker_ = Worker::Export;
    if (worker->Run() == wxTHREAD_NO_ERROR) {
        worker.release();
        return;
    }
    worker_ = Worker::None;
    onExportDone(ExportResult::Failed, outputPath, _("The export could not be started."));
}

void MainFrame::onExportDone(ExportResult result, const wxString& outputPath, const wxString& reason) {
    if (result == ExportResult::Failed)
        showError(wxString::Format(_("Error while exporting the video file %s: %s"), outputPath, reason));
}
