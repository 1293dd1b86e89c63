#include "pxl/log.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::pair<std::string, std::string>>;

/// Collects the lines with the operation that received them, in the place of the sink in force.
class Recorder : public pxl::log::ILog {
public:
    void message(const std::string& line) override { lines.emplace_back("message", line); }
    void error(const std::string& line) override { lines.emplace_back("error", line); }
    void warning(const std::string& line) override { lines.emplace_back("warning", line); }
    Lines lines;
};

/// Writes to standard error, and tells there of its own end.
class Mourned : public pxl::log::ILog {
public:
    ~Mourned() override { write("the sink is gone"); }
    void message(const std::string& line) override { write(line); }
    void error(const std::string& line) override { write(line); }
    void warning(const std::string& line) override { write(line); }

private:
    static void write(const std::string& line) { std::fputs((line + '\n').c_str(), stderr); }
};

/// Logs, if asked to, when it is destroyed, which is after whatever was made later.
struct LateUser {
    ~LateUser() {
        if (logs)
            pxl::log::message("late");
    }
    bool logs = false;
};
LateUser lateUser;

/// Logs while static objects are still being made.
struct EarlyUser {
    EarlyUser() {
        const auto recorder = std::make_shared<Recorder>();
        auto console = pxl::log::setSink(recorder);
        foundASink = console != nullptr;
        pxl::log::message("early");
        pxl::log::setSink(std::move(console));
        seen = recorder->lines;
    }
    bool foundASink = false;
    Lines seen;
};
const EarlyUser earlyUser;

} // namespace

TEST(Log, MessageAndErrorCarryTheirPrefixes) {
    const auto recorder = std::make_shared<Recorder>();
    const auto previous = pxl::log::setSink(recorder);
    pxl::log::message("loaded");
    pxl::log::error("broken");
    pxl::log::setSink(previous);
    pxl::log::message("not recorded");
    EXPECT_EQ(recorder->lines, (Lines{{"message", "[Message] loaded"}, {"error", "[Error] broken"}}));
}

TEST(Log, ConsoleWritesEveryLevelToStandardOutput) {
    testing::internal::CaptureStdout();
    pxl::log::message("one");
    pxl::log::error("two");
    const auto console = pxl::log::setSink(std::make_shared<Recorder>());
    console->warning("three");
    pxl::log::setSink(console);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[Message] one\n[Error] two\nthree\n");
}

TEST(Log, EmptyMessageKeepsThePrefixAndItsBlank) {
    testing::internal::CaptureStdout();
    pxl::log::message("");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[Message] \n");
}

TEST(Log, EmptySinkRestoresTheConsole) {
    const auto console = pxl::log::setSink(std::make_shared<Recorder>());
    pxl::log::setSink(nullptr);
    testing::internal::CaptureStdout();
    pxl::log::message("back");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[Message] back\n");
    pxl::log::setSink(console);
}

TEST(Log, CanBeUsedBeforeMain) {
    EXPECT_TRUE(earlyUser.foundASink);
    EXPECT_EQ(earlyUser.seen, (Lines{{"message", "[Message] early"}}));
}

TEST(Log, CanBeUsedAfterMain) {
    const auto endTheProgram = [] {
        pxl::log::setSink(std::make_shared<Mourned>());
        lateUser.logs = true;
        std::exit(0);
    };
    EXPECT_EXIT(endTheProgram(), testing::ExitedWithCode(0), testing::Eq("[Message] late\n"));
}

TEST(Log, LinesOfSeveralThreadsStayWhole) {
    testing::internal::CaptureStdout();
    std::vector<std::thread> threads;
    for (char letter : {'a', 'b', 'c'})
        threads.emplace_back([letter] {
            for (int i = 0; i < 200; ++i)
                pxl::log::message(std::string(50, letter));
        });
    for (std::thread& thread : threads)
        thread.join();
    const std::string output = testing::internal::GetCapturedStdout();
    std::size_t count = 0;
    for (std::size_t begin = 0; begin < output.size(); ++count) {
        const std::size_t end = output.find('\n', begin);
        ASSERT_NE(end, std::string::npos);
        const std::string line = output.substr(begin, end - begin);
        ASSERT_EQ(line.size(), 60u);
        ASSERT_EQ(line, "[Message] " + std::string(50, line.back()));
        begin = end + 1;
    }
    EXPECT_EQ(count, 600u);
}
