#include "pxl/stream.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "pxl/log.h"

namespace {

namespace fs = std::filesystem;

/// Folder of this test, removed with everything in it.
class FolderTest : public testing::Test {
protected:
    void SetUp() override {
        const auto* info = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = fs::temp_directory_path() / fs::u8path(std::string("pxl-") + info->name() + "-" +
                                                         std::to_string(std::hash<const void*>()(this)));
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string fileWith(const std::string& name, const std::string& content) {
        const fs::path path = folder_ / fs::u8path(name);
        std::ofstream(path, std::ios::binary) << content;
        return path.u8string();
    }

    fs::path folder_;
};

class Stream : public FolderTest {};
class File : public FolderTest {};

class ErrorRecorder : public pxl::log::ILog {
public:
    void message(const std::string&) override {}
    void error(const std::string& line) override { errors += line; }
    void warning(const std::string&) override {}
    std::string errors;
};

} // namespace

TEST_F(File, OpeningAMissingFileIsEmptyAndSilent) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(pxl::openFile((folder_ / "missing").u8string()), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(File, OpensUtf8Names) {
    const auto file = pxl::openFile(fileWith("кнопка \xF0\x9F\x8E\xAC.png", "abc"));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->size(), 3u);
}

TEST_F(File, SizeKeepsThePosition) {
    const auto file = pxl::openFile(fileWith("a", "0123456789"));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->seek(4), 4);
    EXPECT_EQ(file->size(), 10u);
    EXPECT_EQ(file->tell(), 4);
}

TEST_F(File, EmptyFileHasNoSizeAndKeepsItsPosition) {
    const auto file = pxl::openFile(fileWith("a", ""));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->size(), 0u);
    EXPECT_EQ(file->tell(), 0);
}

TEST_F(File, ReadsBytesUnchangedAndStopsAtTheEnd) {
    const auto file = pxl::openFile(fileWith("a", std::string("a\r\n\x1A\0z", 6)));
    ASSERT_NE(file, nullptr);
    uint8_t buffer[10] = {};
    EXPECT_EQ(file->read(buffer, 10), 6u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 6), std::string("a\r\n\x1A\0z", 6));
    EXPECT_EQ(file->read(buffer, 10), 0u);
}

TEST_F(File, SeekBeyondTheEndReturnsTheNewPosition) {
    const auto file = pxl::openFile(fileWith("a", "abc"));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->seek(100), 100);
    EXPECT_EQ(file->tell(), 100);
    uint8_t byte = 0;
    EXPECT_EQ(file->read(&byte, 1), 0u);
}

TEST_F(File, OffsetsHave64Bits) {
    const auto file = pxl::openFile(fileWith("a", "abc"));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->seek(5'000'000'000), 5'000'000'000);
    EXPECT_EQ(file->tell(), 5'000'000'000);
    EXPECT_EQ(file->size(), 3u);
}

TEST_F(File, FailedSeekReturnsZeroAndStays) {
    const auto file = pxl::openFile(fileWith("a", "abc"));
    ASSERT_NE(file, nullptr);
    file->seek(2);
    EXPECT_EQ(file->seek(-1), 0);
    EXPECT_EQ(file->tell(), 2);
}

TEST_F(File, WritingToAFileOpenedForReadingWritesNothing) {
    const std::string path = fileWith("a", "abc");
    const auto file = pxl::openFile(path);
    ASSERT_NE(file, nullptr);
    const uint8_t byte = 'z';
    EXPECT_EQ(file->write(&byte, 1), 0u);
    EXPECT_EQ(fs::file_size(fs::u8path(path)), 3u);
}

TEST_F(File, WritesThroughAWritableHandle) {
    std::FILE* handle = std::tmpfile();
    ASSERT_NE(handle, nullptr);
    pxl::STDIOFile file(handle);
    const uint8_t bytes[3] = {1, 2, 3};
    EXPECT_EQ(file.write(bytes, 3), 3u);
    EXPECT_EQ(file.tell(), 3);
    EXPECT_EQ(file.size(), 3u);
    EXPECT_EQ(file.seek(1), 1);
    uint8_t read = 0;
    EXPECT_EQ(file.read(&read, 1), 1u);
    EXPECT_EQ(read, 2);
}

TEST_F(Stream, ForwardsToItsFile) {
    pxl::FileStream stream(pxl::openFile(fileWith("a", "0123456789")));
    ASSERT_TRUE(stream.valid());
    EXPECT_EQ(stream.size(), 10u);
    EXPECT_EQ(stream.seek(7), 7);
    EXPECT_EQ(stream.tell(), 7);
    uint8_t buffer[5] = {};
    EXPECT_EQ(stream.read(buffer, 5), 3u);
    EXPECT_EQ(buffer[0], '7');
}

TEST_F(Stream, WithoutAFileLogsAnErrorAndReturnsZeroEverywhere) {
    const auto recorder = std::make_shared<ErrorRecorder>();
    const auto previous = pxl::log::setSink(recorder);
    pxl::FileStream stream(nullptr);
    pxl::log::setSink(previous);
    EXPECT_EQ(recorder->errors, "[Error] Invalid fileref for filestream");
    EXPECT_FALSE(stream.valid());
    uint8_t byte = 0;
    EXPECT_EQ(stream.tell(), 0);
    EXPECT_EQ(stream.seek(5), 0);
    EXPECT_EQ(stream.read(&byte, 1), 0u);
    EXPECT_EQ(stream.size(), 0u);
}

TEST_F(Stream, SharesTheFileWithOtherStreams) {
    const auto file = pxl::openFile(fileWith("a", "abc"));
    pxl::FileStream first(file);
    {
        pxl::FileStream second(file);
        second.seek(2);
    }
    EXPECT_EQ(first.tell(), 2);
}
