#include "exporttarget.h"

#include <gtest/gtest.h>

#include "filedroptarget.h"

using exporttarget::filterFor;
using exporttarget::withEnding;

TEST(ExportTarget, TheMovFilterIsPreselectedForMovVideosOnly) {
    EXPECT_EQ(filterFor("/a/b.mov"), exporttarget::kMov);
    EXPECT_EQ(filterFor("/a/B.MOV"), exporttarget::kMov);
    EXPECT_EQ(filterFor("/a/b.mp4"), exporttarget::kMp4);
    EXPECT_EQ(filterFor("/a.mov/b"), exporttarget::kMp4);
    EXPECT_EQ(filterFor(""), exporttarget::kMp4);
}

TEST(ExportTarget, ANameWithoutAVideoEndingGetsTheChosenOne) {
    EXPECT_EQ(withEnding("/a/b", exporttarget::kMp4), "/a/b.mp4");
    EXPECT_EQ(withEnding("/a/b", exporttarget::kMov), "/a/b.mov");
    EXPECT_EQ(withEnding("/a/interview.v2", exporttarget::kMp4), "/a/interview.v2.mp4");
    EXPECT_EQ(withEnding("/a/b.avi", exporttarget::kMov), "/a/b.avi.mov");
}

TEST(ExportTarget, ATypedVideoEndingStays) {
    EXPECT_EQ(withEnding("/a/b.mov", exporttarget::kMp4), "/a/b.mov");
    EXPECT_EQ(withEnding("/a/b.MP4", exporttarget::kMov), "/a/b.MP4");
}

TEST(ExportTarget, TheEmptyPathStaysEmpty) {
    EXPECT_EQ(withEnding("", exporttarget::kMov), "");
}

TEST(FileDropTarget, VideosAreKnownByTheirEndingInAnyCase) {
    for (const char* name : {"a.mp4", "a.MP4", "a.mov", "a.MOV", "/x/a.b.Mov"})
        EXPECT_TRUE(isVideoName(name)) << name;
    for (const char* name : {"a.mkv", "a.MKV", "mp4", "a.mp4.txt", "a.mp", ""})
        EXPECT_FALSE(isVideoName(name)) << name;
}
