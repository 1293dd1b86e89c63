#include "orderedcalls.h"

#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

TEST(OrderedCalls, ACallRunsAtOnce) {
    OrderedCalls calls;
    bool ran = false;
    calls.run([&] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(OrderedCalls, CallsThatArriveInsideAnotherWaitAndKeepTheirOrder) {
    OrderedCalls calls;
    std::vector<int> order;
    calls.run([&] {
        calls.run([&] {
            order.push_back(2);
            calls.run([&] { order.push_back(4); });
        });
        calls.run([&] { order.push_back(3); });
        order.push_back(1);
    });
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
}

TEST(OrderedCalls, AnExceptionDoesNotStopLaterCalls) {
    OrderedCalls calls;
    EXPECT_THROW(calls.run([] { throw std::runtime_error("broken"); }), std::runtime_error);
    bool ran = false;
    calls.run([&] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(OrderedCalls, TheLastCallWaitsForTheOneUnderWayAndNoOtherFollows) {
    OrderedCalls calls;
    std::vector<int> order;
    calls.run([&] {
        calls.run([&] { order.push_back(9); });
        calls.end([&] { order.push_back(2); });
        calls.run([&] { order.push_back(9); });
        order.push_back(1);
    });
    calls.run([&] { order.push_back(9); });
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(OrderedCalls, TheFirstLastCallIsNotReplacedByAnother) {
    OrderedCalls calls;
    std::vector<int> order;
    calls.run([&] {
        calls.end([&] { order.push_back(2); });
        calls.end([&] { order.push_back(9); });
        order.push_back(1);
    });
    calls.end([&] { order.push_back(9); });
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}
