#include "settings.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/media_probe.h"
#include "support/paths.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

/// The per-user configuration directory is an empty folder of the test's own.
class Settings : public testing::Test {
protected:
    std::string iniPath() const { return root_.file("Tarvex Shroud/config.ini"); }
    std::string ini() const { return test::readFile(iniPath()); }
    void writeIni(const std::string& content) const {
        fs::create_directories(root_.path() / "Tarvex Shroud");
        root_.write("Tarvex Shroud/config.ini", content);
    }
    std::size_t filesInFolder() const {
        std::size_t count = 0;
        for (const auto& entry : fs::directory_iterator(root_.path() / "Tarvex Shroud")) {
            (void)entry;
            ++count;
        }
        return count;
    }

    test::TempFolder root_;
    test::Environment config_{"XDG_CONFIG_HOME", root_.path().u8string()};
};

constexpr int kKeysPerWriter = 15;

std::string writerKey(int writer, int index) {
    return "writer" + std::to_string(writer) + "key" + std::to_string(index);
}

void writeKeysOf(int writer) {
    for (int i = 0; i < kKeysPerWriter; ++i)
        settings::writeInt(writerKey(writer, i), writer * 1000 + i);
}

} // namespace

TEST_F(Settings, DataFolderLiesInTheConfigurationDirectory) {
    EXPECT_EQ(settings::dataFolder().utf8_string(), root_.file("Tarvex Shroud"));
    EXPECT_TRUE(fs::is_directory(root_.path() / "Tarvex Shroud"));
    EXPECT_EQ(settings::configPath().utf8_string(), iniPath());
}

TEST_F(Settings, DataFolderIsUnderHomeWithoutAnExplicitDirectory) {
    const test::TempFolder home;
    const test::Environment noConfig("XDG_CONFIG_HOME", "");
    const test::Environment homeVariable("HOME", home.path().u8string());
    EXPECT_EQ(settings::dataFolder().utf8_string(), home.file(".config/Tarvex Shroud"));
    EXPECT_TRUE(fs::is_directory(home.path() / ".config" / "Tarvex Shroud")) << "parents are created too";
}

TEST_F(Settings, DataFolderIsCreatedWithEveryPermissionTheUserGrants) {
    const mode_t before = umask(0);
    settings::dataFolder();
    umask(before);
    EXPECT_EQ(fs::status(root_.path() / "Tarvex Shroud").permissions(), fs::perms::all);
}

