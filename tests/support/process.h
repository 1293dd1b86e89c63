#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace test {

/// How a program ended and what it said.
struct ProcessResult {
    /// Exit code; empty when a signal ended it.
    std::optional<int> exitCode;
    std::string output;
    std::string error;
};

/// How to start a program.
struct ProcessStart {
    std::string program;
    std::vector<std::string> arguments;
    /// Working directory; empty for the test's own.
    std::string folder;
    /// Variables on top of the test's own environment.
    std::map<std::string, std::string> environment;
    /// Give it a terminal for standard error.
    bool terminal = false;
};

/// A running program, which is asked to end by the signals for that, whatever the test itself ignores. Ended
/// by force if it is still there at the end.
class Process {
public:
    explicit Process(const ProcessStart& start);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void sendSignal(int signal) const;
    int id() const { return pid_; }
    bool isRunning();
    /// Waits for the end, at most two minutes; ends it by force then.
    ProcessResult wait();

private:
    int pid_ = -1;
    int terminal_ = -1;
    std::optional<int> status_;
    std::string folder_;
};

ProcessResult run(const ProcessStart& start);

} // namespace test
