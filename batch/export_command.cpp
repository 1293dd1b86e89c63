#include "export_command.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "blurprocessors.h"
#include "blurtrack.h"
#include "completion.h"
#include "console.h"
#include "detection.h"
#include "exportworker.h"
#include "output_file.h"
#include "regions_csv.h"
#include "source_video.h"
#include "stop_request.h"
#include "switches.h"
#include "video_backend_ffmpeg_encoder.h"

namespace {

int fail(const wxString& what, const wxString& why) {
    console::error(what + ": " + why);
    return 1;
}

/// The part of the region inside the picture; no width when there is none. Store rectangles are floats,
/// which are exact within a picture but not for every whole number of 32 bits.
blurtrack::RectF clipped(const regions_csv::Region& region, const video::VideoInfo& info) {
    const int64_t left = std::max<int64_t>(region.x, 0);
    const int64_t top = std::max<int64_t>(region.y, 0);
    const int64_t right = std::min<int64_t>(int64_t{region.x} + region.w, info.width);
    const int64_t bottom = std::min<int64_t>(int64_t{region.y} + region.h, info.height);
    if (left >= right || top >= bottom)
        return {};
    return {static_cast<float>(left), static_cast<float>(top), static_cast<float>(right - left),
            static_cast<float>(bottom - top)};
}

/// Fills the store for the video.
void fillStore(const std::vector<regions_csv::Region>& regions, const video::VideoInfo& info) {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    blurtrack::clear();
    blurtrack::initFrames(info.frameCount);
    for (const regions_csv::Region& region : regions) {
        const blurtrack::RectF rect = clipped(region, info);
        if (rect.w < 1)
            continue;
        const int64_t last = std::min(region.lastFrame, info.frameCount);
        for (int64_t frame = region.firstFrame; frame <= last; ++frame)
            blurtrack::addBlur(frame, rect, region.score, blurtrack::kAnonymousBlurId);
    }
}

/// True when some rectangle of the store has at least this score.
bool somethingApplies(int32_t threshold) {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    for (const auto& frame : blurtrack::store().frames)
        for (const blurtrack::BlurEntry& entry : frame.second)
            if (entry.score >= threshold)
                return true;
    return false;
}

/// Tells what the user should know before the export takes its time.
void warn(const Options& options, const SourceVideo& source) {
    const video::VideoInfo& info = source.info;
    if (info.frameCount == 0)
        return; // the export refuses
    if (mosaicBlockSize(info.width, info.height, kExportBlurDivisor) == 1)
        console::warning(
            wxString::Format("%s: the picture is only %d x %d pixels, mosaic cells of one pixel hide nothing",
                             options.inputPath, info.width, info.height));
    else if (options.mode == switches::kBlurMode && !somethingApplies(options.threshold))
        console::warning(options.inputPath + ": no region applies to any frame, nothing is hidden");
    if (source.variableRate)
        console::warning(options.inputPath + ": the frame rate is variable, the copy's will be constant");
}

struct Outcome {
    ExportResult result = ExportResult::Failed;
    wxString text;
    /// It failed because of the output file.
    bool outputFailed = false;
    int64_t skippedFrames = 0;
};

/// Runs the worker to its end. Waits for it after a stop request too.
Outcome exportTo(const wxString& path, const Options& options, const video::VideoInfo& info) {
    console::ProgressLine progress(options.quiet);
    Completion completion;
    Outcome outcome;
    ExportWorker* worker = createExportWorker(options.mode, path, info, &progress);
    worker->setDone([&, worker](ExportResult result, const wxString& text) {
        outcome = {result, text, worker->outputFailed(), worker->skippedFrames()};
        completion.signal();
    });
    if (worker->Run() != wxTHREAD_NO_ERROR) {
        delete worker;
        outcome.text = "can't start a thread";
        return outcome;
    }
    completion.wait([&] { worker->Delete(); });
    return outcome;
}

/// Puts both files in their places, or neither: the list, which is small and can be put back, goes first.
/// True on success; otherwise `subject` is the file at fault and `error` says what was wrong.
bool commitBoth(OutputFile& video, OutputFile& list, const Options& options, wxString& subject,
                wxString& error) {
    subject = options.detectionsPath;
    if (!list.sync(error))
        return false;
    subject = options.outputPath;
    if (!video.sync(error))
        return false;
    subject = options.detectionsPath;
    // The copy that was taken before the long work may be out of date.
    if (!list.keepOld(error) || !list.commit(error))
        return false;
    subject = options.outputPath;
    if (video.commit(error))
        return true;
    wxString left;
    if (!list.revert(left))
        error += "; " + options.detectionsPath + " is the new one and could not be put back" +
                 (left.empty() ? wxString() : ", the old one is " + left);
    return false;
}

/// As `runExport`. What it throws concerns `subject`.
int exportVideo(const Options& options, wxString& subject) {
    wxString error;
    std::vector<regions_csv::Region> regions;
    if (!options.regionsPath.empty()) {
        subject = options.regionsPath;
        if (!canBeReadToItsEnd(options.regionsPath, error))
            return fail(options.regionsPath, error);
        auto read = regions_csv::read(options.regionsPath, error);
        if (!read)
            return fail(options.regionsPath, error);
        regions = std::move(*read);
    }
    subject = options.outputPath;
    OutputFile output;
    if (!output.aimAt(OutputFile::Kind::Video, options.outputPath, {options.inputPath, options.regionsPath},
                      error))
        return fail(options.outputPath, error);
    OutputFile detections;
    const bool keepsDetections = !options.detectionsPath.empty();
    if (keepsDetections &&
        !detections.aimAt(OutputFile::Kind::Text, options.detectionsPath,
                          {options.inputPath, options.regionsPath, options.outputPath}, error))
        return fail(options.detectionsPath, error);
    if (options.detect && !findDetector(error))
        return fail("--detect", error);

    subject = options.inputPath;
    console::ProgressLine progress(options.quiet);
    SourceVideo source;
    if (!readSource(options.inputPath, progress, source, error))
        return fail(options.inputPath, error);
    // Before the detection, which takes long; a video without frames has another reason to fail.
    if (source.info.frameCount > 0 && !Encoder_ffmpeg::takesRate(source.info.fps))
        return fail(options.inputPath, "The frame rate of the video is not usable.");
    if (!output.create(error))
        return fail(options.outputPath, error);
    if (keepsDetections && !(detections.create(error) && detections.keepOld(error)))
        return fail(options.detectionsPath, error);

    switches::editingMode = options.mode;
    switches::confidenceThreshold = options.threshold;
    fillStore(regions, source.info);
    if (options.detect && !detectInto(options, source.info, error))
        return fail(options.inputPath, error);
    if (keepsDetections && !writeDetections(detections.draftPath(), error))
        return fail(options.detectionsPath, error);
    warn(options, source);

    const Outcome outcome = exportTo(output.draftPath(), options, source.info);
    if (stop_request::flag() || outcome.result == ExportResult::Cancelled)
        return fail(options.inputPath, "stopped");
    if (outcome.result == ExportResult::Failed)
        return fail(outcome.outputFailed ? options.outputPath : options.inputPath, outcome.text);
    subject = options.outputPath;
    if (keepsDetections ? !commitBoth(output, detections, options, subject, error)
                        : !output.sync(error) || !output.commit(error))
        return fail(subject, error);
    if (outcome.skippedFrames > 0)
        console::warning(wxString(options.inputPath + ": frames that could not be converted are missing: ")
                         << outcome.skippedFrames);
    return 0;
}

} // namespace

int runExport(const Options& options) {
    wxString subject = options.inputPath;
    try {
        return exportVideo(options, subject);
    } catch (const std::bad_alloc&) {
        return fail(subject, wxString::FromUTF8(std::strerror(ENOMEM)));
    } catch (const std::exception& error) {
        return fail(subject, wxString::FromUTF8(error.what()));
    }
}
