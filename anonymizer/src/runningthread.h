#pragma once

#include <mutex>

class wxThread;

/// A detached thread that may be gone any time, seen from another one. Any thread.
class RunningThread {
public:
    explicit RunningThread(wxThread& thread);

    /// Asks the thread to end soon, unless it has done so; does not wait for it. Only after it was started.
    void stop();

    /// Called by the thread itself, in its last steps: from now on it is left alone.
    void ends();

private:
    std::mutex mutex_;
    /// Guarded by the mutex; null once the thread ends.
    wxThread* thread_;
};
