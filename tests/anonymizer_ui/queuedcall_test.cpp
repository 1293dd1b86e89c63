#include "queuedcall.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

class QueuedCalls : public testing::Test {
protected:
    std::size_t queued() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return waiting_.size();
    }
    void runQueued() {
        std::vector<std::function<void()>> calls;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            calls.swap(waiting_);
        }
        for (const auto& call : calls)
            call();
    }

    int runs_ = 0;
    std::function<void()> during_;
    QueuedCall call_{[this](std::function<void()> call) {
                         const std::lock_guard<std::mutex> lock(mutex_);
                         waiting_.push_back(std::move(call));
                     },
                     [this] {
                         ++runs_;
                         if (during_)
                             during_();
                     }};

private:
    std::mutex mutex_;
    std::vector<std::function<void()>> waiting_;
};

TEST_F(QueuedCalls, OnlyOneWaitsHoweverOftenItIsAskedFor) {
    EXPECT_EQ(queued(), 0u);
    for (int i = 0; i < 5; ++i)
        call_.request();
    EXPECT_EQ(queued(), 1u);
    EXPECT_EQ(runs_, 0) << "not on the asking thread";
    runQueued();
    EXPECT_EQ(runs_, 1);
    call_.request();
    EXPECT_EQ(queued(), 1u);
}

TEST_F(QueuedCalls, ARequestDuringTheCallQueuesAnother) {
    during_ = [this] {
        call_.request();
        call_.request();
    };
    call_.request();
    runQueued();
    EXPECT_EQ(queued(), 1u);
}

TEST_F(QueuedCalls, TheLastRequestIsFollowedByACall) {
    std::atomic<int> changes{0};
    int seen = 0;
    during_ = [&] { seen = changes; };
    std::thread other([&] {
        for (int i = 0; i < 10000; ++i) {
            ++changes;
            call_.request();
        }
    });
    while (changes < 10000) {
        runQueued();
        EXPECT_LE(queued(), 1u);
    }
    other.join();
    runQueued();
    EXPECT_EQ(seen, 10000);
}

} // namespace
