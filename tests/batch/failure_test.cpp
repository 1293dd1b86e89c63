#include <csignal>
#include <fstream>
#include <iterator>
#include <thread>

#include <sys/stat.h>

#include "batch_fixture.h"

using namespace batch_test;

namespace {

class BatchFailure : public BatchTest {};
class BatchStop : public BatchTest {
protected:
    /// Lets the program run until `isReached`, which is given its id, and asks it to stop.
    template <class Condition>
    void stopAt(int signal, Condition isReached) {
        folder_.write("out.mp4", "old");
        test::Process process(start({"--mode", "unblur", media("sample.mp4"), "out.mp4"}));
        while (!isReached(process.id()) && process.isRunning())
            std::this_thread::yield();
        ASSERT_TRUE(process.isRunning()) << "ended too early";
        process.sendSignal(signal);
        const test::ProcessResult result = process.wait();
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.error, "tarvex_shroud_batch: " + media("sample.mp4") + ": stopped\n");
        EXPECT_EQ(folder_.listing(), "out.mp4");
        EXPECT_EQ(test::readFile(folder_.file("out.mp4")), "old");
    }
    /// True once the process no longer ends at once when it gets that signal.
    static bool catches(int process, int signal) {
        const std::string status = test::readFile("/proc/" + std::to_string(process) + "/status");
        const std::size_t at = status.find("SigCgt:");
        return at != std::string::npos &&
               (std::stoull(status.substr(at + 7), nullptr, 16) >> (signal - 1) & 1) != 0;
    }
    static bool hasOpen(int process, const std::string& file) {
        std::error_code ended;
        for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd", ended))
            if (fs::read_symlink(entry.path(), ended) == fs::u8path(file))
                return true;
        return false;
    }
    uintmax_t draftSize() const {
        for (const auto& entry : fs::directory_iterator(folder_.path()))
            if (entry.path().filename().u8string().find(".partial-") != std::string::npos)
                return entry.file_size();
        return 0;
    }
};

} // namespace

TEST_F(BatchFailure, UnusableInputsAreNamed) {
    const std::pair<std::string, std::string> cases[] = {
        {folder_.file("missing.mp4"), "No such file or directory"},
        {media("text.mp4"), "Invalid data found when processing input"},
        {media("empty.mp4"), "Invalid data found when processing input"},
        {media("truncated_no_index.mp4"), "Invalid data found when processing input"},
        {media("audio_only.mp4"), "the file holds no video that can be decoded"},
        {media("directory.mp4"), "Is a directory"},
        {media("one_frame_bframes.mp4"), "The video has no frames to export."},
        {media("fps_90000.mp4"), "The frame rate of the video is not usable."},
    };
    for (const auto& [input, reason] : cases)
        expectFailure({input, "out.mp4"}, input + ": " + reason);
}

TEST_F(BatchFailure, InputWithoutReadPermission) {
    fs::permissions(folder_.path(), fs::perms::all);
    const std::string input = folder_.file("in.mp4");
    fs::copy_file(media("two_frames.mp4"), input);
    fs::permissions(input, fs::perms::none);
    const test::WithoutPrivileges user;
    expectFailure({input, "out.mp4"}, input + ": Permission denied");
}

TEST_F(BatchFailure, OutputWhereNothingCanBeWritten) {
    expectFailure({media("two_frames.mp4"), "no/out.mp4"},
                  "no/out.mp4: can't create a file in " + folder_.file("no") + ": No such file or directory");
    fs::create_directory(folder_.path() / "closed");
    fs::permissions(folder_.path() / "closed", fs::perms::owner_read | fs::perms::owner_exec);
    fs::copy_file(media("two_frames.mp4"), folder_.path() / "in.mp4");
    fs::permissions(folder_.path(), fs::perms::all);
    const test::WithoutPrivileges user;
    expectFailure({"in.mp4", "closed/out.mp4"},
                  "closed/out.mp4: can't create a file in " + folder_.file("closed") + ": Permission denied");
}

