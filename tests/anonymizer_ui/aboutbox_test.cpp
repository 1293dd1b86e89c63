#include "aboutbox.h"

#include <gtest/gtest.h>

TEST(AboutBox, TheRightsNoticeEndsWithTheYearOfTheBuild) {
    EXPECT_EQ(rightsNotice("Jun 25 2026").utf8_string(), "\u00a9 2024-2026 Harmo Labs All rights reserved.");
    EXPECT_EQ(rightsNotice("Jan  1 2031").utf8_string(), "\u00a9 2024-2031 Harmo Labs All rights reserved.");
}

TEST(AboutBox, NamesProgramVersionRightsAndWebSite) {
    const wxAboutDialogInfo info = aboutInfo();
    EXPECT_EQ(info.GetName(), "Tarvex Shroud");
    EXPECT_EQ(info.GetVersion(), "2.0");
    EXPECT_EQ(info.GetCopyright(), rightsNotice(__DATE__));
    EXPECT_TRUE(info.HasWebSite());
    EXPECT_FALSE(info.GetCopyright().Contains("\n"));
}
