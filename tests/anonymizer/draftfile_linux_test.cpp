#include "draftfile.h"

#include <cerrno>
#include <filesystem>

#include <gtest/gtest.h>

#include "support/temp_folder.h"

namespace fs = std::filesystem;

namespace {

wxString text(const fs::path& path) {
    return wxString::FromUTF8(path.u8string());
}

} // namespace

TEST(DraftFile, NothingStaysOfOneThatCannotHaveTheReplacedFilesPermissions) {
    const test::TempFolder folder;
    const fs::path place = folder.path() / "circle";
    // Nobody can say what permissions are at the end of it.
    fs::create_symlink("circle", place);
    errno = 0;
    EXPECT_EQ(draftfile::create(text(place), "draft", ".mp4"), wxString());
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(folder.listing(), "circle");
}