TEST_F(BatchFailure, OutputThatIsNoVideoFile) {
    fs::create_directory(folder_.path() / "folder.mp4");
    expectFailure({media("two_frames.mp4"), "folder.mp4"}, "folder.mp4: Is a directory");
    fs::create_symlink("/dev/null", folder_.path() / "device.mp4");
    expectFailure({media("two_frames.mp4"), "device.mp4"}, "device.mp4: is not a regular file");
    for (const char* name : {"out.avi", "out", "mp4", "out.mp4.txt"})
        expectFailure({media("two_frames.mp4"), name},
                      std::string(name) + ": the name must end in .mp4 or .mov");
}

TEST_F(BatchFailure, LinksToNamesOfOtherEncodingsLeadToTheirPlaces) {
    const std::string latin = "caf\xE9";
    fs::create_directory(folder_.path() / latin);
    fs::create_symlink(latin, folder_.path() / "folder");
    fs::create_symlink(latin + "/" + latin + ".mp4", folder_.path() / "link.mp4");
    expectSuccess({"--mode", "unblur", media("two_frames.mp4"), "link.mp4"});
    EXPECT_TRUE(fs::is_symlink(folder_.path() / "link.mp4"));
    const fs::path place = folder_.path() / latin / (latin + ".mp4");
    ASSERT_TRUE(fs::is_regular_file(place));
    fs::rename(place, folder_.path() / "first.mp4");
    EXPECT_EQ(Pictures(folder_.file("first.mp4")).count(), 2);
    // The one that is there is replaced.
    std::ofstream(place) << "old";
    expectSuccess({"--mode", "unblur", media("two_frames.mp4"), "link.mp4"});
    EXPECT_GT(fs::file_size(place), 1000u);
    expectSuccess({"--mode", "unblur", media("two_frames.mp4"), "folder/out.mp4"});
    EXPECT_TRUE(fs::exists(folder_.path() / latin / "out.mp4"));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path() / latin), fs::directory_iterator()), 2);
}

TEST_F(BatchFailure, InputIsNeverTheOutput) {
    fs::copy_file(media("two_frames.mp4"), folder_.file("in.mp4"));
    fs::create_symlink("in.mp4", folder_.path() / "symbolic.mp4");
    fs::create_hard_link(folder_.file("in.mp4"), folder_.file("hard.mp4"));
    const std::string before = test::readFile(folder_.file("in.mp4"));
    for (const char* name : {"in.mp4", "./in.mp4", "symbolic.mp4", "hard.mp4"})
        expectFailure({"in.mp4", name}, std::string(name) + ": is the same file as in.mp4");
    expectFailure({"symbolic.mp4", "in.mp4"}, "in.mp4: is the same file as symbolic.mp4");
    EXPECT_EQ(test::readFile(folder_.file("in.mp4")), before);
}

TEST_F(BatchFailure, RegionsFileIsNeverTheOutput) {
    folder_.write("regions.mp4", "1,2,3,4,5,6\n");
    expectFailure({"--regions", "regions.mp4", media("two_frames.mp4"), "regions.mp4"},
                  "regions.mp4: is the same file as regions.mp4");
    EXPECT_EQ(test::readFile(folder_.file("regions.mp4")), "1,2,3,4,5,6\n");
}

TEST_F(BatchFailure, BadRegionsAreNamedByTheirLine) {
    folder_.write("regions.csv", "first_frame,last_frame,x,y,w,h\n1,2,3,4,5,6\n9,8,3,4,5,6\n");
    expectFailure({"--regions", "regions.csv", media("two_frames.mp4"), "out.mp4"},
                  "regions.csv: line 3: first_frame 9 lies after last_frame 8");
    expectFailure({"--regions", "missing.csv", media("two_frames.mp4"), "out.mp4"},
                  "missing.csv: No such file or directory");
}

TEST_F(BatchFailure, MessagesAreUtf8InEveryLocale) {
    test::ProcessStart how = start({"нет 🎬.mp4", "out.mp4"});
    how.environment["LC_ALL"] = "C";
    EXPECT_EQ(test::run(how).error, "tarvex_shroud_batch: нет 🎬.mp4: No such file or directory\n");
}

TEST_F(BatchFailure, FullDiskLeavesNothingBehind) {
    test::ProcessStart how = start({});
    how.arguments = {"-c", "ulimit -f 20; exec \"$0\" --mode unblur \"$1\" out.mp4", how.program,
                     media("plain.mp4")};
    how.program = "/bin/bash";
    const test::ProcessResult result = test::run(how);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, testing::StartsWith("tarvex_shroud_batch: "));
    EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1);
    EXPECT_EQ(folder_.listing(), "");
}

