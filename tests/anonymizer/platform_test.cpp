#include "platform.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

wxString wx(const std::string& utf8) {
    return wxString::FromUTF8(utf8);
}

} // namespace

TEST(Platform, LinksNameTheSameFile) {
    const test::TempFolder folder;
    const std::string file = folder.write("кадр 🎬.mp4", "a");
    fs::create_symlink(fs::u8path(file), fs::u8path(folder.file("symbolic")));
    fs::create_hard_link(fs::u8path(file), fs::u8path(folder.file("hard")));
    EXPECT_TRUE(platform::isSameFile(wx(file), wx(file)));
    EXPECT_TRUE(platform::isSameFile(wx(file), wx(folder.file("symbolic"))));
    EXPECT_TRUE(platform::isSameFile(wx(folder.file("hard")), wx(file)));
    EXPECT_TRUE(platform::isSameFile(wx(file), wx(folder.file("./кадр 🎬.mp4"))));
}

TEST(Platform, EqualContentIsNotTheSameFile) {
    const test::TempFolder folder;
    EXPECT_FALSE(platform::isSameFile(wx(folder.write("a", "x")), wx(folder.write("b", "x"))));
}

TEST(Platform, MissingFilesAreNeverTheSame) {
    const test::TempFolder folder;
    const std::string missing = folder.file("missing");
    EXPECT_FALSE(platform::isSameFile(wx(missing), wx(missing)));
    EXPECT_FALSE(platform::isSameFile(wx(folder.write("a", "x")), wx(missing)));
}

TEST(Platform, ReplacingTakesThePlaceOfTheTarget) {
    const test::TempFolder folder;
    const std::string from = folder.write("from", "new");
    const std::string to = folder.write("to", "old");
    EXPECT_TRUE(platform::replaceFile(wx(from), wx(to)));
    EXPECT_EQ(test::readFile(to), "new");
    EXPECT_EQ(folder.listing(), "to");
}

TEST(Platform, FailedReplacingLeavesTheTarget) {
    const test::TempFolder folder;
    const std::string to = folder.write("to", "old");
    EXPECT_FALSE(platform::replaceFile(wx(folder.file("missing")), wx(to)));
    EXPECT_EQ(test::readFile(to), "old");
}

TEST(Platform, CreatesOnlyNewFiles) {
    const test::TempFolder folder;
    EXPECT_TRUE(platform::createFile(wx(folder.file("a"))));
    EXPECT_EQ(folder.listing(), "a");
    const std::string taken = folder.write("b", "kept");
    EXPECT_FALSE(platform::createFile(wx(taken)));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(test::readFile(taken), "kept");
    EXPECT_FALSE(platform::createFile(wx(folder.file("no/such/folder"))));
    EXPECT_EQ(errno, ENOENT);
}

TEST(Platform, RemovesFiles) {
    const test::TempFolder folder;
    const wxString path = wx(folder.write("a", ""));
    EXPECT_TRUE(platform::removeFile(path));
    EXPECT_EQ(folder.listing(), "");
    EXPECT_FALSE(platform::removeFile(path));
}

TEST(Platform, SyncsExistingFilesOnly) {
    const test::TempFolder folder;
    EXPECT_TRUE(platform::syncToDisk(wx(folder.write("a", "x"))));
    EXPECT_FALSE(platform::syncToDisk(wx(folder.file("missing"))));
}

TEST(Platform, FolderLockKeepsThreadsApart) {
    const test::TempFolder folder;
    const std::string counter = folder.write("counter", "0");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int step = 0; step < 50;) {
                const platform::FolderLock lock(wx(folder.path().u8string()));
                // On a busy machine the others may get it time after time.
                if (!lock.isHeld())
                    continue;
                folder.write("counter", std::to_string(std::stoi(test::readFile(counter)) + 1));
                ++step;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(test::readFile(counter), "200");
    EXPECT_EQ(folder.listing(), "counter");
}

TEST(Platform, FolderLockOfAMissingFolderIsNotHeld) {
    const test::TempFolder folder;
    EXPECT_FALSE(platform::FolderLock(wx(folder.file("missing"))).isHeld());
}

TEST(Platform, ArgumentsAreUtf8) {
    std::string texts[] = {"program", "--mode", "видео 🎬.mp4", "bad\xFF"};
    std::vector<char*> argv;
    for (std::string& text : texts)
        argv.push_back(text.data());
    EXPECT_THAT(platform::commandLineArguments(4, argv.data()),
                testing::ElementsAre("--mode", wx("видео 🎬.mp4"), ""));
}

TEST(Platform, FileNamesAreTheirUtf8) {
    std::string texts[] = {"program", "видео 🎬.mp4"};
    std::vector<char*> argv;
    for (std::string& text : texts)
        argv.push_back(text.data());
    EXPECT_THAT(platform::commandLineFileNames(2, argv.data()), testing::ElementsAre(wx("видео 🎬.mp4")));
    EXPECT_EQ(platform::fileName(wx("видео 🎬.mp4")), "видео 🎬.mp4");
    EXPECT_EQ(platform::fileName(wxString()), "");
}

TEST(Platform, FolderLockIsNotWaitedForForEver) {
    const test::TempFolder folder;
    const wxString path = wx(folder.path().u8string());
    const platform::FolderLock first(path);
    ASSERT_TRUE(first.isHeld());
    EXPECT_FALSE(platform::FolderLock(path).isHeld());
}
