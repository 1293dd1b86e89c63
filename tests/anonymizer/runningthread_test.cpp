#include "runningthread.h"

#include <atomic>

#include <gtest/gtest.h>
#include <wx/thread.h>

namespace {

class Asked : public wxThread {
public:
    Asked() : wxThread(wxTHREAD_JOINABLE) {}
    std::atomic<int> times{0};

protected:
    ExitCode Entry() override {
        while (!TestDestroy())
            Yield();
        return nullptr;
    }
    void OnDelete() override { ++times; }
};

} // namespace

TEST(RunningThread, IsAskedToEndUntilItSaysThatItEnds) {
    Asked thread;
    RunningThread running(thread);
    ASSERT_EQ(thread.Run(), wxTHREAD_NO_ERROR);
    running.stop();
    thread.Wait();
    EXPECT_EQ(thread.times, 1);
    running.ends();
    running.stop();
    EXPECT_EQ(thread.times, 1);
}