TEST_F(BatchFailure, PipesAndDevicesAreNotWaitedFor) {
    ASSERT_EQ(mkfifo(folder_.file("pipe.mp4").c_str(), 0666), 0);
    fs::create_symlink("pipe.mp4", folder_.path() / "link.mp4");
    expectFailure({"pipe.mp4", "out.mp4"}, "pipe.mp4: is not a regular file");
    expectFailure({"link.mp4", "out.mp4"}, "link.mp4: is not a regular file");
    expectFailure({"--info", "pipe.mp4"}, "pipe.mp4: is not a regular file");
    expectFailure({"/dev/zero", "out.mp4"}, "/dev/zero: is not a regular file");
    expectFailure({"--regions", "pipe.mp4", media("two_frames.mp4"), "out.mp4"},
                  "pipe.mp4: is not a regular file");
}

TEST_F(BatchFailure, RegionsThatCannotBeReadToTheEndHideNobody) {
    expectFailure({"--regions", "/proc/self/mem", media("two_frames.mp4"), "out.mp4"},
                  "/proc/self/mem: Input/output error");
}

TEST_F(BatchFailure, ReadOnlyOutputIsLeftAlone) {
    folder_.write("out.mp4", "old");
    fs::permissions(folder_.path(), fs::perms::all);
    fs::permissions(folder_.file("out.mp4"), fs::perms(0444));
    const test::WithoutPrivileges user;
    expectFailure({media("two_frames.mp4"), "out.mp4"}, "out.mp4: Permission denied");
    EXPECT_EQ(test::readFile(folder_.file("out.mp4")), "old");
}

TEST_F(BatchFailure, UnwritableStandardOutputIsTold) {
    for (const std::string& arguments :
         {std::string("--help"), std::string("--version"),
          "--info " + test::quoted(wxString::FromUTF8(media("two_frames.mp4")))}) {
        test::ProcessStart how = start({});
        how.arguments = {"-c", "\"$0\" " + arguments + " > /dev/full", how.program};
        how.program = "/bin/bash";
        const test::ProcessResult result = test::run(how);
        EXPECT_EQ(result.exitCode, 1) << arguments;
        EXPECT_EQ(result.error, "tarvex_shroud_batch: standard output: No space left on device\n");
    }
}

TEST_F(BatchFailure, WarningsComeBeforeAFailureOfTheExport) {
    test::ProcessStart how = start({});
    how.arguments = {"-c", "ulimit -f 20; exec \"$0\" \"$1\" out.mp4", how.program, media("plain.mp4")};
    how.program = "/bin/bash";
    const test::ProcessResult result = test::run(how);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, testing::StartsWith("tarvex_shroud_batch: warning: " + media("plain.mp4") +
                                                  ": no region applies to any frame, nothing is hidden\n"
                                                  "tarvex_shroud_batch: "));
    EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 2);
}

TEST_F(BatchStop, BeforeTheInputIsOpenLeavesNothingBehind) {
    stopAt(SIGTERM, [&](int process) { return catches(process, SIGTERM); });
}

TEST_F(BatchStop, WhileReadingLeavesNothingBehind) {
    stopAt(SIGINT, [&](int process) { return hasOpen(process, media("sample.mp4")); });
}

TEST_F(BatchStop, WhileWritingLeavesNothingBehind) {
    stopAt(SIGTERM, [&](int) { return draftSize() > 0; });
}

TEST_F(BatchStop, ASignalIgnoredFromTheStartStaysIgnored) {
    test::ProcessStart how = start({});
    how.arguments = {"-c", "trap '' HUP INT; exec \"$0\" --mode unblur \"$1\" out.mp4", how.program,
                     media("sample.mp4")};
    how.program = "/bin/bash";
    test::Process process(how);
    while (draftSize() == 0 && process.isRunning())
        std::this_thread::yield();
    ASSERT_TRUE(process.isRunning()) << "ended too early";
    process.sendSignal(SIGHUP);
    process.sendSignal(SIGINT);
    EXPECT_EQ(process.wait().exitCode, 0);
    EXPECT_EQ(folder_.listing(), "out.mp4");
}
