#include "exportworker.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <new>
#include <utility>

#include <wx/filefn.h>
#include <wx/filename.h>
#include <wx/intl.h>
#include <wx/log.h>

#include "decodeahead.h"
#include "draftfile.h"
#include "platform.h"
#include "switches.h"
#include "video_backend_ffmpeg.h"
#include "video_backend_ffmpeg_encoder.h"
#include "workerend.h"

namespace {

constexpr int64_t kFramesPerUpdate = 100;
/// Size of the buffers made in advance; a video of another size replaces them.
constexpr int32_t kUsualWidth = 1920;
constexpr int32_t kUsualHeight = 1080;

/// Without buffers made in advance where memory is short: the video may be smaller, and the worker knows how
/// to fail.
template <class Processor>
std::shared_ptr<IImageProcessor> makeProcessor() {
    try {
        return std::make_shared<Processor>(kUsualWidth, kUsualHeight);
    } catch (const std::bad_alloc&) {
        return std::make_shared<Processor>();
    }
}

/// By the same bytes as the encoder's, whatever a program has set for the GUI library's own functions.
std::filesystem::path systemPath(const wxString& path) {
    return std::filesystem::u8path(platform::fileName(path));
}

} // namespace

ExportWorker::ExportWorker(const video::VideoInfo& source, const wxString& outputPath, int threshold,
                           ISafeProgress* progress, std::shared_ptr<IImageProcessor> processor)
    : wxThread(wxTHREAD_DETACHED), source_(source), outputPath_(outputPath), progress_(progress),
      processor_(std::move(processor)), threshold_(threshold) {
    wxLogMessage("[VideoExportThread] Thread created");
}

ExportWorker::~ExportWorker() {
    wxLogMessage("[VideoExportThread] Thread destroyed");
}

void ExportWorker::setDone(ExportDone done) {
    done_ = std::move(done);
}

wxThread::ExitCode ExportWorker::Entry() {
    workerend::atWork();
    try {
        outcome_ = exportVideo();
    } catch (const std::bad_alloc&) {
        outcome_ = {ExportResult::Failed, wxString::FromUTF8(std::strerror(ENOMEM))};
    } catch (const std::exception& error) {
        outcome_ = {ExportResult::Failed, wxString::FromUTF8(error.what())};
    }
    if (outcome_.result == ExportResult::Failed) {
        wxLogError("[VideoExportThread] %s", outcome_.text);
        removeOutput();
    }
    return nullptr;
}

// Not at the end of Entry: a program that ends as soon as it hears of the completion waits for a thread that
// has come this far, while it would cut off one that is still in Entry.
void ExportWorker::OnExit() {
    workerend::begin();
    if (done_)
        done_(outcome_.result, outcome_.text);
}

void ExportWorker::OnDelete() {
    interrupt_ = true;
}

ExportWorker::Outcome ExportWorker::exportVideo() {
    wxString openError;
    std::shared_ptr<video::Decoder> decoder = openSource(&interrupt_, openError);

    if (platform::isSameFile(source_.path, outputPath_))
        return refuse(_("A video cannot be exported onto itself."));
    std::shared_ptr<Encoder_ffmpeg> encoder = chooseEncoder();
    outputFailed_ = encoder && encoder->fileFailed();
    if (!encoder)
        return refuse(_("There is no video encoder."));
    // The second one too is asked: nothing can be handed to an encoder that is not open.
    if (!encoder->isOpen())
        return refuse(encoder->failureText());

    progress_->start(_("Export"), wxString::Format(_("Exporting video %s"), outputPath_),
                     progressValue(source_.frameCount));
    if (mosaicBlockSize(source_.width, source_.height, kExportBlurDivisor) == 1)
        wxLogMessage("[VideoExportThread] The picture is too small: mosaic cells of one pixel hide nothing");

    bool cancelled = false;
    std::exception_ptr error;
    try {
        DecodeAhead stage(decoder, source_.width, source_.height, interrupt_);
        cancelled = exportFrames(stage, *encoder);
    } catch (const std::exception&) {
        error = std::current_exception();
    }
    encoder->finish();
    outputFailed_ = encoder->fileFailed();
    progress_->finish();
    if (skippedFrames_ > 0)
        wxLogError("[VideoExportThread] %s frames could not be converted and are missing",
                   wxString() << skippedFrames_);
    if (error)
        std::rethrow_exception(error);
    return judge(*encoder, cancelled, openError);
}

std::shared_ptr<video::Decoder> ExportWorker::openSource(const std::atomic<bool>* interrupt,
                                                         wxString& error) {
    auto decoder = std::make_shared<Decoder_ffmpeg>();
    decoder->setInterrupt(interrupt);
    readError_ = [raw = decoder.get()] { return raw->readError(); };
    if (!decoder->open(source_.path)) {
        error = decoder->lastError();
        if (error.empty())
            error = _("The file holds no video that can be decoded.");
    }
    return decoder;
}

