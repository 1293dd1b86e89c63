#pragma once

#include <chrono>
#include <cstdlib>
#include <future>

#include <gtest/gtest.h>

/// Waiting for another thread, which a fault must not turn into waiting for ever.
namespace test {

constexpr std::chrono::minutes kPatience{4};

/// Ends the program, with a failed test, when what is waited for does not come: whoever should bring it about
/// may still use the waiting thread's variables.
template <class Future>
void waitFor(const Future& future) {
    if (future.wait_for(kPatience) == std::future_status::ready)
        return;
    ADD_FAILURE() << "what is waited for does not come";
    std::abort();
}

/// The value of a future, waited for in the same way.
template <class Value>
Value valueOf(std::future<Value> future) {
    waitFor(future);
    return future.get();
}

} // namespace test