TEST_F(Settings, DataFolderIsThereForEveryStartOfManyAtOnce) {
    const test::LogCapture log;
    constexpr size_t kStarts = 8;
    for (int round = 0; round < 100; ++round) {
        const std::string config = root_.file(std::to_string(round) + "/a/b/c/d");
        const test::Environment fresh("XDG_CONFIG_HOME", config);
        std::vector<wxString> folders(kStarts);
        std::atomic<size_t> ready{0};
        std::vector<std::thread> starts;
        for (wxString& folder : folders)
            starts.emplace_back([&ready, &folder] {
                ++ready;
                while (ready < kStarts)
                    std::this_thread::yield();
                folder = settings::dataFolder();
            });
        for (std::thread& start : starts)
            start.join();
        for (const wxString& folder : folders)
            ASSERT_EQ(folder.utf8_string(), config + "/Tarvex Shroud");
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Settings, DataFolderIsEmptyWhenItCannotBeCreatedButTheConfigPathIsNot) {
    const test::LogCapture log;
    root_.write("Tarvex Shroud", "a file in the way");
    EXPECT_EQ(settings::dataFolder(), "");
    EXPECT_EQ(log.lines(wxLOG_Error).size(), 1u) << "the library tells why";
    EXPECT_EQ(settings::configPath().utf8_string(), iniPath());
    settings::writeInt("preblursec", 3);
    settings::writeFirstRunDefaults();
    EXPECT_EQ(settings::readInt("preblursec"), 0);
}

TEST_F(Settings, ReadingIsSilentWhereNothingCanBeRead) {
    const test::LogCapture log;
    root_.write("Tarvex Shroud", "a file in the way");
    EXPECT_EQ(settings::readInt("preblursec"), 0);
    EXPECT_FALSE(settings::readBool("gpu"));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Settings, ANewFileHasThePermissionsThatTheUserGrants) {
    const mode_t before = umask(027);
    settings::writeFirstRunDefaults();
    umask(before);
    EXPECT_EQ(fs::status(iniPath()).permissions(), fs::perms(0640));
}

TEST_F(Settings, WritingKeepsThePermissions) {
    writeIni("gpu=1\n");
    fs::permissions(iniPath(), fs::perms(0604));
    settings::writeInt("preblursec", 3);
    EXPECT_EQ(fs::status(iniPath()).permissions(), fs::perms(0604));
}

TEST_F(Settings, WritingKeepsLinks) {
    fs::create_directories(root_.path() / "Tarvex Shroud");
    fs::create_directories(root_.path() / "dotfiles");
    root_.write("dotfiles/real.ini", "gpu=1\n");
    fs::create_symlink("../dotfiles/real.ini", iniPath());
    settings::writeInt("preblursec", 3);
    EXPECT_TRUE(fs::is_symlink(iniPath()));
    EXPECT_EQ(test::readFile(root_.file("dotfiles/real.ini")), "gpu=1\npreblursec=3\n");
    EXPECT_EQ(filesInFolder(), 1u);

    fs::remove(root_.path() / "dotfiles" / "real.ini");
    settings::writeFirstRunDefaults();
    EXPECT_TRUE(fs::is_symlink(iniPath()));
    EXPECT_EQ(test::readFile(root_.file("dotfiles/real.ini")), "gpu=1\npreblursec=1\nuserlang=0\nlang=0\n");
}

TEST_F(Settings, FirstRunWritesTheFourKeysInOrder) {
    settings::writeFirstRunDefaults();
    EXPECT_EQ(ini(), "gpu=1\npreblursec=1\nuserlang=0\nlang=0\n");
    EXPECT_TRUE(settings::readBool(settings::kGpu));
    EXPECT_EQ(settings::readInt(settings::kPreblurSeconds), 1);
    EXPECT_FALSE(settings::readBool(settings::kUserLanguage));
    EXPECT_EQ(settings::readInt(settings::kLanguage), 0);
}

TEST_F(Settings, FirstRunDefaultsLeaveAnExistingFileAlone) {
    writeIni("preblursec=4\n");
    settings::writeFirstRunDefaults();
    EXPECT_EQ(ini(), "preblursec=4\n");
    writeIni("");
    settings::writeFirstRunDefaults();
    EXPECT_EQ(ini(), "");
}

TEST_F(Settings, WritesAreInTheFileAtOnceAndKeepTheOrder) {
    settings::writeFirstRunDefaults();
    settings::writeInt(settings::kPreblurSeconds, 3);
    EXPECT_EQ(ini(), "gpu=1\npreblursec=3\nuserlang=0\nlang=0\n");
    settings::writeBool(settings::kGpu, false);
    settings::writeBool(settings::kUserLanguage, true);
    settings::writeInt(settings::kLanguage, 58);
    EXPECT_EQ(ini(), "gpu=0\npreblursec=3\nuserlang=1\nlang=58\n");
    EXPECT_EQ(filesInFolder(), 1u) << "nothing but config.ini stays";
}

TEST_F(Settings, EveryReadSeesTheFileAsItIsNow) {
    writeIni("preblursec=2\n");
    EXPECT_EQ(settings::readInt("preblursec"), 2);
    writeIni("preblursec=5\n");
    EXPECT_EQ(settings::readInt("preblursec"), 5);
}

TEST_F(Settings, WritingCreatesFolderAndFile) {
    settings::writeInt("lang", -7);
    EXPECT_EQ(ini(), "lang=-7\n");
    EXPECT_EQ(settings::readInt("lang"), -7);
}

TEST_F(Settings, AbsentKeysReadFalseAndZero) {
    const test::LogCapture log;
    EXPECT_EQ(settings::readInt("preblursec"), 0);
    EXPECT_FALSE(settings::readBool("gpu"));
    writeIni("gpu=1\n");
    EXPECT_EQ(settings::readInt("preblursec"), 0);
    EXPECT_FALSE(settings::readBool("userlang"));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Settings, HandEditedNumbersArePassedOnAsTheyStand) {
    writeIni("preblursec=77\nlang=-2147483648\n");
    EXPECT_EQ(settings::readInt("preblursec"), 77);
    EXPECT_EQ(settings::readInt("lang"), INT32_MIN);
}

TEST_F(Settings, ValuesThatAreNoNumberReadZero) {
    writeIni("preblursec=three\nlang=99999999999\ngpu=yes\nuserlang=\nless=-99999999999\n");
    EXPECT_EQ(settings::readInt("preblursec"), 0);
    EXPECT_EQ(settings::readInt("less"), 0);
    EXPECT_EQ(settings::readInt("lang"), 0);
    EXPECT_FALSE(settings::readBool("gpu"));
    EXPECT_FALSE(settings::readBool("userlang"));
}

TEST_F(Settings, NeverReadsAnotherFile) {
    const test::TempFolder home;
    const test::Environment homeVariable("HOME", home.path().u8string());
    home.write(".Harmo Labs", "preblursec=4\n");
    home.write("Harmo Labs.conf", "preblursec=4\n");
    EXPECT_EQ(settings::readInt("preblursec"), 0);
    if (geteuid() != 0)
        GTEST_SKIP() << "the system-wide file can only be tried by the administrator";
    const std::string global = "/etc/Harmo Labs.conf";
    ASSERT_FALSE(fs::exists(global));
    home.write("global", "preblursec=4\n");
    fs::copy_file(home.path() / "global", global);
    const int32_t value = settings::readInt("preblursec");
    fs::remove(global);
    EXPECT_EQ(value, 0);
}

TEST_F(Settings, EmptyLinesAndZerosInCommentsDoNotKeepChangesOut) {
    for (const std::string& content :
         {std::string("gpu=1\npreblursec=3\n\n"), std::string("\n[group]\ngpu=06\n"),
          std::string("\n\n# note\n\n"), std::string("[group]\n;[groupo\0]\ngpu=06\n", 26)}) {
        writeIni(content);
        settings::writeInt("preblursec", 5);
        EXPECT_EQ(settings::readInt("preblursec"), 5) << content;
    }
}

TEST_F(Settings, SurviveAFileFullOfGarbage) {
    const test::LogCapture log;
    std::string bytes;
    for (uint32_t i = 0, state = 1; i < 5000; ++i) {
        state = state * 1664525u + 1013904223u;
        bytes += static_cast<char>(state >> 24);
    }
    const std::string garbage[] = {bytes,
                                   "[unclosed\n=\n\\\n\n===\nno equals sign\n[a/../..]\nx\n",
                                   "\xFF\xFE\x00g\xD8",
                                   "\xEF\xBB\xBF",
                                   std::string(3000, '\0'),
                                   std::string(100000, '['),
                                   "gpu=1\ngpu=0\ngpu=2\n"};
    for (const std::string& content : garbage) {
        writeIni(content);
        settings::readInt("preblursec");
        settings::readBool("userlang");
        settings::writeInt("preblursec", 3);
        settings::writeBool("userlang", true);
        EXPECT_EQ(settings::readInt("preblursec"), 3);
        EXPECT_TRUE(settings::readBool("userlang"));
        settings::writeInt("preblursec", 4);
        EXPECT_EQ(settings::readInt("preblursec"), 4);
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Settings, DamagedLinesDoNotHideTheOthers) {
    const test::LogCapture log;
    writeIni("gpu=1\n=\npreblursec = 4\n[unclosed\nlang=58\n");
    EXPECT_TRUE(settings::readBool("gpu"));
    EXPECT_EQ(settings::readInt("preblursec"), 4);
    EXPECT_EQ(settings::readInt("lang"), 58);
    settings::writeBool("userlang", true);
    EXPECT_EQ(settings::readInt("preblursec"), 4);
    EXPECT_EQ(settings::readInt("lang"), 58);
    EXPECT_TRUE(settings::readBool("userlang"));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Settings, TabsAreBlanksAndKept) {
    const std::string lines = "preblursec =\t5\n\tlang\t=\t58\t\n# a\tnote\nname=a\tb\n";
    for (const std::string damaged : {"", "=\n"}) {
        writeIni(damaged + lines);
        EXPECT_EQ(settings::readInt("preblursec"), 5);
        EXPECT_EQ(settings::readInt("lang"), 58);
        settings::writeBool("gpu", true);
        EXPECT_EQ(ini(), lines + "gpu=1\n");
        EXPECT_EQ(settings::readInt("preblursec"), 5);
        settings::writeInt("preblursec", 3);
        EXPECT_EQ(settings::readInt("preblursec"), 3);
        EXPECT_EQ(settings::readInt("lang"), 58);
    }
}

TEST_F(Settings, AGroupThatBeginsTwiceIsReadAsOne) {
    const test::LogCapture log;
    for (const std::string damaged : {"", "[..]\n[.]\n"}) {
        writeIni("lang=58\n[other]\nfirst=1\n" + damaged + "[third]\n[Other]\nsecond=2\n");
        EXPECT_EQ(settings::readInt("lang"), 58);
        EXPECT_EQ(settings::readInt("/other/first"), 1);
        EXPECT_EQ(settings::readInt("/other/second"), 2);
        settings::writeInt("preblursec", 3);
        EXPECT_EQ(settings::readInt("preblursec"), 3);
        EXPECT_EQ(settings::readInt("lang"), 58);
        EXPECT_EQ(settings::readInt("/other/second"), 2);
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Settings, CommentsAndForeignKeysAreKept) {
    writeIni("# mine\n; too\ncolour=blue\nlang=1\nwindow_2-x.y=5\n[other]\nlang=7\n");
    settings::writeInt("lang", 2);
    settings::writeInt("preblursec", 3);
    EXPECT_EQ(settings::readInt("preblursec"), 3);
    EXPECT_EQ(ini(), "# mine\n; too\ncolour=blue\nlang=2\nwindow_2-x.y=5\npreblursec=3\n[other]\nlang=7\n");
}

TEST_F(Settings, KeysThatTheLibraryDoesNotKnowAreDamagedLines) {
    const test::LogCapture log;
    writeIni("gr\u00f6\u00dfe=1\npreblursec=4\n");
    EXPECT_EQ(settings::readInt("preblursec"), 4);
    settings::writeInt("lang", 2);
    EXPECT_EQ(ini(), "preblursec=4\nlang=2\n");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Settings, AFileThatMayNotBeReadIsSilentlyLeftAlone) {
    settings::writeInt("lang", 58);
    fs::permissions(root_.path(), fs::perms::all);
    fs::permissions(root_.path() / "Tarvex Shroud", fs::perms::all);
    fs::permissions(iniPath(), fs::perms::none);
    {
        const test::LogCapture log;
        const test::WithoutPrivileges user;
        EXPECT_EQ(settings::readInt("lang"), 0);
        settings::writeInt("preblursec", 3);
        settings::writeFirstRunDefaults();
        EXPECT_TRUE(log.lines().empty());
    }
    EXPECT_EQ(ini(), "lang=58\n");
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(Settings, SurviveAReadOnlyFolder) {
    const test::LogCapture log;
    settings::writeFirstRunDefaults();
    const fs::path folder = root_.path() / "Tarvex Shroud";
    fs::permissions(root_.path(), fs::perms::all);
    fs::permissions(iniPath(), fs::perms(0644));
    fs::permissions(folder, fs::perms(0555));
    {
        const test::WithoutPrivileges user;
        settings::writeInt("preblursec", 5);
        settings::writeFirstRunDefaults();
        EXPECT_EQ(settings::readInt("preblursec"), 1);
        EXPECT_TRUE(settings::readBool("gpu"));
    }
    EXPECT_EQ(ini(), "gpu=1\npreblursec=1\nuserlang=0\nlang=0\n");
    EXPECT_EQ(filesInFolder(), 1u);
    fs::permissions(folder, fs::perms(0755));
}

TEST_F(Settings, ThreadsWritingAtOnceLoseNothing) {
    settings::writeInt("stable", 42);
    std::atomic<bool> writing{true};
    std::thread reader([&] {
        while (writing)
            ASSERT_EQ(settings::readInt("stable"), 42);
    });
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back(writeKeysOf, writer);
    for (std::thread& writer : writers)
        writer.join();
    writing = false;
    reader.join();
    for (int writer = 0; writer < 4; ++writer)
        for (int i = 0; i < kKeysPerWriter; ++i)
            EXPECT_EQ(settings::readInt(writerKey(writer, i)), writer * 1000 + i);
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(Settings, ProcessesWritingAtOnceLoseNothing) {
    std::vector<std::thread> processes;
    for (int writer = 1; writer <= 4; ++writer)
        processes.emplace_back([writer] {
            const std::string command =
                "SHROUD_TEST_WRITER=" + std::to_string(writer) + " " +
                test::quoted(wxString::FromUTF8(test::binDir() + "/core_tests")) +
                " --gtest_filter=SettingsWriter.* --gtest_also_run_disabled_tests >/dev/null";
            EXPECT_EQ(std::system(command.c_str()), 0);
        });
    for (std::thread& process : processes)
        process.join();
    for (int writer = 1; writer <= 4; ++writer)
        for (int i = 0; i < kKeysPerWriter; ++i)
            EXPECT_EQ(settings::readInt(writerKey(writer, i)), writer * 1000 + i);
    EXPECT_EQ(filesInFolder(), 1u);
}

/// The other processes of the test above.
TEST(SettingsWriter, DISABLED_WritesItsKeys) {
    const char* writer = std::getenv("SHROUD_TEST_WRITER");
    ASSERT_NE(writer, nullptr);
    writeKeysOf(std::atoi(writer));
    EXPECT_EQ(settings::readInt(writerKey(std::atoi(writer), 0)), std::atoi(writer) * 1000);
}
