#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <wx/thread.h>

#include "safeprogress.h"
#include "video_backend.h"

/// Values to use for one pass instead of the stored settings, which stay as they are.
struct AiOverrides {
    std::optional<bool> gpu;
    /// Seconds.
    std::optional<int32_t> preblurSeconds;
};

/// How a pass went.
struct AiReport {
    /// One whose model names persons or faces. Without it nothing was found.
    bool hadDetector = false;
    /// It ended early without having been asked to, or saw another number of frames than the video is known
    /// to have.
    bool brokeOff = false;
    /// Frames of the pass that nobody looked at: the picture could not be converted or the library failed.
    int64_t failedFrames = 0;
    /// What is wrong with library or model, each kind once, in words for the log.
    std::vector<wxString> complaints;
};

/// Finds persons and faces in every frame of a video and adds them to the blur store, then extends every
/// rectangle of the store into the frames before it (preblur.h). Runs on a thread of its own. Detached: it
/// deletes itself when done. Holds the blur store's mutex from the first frame to the end of the extension.
///
/// Stopped by `wxThread::Delete`, noticed at every frame: what was found so far stays and is still extended.
/// At most one may run at a time.
class AiWorker : public wxThread {
public:
    /// `source` names the video and its frame count, size and rate. `progress` is not owned and outlives the
    /// worker; its `finish` comes after the mutex has been released and the detector is gone.
    AiWorker(const video::VideoInfo& source, ISafeProgress* progress);

    /// Called once, on the worker's thread, as the worker's last act. Set before `Run`.
    void setDone(std::function<void()> done);
    /// Filled before the completion callback is called. Set before `Run`.
    void setReport(std::shared_ptr<AiReport> report);
    /// Set before `Run`.
    void setOverrides(const AiOverrides& overrides);

protected:
    ExitCode Entry() override;

private:
    using Clock = std::chrono::steady_clock;

    /// Detection and extension, with the store's mutex held. False when the detection broke off; what was
    /// found is extended all the same. `counter` is the number of frames seen, right also when this throws.
    bool fillStore(const std::shared_ptr<video::Decoder>& decoder, std::atomic<bool>& interrupt,
                   int64_t& counter);
    /// True when as many frames as known were seen, or a stop request ended it. Expects the caller to hold
    /// the store's mutex.
    bool detectFrames(const std::shared_ptr<video::Decoder>& decoder, Clock::time_point lastReport,
                      std::atomic<bool>& interrupt, int64_t& counter);

    std::function<void()> done_;
    video::VideoInfo source_;
    ISafeProgress* progress_;
    AiOverrides overrides_;
    int64_t unconvertedFrames_ = 0;
    std::shared_ptr<AiReport> report_;
};
