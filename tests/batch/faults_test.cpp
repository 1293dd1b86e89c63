/// The companion on a system that breaks down under it (support/fault_shim.cpp).
#include <cerrno>
#include <cstring>
#include <sstream>

#include "batch_fixture.h"
#include "support/ai_folder.h"

using namespace batch_test;

namespace {

/// Set for a sweep over every call of a longer export too; takes minutes.
constexpr const char* kFullSweep = "SHROUD_FULL_FAULT_SWEEP";

class BatchFaults : public BatchTest {
protected:
    using Environment = std::map<std::string, std::string>;

    void SetUp() override {
        if (!fs::exists(fs::u8path(shim_)))
            GTEST_SKIP() << "the sanitizers take the place of the failing functions";
        fs::create_symlink(fs::u8path(shim_), report_.path() / "shim.so");
        folder_.write("out.mp4", "old");
    }

    /// Calls seen, those that failed begin with "!".
    struct Run {
        test::ProcessResult result;
        std::vector<std::string> calls;
    };
    Run runWith(const Environment& faults, std::vector<std::string> arguments) const {
        test::ProcessStart how = start(std::move(arguments));
        how.environment = faults;
        // By a name without blanks, which would be two.
        how.environment["LD_PRELOAD"] = report_.file("shim.so");
        how.environment["SHROUD_FAULT_REPORT"] = report_.file("report");
        report_.write("report", "");
        Run run{test::run(how), {}};
        std::istringstream lines(test::readFile(report_.file("report")));
        for (std::string line; std::getline(lines, line);)
            run.calls.push_back(line);
        return run;
    }

    std::size_t frames() const {
        return test::probe(wxString::FromUTF8(folder_.file("out.mp4"))).packets.size();
    }
    /// One line that begins so.
    static void expectOneLine(const test::ProcessResult& result, const std::string& beginning) {
        EXPECT_THAT(result.error, testing::StartsWith("tarvex_shroud_batch: " + beginning));
        EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
    }

    /// Lets each call in turn fail, once and for good, in two ways.
    void sweepWrites(const std::vector<std::string>& arguments, const std::vector<std::string>& targets) {
        const auto count = runWith({{"SHROUD_FAULT_FILES", ".partial-"}}, arguments).calls.size();
        ASSERT_GE(count, 10u);
        frames_ = frames();
        for (const std::string& target : targets)
            folder_.write(target, target == "out.mp4" ? "old" : "old list");
        for (const int code : {ENOSPC, EIO})
            for (const bool lasting : {false, true})
                for (std::size_t call = 1; call <= count; ++call) {
                    SCOPED_TRACE(std::to_string(call) + (lasting ? " and all after it: " : ": ") +
                                 std::strerror(code));
                    Environment faults = {{"SHROUD_FAULT_FILES", ".partial-"},
                                          {"SHROUD_FAULT_CALL", std::to_string(call)},
                                          {"SHROUD_FAULT_ERROR", std::to_string(code)}};
                    if (lasting)
                        faults["SHROUD_FAULT_LASTING"] = "1";
                    expectOldOrComplete(runWith(faults, arguments), targets, std::strerror(code));
                }
    }

