#include "regions_csv.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/temp_folder.h"

namespace regions_csv {

bool operator==(const Region& a, const Region& b) {
    return a.firstFrame == b.firstFrame && a.lastFrame == b.lastFrame && a.x == b.x && a.y == b.y &&
           a.w == b.w && a.h == b.h && a.score == b.score;
}

} // namespace regions_csv

namespace {

using Regions = std::vector<regions_csv::Region>;

Regions parsed(const std::string& text) {
    wxString error;
    const auto regions = regions_csv::parse(text, error);
    EXPECT_TRUE(regions.has_value()) << error;
    EXPECT_EQ(error, "");
    return regions.value_or(Regions());
}

std::string errorOf(const std::string& text) {
    wxString error;
    EXPECT_FALSE(regions_csv::parse(text, error).has_value());
    return error.utf8_string();
}

} // namespace

TEST(RegionsCsv, ReadsRectanglesOnRunsOfFrames) {
    EXPECT_EQ(parsed("1,2,3,4,5,6,70\n10,10,-30,-40,50,60,0\n"),
              (Regions{{1, 2, 3, 4, 5, 6, 70}, {10, 10, -30, -40, 50, 60, 0}}));
}

TEST(RegionsCsv, ScoreIsFullWhenAbsent) {
    EXPECT_EQ(parsed("1,2,3,4,5,6\n"), (Regions{{1, 2, 3, 4, 5, 6, 100}}));
}

TEST(RegionsCsv, AcceptsHeadersCommentsBlanksAndEmptyLines) {
    const Regions expected = {{1, 2, 3, 4, 5, 6, 70}};
    EXPECT_EQ(parsed("first_frame,last_frame,x,y,w,h,score\n1,2,3,4,5,6,70"), expected);
    EXPECT_EQ(parsed("# from a tool\n\n First_Frame , last_frame,X,Y,W,H\n1,2,3,4,5,6,70\n"), expected);
    EXPECT_EQ(parsed("  # indented\n \t\n\t1 , 2,\t3,4 ,5,6, 70 \n#end"), expected);
}

TEST(RegionsCsv, AcceptsWindowsLineEndingsAndAByteOrderMark) {
    EXPECT_EQ(parsed("\xEF\xBB\xBF"
                     "first_frame,last_frame,x,y,w,h\r\n1,2,3,4,5,6\r\n\r\n7,8,9,10,11,12"),
              (Regions{{1, 2, 3, 4, 5, 6, 100}, {7, 8, 9, 10, 11, 12, 100}}));
}

TEST(RegionsCsv, NoLinesAreNoRegions) {
    EXPECT_EQ(parsed(""), Regions());
    EXPECT_EQ(parsed("\xEF\xBB\xBF"), Regions());
    EXPECT_EQ(parsed("first_frame,last_frame,x,y,w,h,score"), Regions());
}

TEST(RegionsCsv, ReachesTheLimitsOfItsNumbers) {
    EXPECT_EQ(parsed("1,9223372036854775807,-2147483648,2147483647,2147483647,1,100"),
              (Regions{{1, INT64_MAX, INT32_MIN, INT32_MAX, INT32_MAX, 1, 100}}));
}

TEST(RegionsCsv, NamesTheLineAndTheFieldOfABadNumber) {
    EXPECT_EQ(errorOf("1,2,3,4,5,6\n\n# x\n1,2,3x,4,5,6"), "line 4: x '3x' is not a whole number");
    EXPECT_EQ(errorOf("1,2,3,4,5.5,6"), "line 1: w '5.5' is not a whole number");
    EXPECT_EQ(errorOf("1,2,,4,5,6"), "line 1: x '' is not a whole number");
    EXPECT_EQ(errorOf("1,2,3,4,5,6,"), "line 1: score '' is not a whole number");
    EXPECT_EQ(errorOf("1,2,+3,4,5,6"), "line 1: x '+3' is not a whole number");
    EXPECT_EQ(errorOf("1,2,3 4,4,5,6"), "line 1: x '3 4' is not a whole number");
    EXPECT_EQ(errorOf("1e3,2,3,4,5,6"), "line 1: first_frame '1e3' is not a whole number");
    EXPECT_EQ(errorOf("1,2,3,4,5,-"), "line 1: h '-' is not a whole number");
}

TEST(RegionsCsv, ShowsStrangeFieldsShortAndPlain) {
    EXPECT_EQ(errorOf(std::string("\xFF\xFE\0,2,3,4,5,6", 13)),
              "line 1: first_frame '\?\?\?' is not a whole number");
    EXPECT_EQ(errorOf(std::string(1000, 'a') + ",2,3,4,5,6"),
              "line 1: first_frame 'aaaaaaaaaaaaaaaaaaaa...' is not a whole number");
}

