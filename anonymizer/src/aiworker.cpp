#include "aiworker.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <memory>
#include <mutex>
#include <utility>

#include <wx/log.h>
#include <wx/translation.h>

#include "ai_doriq.h"
#include "blurtrack.h"
#include "decodeahead.h"
#include "preblur.h"
#include "settings.h"
#include "video_backend_ffmpeg.h"
#include "workerend.h"

namespace {

constexpr int64_t kFramesPerReport = 100;

/// A tall box is a standing person: its upper half holds what is recognisable.
ai::Detection upperHalfIfTall(ai::Detection detection) {
    if (double{detection.h} > 1.5 * double{detection.w})
        detection.h /= 2;
    return detection;
}

void storeDetections(int64_t frameIndex, const pxl::Image& image) {
    for (const ai::Detection& found : ai::detectFrame(image)) {
        const ai::Detection kept = upperHalfIfTall(found);
        blurtrack::addBlur(frameIndex, {kept.x, kept.y, kept.w, kept.h}, kept.score,
                           blurtrack::kAnonymousBlurId);
    }
}

/// Runs one stage of the pass; what it throws ends that stage with a log line. False then.
template <typename Stage>
bool guarded(const Stage& stage) {
    try {
        stage();
        return true;
    } catch (const std::exception& error) {
        wxLogError("[AI] The pass broke off: %s", wxString::FromUTF8(error.what()));
    } catch (...) {
        wxLogError("[AI] The pass broke off");
    }
    return false;
}

} // namespace

AiWorker::AiWorker(const video::VideoInfo& source, ISafeProgress* progress)
    : wxThread(wxTHREAD_DETACHED), source_(source), progress_(progress) {}

void AiWorker::setDone(std::function<void()> done) {
    done_ = std::move(done);
}

void AiWorker::setOverrides(const AiOverrides& overrides) {
    overrides_ = overrides;
}

void AiWorker::setReport(std::shared_ptr<AiReport> report) {
    report_ = std::move(report);
}

wxThread::ExitCode AiWorker::Entry() {
    workerend::atWork();
    std::atomic<bool> interrupt{false};
    std::shared_ptr<Decoder_ffmpeg> decoder;
    bool opened = false;
    guarded([&] {
        // Only without memory is there none afterwards.
        decoder = std::make_shared<Decoder_ffmpeg>();
        decoder->setInterrupt(&interrupt);
        // A decoder that failed to open delivers no frames.
        opened = decoder->open(source_.path);
    });
    progress_->start("Tarvex AI", _("Initializing"), progressValue(source_.frameCount));

    int64_t counter = 0;
    bool completed = false;
    guarded([&] { completed = fillStore(decoder, interrupt, counter); });
    // There is no decoder only where there was no memory for it.
    if (decoder && !decoder->readError().empty())
        wxLogError("[AI] %s", decoder->readError());

    progress_->update(progressValue(counter), _("Cleaning up"));
    const bool hadDetector = ai::ready() && ai::knowsPersonOrFace();
    ai::destroyDetectors();
    if (report_)
        *report_ = {hadDetector, !opened || !completed, unconvertedFrames_ + ai::failedFrames(),
                    ai::complaints()};
    // The window ends the pass with `finish`, and the program may end with the window.
    workerend::begin();
    progress_->finish();
    if (done_)
        guarded(done_);
    return nullptr;
}

bool AiWorker::fillStore(const std::shared_ptr<video::Decoder>& decoder, std::atomic<bool>& interrupt,
                         int64_t& counter) {
    const bool gpu = overrides_.gpu ? *overrides_.gpu : settings::readBool(settings::kGpu);
    const int32_t preblurSeconds =
        overrides_.preblurSeconds ? *overrides_.preblurSeconds : settings::readInt(settings::kPreblurSeconds);
    ai::buildDetectors(gpu);
    progress_->update(0, _("Detecting"));

    const auto start = Clock::now();
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    // What was found before an exception is extended like everything else.
    bool completed = false;
    if (decoder)
        guarded([&] { completed = detectFrames(decoder, start, interrupt, counter); });
    if (preblurSeconds >= 1) {
        progress_->update(progressValue(counter), _("Post-processing"));
        preblur::extendBackward(counter, preblur::lifeInFrames(preblurSeconds, source_.fps));
    }
    return completed;
}

bool AiWorker::detectFrames(const std::shared_ptr<video::Decoder>& decoder, Clock::time_point lastReport,
                            std::atomic<bool>& interrupt, int64_t& counter) {
    // Decoding goes on while the detector works.
    DecodeAhead source(decoder, source_.width, source_.height, interrupt);
    while (const DecodeAhead::Picture* picture = source.next()) {
        if (TestDestroy())
            return true;
        if (picture->converted)
            storeDetections(picture->frameIndex, picture->image);
        else
            ++unconvertedFrames_;
        if (counter % kFramesPerReport == 0) {
            const auto now = Clock::now();
            const auto elapsed =
                std::chrono::duration_cast<std::chrono::milliseconds>(now - lastReport).count();
            const float seconds = static_cast<float>(elapsed) / 1000;
            progress_->update(
                progressValue(counter),
                wxString::Format(_("Processing speed: 100 frames in %.1f seconds"), double{seconds}));
            lastReport = now;
        }
        ++counter;
    }
    // A file that can't be read to its end, or has become another one, ends like any other.
    if (source_.frameCount < 0 || counter == source_.frameCount)
        return true;
    wxLogError("[AI] The pass saw %s of %s frames", wxString() << counter, wxString() << source_.frameCount);
    return false;
}
