#include "mainframe_fixture.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <wx/app.h>
#include <wx/bmpbuttn.h>
#include <wx/infobar.h>
// The generic bar's header needs the one above.
#include <wx/generic/infobar.h>
#include <wx/panel.h>
#include <wx/sizer.h>

#include "hints.h"
#include "languages.h"
#include "videocanvas.h"

using testing::EndsWith;
using testing::SizeIs;
using testing::StartsWith;

namespace {

template <typename Window>
Window* childOf(const wxWindow& parent) {
    for (wxWindow* child : parent.GetChildren())
        if (auto* found = dynamic_cast<Window*>(child))
            return found;
    throw std::logic_error("no such child");
}

/// As long in every language that the process may have begun with.
const char* const kLongHint =
    "Open the video by selecting File > Open... in the menu. Or drag and drop the video file here.";

class MainFrameLayout : public test::MainFrameTest {
protected:
    void resize(int width, int height) {
        frame_->SetSize(width, height);
        ASSERT_TRUE(test::runUntil([&] { return frame_->GetSize() == wxSize(width, height); }));
        test::runPending();
    }
    std::vector<wxInfoBarGeneric*> barWindows() const {
        std::vector<wxInfoBarGeneric*> found;
        for (wxWindow* child : frame_->GetChildren())
            if (auto* bar = dynamic_cast<wxInfoBarGeneric*>(child))
                found.push_back(bar);
        return found;
    }
    /// By its own button.
    static void closeByButton(wxInfoBarGeneric& bar) {
        auto* button = childOf<wxBitmapButton>(bar);
        wxCommandEvent event(wxEVT_BUTTON, button->GetId());
        event.SetEventObject(button);
        button->GetEventHandler()->ProcessEvent(event);
    }
    const wxWindow& canvas() const { return *childOf<VideoCanvas2>(*frame_); }
    /// The long hints in the language chosen last; hintText keeps the first one's.
    static std::vector<wxString> hintsInForce() {
        return {wxString::Format(_("Open the video by selecting %s > %s in the menu. Or drag and drop the "
                                   "video file here."),
                                 withoutMnemonics(_("&File")), withoutMnemonics(_("&Open..."))),
                _("Hold down left mouse button to blur. Scroll to resize the brush."),
                _("Hold down left mouse button to erase blur. Scroll to resize the brush.")};
    }
    bool hintIsWhole() const { return hint() == kLongHint; }
    /// The hint's lines are all visible and cover nothing.
    void expectHintInItsPlace() const {
        const wxWindow& panel = *hintLine().GetParent();
        EXPECT_LE(hintLine().GetRect().GetBottom(), panel.GetClientSize().y);
        EXPECT_LE(hintLine().GetRect().GetRight(), panel.GetClientSize().x);
        EXPECT_FALSE(panel.GetRect().Intersects(canvas().GetRect()));
        EXPECT_LE(panel.GetRect().GetBottom(), frame_->GetClientSize().y);
    }
};

} // namespace

TEST_F(MainFrameLayout, TheSmallestWindowShowsTheBeginningOfTheHintAndTheRestInATip) {
    setHint(kLongHint);
    resize(128, 128);
    ASSERT_TRUE(test::runUntil([this] { return !hintIsWhole(); }));
    test::runPending();
    EXPECT_THAT(hint(), StartsWith("Open"));
    EXPECT_THAT(hint(), EndsWith("\u2026"));
    EXPECT_EQ(hintLine().GetToolTipText(), kLongHint);
    EXPECT_GT(canvas().GetSize().y, 32) << "a strip of the picture over the controls";
    expectHintInItsPlace();
    resize(800, 580);
    ASSERT_TRUE(test::runUntil([this] { return hintIsWhole(); }));
    EXPECT_EQ(hintLine().GetToolTipText(), "");
    expectHintInItsPlace();
}

