#include "draftfile.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "platform.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

/// "café" in another encoding than UTF-8.
const std::string kLatin = "caf\xE9";

fs::path pathOf(const wxString& text) {
    return {platform::fileName(text)};
}

} // namespace

TEST(DraftFile, FollowsLinksToNamesOfOtherEncodings) {
    const test::TempFolder folder;
    const fs::path real = fs::canonical(folder.path());
    fs::create_directory(real / kLatin);
    const fs::path place = real / kLatin / (kLatin + ".mp4");
    fs::create_symlink(kLatin + "/" + kLatin + ".mp4", real / "link.mp4");
    EXPECT_EQ(pathOf(draftfile::placeOf(platform::fileNameText((real / "link.mp4").string()))), place);
    std::ofstream(place) << "old";
    EXPECT_EQ(pathOf(draftfile::placeOf(platform::fileNameText((real / "link.mp4").string()))), place);
}

TEST(DraftFile, LinksWithNamesOfOtherEncodingsAreFollowed) {
    const test::TempFolder folder;
    const fs::path real = fs::canonical(folder.path());
    fs::create_symlink("place.mp4", real / kLatin);
    EXPECT_EQ(pathOf(draftfile::placeOf(platform::fileNameText((real / kLatin).string()))),
              real / "place.mp4");
}

TEST(DraftFile, LiesBesideAPlaceWithANameOfAnotherEncoding) {
    const test::TempFolder folder;
    const fs::path real = fs::canonical(folder.path());
    fs::create_directory(real / kLatin);
    const wxString place = platform::fileNameText((real / kLatin / "out.mp4").string());
    const wxString draft = draftfile::create(place, ".out.partial-", ".mp4");
    ASSERT_NE(draft, "");
    EXPECT_EQ(pathOf(draft).parent_path(), real / kLatin);
    EXPECT_TRUE(fs::is_regular_file(pathOf(draft)));
}

TEST(DraftFile, ALinkInACircleIsItsOwnPlace) {
    const test::TempFolder folder;
    const std::string circle = folder.file("circle");
    fs::create_symlink("circle", fs::u8path(circle));
    EXPECT_EQ(platform::fileName(draftfile::placeOf(platform::fileNameText(circle))), circle);
}

TEST(DraftFile, NothingStaysOfOneThatCannotHaveTheReplacedFilesPermissions) {
    const test::TempFolder folder;
    const fs::path place = folder.path() / "circle";
    // Nobody can say what permissions are at the end of it.
    fs::create_symlink("circle", place);
    errno = 0;
    EXPECT_EQ(draftfile::create(platform::fileNameText(place.string()), "draft", ".mp4"), wxString());
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(folder.listing(), "circle");
}

TEST(FileNameText, IsTheWayBackOfFileName) {
    for (const std::string& name : {std::string("plain.mp4"), std::string("видео 🎬.mp4"), kLatin,
                                    std::string("\xFF\xFE/\xC3"), std::string()})
        EXPECT_EQ(platform::fileName(platform::fileNameText(name)), name);
    EXPECT_EQ(platform::fileNameText("видео 🎬.mp4"), wxString::FromUTF8("видео 🎬.mp4"));
}
