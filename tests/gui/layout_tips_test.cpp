#include "layout_tips.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <wx/dialog.h>
#include <wx/frame.h>
#include <wx/panel.h>
#include <wx/tipwin.h>
#include <wx/uiaction.h>
#include <wx/utils.h>

#include "gui/gui_support.h"

namespace {

/// A window with one element of 64 × 32 at (40, 30), whose tool tip is asked for while the mouse is inside,
/// the way a canvas does it.
class LayoutTips : public testing::Test {
protected:
    LayoutTips()
        : frame_(new wxFrame(nullptr, wxID_ANY, "tips", wxPoint(100, 100), wxSize(300, 200))),
          canvas_(new wxPanel(frame_)), tips_(std::make_unique<ui2::Tips>(canvas_)) {
        for (const auto& type : {wxEVT_MOTION, wxEVT_LEFT_DOWN, wxEVT_LEFT_UP, wxEVT_LEAVE_WINDOW})
            canvas_->Bind(type, &LayoutTips::onMouse, this);
        frame_->Show();
        test::runUntil([this] { return frame_->IsShownOnScreen() && frame_->IsActive(); });
        moveTo(200, 100);
    }
    ~LayoutTips() override {
        tips_.reset();
        frame_->Destroy();
        test::runPending();
    }
    void onMouse(wxMouseEvent& event) {
        if (event.LeftDown())
            events_.push_back("down");
        if (event.LeftUp())
            events_.push_back("up");
        const bool inside = !event.Leaving() && tip_.geometry.contains(event.GetX(), event.GetY());
        if (tips_)
            tips_->update(inside && !event.LeftIsDown() ? std::optional<ui2::Tip>(tip_) : std::nullopt);
    }
    void moveTo(int x, int y) {
        const wxPoint place = canvas_->ClientToScreen(wxPoint(x, y));
        mouse_.MouseMove(place.x, place.y);
        test::runPending();
    }
    wxTipWindow* tipWindow() const {
        for (wxWindow* child : canvas_->GetChildren())
            if (auto* tip = dynamic_cast<wxTipWindow*>(child))
                return tip->IsShown() ? tip : nullptr;
        return nullptr;
    }
    /// Lets the windows live for a while, for what must not happen meanwhile.
    static void wait(int milliseconds) {
        bool over = false;
        wxTimer timer;
        timer.Bind(wxEVT_TIMER, [&](wxTimerEvent&) { over = true; });
        timer.StartOnce(milliseconds);
        ASSERT_TRUE(test::runUntil([&] { return over; }));
    }
    /// Long enough for a tip to open; `look` is called before it goes.
    void showDialog(const std::function<void()>& look) {
        wxDialog dialog(frame_, wxID_ANY, "dialog");
        wxTimer timer;
        timer.Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
            look();
            dialog.EndModal(wxID_OK);
        });
        timer.StartOnce(ui2::Tips::kDelayMilliseconds + 200);
        dialog.ShowModal();
    }
    bool openTip() {
        moveTo(60, 40);
        moveTo(61, 40);
        return test::runUntil([this] { return tips_->isOpen(); });
    }

    ui2::Tip tip_{"Delete blur", {64, 32, 40, 30}};
    std::vector<std::string> events_;
    wxUIActionSimulator mouse_;
    wxFrame* frame_;
    wxPanel* canvas_;
    std::unique_ptr<ui2::Tips> tips_;
};

TEST_F(LayoutTips, OpensWhenTheMouseRests) {
    EXPECT_FALSE(tips_->isOpen());
    ASSERT_TRUE(openTip());
    EXPECT_NE(tipWindow(), nullptr);
    wait(400);
    EXPECT_TRUE(tips_->isOpen()) << "it stays";
}

