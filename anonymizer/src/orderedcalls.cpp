#include "orderedcalls.h"

#include <utility>

#include "scopedflag.h"

void OrderedCalls::run(std::function<void()> call) {
    if (ended_)
        return;
    waiting_.push_back(std::move(call));
    if (running_)
        return;
    const ScopedFlag running(running_);
    while (!waiting_.empty()) {
        const auto next = std::move(waiting_.front());
        waiting_.pop_front();
        next();
    }
}

void OrderedCalls::end(std::function<void()> call) {
    if (ended_)
        return;
    waiting_.clear();
    run(std::move(call));
    ended_ = true;
}
