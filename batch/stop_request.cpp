#include "stop_request.h"

#include <csignal>

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
    for (int signal : platform::stopSignals())
        std::signal(signal, onStopSignal);
}

const std::atomic<bool>& flag() {
    return requested;
}

} // namespace stop_request
