#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include <wx/string.h>
#include <wx/thread.h>

#include "blurprocessors.h"
#include "safeprogress.h"
#include "video_backend.h"

class DecodeAhead;
class Decoder_ffmpeg;
class Encoder_ffmpeg;

enum class ExportResult { Success, Cancelled, Failed };

/// Called once, on the worker's thread, after everything else the export does: the file is closed and the
/// progress finished. `text` says why when it failed, in words for the user; empty otherwise. A cancelled
/// export leaves a properly closed, shorter file. A failed one leaves none: the worker removes the
/// unreadable rest of what it wrote, and never touches the source.
using ExportDone = std::function<void(ExportResult result, const wxString& text)>;

/// Writes the anonymised copy of a video on a thread of its own. Detached: it deletes itself when done. The
/// processor must not be used elsewhere meanwhile.
///
/// A source that no longer has as many frames as `VideoInfo::frameCount` says fails: frames beyond that count
/// have no rectangles, so they are never written. A negative count is not known and not compared.
///
/// The output path itself is written, from the start: a file that is there already is lost at once.
///
/// Stopped by `wxThread::Delete`, noticed at every frame and inside a long read. The worker is there for
/// certain only until its completion callback returns: whoever wants to stop it takes a lock that the
/// callback takes too, and calls `Delete` while the callback has not run. At program exit a worker that still
/// runs is cut off, so wait for the callback first.
class ExportWorker : public wxThread {
public:
    /// `threshold` in percent. `progress` is not owned and outlives the worker.
    ExportWorker(const video::VideoInfo& source, const wxString& outputPath, int threshold,
                 ISafeProgress* progress, std::shared_ptr<IImageProcessor> processor);
    ~ExportWorker() override;

    /// Set before `Run`. Not called when the thread never ran.
    void setDone(ExportDone done);
    /// After a failure, until the completion callback returns: it was the output file's, not the video's.
    bool outputFailed() const { return outputFailed_; }
    /// Until the completion callback returns: frames that could not be converted and are missing in the file.
    int64_t skippedFrames() const { return skippedFrames_; }

protected:
    ExitCode Entry() override;
    void OnExit() override;
    /// On the thread that calls `Delete`.
    void OnDelete() override;

    /// Opens the source; an opening that fails gives a decoder that delivers no frame. The decoder gives up
    /// reading while `*interrupt` is true. Replaced by tests only.
    virtual std::shared_ptr<video::Decoder> openSource(const std::atomic<bool>* interrupt, wxString& error);
    /// Null when the library has no such encoder. Replaced by tests only.
    virtual std::shared_ptr<Encoder_ffmpeg> makeEncoder(const video::EncoderSettings& settings);

private:
    struct Outcome {
        ExportResult result = ExportResult::Success;
        wxString text;
    };

    Outcome exportVideo();
    std::shared_ptr<Encoder_ffmpeg> chooseEncoder();
    bool exportFrames(DecodeAhead& source, Encoder_ffmpeg& encoder);
    Outcome refuse(const wxString& text);
    bool sourceHasChanged() const;
    Outcome judge(const Encoder_ffmpeg& encoder, bool cancelled, const wxString& openError) const;
    void removeOutput() const;

    video::VideoInfo source_;
    wxString outputPath_;
    ISafeProgress* progress_;
    std::shared_ptr<IImageProcessor> processor_;
    int32_t threshold_;
    ExportDone done_;
    Outcome outcome_;
    /// An encoder has opened the output file, which emptied it.
    bool touchedOutput_ = false;
    bool outputFailed_ = false;
    int64_t skippedFrames_ = 0;
    /// Asks the decoder why it could not read on; only while the export runs.
    std::function<wxString()> readError_;
    /// Number of the frame decoded last.
    int64_t lastFrame_ = 0;
    /// Ends the decoder's reading. Set by any thread.
    std::atomic<bool> interrupt_{false};
};

/// What the copy of a video is encoded with: the source's size, rate, group of pictures and colour matrix.
video::EncoderSettings encoderSettingsFor(const video::VideoInfo& source, const wxString& outputPath,
                                          video::Codec codec);

/// Makes a worker for `mode` (a switches::EditingMode) with the confidence threshold in force now. The caller
/// sets its completion callback and calls `Run`; from then on the worker owns itself.
ExportWorker* createExportWorker(int32_t mode, const wxString& outputPath, const video::VideoInfo& info,
                                 ISafeProgress* progress);
