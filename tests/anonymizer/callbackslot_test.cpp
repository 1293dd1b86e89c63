#include "callbackslot.h"

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>

#include "support/event_list.h"

namespace {

TEST(CallbackSlot, CallsWhatWasSetAndNothingWhenEmpty) {
    CallbackSlot<int> slot;
    slot.call(1);
    int sum = 0;
    slot.set([&](int value) { sum += value; });
    slot.call(2);
    slot.call(3);
    slot.set({});
    slot.call(4);
    EXPECT_EQ(sum, 5);
}

TEST(CallbackSlot, ReplacingWaitsForTheCallUnderWay) {
    CallbackSlot<> slot;
    test::Gate entered, leave;
    std::atomic<bool> ended{false};
    slot.set([&] {
        entered.open();
        leave.pass();
        ended = true;
    });
    std::thread caller([&] { slot.call(); });
    ASSERT_TRUE(entered.pass());
    auto replaced = std::async(std::launch::async, [&] { slot.set({}); });
    EXPECT_EQ(replaced.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_FALSE(ended);
    leave.open();
    replaced.get();
    EXPECT_TRUE(ended);
    caller.join();
}

TEST(CallbackSlot, ReplacedFunctionIsGoneWhenSetReturns) {
    CallbackSlot<> slot;
    auto receiver = std::make_shared<int>(0);
    std::atomic<bool> stop{false};
    std::thread caller([&] {
        while (!stop)
            slot.call();
    });
    for (int round = 0; round < 1000; ++round) {
        slot.set([receiver] { ++*receiver; });
        slot.set({});
        // Nobody else touches it any more: neither a call nor a copy of the function is left.
        ASSERT_EQ(receiver.use_count(), 1);
        ++*receiver;
    }
    stop = true;
    caller.join();
}

TEST(CallbackSlot, ReplacingFromInsideTheCallDoesNotWait) {
    CallbackSlot<> slot;
    int calls = 0;
    slot.set([&] {
        ++calls;
        slot.set([&] { calls += 10; });
    });
    slot.call();
    slot.call();
    EXPECT_EQ(calls, 11);
}

TEST(CallbackSlot, CallsOfTheNextFunctionDoNotHoldTheWaiterBack) {
    CallbackSlot<> slot;
    test::Gate entered, leave, secondEntered, secondLeave;
    slot.set([&] {
        entered.open();
        leave.pass();
    });
    std::thread caller([&] {
        slot.call();
        slot.call();
    });
    ASSERT_TRUE(entered.pass());
    auto replaced = std::async(std::launch::async, [&] {
        slot.set([&] {
            secondEntered.open();
            secondLeave.pass();
        });
    });
    while (replaced.wait_for(std::chrono::milliseconds(50)) == std::future_status::ready)
        FAIL() << "it did not wait";
    leave.open();
    ASSERT_TRUE(secondEntered.pass());
    EXPECT_EQ(replaced.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    secondLeave.open();
    caller.join();
}

TEST(CallbackSlot, AThrowingFunctionLeavesNobodyWaiting) {
    CallbackSlot<> slot;
    auto receiver = std::make_shared<int>(0);
    slot.set([receiver] { throw std::runtime_error("no"); });
    EXPECT_THROW(slot.call(), std::runtime_error);
    auto replaced = std::async(std::launch::async, [&] { slot.set({}); });
    ASSERT_EQ(replaced.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(receiver.use_count(), 1);
    int calls = 0;
    slot.set([&] { ++calls; });
    slot.call();
    EXPECT_EQ(calls, 1);
}

} // namespace
