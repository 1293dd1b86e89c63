#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include <wx/thread.h>

#include "safeprogress.h"
#include "video_backend.h"

/// Values to use for one pass instead of the stored settings, which stay as they are.
struct AiOverrides {
    std::optional<bool> gpu;
    /// Seconds.
    std::optional<int32_t> preblurSeconds;
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
    /// Set before `Run`.
    void setOverrides(const AiOverrides& overrides);

protected:
    ExitCode Entry() override;

private:
    std::function<void()> done_;
    video::VideoInfo source_;
    ISafeProgress* progress_;
    AiOverrides overrides_;
};
