#include "runningthread.h"

#include <gtest/gtest.h>
#include <wx/thread.h>

namespace {

/// Never started; knows when it is asked to end.
class IdleThread : public wxThread {
public:
    IdleThread() : wxThread(wxTHREAD_JOINABLE) {}
    bool asked = false;

protected:
    ExitCode Entry() override { return nullptr; }
    void OnDelete() override { asked = true; }
};

} // namespace

TEST(RunningThread, IsLeftAloneOnceItEnds) {
    IdleThread thread;
    RunningThread running(thread);
    running.ends();
    running.stop();
    EXPECT_FALSE(thread.asked);
}
