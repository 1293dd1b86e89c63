#include "orderedcalls.h"

#include <utility>

void OrderedCalls::run(std::function<void()> call) {
    waiting_.push_back(std::move(call));
    if (running_)
        return;
    struct Running {
        explicit Running(bool& flag) : flag_(flag) { flag_ = true; }
        ~Running() { flag_ = false; }
        bool& flag_;
    } running(running_);
    while (!waiting_.empty()) {
        const auto next = std::move(waiting_.front());
        waiting_.pop_front();
        next();
    }
}