    /// Puts the old files back at the end.
    void expectOldOrComplete(const Run& run, const std::vector<std::string>& targets, const char* reason) {
        ASSERT_TRUE(std::any_of(run.calls.begin(), run.calls.end(),
                                [](const std::string& call) { return call[0] == '!'; }));
        ASSERT_TRUE(run.result.exitCode) << "crashed";
        // The one step that a disk may refuse for good: putting the old list back.
        const bool listStays = run.result.error.find("list.csv is the new one") != std::string::npos;
        if (listStays)
            takeTheOldListThatIsNamed(run.result.error);
        EXPECT_EQ(folder_.listing(), listing_);
        if (run.result.exitCode == 0) {
            // The other encoder took over.
            EXPECT_EQ(frames(), frames_);
        } else {
            EXPECT_EQ(run.result.exitCode, 1);
            EXPECT_THAT(run.result.error, testing::HasSubstr(reason));
            std::vector<testing::Matcher<std::string>> named;
            for (const std::string& target : targets)
                named.push_back(testing::StartsWith("tarvex_shroud_batch: " + target + ": "));
            EXPECT_THAT(run.result.error, testing::AnyOfArray(named));
            EXPECT_EQ(std::count(run.result.error.begin(), run.result.error.end(), '\n'), 1);
        }
        for (const std::string& target : targets) {
            const std::string old = target == "out.mp4" ? "old" : "old list";
            if (run.result.exitCode == 1 && !(listStays && target == "list.csv")) {
                EXPECT_EQ(test::readFile(folder_.file(target)), old);
            }
            folder_.write(target, old);
        }
    }

    /// And removes it.
    void takeTheOldListThatIsNamed(const std::string& error) {
        ++listsLeft_;
        const std::string words = "could not be put back, the old one is ";
        const std::size_t at = error.find(words);
        ASSERT_NE(at, std::string::npos) << error;
        const std::string left = error.substr(at + words.size(), error.find('\n') - at - words.size());
        EXPECT_EQ(test::readFile(left), "old list");
        EXPECT_TRUE(fs::remove(fs::u8path(left)));
    }

    const std::string shim_ = test::testLibrary("fault_shim");
    test::TempFolder report_;
    const std::string clip_ = media(std::getenv(kFullSweep) ? "sample.mp4" : "two_frames.mp4");
    std::size_t frames_ = 0;
    std::string listing_ = "out.mp4";
    int listsLeft_ = 0;
};

} // namespace

TEST_F(BatchFaults, AWriteThatFailsIsToldAndLeavesTheOldTarget) {
    sweepWrites({"--mode", "unblur", clip_, "out.mp4"}, {"out.mp4"});
}

TEST_F(BatchFaults, AListThatCannotBeWrittenIsToldAndLeavesTheOldOne) {
    test::AiFolder ai;
    ai.installFake("");
    folder_.write("list.csv", "old list");
    listing_ = "list.csv out.mp4";
    sweepWrites(
        {"--detect", "--detections", "list.csv", "--mode", "unblur", media("two_frames.mp4"), "out.mp4"},
        {"out.mp4", "list.csv"});
    EXPECT_GT(listsLeft_, 0);
}

TEST_F(BatchFaults, AFailureOfTheSourcesDiskIsTold) {
    const std::vector<std::string> arguments = {"--mode", "unblur", clip_, "out.mp4"};
    const auto complete = runWith({{"SHROUD_FAULT_FILES", clip_}, {"SHROUD_FAULT_READS", "1"}}, arguments);
    ASSERT_EQ(complete.result.exitCode, 0) << complete.result.error;
    frames_ = frames();
    for (const bool lasting : {false, true})
        for (std::size_t call = 1; call <= complete.calls.size(); ++call) {
            SCOPED_TRACE(call);
            folder_.write("out.mp4", "old");
            Environment faults = {{"SHROUD_FAULT_FILES", clip_},
                                  {"SHROUD_FAULT_READS", "1"},
                                  {"SHROUD_FAULT_CALL", std::to_string(call)},
                                  {"SHROUD_FAULT_ERROR", std::to_string(EIO)}};
            if (lasting)
                faults["SHROUD_FAULT_LASTING"] = "1";
            const Run run = runWith(faults, arguments);
            ASSERT_TRUE(run.result.exitCode) << "crashed";
            EXPECT_EQ(folder_.listing(), "out.mp4");
            if (run.result.exitCode == 0) {
                EXPECT_EQ(frames(), frames_);
                continue;
            }
            EXPECT_EQ(run.result.exitCode, 1);
            expectOneLine(run.result, clip_ + ": ");
            EXPECT_THAT(run.result.error, testing::HasSubstr("Input/output error"));
            EXPECT_EQ(test::readFile(folder_.file("out.mp4")), "old");
        }
}

