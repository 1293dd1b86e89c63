#pragma once

#include <functional>
#include <string>
#include <vector>

#include "aiworker.h"
#include "safeprogress.h"
#include "support/plain_preblur.h"
#include "video_backend.h"

namespace test {

/// One call a worker made to its progress sink.
struct ProgressCall {
    enum Kind { kStart, kUpdate, kFinish } kind;
    int32_t value;
    std::string title;
    std::string message;
};

/// Collects the calls; all come from one thread.
class ProgressLog : public ISafeProgress {
public:
    void start(const wxString& title, const wxString& message, int32_t total) override;
    void update(int32_t value, const wxString& message) override;
    void finish() override;

    std::vector<ProgressCall> calls;
    /// Called on the worker's thread after each noted call.
    std::function<void(const ProgressCall&)> onCall;

private:
    void note(const ProgressCall& call);
};

/// Description of a video after a scan; frameCount 0 when it can't be opened.
video::VideoInfo describe(const std::string& path);

/// Empties the store and makes the frames 0 … lastFrame.
void resetStore(int64_t lastFrame);

/// Copy of the store.
StoredFrames storedFrames();

/// Runs one pass to its end on a thread of its own and tells how it went. `whileRunning` is called on the
/// calling thread, right after the worker was started.
AiReport runPass(const video::VideoInfo& source, ProgressLog& progress, const AiOverrides& overrides = {},
                 const std::function<void(AiWorker&)>& whileRunning = {});

} // namespace test
