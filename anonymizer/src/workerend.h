#pragma once

#include <chrono>

/// The last steps of detached workers. A detached thread of the GUI library cleans up behind its object's end
/// with data that the end of the program destroys, and the library does not wait for that.
namespace workerend {

/// On a worker's thread, as its first step: from now on `wait` knows of it.
void atWork();

/// On a worker's thread, before it tells anybody of its end: from now on `wait` waits for this thread.
void begin();

/// Returns once every thread that called `begin` has unwound its stack, after `limit` at the latest. Does not
/// wait for workers that are still at work. Then their log lines are written: the log keeps those of a thread
/// for the event loop, which has ended by then. Main thread, before the program ends.
///
/// False when a worker is left, at work or at its last steps: it uses objects that an orderly end destroys.
bool wait(std::chrono::milliseconds limit);

} // namespace workerend