TEST_F(MainFrameLayout, TheTextsOfEveryLanguageFitIntoTheSmallestAndTheFirstWindow) {
    for (const languages::Entry& entry : languages::buildLanguageTable()) {
        SCOPED_TRACE(entry.name);
        languages::applyLanguage(entry);
        frame_->Destroy();
        test::runPending();
        makeWindow();
        for (const wxSize size : {wxSize(128, 128), wxSize(800, 580)}) {
            SCOPED_TRACE(size.x);
            resize(size.x, size.y);
            for (const wxString& text : hintsInForce()) {
                setHint(text);
                ASSERT_TRUE(test::runUntil([&] {
                    return hintLine().GetToolTipText() == (size.x == 800 ? wxString() : text) &&
                           canvas().GetSize().x == frame_->GetClientSize().x;
                })) << text;
                EXPECT_FALSE(hint().empty());
                expectHintInItsPlace();
                EXPECT_GT(canvas().GetSize().y, 32) << "a strip of the picture over the controls";
            }
        }
        frame_->showInfoBar(_("Only *.mp4 and *.mov files are supported."));
        ASSERT_TRUE(test::runUntil(
            [this] { return wxRect(frame_->GetClientSize()).Contains(barWindows().at(0)->GetRect()); }));
        const wxRect bar = barWindows().at(0)->GetRect();
        EXPECT_FALSE(bar.Intersects(canvas().GetRect()));
        EXPECT_FALSE(bar.Intersects(hintLine().GetParent()->GetRect()));
        expectHintInItsPlace();
    }
    languages::applyLanguage({"", wxLANGUAGE_ENGLISH});
}

TEST_F(MainFrameLayout, ABarThatTheUserClosesGivesTheHintItsRoomBack) {
    setHint(kLongHint);
    resize(260, 210);
    ASSERT_TRUE(test::runUntil([this] { return hintIsWhole(); }));
    frame_->showInfoBar("Only *.mp4 and *.mov files are supported.");
    ASSERT_TRUE(test::runUntil([this] { return !hintIsWhole(); }));
    test::runPending();
    expectHintInItsPlace();
    closeByButton(*barWindows().at(0));
    EXPECT_TRUE(test::runUntil([this] { return hintIsWhole(); }));
    expectHintInItsPlace();
}

TEST_F(MainFrameLayout, EveryRefusedDropAddsABarThatIsClosedByItself) {
    for (int round = 0; round < 3; ++round)
        frame_->showInfoBar("Only one file at a time can be opened.");
    test::runPending();
    const std::vector<wxInfoBarGeneric*> windows = barWindows();
    ASSERT_THAT(windows, SizeIs(3));
    for (size_t i = 1; i < windows.size(); ++i)
        EXPECT_GE(windows[i]->GetRect().y, windows[i - 1]->GetRect().GetBottom()) << "one under the other";
    closeByButton(*windows[1]);
    test::runPending();
    EXPECT_THAT(bars(), SizeIs(2));
    frame_->showInfoBar("Only one file at a time can be opened.");
    EXPECT_THAT(barWindows(), SizeIs(4)) << "a closed one is not used again";
}

TEST_F(MainFrameLayout, ALongMessageLeavesRoomForTheCloseButtonAtEveryWidth) {
    frame_->showInfoBar("This message is about as long as the longest of all that the program has, and it is "
                        "wrapped to the width of the window.");
    const wxInfoBarGeneric& bar = *barWindows().at(0);
    const auto* button = childOf<wxBitmapButton>(bar);
    const auto* text = childOf<wxStaticText>(bar);
    for (const int width : {800, 500, 300, 640}) {
        resize(width, 580);
        EXPECT_GE(button->GetSize().x, button->GetBestSize().x) << width;
        EXPECT_LE(button->GetRect().GetRight(), bar.GetClientSize().x) << width;
        EXPECT_LE(text->GetRect().GetRight(), button->GetRect().x) << width;
        EXPECT_LE(text->GetRect().GetBottom(), bar.GetClientSize().y) << width;
    }
}

