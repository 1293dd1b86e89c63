#include "aiworker.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <utility>

#include <wx/log.h>
#include <wx/translation.h>

#include "ai_doriq.h"
#include "blurtrack.h"
#include "preblur.h"
#include "settings.h"
#include "video_backend_ffmpeg.h"

namespace {

using Clock = std::chrono::steady_clock;

int32_t progressValue(int64_t frames) {
    return static_cast<int32_t>(std::clamp<int64_t>(frames, 0, std::numeric_limits<int32_t>::max()));
}

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

/// Runs one stage of the pass; what it throws ends that stage with a log line.
template <typename Stage>
void guarded(const Stage& stage) {
    try {
        stage();
    } catch (const std::exception& error) {
        wxLogError("[AI] The pass broke off: %s", wxString::FromUTF8(error.what()));
    } catch (...) {
        wxLogError("[AI] The pass broke off");
    }
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

wxThread::ExitCode AiWorker::Entry() {
    std::shared_ptr<video::Decoder> decoder;
    guarded([&] {
        decoder = std::make_shared<Decoder_ffmpeg>();
        // A decoder that failed to open delivers no frames.
        decoder->open(source_.path);
    });
    progress_->start("Tarvex AI", _("Initializing"), progressValue(source_.frameCount));

    int64_t counter = 0;
    guarded([&] {
        const bool gpu = overrides_.gpu ? *overrides_.gpu : settings::readBool(settings::kGpu);
        const int32_t preblurSeconds = overrides_.preblurSeconds
                                           ? *overrides_.preblurSeconds
                                           : settings::readInt(settings::kPreblurSeconds);
        ai::buildDetectors(gpu);
        progress_->update(0, _("Detecting"));

        auto lastReport = Clock::now();
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        pxl::Image image(source_.width, source_.height);
        while (decoder && decoder->next()) {
            if (TestDestroy())
                break;
            if (!image.empty() && decoder->convert(image))
                storeDetections(decoder->frameIndex(), image);
            if (counter % 100 == 0) {
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
        if (preblurSeconds >= 1) {
            progress_->update(progressValue(counter), _("Post-processing"));
            preblur::extendBackward(counter, preblur::lifeInFrames(preblurSeconds, source_.fps));
        }
    });

    progress_->update(progressValue(counter), _("Cleaning up"));
    ai::destroyDetectors();
    progress_->finish();
    if (done_)
        guarded(done_);
    return nullptr;
}
