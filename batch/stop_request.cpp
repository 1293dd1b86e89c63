#include "stop_request.h"

#include "platform.h"

namespace stop_request {
namespace {

std::atomic<bool> requested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

extern "C" void onStopSignal(int) {
    requested = true;
}

} // namespace

void listen() {
    platform::catchStopSignals(onStopSignal);
}

const std::atomic<bool>& flag() {
    return requested;
}

} // namespace stop_request
