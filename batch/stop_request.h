#pragma once

#include <atomic>

/// The user's or the system's wish that the program ends soon, in good order.
namespace stop_request {

/// From now on the signals that ask a program to end only set the flag, and wake a system call that waits.
/// One that the program was started to ignore stays ignored.
void listen();

/// True once a stop was asked for. Valid as long as the program.
const std::atomic<bool>& flag();

} // namespace stop_request