TEST(RegionsCsv, RefusesNumbersOutOfRange) {
    EXPECT_EQ(errorOf("0,2,3,4,5,6"),
              "line 1: first_frame 0 is out of range, 1 to 9223372036854775807 are possible");
    EXPECT_EQ(errorOf("1,-2,3,4,5,6"),
              "line 1: last_frame -2 is out of range, 1 to 9223372036854775807 are possible");
    EXPECT_EQ(errorOf("1,2,3,4,0,6"), "line 1: w 0 is out of range, 1 to 2147483647 are possible");
    EXPECT_EQ(errorOf("1,2,3,4,5,-6"), "line 1: h -6 is out of range, 1 to 2147483647 are possible");
    EXPECT_EQ(errorOf("1,2,3,4,5,6,101"), "line 1: score 101 is out of range, 0 to 100 are possible");
    EXPECT_EQ(errorOf("1,2,3,4,5,6,-1"), "line 1: score -1 is out of range, 0 to 100 are possible");
    EXPECT_EQ(errorOf("1,2,2147483648,4,5,6"),
              "line 1: x 2147483648 is out of range, -2147483648 to 2147483647 are possible");
    EXPECT_EQ(errorOf("1,99999999999999999999,3,4,5,6"), "line 1: last_frame 99999999999999999999 is out of "
                                                         "range, 1 to 9223372036854775807 are possible");
}

TEST(RegionsCsv, RefusesRunsThatEndBeforeTheyStart) {
    EXPECT_EQ(errorOf("5,4,3,4,5,6"), "line 1: first_frame 5 lies after last_frame 4");
}

TEST(RegionsCsv, RefusesOtherNumbersOfFields) {
    EXPECT_EQ(errorOf("1,2,3,4,5"), "line 1: 6 or 7 fields separated by commas are expected, not 5");
    EXPECT_EQ(errorOf("1,2,3,4,5,6,7,8"), "line 1: 6 or 7 fields separated by commas are expected, not 8");
    EXPECT_EQ(errorOf("1;2;3;4;5;6"), "line 1: 6 or 7 fields separated by commas are expected, not 1");
}

TEST(RegionsCsv, TakesAHeaderOnlyFirstAndOnlyInItsOrder) {
    EXPECT_EQ(errorOf("1,2,3,4,5,6\nfirst_frame,last_frame,x,y,w,h"),
              "line 2: first_frame 'first_frame' is not a whole number");
    EXPECT_EQ(errorOf("x,y,w,h,first_frame,last_frame\n1,2,3,4,5,6"),
              "line 1: first_frame 'x' is not a whole number");
    for (const char* first : {"FIRST-FRAME", "first{frame", "GIRST_FRAME", "first_fram\x7f"}) {
        const std::string field(first);
        EXPECT_EQ(errorOf(field + ",last_frame,x,y,w,h\n1,2,3,4,5,6"),
                  "line 1: first_frame '" + field.substr(0, field.find('\x7f')) +
                      (field.find('\x7f') == std::string::npos ? "" : "?") + "' is not a whole number");
    }
}

TEST(RegionsCsv, WritesWhatItReads) {
    const Regions regions = {{1, 2, 3, 4, 5, 6, 70}, {7, INT64_MAX, INT32_MIN, -9, 10, 11, 0}};
    const std::string text = regions_csv::write(regions);
    EXPECT_EQ(text.substr(0, text.find('\n', text.find('\n') + 1) + 1),
              "first_frame,last_frame,x,y,w,h,score\n1,2,3,4,5,6,70\n");
    EXPECT_EQ(parsed(text), regions);
    EXPECT_EQ(regions_csv::write({}), "first_frame,last_frame,x,y,w,h,score\n");
}

TEST(RegionsCsv, ReadsFiles) {
    const test::TempFolder folder;
    wxString error;
    const auto path = [](const std::string& utf8) { return wxString::FromUTF8(utf8); };
    const auto regions = regions_csv::read(path(folder.write("области 🎬.csv", "1,2,3,4,5,6\n")), error);
    ASSERT_TRUE(regions.has_value()) << error;
    EXPECT_EQ(*regions, (Regions{{1, 2, 3, 4, 5, 6, 100}}));
    EXPECT_FALSE(regions_csv::read(path(folder.write("bad", "1,2\n")), error).has_value());
    EXPECT_EQ(error, "line 1: 6 or 7 fields separated by commas are expected, not 2");
    EXPECT_FALSE(regions_csv::read(path(folder.file("missing")), error).has_value());
    EXPECT_EQ(error, "No such file or directory");
    EXPECT_FALSE(regions_csv::read(path(folder.path().u8string()), error).has_value());
    EXPECT_EQ(error, "Is a directory");
}
