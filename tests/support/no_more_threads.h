#pragma once

#include <cstddef>

#include <pthread.h>

namespace test {

/// While it lives, no thread can be started: the stack that a new one gets by default is larger than the
/// memory.
class NoMoreThreads {
public:
    NoMoreThreads() {
        pthread_getattr_default_np(&before_);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, kImpossibleStack);
        pthread_setattr_default_np(&attributes);
        pthread_attr_destroy(&attributes);
    }
    ~NoMoreThreads() {
        pthread_setattr_default_np(&before_);
        pthread_attr_destroy(&before_);
    }
    NoMoreThreads(const NoMoreThreads&) = delete;
    NoMoreThreads& operator=(const NoMoreThreads&) = delete;

private:
    static constexpr std::size_t kImpossibleStack = std::size_t{1} << 46;
    pthread_attr_t before_;
};

} // namespace test
