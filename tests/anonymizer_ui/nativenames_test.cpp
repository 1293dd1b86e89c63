#include "nativenames.h"

#include <string>

#include <gtest/gtest.h>

TEST(NativeNames, KnowsOneHundredAndSixtyEightLanguages) {
    int known = 0;
    for (char first = 'a'; first <= 'z'; ++first)
        for (char second = 'a'; second <= 'z'; ++second)
            if (!nativeName(std::string{first, second}).empty())
                ++known;
    EXPECT_EQ(known, 168);
}

TEST(NativeNames, GivesUtf8InTheCaseOfASentence) {
    EXPECT_EQ(nativeName("ar"), "\u0627\u0644\u0639\u0631\u0628\u064a\u0629");
    EXPECT_EQ(nativeName("de"), "Deutsch");
    EXPECT_EQ(nativeName("fi"), "suomi");
    EXPECT_EQ(nativeName("mh"), "Kajin M\u0327aje\u013c");
    EXPECT_EQ(nativeName("za"), "Sa\u026f cue\u014b\u0185");
    EXPECT_EQ(nativeName("ko"), "\ud55c\uad6d\uc5b4");
}

TEST(NativeNames, UnknownCodesAreEmpty) {
    for (const char* code : {"", "xx", "deu", "DE", "de_DE"})
        EXPECT_EQ(nativeName(code), "") << code;
}
