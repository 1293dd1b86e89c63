#include "workerend.h"

#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <wx/log.h>

#include "support/patience.h"

namespace {

/// The active log target while it lives. Like the log file it gets the lines of a thread when somebody
/// flushes them.
class WrittenLines : public wxLog {
public:
    WrittenLines() : before_(wxLog::SetActiveTarget(this)) {}
    ~WrittenLines() override { wxLog::SetActiveTarget(before_); }
    WrittenLines(const WrittenLines&) = delete;
    WrittenLines& operator=(const WrittenLines&) = delete;

    std::vector<std::string> lines;

protected:
    void DoLogText(const wxString& line) override { lines.push_back(line.utf8_string()); }

private:
    wxLog* before_;
};

} // namespace

TEST(WorkerEnd, AWorkerStillAtWorkIsNotWaitedFor) {
    std::promise<void> started;
    std::promise<void> stop;
    std::thread worker([&started, stopped = stop.get_future()] {
        workerend::atWork();
        started.set_value();
        test::waitFor(stopped);
        workerend::begin();
    });
    test::waitFor(started.get_future());
    // One that has not come to its end holds up nobody; the test would hang here.
    EXPECT_FALSE(workerend::wait(std::chrono::hours(24)));
    stop.set_value();
    worker.join();
    EXPECT_TRUE(workerend::wait(std::chrono::hours(24)));
}

TEST(WorkerEnd, AWorkerAtItsLastStepsIsWaitedForUntilTheLimit) {
    std::promise<void> begun;
    std::promise<void> stop;
    std::thread worker([&begun, stopped = stop.get_future()] {
        workerend::begin();
        begun.set_value();
        test::waitFor(stopped);
    });
    test::waitFor(begun.get_future());
    constexpr std::chrono::milliseconds limit(50);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(workerend::wait(limit));
    EXPECT_GE(std::chrono::steady_clock::now() - start, limit);
    stop.set_value();
    EXPECT_TRUE(workerend::wait(test::kPatience));
    worker.join();
}

TEST(WorkerEnd, TheLastLinesOfAWorkerAreWritten) {
    wxLog::FlushActive();
    WrittenLines log;
    std::promise<void> begun;
    std::thread worker([&begun] {
        workerend::begin();
        begun.set_value();
        wxLogMessage("[Worker] Thread destroyed");
    });
    test::waitFor(begun.get_future());
    workerend::wait(std::chrono::seconds(30));
    worker.join();
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_NE(log.lines[0].find("[Worker] Thread destroyed"), std::string::npos);
}
