#include "support/detection_pass.h"

#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "blurtrack.h"
#include "support/patience.h"
#include "video_backend_ffmpeg.h"

namespace test {

void ProgressLog::start(const wxString& title, const wxString& message, int32_t total) {
    note({ProgressCall::kStart, total, title.utf8_string(), message.utf8_string()});
}

void ProgressLog::update(int32_t value, const wxString& message) {
    note({ProgressCall::kUpdate, value, {}, message.utf8_string()});
}

void ProgressLog::finish() {
    note({ProgressCall::kFinish, 0, {}, {}});
}

void ProgressLog::note(const ProgressCall& call) {
    calls.push_back(call);
    if (onCall)
        onCall(call);
}

video::VideoInfo describe(const std::string& path) {
    Decoder_ffmpeg decoder;
    video::VideoInfo info;
    info.path = wxString::FromUTF8(path);
    if (!decoder.open(info.path))
        return info;
    video::Progress progress;
    decoder.scan(progress);
    return decoder.info(info);
}

void resetStore(int64_t lastFrame) {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    blurtrack::clear();
    blurtrack::initFrames(lastFrame);
}

StoredFrames storedFrames() {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    return blurtrack::store().frames;
}

AiReport runPass(const video::VideoInfo& source, ProgressLog& progress, const AiOverrides& overrides,
                 const std::function<void(AiWorker&)>& whileRunning) {
    // Kept alive by the worker too, which may still be inside the call when the waiting is over.
    const auto done = std::make_shared<std::promise<void>>();
    auto* worker = new AiWorker(source, &progress); // deletes itself
    worker->setOverrides(overrides);
    const auto report = std::make_shared<AiReport>();
    worker->setReport(report);
    worker->setDone([done] { done->set_value(); });
    if (worker->Run() != wxTHREAD_NO_ERROR)
        throw std::runtime_error("the pass does not start");
    if (whileRunning)
        whileRunning(*worker);
    test::waitFor(done->get_future());
    return *report;
}

} // namespace test
