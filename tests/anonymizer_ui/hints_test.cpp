#include "hints.h"

#include <gtest/gtest.h>

#include "switches.h"

TEST(Hints, TextsOfTheFiveKeys) {
    EXPECT_EQ(hintText(0),
              "Open the video by selecting File > Open... in the menu. Or drag and drop the video file "
              "here.");
    EXPECT_EQ(hintText(1), "Hold down left mouse button to blur. Scroll to resize the brush.");
    EXPECT_EQ(hintText(2), "Hold down left mouse button to erase blur. Scroll to resize the brush.");
    EXPECT_EQ(hintText(4), "Recording blur %lld");
    EXPECT_EQ(hintText(5), "Blur %lld selected.");
}

TEST(Hints, OtherKeysArePlaceholders) {
    for (const int key : {-1, 3, 6, 7, 100})
        EXPECT_EQ(hintText(key), "placeholder") << key;
}

TEST(Hints, IdsBeyond32BitsAreShownWhole) {
    EXPECT_EQ(hintTextForBlur(kHintRecording, 5'000'000'000), "Recording blur 5000000000");
    EXPECT_EQ(hintTextForBlur(kHintSelected, INT64_MAX), "Blur 9223372036854775807 selected.");
}

TEST(Hints, MnemonicsAreRemovedAndDoubleAmpersandsBecomeSingle) {
    EXPECT_EQ(withoutMnemonics("&File"), "File");
    EXPECT_EQ(withoutMnemonics("Save && E&xit"), "Save & Exit");
    EXPECT_EQ(withoutMnemonics("&&&File"), "&File");
    EXPECT_EQ(withoutMnemonics("A&&&&B"), "A&&B");
    EXPECT_EQ(withoutMnemonics("plain"), "plain");
    EXPECT_EQ(withoutMnemonics("trailing&"), "trailing");
    EXPECT_EQ(withoutMnemonics(""), "");
}

TEST(Hints, TheStateChangesWithoutAWindowAndWhileTheCanvasHasTheLine) {
    switches::hintOverride = true;
    setHintState(kHintUnblurMode);
    EXPECT_EQ(switches::hintState, 2);
    switches::hintOverride = false;
    setHintState(kHintNoVideo);
    EXPECT_EQ(switches::hintState, 0);
}