std::shared_ptr<Encoder_ffmpeg> ExportWorker::makeEncoder(const video::EncoderSettings& settings) {
    if (!Encoder_ffmpeg::isAvailable(settings.codec))
        return nullptr;
    return std::make_shared<Encoder_ffmpeg>(settings);
}

std::shared_ptr<Encoder_ffmpeg> ExportWorker::chooseEncoder() {
    video::EncoderSettings settings = encoderSettingsFor(source_, outputPath_, video::kCodecH264);
    wxLogMessage("Trying to select h264 encoder.");
    ffmpeg::initialiseOnce();
    std::shared_ptr<Encoder_ffmpeg> encoder = makeEncoder(settings);
    touchedOutput_ = encoder && encoder->touchedFile();
    if (encoder && encoder->isOpen())
        return encoder;

    encoder.reset();
    wxLogMessage("No h264 encoder. Fallback MPEG4");
    settings.codec = video::kCodecMpeg4;
    encoder = makeEncoder(settings);
    touchedOutput_ = touchedOutput_ || (encoder && encoder->touchedFile());
    return encoder;
}

/// True when the export was cancelled.
bool ExportWorker::exportFrames(DecodeAhead& source, Encoder_ffmpeg& encoder) {
    int64_t counter = 0;
    while (const DecodeAhead::Picture* picture = source.next()) {
        if (TestDestroy())
            return true;
        lastFrame_ = picture->frameIndex;
        if (source_.frameCount >= 0 && lastFrame_ > source_.frameCount)
            return false;
        if (picture->converted) {
            const int64_t index = picture->frameIndex;
            const Image* result =
                processor_->process(picture->image, static_cast<int32_t>(index), threshold_);
            source.release();
            encoder.encode(std::make_shared<Frame_ffmpeg>(result->clone(), index));
            if (counter % kFramesPerUpdate == 0)
                progress_->update(static_cast<int32_t>(counter), wxString());
        } else {
            ++skippedFrames_;
        }
        ++counter;
    }
    return interrupt_;
}

bool ExportWorker::sourceHasChanged() const {
    return source_.frameCount >= 0 && lastFrame_ != source_.frameCount;
}

/// Nothing can be written: says so where the progress would have been.
ExportWorker::Outcome ExportWorker::refuse(const wxString& text) {
    progress_->start(_("Export"), wxString::Format(_("Exporting video %s"), outputPath_),
                     progressValue(source_.frameCount));
    progress_->update(0, text);
    progress_->finish();
    return {ExportResult::Failed, text};
}

ExportWorker::Outcome ExportWorker::judge(const Encoder_ffmpeg& encoder, bool cancelled,
                                          const wxString& openError) const {
    if (encoder.failed())
        return {ExportResult::Failed, encoder.failureText()};
    std::error_code ignored;
    if (!std::filesystem::exists(systemPath(outputPath_), ignored))
        return {ExportResult::Failed, _("The exported file has disappeared.")};
    if (cancelled)
        return {ExportResult::Cancelled, wxString()};
    if (!openError.empty())
        return {ExportResult::Failed, openError};
    if (sourceHasChanged()) {
        const wxString readError = readError_();
        return {ExportResult::Failed,
                readError.empty() ? _("The video has changed since it was opened.") : readError};
    }
    if (encoder.encodedFrames() == 0)
        return {ExportResult::Failed, _("The video has no frames to export.")};
    return {ExportResult::Success, wxString()};
}

void ExportWorker::removeOutput() const {
    // What was written lies at the end of a chain of links.
    const wxString place = draftfile::placeOf(outputPath_);
    std::error_code ignored;
    if (touchedOutput_ && std::filesystem::is_regular_file(systemPath(place), ignored))
        platform::removeFile(place);
}

video::EncoderSettings encoderSettingsFor(const video::VideoInfo& source, const wxString& outputPath,
                                          video::Codec codec) {
    video::EncoderSettings settings;
    settings.width = source.width;
    settings.height = source.height;
    settings.fps = source.fps;
    settings.bitRate = source.bitRate;
    settings.gopSize = source.gopSize;
    settings.passes = 1;
    settings.path = outputPath;
    settings.codec = codec;
    settings.colorMatrix = source.colorMatrix;
    return settings;
}

ExportWorker* createExportWorker(int32_t mode, const wxString& outputPath, const video::VideoInfo& info,
                                 ISafeProgress* progress) {
    auto processor =
        mode == switches::kUnblurMode ? makeProcessor<Frameunblur>() : makeProcessor<Frameblur>();
    return new ExportWorker(info, outputPath, switches::confidenceThreshold, progress, std::move(processor));
}