TEST_F(BatchFaults, MissingMemoryIsToldAndLeavesTheOldTarget) {
    // One picture has 230,400 bytes; the buffers that are made in advance have 8,294,400.
    for (const int bytes : {4000000, 240000, 230400, 120000, 65000, 40000}) {
        SCOPED_TRACE(bytes);
        folder_.write("out.mp4", "old");
        const Run run = runWith({{"SHROUD_FAULT_MEMORY", std::to_string(bytes)}},
                                {"--mode", "unblur", media("two_frames.mp4"), "out.mp4"});
        ASSERT_TRUE(run.result.exitCode) << "crashed";
        EXPECT_FALSE(run.calls.empty());
        EXPECT_EQ(folder_.listing(), "out.mp4");
        if (run.result.exitCode == 0) {
            EXPECT_EQ(frames(), 2u);
            continue;
        }
        EXPECT_EQ(run.result.exitCode, 1);
        // The file comes first.
        EXPECT_THAT(
            run.result.error,
            testing::AnyOf(testing::StartsWith("tarvex_shroud_batch: " + media("two_frames.mp4") + ": "),
                           testing::StartsWith("tarvex_shroud_batch: out.mp4: ")));
        expectOneLine(run.result, "");
        EXPECT_THAT(run.result.error, testing::Not(testing::HasSubstr("std::")));
        EXPECT_EQ(test::readFile(folder_.file("out.mp4")), "old");
    }
}

TEST_F(BatchFaults, EachLargeAllocationMayFail) {
    // A frame whose scaler finds no memory is left out and told; one that the codec finds none for fails the
    // export.
    const Environment faults = {{"SHROUD_FAULT_MEMORY", "30000"},
                                {"SHROUD_FAULT_CONTROL", report_.file("control")}};
    std::size_t failures = 0;
    for (int call = 1, failing = 1; failing; ++call) {
        SCOPED_TRACE(call);
        ASSERT_LT(call, 500);
        folder_.write("out.mp4", "old");
        report_.write("control", "1 " + std::to_string(call));
        const Run run = runWith(faults, {"--mode", "unblur", media("two_frames.mp4"), "out.mp4"});
        failing = std::any_of(run.calls.begin(), run.calls.end(),
                              [](const std::string& seen) { return seen[0] == '!'; });
        failures += failing;
        ASSERT_TRUE(run.result.exitCode) << "crashed";
        EXPECT_EQ(folder_.listing(), "out.mp4");
        if (run.result.exitCode == 0) {
            EXPECT_THAT(frames(), testing::AnyOf(1u, 2u));
            if (frames() == 1) {
                EXPECT_THAT(run.result.error, testing::HasSubstr("missing"));
            }
            continue;
        }
        EXPECT_EQ(run.result.exitCode, 1);
        EXPECT_THAT(
            run.result.error,
            testing::AnyOf(testing::HasSubstr("tarvex_shroud_batch: " + media("two_frames.mp4") + ": "),
                           testing::HasSubstr("tarvex_shroud_batch: out.mp4: ")));
        EXPECT_EQ(test::readFile(folder_.file("out.mp4")), "old");
    }
    EXPECT_GT(failures, 20u);
}

TEST_F(BatchFaults, AClockThatJumpsChangesNothing) {
    for (const char* seconds : {"3600", "315360000"}) {
        const Run run = runWith({{"SHROUD_FAULT_CLOCK", seconds}},
                                {"--mode", "unblur", media("two_frames.mp4"), "out.mp4"});
        EXPECT_EQ(run.result.exitCode, 0);
        EXPECT_EQ(run.result.error, "");
        EXPECT_EQ(frames(), 2u);
    }
}
