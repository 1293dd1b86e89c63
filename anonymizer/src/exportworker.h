#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <wx/string.h>
#include <wx/thread.h>

#include "blurprocessors.h"
#include "safeprogress.h"
#include "video_backend.h"

enum class ExportResult { Success, Cancelled, Failed };

/// Called once, on the worker's thread, as the worker's last act. `text` says why when it failed, in words
/// for the user; empty otherwise. A cancelled export leaves a properly closed, shorter file.
using ExportDone = std::function<void(ExportResult result, const wxString& text)>;

/// Writes the anonymised copy of a video on a thread of its own. Detached: it deletes itself when done.
/// Stopped by `wxThread::Delete`, noticed at every frame. The processor must not be used elsewhere meanwhile.
class ExportWorker : public wxThread {
public:
    /// `threshold` in percent. `progress` is not owned and outlives the worker.
    ExportWorker(const video::VideoInfo& source, const wxString& outputPath, int threshold,
                 ISafeProgress* progress, std::shared_ptr<IImageProcessor> processor);
    ~ExportWorker() override;

    /// Set before `Run`.
    void setDone(ExportDone done);

protected:
    ExitCode Entry() override;

private:
    video::VideoInfo source_;
    wxString outputPath_;
    ISafeProgress* progress_;
    std::shared_ptr<IImageProcessor> processor_;
    int32_t threshold_;
    ExportDone done_;
};

/// Makes a worker for `mode` (a switches::EditingMode) with the confidence threshold in force now. The caller
/// sets its completion callback and calls `Run`; from then on the worker owns itself.
ExportWorker* createExportWorker(int32_t mode, const wxString& outputPath, const video::VideoInfo& info,
                                 ISafeProgress* progress);