TEST_F(MainFrameLayout, PictureAndHintAreLightOnDarkOneAboveTheOther) {
    const wxColour dark(32, 32, 32);
    const wxWindow& panel = *hintLine().GetParent();
    EXPECT_EQ(frame_->GetBackgroundColour(), dark);
    EXPECT_EQ(panel.GetBackgroundColour(), dark);
    EXPECT_EQ(hintLine().GetForegroundColour(), *wxWHITE);
    EXPECT_TRUE(panel.HasFlag(wxTAB_TRAVERSAL));
    EXPECT_EQ(panel.GetWindowStyleFlag() & wxBORDER_MASK, wxBORDER_NONE);
    const wxSizerItemList& items = frame_->GetSizer()->GetChildren();
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0]->GetWindow(), &canvas());
    EXPECT_EQ(items[0]->GetProportion(), 1);
    EXPECT_EQ(items[0]->GetFlag(), wxEXPAND);
    EXPECT_EQ(items[1]->GetWindow(), &panel);
    EXPECT_EQ(items[1]->GetProportion(), 0);
    EXPECT_EQ(items[1]->GetFlag(), wxEXPAND | wxALL);
    EXPECT_EQ(items[1]->GetBorder(), 8);
}

TEST_F(MainFrameLayout, AMessageInAWindowWithoutARealSizeIsFittedWhenItHasOne) {
    frame_->Destroy();
    test::runPending();
    frame_ = new MainFrame("Tarvex Shroud", wxDefaultPosition, wxSize(800, 580));
    frame_->SetMinSize(wxDefaultSize);
    frame_->SetSize(40, 40);
    const std::string message = "This message is longer than what fits into one line of a small window.";
    frame_->showInfoBar(wxString::FromUTF8(message));
    EXPECT_EQ(childOf<wxStaticText>(*barWindows().at(0))->GetLabelText().utf8_string(), message);
    frame_->SetSize(300, 400);
    frame_->Show();
    EXPECT_TRUE(test::runUntil([&] {
        const auto* text = childOf<wxStaticText>(*barWindows().at(0));
        return text->GetLabelText().Contains("\n") && text->GetRect().GetRight() <= frame_->GetClientSize().x;
    }));
}

TEST_F(MainFrameLayout, TheHintGoesToTheMainWindowOnly) {
    const std::string before = hint();
    auto* other = new wxFrame(nullptr, wxID_ANY, "Other");
    wxTheApp->SetTopWindow(other);
    setHint("for the other");
    EXPECT_EQ(hint(), before);
    wxTheApp->SetTopWindow(frame_);
    other->Destroy();
}

TEST_F(MainFrameLayout, InALanguageReadFromTheRightThePictureAndItsMouseAreNotMirrored) {
    languages::applyLanguage({"", wxLANGUAGE_ARABIC});
    auto* arabic = new MainFrame("Arabic", wxDefaultPosition, wxSize(800, 580));
    languages::applyLanguage({"", wxLANGUAGE_ENGLISH});
    EXPECT_EQ(arabic->GetLayoutDirection(), wxLayout_RightToLeft);
    EXPECT_EQ(childOf<VideoCanvas2>(*arabic)->GetLayoutDirection(), wxLayout_LeftToRight);
    arabic->Destroy();
    EXPECT_EQ(frame_->GetLayoutDirection(), wxLayout_LeftToRight);
}

TEST_F(MainFrameLayout, HintsKeepTheLanguageOfTheFirstOne) {
    const wxString english = hintText(kHintBlurMode);
    languages::applyLanguage({"", wxLANGUAGE_GERMAN});
    EXPECT_NE(_("Playback speed"), "Playback speed");
    EXPECT_EQ(hintText(kHintBlurMode), english);
    languages::applyLanguage({"", wxLANGUAGE_ENGLISH});
}
