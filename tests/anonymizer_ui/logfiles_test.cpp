#include "logfiles.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wx/log.h>

#include "support/log_capture.h"
#include "support/temp_folder.h"

namespace fs = std::filesystem;
using logfiles::delOldLogFiles;

namespace {

/// A data folder whose log files are each an hour younger than the one before; file 0 is the oldest.
class LogPruning : public testing::Test {
protected:
    void makeLogs(int count) {
        for (int number = 0; number < count; ++number)
            makeLog(name(number), std::chrono::hours(number - count));
    }
    void makeLog(const std::string& file, std::chrono::hours age) {
        folder_.write(file, "line\n");
        fs::last_write_time(folder_.path() / file, fs::file_time_type::clock::now() + age);
    }
    static std::string name(int number) { return "run" + std::to_string(number) + ".log"; }
    bool exists(const std::string& file) const { return fs::exists(folder_.path() / file); }
    int countLogs() const {
        int count = 0;
        for (const auto& entry : fs::directory_iterator(folder_.path()))
            if (entry.path().extension() == ".log")
                ++count;
        return count;
    }
    wxString folder() const { return wxString::FromUTF8(folder_.path().u8string()); }
    wxString path(const std::string& file) const { return wxString::FromUTF8(folder_.file(file)); }

    test::TempFolder folder_;
    test::LogCapture log_;
};

/// Calls it for every line that is logged while it lives, and hands the line on.
class AtEveryLine : public wxLog {
public:
    explicit AtEveryLine(std::function<void()> call)
        : call_(std::move(call)), next_(wxLog::SetActiveTarget(this)) {}
    ~AtEveryLine() override { wxLog::SetActiveTarget(next_); }
    AtEveryLine(const AtEveryLine&) = delete;
    AtEveryLine& operator=(const AtEveryLine&) = delete;

protected:
    void DoLogRecord(wxLogLevel level, const wxString& text, const wxLogRecordInfo& info) override {
        call_();
        next_->LogRecord(level, text, info);
    }

private:
    std::function<void()> call_;
    wxLog* next_;
};

void fail() {
    throw std::runtime_error("out of film");
}

void failOddly() {
    throw 42;
}

} // namespace

TEST(LogFileName, IsTheLocalTimeWithoutColons) {
    EXPECT_EQ(logfiles::nameFor(wxDateTime(25, wxDateTime::Jun, 2026, 14, 3, 9)), "2026-06-25T14_03_09.log");
    EXPECT_EQ(logfiles::nameFor(wxDateTime(1, wxDateTime::Jan, 2031, 0, 0, 0)), "2031-01-01T00_00_00.log");
}

TEST_F(LogPruning, UpToTenStay) {
    for (const int count : {0, 9, 10}) {
        makeLogs(count);
        delOldLogFiles(folder(), {});
        EXPECT_EQ(countLogs(), count);
    }
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(LogPruning, OfElevenTheOldestGoes) {
    makeLogs(11);
    delOldLogFiles(folder(), path(name(10)));
    EXPECT_EQ(countLogs(), 10);
    EXPECT_FALSE(exists(name(0)));
    EXPECT_EQ(log_.lines(wxLOG_Message),
              std::vector<std::string>{"Deleted old log file: " + folder_.file(name(0))});
}

TEST_F(LogPruning, OfThreeHundredTheTenNewestStay) {
    makeLogs(300);
    delOldLogFiles(folder(), path(name(299)));
    EXPECT_EQ(countLogs(), 10);
    for (int number = 290; number < 300; ++number)
        EXPECT_TRUE(exists(name(number))) << number;
    EXPECT_EQ(log_.lines(wxLOG_Message).size(), 290u);
}

TEST_F(LogPruning, TheFileOfThisRunStaysThoughOthersAreFromTheFuture) {
    for (int number = 0; number < 12; ++number)
        makeLog(name(number), std::chrono::hours(1000 + number));
    makeLog("now.log", std::chrono::hours(0));
    delOldLogFiles(folder(), path("now.log"));
    EXPECT_EQ(countLogs(), 10);
    EXPECT_TRUE(exists("now.log"));
    EXPECT_FALSE(exists(name(2)));
    EXPECT_TRUE(exists(name(3)));
}

TEST_F(LogPruning, OtherFilesSubFoldersAndHiddenFilesAreLeftAlone) {
    makeLogs(11);
    for (const char* file : {"config.ini", "notes.txt", "run.log.txt", ".hidden.log"})
        makeLog(file, std::chrono::hours(-1000));
    fs::create_directory(folder_.path() / "folder.log");
    fs::last_write_time(folder_.path() / "folder.log", fs::file_time_type::min());
    delOldLogFiles(folder(), {});
    EXPECT_FALSE(exists(name(0)));
    EXPECT_TRUE(exists(name(1)));
    for (const char* file : {"config.ini", "notes.txt", "run.log.txt", ".hidden.log", "folder.log"})
        EXPECT_TRUE(exists(file)) << file;
}

TEST_F(LogPruning, AFileWhoseNameIsNoTextIsPrunedLikeTheOthers) {
    makeLogs(10);
    // A character of five bytes, as UTF-8 once allowed, and one beyond the last there is.
    const std::string odd[] = {"run\xf8\x88\x80\x80\x80.log", "run\xf4\x90\x80\x80.log"};
    for (const std::string& file : odd)
        makeLog(file, std::chrono::hours(-1000));
    delOldLogFiles(folder(), path(name(9)));
    for (const std::string& file : odd)
        EXPECT_FALSE(exists(file));
    EXPECT_EQ(countLogs(), 10);
    EXPECT_THAT(log_.lines(),
                testing::UnorderedElementsAre("Deleted old log file: " + folder_.file("run?????.log"),
                                              "Deleted old log file: " + folder_.file("run????.log")));
}

TEST_F(LogPruning, AFileThatCannotBeRemovedIsToldAndDoesNotStopTheOthers) {
    makeLogs(12);
    const fs::perms readable = fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read;
    const fs::perms searchable = fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
    fs::permissions(folder_.path(), readable | searchable);
    {
        const test::WithoutPrivileges ordinaryUser;
        delOldLogFiles(folder(), {});
    }
    fs::permissions(folder_.path(), fs::perms::owner_all);
    EXPECT_EQ(log_.lines(wxLOG_Error),
              (std::vector<std::string>{"Failed to remove log file: " + folder_.file(name(0)),
                                        "Failed to remove log file: " + folder_.file(name(1))}));
    EXPECT_EQ(countLogs(), 12);
}

TEST_F(LogPruning, AFileThatAnotherStartHasJustRemovedIsNoFailure) {
    makeLogs(13);
    {
        const AtEveryLine otherStart([this] { fs::remove(folder_.path() / name(1)); });
        delOldLogFiles(folder(), {});
    }
    EXPECT_EQ(log_.lines(), (std::vector<std::string>{"Deleted old log file: " + folder_.file(name(0)),
                                                      "Deleted old log file: " + folder_.file(name(2))}));
    EXPECT_EQ(countLogs(), 10);
}

TEST_F(LogPruning, FilesThatCanBeRemovedGoAfterOneThatCannot) {
    makeLogs(13);
    for (const int number : {1, 2})
        if (!test::giveToOrdinaryUser(folder_.file(name(number))))
            GTEST_SKIP() << "only the administrator can give a file to another user";
    // Everyone may write into such a folder, but removes only files of their own.
    fs::permissions(folder_.path(), fs::perms::all | fs::perms::sticky_bit);
    {
        const test::WithoutPrivileges ordinaryUser;
        delOldLogFiles(folder(), {});
    }
    EXPECT_EQ(log_.lines(), (std::vector<std::string>{"Failed to remove log file: " + folder_.file(name(0)),
                                                      "Deleted old log file: " + folder_.file(name(1)),
                                                      "Deleted old log file: " + folder_.file(name(2))}));
    EXPECT_TRUE(exists(name(0)));
    EXPECT_EQ(countLogs(), 11);
}

TEST(LogFolder, OneThatCannotBeOpenedIsTold) {
    test::LogCapture log;
    delOldLogFiles("", {});
    delOldLogFiles("/no/such/folder", {});
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"Could not open log directory: ",
                                                     "Could not open log directory: /no/such/folder"}));
}

