#include "progressdisplay.h"

#include <algorithm>
#include <limits>

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/progdlg.h>

#include "gui_support.h"

namespace {

class Progress : public testing::Test {
protected:
    Progress() : frame_(new wxFrame(nullptr, wxID_ANY, "Window")), display_(frame_) {
        frame_->Show();
        test::runPending();
    }
    ~Progress() override {
        display_.finish();
        frame_->Destroy();
        test::runPending();
    }
    /// The dialog on the screen; null when there is none.
    static wxProgressDialog* dialog() {
        for (wxWindow* window : wxTopLevelWindows)
            if (auto* found = dynamic_cast<wxProgressDialog*>(window))
                return found;
        return nullptr;
    }
    static bool isVisible() { return dialog() && dialog()->IsShown(); }

    wxFrame* frame_;
    ProgressDisplay display_;
};

} // namespace

TEST_F(Progress, TheWindowIsUnusableFromStartToFinish) {
    display_.start("Title", "Message", 10);
    EXPECT_TRUE(isVisible());
    EXPECT_FALSE(frame_->IsEnabled());
    display_.finish();
    EXPECT_FALSE(dialog());
    EXPECT_TRUE(frame_->IsEnabled());
}

TEST_F(Progress, TheLastValueAndOneBeyondDoNotEndIt) {
    display_.start("Title", "Message", 3);
    for (const int value : {0, 3, 4, 1000, -1}) {
        display_.update(value, {});
        EXPECT_TRUE(isVisible()) << value;
        EXPECT_FALSE(frame_->IsEnabled()) << value;
    }
}

TEST_F(Progress, AnUnknownMaximumDoesNotEndItEither) {
    for (const int maximum : {0, -5}) {
        display_.start("Title", "Message", maximum);
        display_.update(0, {});
        display_.update(100, "Still going");
        EXPECT_TRUE(isVisible());
        EXPECT_FALSE(frame_->IsEnabled());
        EXPECT_EQ(dialog()->GetMessage(), "Still going");
    }
}

TEST_F(Progress, TheLargestMaximumIsNoUnknownOne) {
    constexpr int32_t kLargest = std::numeric_limits<int32_t>::max();
    display_.start("Title", "Message", kLargest);
    ASSERT_TRUE(dialog());
    EXPECT_EQ(dialog()->GetRange(), kLargest);
    for (const int32_t value : {kLargest, 1}) {
        display_.update(value, {});
        EXPECT_TRUE(isVisible()) << value;
        EXPECT_FALSE(frame_->IsEnabled()) << value;
        EXPECT_EQ(dialog()->GetValue(), std::min(value, kLargest - 1));
    }
}

TEST_F(Progress, AnEmptyMessageKeepsTheOneShown) {
    display_.start("Title", "Message", 10);
    display_.update(1, {});
    EXPECT_EQ(dialog()->GetMessage(), "Message");
    display_.update(2, "Other");
    EXPECT_EQ(dialog()->GetMessage(), "Other");
    display_.update(3, {});
    EXPECT_EQ(dialog()->GetMessage(), "Other");
}

TEST_F(Progress, ASecondStartReplacesTheFirstDialog) {
    display_.start("First", "Message", 10);
    display_.start("Second", "Message", 10);
    ASSERT_TRUE(dialog());
    EXPECT_EQ(dialog()->GetTitle(), "Second");
    display_.finish();
    EXPECT_FALSE(dialog());
    EXPECT_TRUE(frame_->IsEnabled());
}

TEST_F(Progress, UpdateAndFinishWithoutADialogDoNothing) {
    display_.update(5, "Nothing");
    display_.finish();
    EXPECT_FALSE(dialog());
    EXPECT_TRUE(frame_->IsEnabled());
}

TEST_F(Progress, TheDialogCannotBeClosed) {
    display_.start("Title", "Message", 10);
    EXPECT_FALSE(dialog()->Close());
    display_.update(10, {});
    EXPECT_FALSE(dialog()->Close());
    EXPECT_TRUE(isVisible());
    EXPECT_FALSE(frame_->IsEnabled());
}