TEST_F(LayoutTips, LongTextsWrapAt150Pixels) {
    tip_.text = "Deletes the selected blur from the first to the last of its frames and keeps all others";
    ASSERT_TRUE(openTip());
    const wxSize size = tipWindow()->GetSize();
    tips_->close();
    const auto sizeAt = [this](int width) {
        wxTipWindow* const window = new wxTipWindow(canvas_, tip_.text, canvas_->FromDIP(width));
        const wxSize wrapped = window->GetSize();
        window->Close();
        return wrapped;
    };
    EXPECT_EQ(size, sizeAt(150));
    EXPECT_NE(size, sizeAt(300));
}

TEST_F(LayoutTips, ClosesAndIsForgottenWhenTheMouseLeavesTheElement) {
    ASSERT_TRUE(openTip());
    moveTo(200, 100);
    EXPECT_TRUE(test::runUntil([this] { return !tips_->isOpen(); }));
    EXPECT_EQ(tipWindow(), nullptr);
    ASSERT_TRUE(openTip()) << "and opens again";
}

TEST_F(LayoutTips, ClickOnTheElementReachesTheCanvas) {
    ASSERT_TRUE(openTip());
    moveTo(62, 41);
    mouse_.MouseDown();
    EXPECT_TRUE(test::runUntil([this] { return !tips_->isOpen(); }));
    mouse_.MouseUp();
    EXPECT_TRUE(test::runUntil([this] { return events_.size() >= 2; }));
    EXPECT_EQ(events_, (std::vector<std::string>{"down", "up"}));
}

TEST_F(LayoutTips, ClosedWithTheCanvas) {
    ASSERT_TRUE(openTip());
    tips_.reset();
    test::runPending();
    EXPECT_EQ(tipWindow(), nullptr);
}

TEST_F(LayoutTips, AnotherTipClosesTheOpenOneAndTheSameKeepsIt) {
    ASSERT_TRUE(openTip());
    tips_->update(tip_);
    EXPECT_TRUE(tips_->isOpen());
    tips_->update(ui2::Tip{"Play", {64, 32, 40, 30}});
    EXPECT_FALSE(tips_->isOpen());
    EXPECT_EQ(tipWindow(), nullptr);
}

TEST_F(LayoutTips, NoneOpensOverADialogThatCameBeforeIt) {
    tips_->update(tip_);
    showDialog([this] { EXPECT_FALSE(tips_->isOpen()); });
    EXPECT_FALSE(tips_->isOpen());
    ASSERT_TRUE(openTip()) << "and opens again";
}

TEST_F(LayoutTips, ADialogClosesTheOpenOne) {
    ASSERT_TRUE(openTip());
    showDialog([this] { EXPECT_EQ(tipWindow(), nullptr); });
}

TEST_F(LayoutTips, NoneOpensOverAWindowThatIsDisabled) {
    tips_->update(tip_);
    const wxWindowDisabler progressDialog;
    wait(ui2::Tips::kDelayMilliseconds + 200);
    EXPECT_FALSE(tips_->isOpen());
}

TEST_F(LayoutTips, NoneOpensOverAWindowThatIsHidden) {
    tips_->update(tip_);
    frame_->Hide();
    wait(ui2::Tips::kDelayMilliseconds + 200);
    EXPECT_FALSE(tips_->isOpen());
}

TEST_F(LayoutTips, OneThatTheSystemDestroysIsForgotten) {
    ASSERT_TRUE(openTip());
    tipWindow()->Destroy();
    EXPECT_TRUE(test::runUntil([this] { return !tips_->isOpen(); }));
    moveTo(200, 100);
    ASSERT_TRUE(openTip()) << "and opens again";
}

TEST_F(LayoutTips, NothingOpensAfterTheWishIsGone) {
    tips_->update(tip_);
    tips_->update(std::nullopt);
    tips_->update(tip_);
    tips_->close();
    wait(ui2::Tips::kDelayMilliseconds + 200);
    EXPECT_FALSE(tips_->isOpen());
}

} // namespace
