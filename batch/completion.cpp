#include "completion.h"

#include <chrono>
#include <utility>

#include "stop_request.h"

namespace {

/// A signal handler can only set a flag, so the flag is looked at this often.
constexpr std::chrono::milliseconds kStopLatency{50};

/// Runs a function when its thread has unwound its stack.
struct AtThreadEnd {
    ~AtThreadEnd() {
        if (run)
            run();
    }
    std::function<void()> run;
};
thread_local AtThreadEnd atThreadEnd;

} // namespace

// A detached wxThread cleans up behind its object's end, with data that the end of the program destroys; the
// library does not wait for that.
void Completion::signal() {
    atThreadEnd.run = [this] { threadEnded(); };
    const std::lock_guard<std::mutex> lock(mutex_);
    workerIsGone_ = true;
}

void Completion::threadEnded() {
    const std::lock_guard<std::mutex> lock(mutex_);
    threadIsGone_ = true;
    changed_.notify_all();
}

void Completion::wait(const std::function<void()>& stopWorker) {
    std::unique_lock<std::mutex> lock(mutex_);
    bool stopAsked = false;
    while (!changed_.wait_for(lock, kStopLatency, [this] { return threadIsGone_; }))
        if (stop_request::flag() && !workerIsGone_ && !std::exchange(stopAsked, true))
            stopWorker();
}
