#include "workerend.h"

#include <condition_variable>
#include <mutex>

#include <wx/log.h>

namespace workerend {
namespace {

struct Threads {
    std::mutex mutex;
    std::condition_variable changed;
    /// Guarded by the mutex.
    int ending = 0;
};

/// Never destroyed: a thread may be later than the program's static objects.
Threads& threads() {
    static Threads& instance = *new Threads;
    return instance;
}

/// Lives until its thread has unwound its stack.
struct Ending {
    Ending() {
        const std::lock_guard<std::mutex> lock(threads().mutex);
        ++threads().ending;
    }
    ~Ending() {
        const std::lock_guard<std::mutex> lock(threads().mutex);
        --threads().ending;
        threads().changed.notify_all();
    }
};

} // namespace

void begin() {
    static thread_local const Ending ending;
    (void)ending;
}

void wait(std::chrono::milliseconds limit) {
    {
        std::unique_lock<std::mutex> lock(threads().mutex);
        threads().changed.wait_for(lock, limit, [] { return threads().ending == 0; });
    }
    wxLog::FlushActive();
}

} // namespace workerend
