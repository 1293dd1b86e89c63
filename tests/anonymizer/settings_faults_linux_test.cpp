/// Settings on a disk that fails (support/fault_shim.cpp).
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <sys/wait.h>

#include <gtest/gtest.h>

#include "settings.h"
#include "support/ai_folder.h"
#include "support/media_probe.h"
#include "support/paths.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

class SettingsFaults : public testing::Test {
protected:
    void SetUp() override {
        if (!fs::exists(fs::u8path(shim_)))
            GTEST_SKIP() << "the sanitizers take the place of the failing functions";
        fs::create_symlink(fs::u8path(shim_), links_.path() / "shim.so");
    }

    /// Has another process write its keys under the faults given. False when it crashed.
    bool writeKeys(const std::string& faults) const {
        const std::string command =
            "exec env SHROUD_TEST_WRITER=1 LD_PRELOAD=" + links_.file("shim.so") +
            " SHROUD_FAULT_FILES=.config.ini. " + faults + " " +
            test::quoted(wxString::FromUTF8(test::binDir() + "/core_tests")) +
            " --gtest_filter=SettingsWriter.* --gtest_also_run_disabled_tests >/dev/null 2>&1";
        return WIFEXITED(std::system(command.c_str()));
    }
    std::string listing() const {
        std::string names;
        for (const auto& entry : fs::directory_iterator(root_.path() / "Tarvex Shroud"))
            names += entry.path().filename().u8string() + " ";
        return names;
    }

    const std::string shim_ = test::testLibrary("fault_shim");
    test::TempFolder root_;
    /// The library under a name without blanks, which would be two.
    test::TempFolder links_;
    test::Environment config_{"XDG_CONFIG_HOME", root_.path().u8string()};
};

} // namespace

TEST_F(SettingsFaults, AFailingWriteLeavesTheFileWhole) {
    // From creating the new file to renaming it, with one call for each of two lines.
    constexpr int kCallsOfOneWrite = 9;
    for (const std::string lasting : {"", "SHROUD_FAULT_LASTING=1 "})
        for (int call = 1; call <= kCallsOfOneWrite; ++call) {
            SCOPED_TRACE(lasting + std::to_string(call));
            fs::remove_all(root_.path() / "Tarvex Shroud");
            settings::writeInt("stable", 42);
            EXPECT_TRUE(writeKeys(lasting + "SHROUD_FAULT_ERROR=" + std::to_string(ENOSPC) +
                                  " SHROUD_FAULT_CALL=" + std::to_string(call)));
            EXPECT_EQ(listing(), "config.ini ");
            EXPECT_EQ(settings::readInt("stable"), 42);
            // Only the write that failed is lost.
            EXPECT_EQ(settings::readInt("writer1key0"), 0);
            EXPECT_EQ(settings::readInt("writer1key1"), lasting.empty() ? 1001 : 0);
        }
}

TEST_F(SettingsFaults, AFileThatCannotBeReadIsLeftAlone) {
    for (const std::string lasting : {"", "SHROUD_FAULT_LASTING=1 "})
        for (int call = 1; call <= 12; ++call) {
            SCOPED_TRACE(lasting + std::to_string(call));
            fs::remove_all(root_.path() / "Tarvex Shroud");
            settings::writeInt("stable", 42);
            settings::writeInt("last", 43);
            EXPECT_TRUE(writeKeys(lasting + "SHROUD_FAULT_FILES=config.ini SHROUD_FAULT_READS=1 " +
                                  "SHROUD_FAULT_ERROR=" + std::to_string(EIO) +
                                  " SHROUD_FAULT_CALL=" + std::to_string(call)));
            EXPECT_EQ(listing(), "config.ini ");
            EXPECT_EQ(settings::readInt("stable"), 42);
            EXPECT_EQ(settings::readInt("last"), 43);
        }
}
