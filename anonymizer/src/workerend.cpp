#include "workerend.h"

#include <condition_variable>
#include <mutex>

#include <wx/log.h>

namespace workerend {
namespace {

struct Threads {
    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by the mutex.
    int working = 0;
    int ending = 0;
};

/// Never destroyed: a thread may be later than the program's static objects.
Threads& threads() {
    static Threads& instance = *new Threads;
    return instance;
}

/// A thread as it is counted, until it has unwound its stack.
class Counted {
public:
    Counted() = default;
    ~Counted() { countAs(nullptr); }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    void countAs(int Threads::*state) {
        const std::lock_guard<std::mutex> lock(threads().mutex);
        if (state_)
            --(threads().*state_);
        state_ = state;
        if (state_)
            ++(threads().*state_);
        threads().changed.notify_all();
    }

private:
    /// Null when not counted.
    int Threads::*state_ = nullptr;
};

thread_local Counted thisThread;

} // namespace

void atWork() {
    thisThread.countAs(&Threads::working);
}

void begin() {
    thisThread.countAs(&Threads::ending);
}

bool wait(std::chrono::milliseconds limit) {
    bool isAnyLeft = false;
    {
        std::unique_lock<std::mutex> lock(threads().mutex);
        isAnyLeft = !threads().changed.wait_for(lock, limit, [] { return threads().ending == 0; }) ||
                    threads().working > 0;
    }
    wxLog::FlushActive();
    return !isAnyLeft;
}

} // namespace workerend