TEST(LogTarget, LinesAreAppendedInUtf8WithATimeStamp) {
    const test::TempFolder folder;
    const std::string path = folder.write("run.log", "earlier run\n");
    wxLog* const before = wxLog::SetActiveTarget(new wxLogStderr);
    logfiles::logTo(wxString::FromUTF8(path));
    wxLogMessage(wxString::FromUTF8("opened \u00e4\u4e2d.mp4"));
    delete wxLog::SetActiveTarget(before);
    EXPECT_THAT(
        test::readFile(path),
        testing::MatchesRegex("earlier run\n[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}: opened "
                              "\u00e4\u4e2d.mp4\n"));
}

TEST(LogTarget, AFileThatCannotBeOpenedIsAnErrorOnTheTargetBefore) {
    test::LogCapture log;
    logfiles::logTo("/no/such/folder/run.log");
    EXPECT_EQ(log.lines(wxLOG_Error),
              std::vector<std::string>{"Log file /no/such/folder/run.log could not be opened"});
}

TEST(LogTarget, WithoutAFileEveryLineReachesTheTargetBefore) {
    for (const char* path : {"", "/no/such/folder/run.log"}) {
        test::LogCapture log;
        logfiles::logTo(path);
        wxLogMessage("[VideoPlayerThread] Thread created");
        EXPECT_EQ(log.lines().back(), "[VideoPlayerThread] Thread created") << path;
        wxLogError("broken");
        EXPECT_EQ(log.lines().back(), "broken") << path;
    }
}

TEST(LogTarget, AnUncaughtExceptionLeavesALineAndEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            logfiles::logUnhandledExceptions();
            []() noexcept { fail(); }();
        },
        "Error: Unhandled exception: out of film");
}

TEST(LogTarget, EveryOtherUnorderlyEndLeavesALineToo) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            logfiles::logUnhandledExceptions();
            []() noexcept { failOddly(); }();
        },
        "Error: Unhandled exception: of an unknown kind");
    EXPECT_DEATH(
        {
            logfiles::logUnhandledExceptions();
            std::terminate();
        },
        "Error: Unhandled exception: none under way");
}

TEST(LogTarget, ThatLineIsInTheRunsFile) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    // The child process runs this test from its beginning: both need the same file.
    constexpr const char* kName = "SHROUD_TEST_LOG_FILE";
    const char* const given = std::getenv(kName);
    std::optional<test::TempFolder> folder;
    const std::string path = given ? given : folder.emplace().file("run.log");
    const test::Environment forTheChild(kName, path);
    EXPECT_DEATH(
        {
            logfiles::logTo(wxString::FromUTF8(path));
            logfiles::logUnhandledExceptions();
            []() noexcept { fail(); }();
        },
        "");
    EXPECT_THAT(test::readFile(path),
                testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}: "
                                      "Error: Unhandled exception: out of film\n"));
}
