#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

/// Where the main thread waits for a detached worker. The worker object is there for certain until `signal`
/// returns; its thread lives on a little longer.
class Completion {
public:
    /// The worker's last act, on its thread.
    void signal();

    /// Returns once the thread that called `signal` has left everything but the system's own code: the
    /// program may end then. If it is asked to stop before that, `stopWorker` is called once, if the worker
    /// still exists.
    void wait(const std::function<void()>& stopWorker);

private:
    void threadEnded();

    std::mutex mutex_;
    std::condition_variable changed_;
    /// Guarded by the mutex.
    bool workerIsGone_ = false;
    bool threadIsGone_ = false;
};
