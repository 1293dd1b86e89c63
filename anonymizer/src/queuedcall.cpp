#include "queuedcall.h"

#include <utility>

QueuedCall::QueuedCall(Queue queue, std::function<void()> call)
    : queue_(std::move(queue)), call_(std::move(call)) {}

void QueuedCall::request() {
    if (queued_.exchange(true))
        return;
    queue_([this] {
        // Before the call: what changes while it runs asks for another one.
        queued_ = false;
        call_();
    });
}
