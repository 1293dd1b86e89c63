#pragma once

#include <atomic>
#include <functional>

/// A call that other threads ask the user-interface thread for: however often they do before it has begun,
/// it is queued once. Outlives what it has queued.
class QueuedCall {
public:
    /// Queues a call for the user-interface thread, from any thread.
    using Queue = std::function<void(std::function<void()>)>;

    QueuedCall(Queue queue, std::function<void()> call);

    /// Any thread. What was changed before is seen by the call.
    void request();

private:
    Queue queue_;
    std::function<void()> call_;
    std::atomic<bool> queued_{false};
};
