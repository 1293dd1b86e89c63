#include "fittext.h"

#include <limits>

#include <gtest/gtest.h>
#include <wx/arrstr.h>
#include <wx/frame.h>
#include <wx/tokenzr.h>

#include "gui_support.h"

namespace {

constexpr size_t kAll = std::numeric_limits<size_t>::max();

class FitText : public testing::Test {
protected:
    FitText() : window_(new wxFrame(nullptr, wxID_ANY, "Window")) {}
    ~FitText() override {
        window_->Destroy();
        test::runPending();
    }
    int widthOf(const wxString& text) const { return window_->GetTextExtent(text).x; }
    wxArrayString fit(const wxString& text, int width, size_t maxLines = kAll) const {
        const wxArrayString lines =
            wxStringTokenize(fitText(*window_, text, width, maxLines), "\n", wxTOKEN_RET_EMPTY_ALL);
        for (const wxString& line : lines) {
            if (line.length() > 1) {
                EXPECT_LE(widthOf(line), width) << line;
            }
        }
        return lines;
    }

    wxFrame* window_;
};

} // namespace

TEST_F(FitText, WhatFitsStaysAsItIs) {
    for (const wxString& text : {wxString("Scroll & click && more"), wxString()})
        EXPECT_EQ(fitText(*window_, text, 1000, 1), text);
}

TEST_F(FitText, LinesAreBrokenAtBlanks) {
    const wxArrayString lines = fit("one two three four", widthOf("three four x"));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].Strip(wxString::both), "one two");
    EXPECT_EQ(lines[1].Strip(wxString::both), "three four");
}

TEST_F(FitText, WordsWiderThanALineAreBrokenWithin) {
    const wxString word = wxString::FromUTF8("\u30de\u30a6\u30b9\u306e\u5de6\u30dc\u30bf\u30f3\u3092\u62bc");
    const wxArrayString lines = fit(word, widthOf(word) / 3);
    EXPECT_GE(lines.size(), 3u);
    wxString joined;
    for (const wxString& line : lines)
        joined += line;
    EXPECT_EQ(joined, word);
}

TEST_F(FitText, WhatTakesTooManyLinesEndsWithAnEllipsis) {
    const wxString text = "one two three four five six seven eight";
    const int width = widthOf("three four x");
    const wxArrayString two = fit(text, width, 2);
    ASSERT_EQ(two.size(), 2u);
    EXPECT_EQ(two[0].Strip(wxString::both), "one two");
    EXPECT_TRUE(two[1].StartsWith("three"));
    EXPECT_TRUE(two[1].EndsWith(kEllipsis));
    const wxArrayString one = fit(text, width, 1);
    ASSERT_EQ(one.size(), 1u);
    EXPECT_TRUE(one[0].StartsWith("one"));
    EXPECT_TRUE(one[0].EndsWith(kEllipsis));
}

TEST_F(FitText, AWidthOfNothingGivesALinePerCharacter) {
    EXPECT_EQ(fit("abc", 0).size(), 3u);
    EXPECT_EQ(fitText(*window_, "abc", 1, 2).Freq('\n'), 1u);
}
