#include "output_file.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

class OutputFileTest : public testing::Test {
protected:
    OutputFileTest() { EXPECT_TRUE(file_->aimAt(OutputFile::Kind::Text, target(), {}, error_)); }

    wxString target() const { return wxString::FromUTF8(folder_.file("list.csv")); }
    void write(const std::string& content) { folder_.write("list.csv", content); }
    std::string content() const { return test::readFile(folder_.file("list.csv")); }
    /// The new target is written and in its place.
    void commit() {
        ASSERT_TRUE(file_->create(error_)) << error_;
        std::ofstream(fs::u8path(file_->draftPath().utf8_string())) << "new";
        ASSERT_TRUE(file_->commit(error_)) << error_;
        ASSERT_EQ(content(), "new");
    }

    test::TempFolder folder_;
    std::unique_ptr<OutputFile> file_ = std::make_unique<OutputFile>();
    wxString error_;
    wxString left_ = "untouched";
};

} // namespace

TEST_F(OutputFileTest, RevertPutsBackWhatTheLastCopyHeld) {
    write("old");
    ASSERT_TRUE(file_->keepOld(error_));
    write("newer");
    ASSERT_TRUE(file_->keepOld(error_));
    commit();
    EXPECT_TRUE(file_->revert(left_));
    EXPECT_EQ(left_, "");
    file_.reset();
    EXPECT_EQ(content(), "newer");
    EXPECT_EQ(folder_.listing(), "list.csv");
}

TEST_F(OutputFileTest, WhatHasGoneSinceTheFirstCopyIsGoneAfterARevert) {
    write("old");
    ASSERT_TRUE(file_->keepOld(error_));
    fs::remove(folder_.path() / "list.csv");
    ASSERT_TRUE(file_->keepOld(error_));
    commit();
    EXPECT_TRUE(file_->revert(left_));
    file_.reset();
    EXPECT_EQ(folder_.listing(), "");
}

TEST_F(OutputFileTest, AnOldFileThatCannotBePutBackIsLeftWhereItIsSaidToBe) {
    write("old");
    ASSERT_TRUE(file_->keepOld(error_));
    commit();
    fs::remove(folder_.path() / "list.csv");
    fs::create_directory(folder_.path() / "list.csv");
    EXPECT_FALSE(file_->revert(left_));
    file_.reset();
    ASSERT_NE(left_, "");
    EXPECT_EQ(test::readFile(left_.utf8_string()), "old");
}

TEST_F(OutputFileTest, ANewFileThatCannotBeRemovedLeavesNothingToSay) {
    ASSERT_TRUE(file_->keepOld(error_));
    commit();
    fs::remove(folder_.path() / "list.csv");
    fs::create_directory(folder_.path() / "list.csv");
    EXPECT_FALSE(file_->revert(left_));
    EXPECT_EQ(left_, "");
}

TEST_F(OutputFileTest, ATargetThatCannotBeLookedAtIsNotTakenForNone) {
    fs::create_symlink("list.csv", folder_.path() / "list.csv");
    EXPECT_FALSE(file_->keepOld(error_));
    EXPECT_EQ(error_, "Too many levels of symbolic links");
    file_.reset();
    EXPECT_EQ(folder_.listing(), "list.csv");
}

TEST_F(OutputFileTest, NothingIsLeftOfAFileThatIsNeverCommitted) {
    write("old");
    ASSERT_TRUE(file_->keepOld(error_));
    ASSERT_TRUE(file_->create(error_));
    file_.reset();
    EXPECT_EQ(content(), "old");
    EXPECT_EQ(folder_.listing(), "list.csv");
}
