#include "canvascontrols.h"

#include <memory>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wx/intl.h>
#include <wx/translation.h>

#include "support/message_catalog.h"

namespace {

/// A window of 640 × 480: timeline from 44 to 564 over frames 1 to 101, "Delete blur" at the right edge.
class Controls : public testing::Test {
protected:
    Controls() {
        controls.setVideo(true, 101);
        controls.place({640, 480});
    }

    void mouse(ui2::MouseInput::Action action, int x, bool held) {
        for (const auto& call : controls.mouse({action, x, 464, held}).calls)
            call();
    }
    void press(int x) { mouse(ui2::MouseInput::Action::LeftDown, x, true); }
    void drag(int x) { mouse(ui2::MouseInput::Action::Motion, x, true); }
    void release(int x) { mouse(ui2::MouseInput::Action::LeftUp, x, false); }
    void click(int x) {
        press(x);
        release(x);
    }
    /// Whether the knob stands at the frame: a press there moves nothing.
    bool knobIsAt(int64_t frame) {
        const std::size_t before = seeks.size();
        click(44 + static_cast<int>((frame - 1) * 520 / 100));
        return seeks.size() == before;
    }

    /// What the tip says when the mouse comes there.
    std::string tipAt(int x, int y = 464) {
        controls.mouse({ui2::MouseInput::Action::Motion, x, 100, false});
        const auto tip = controls.mouse({ui2::MouseInput::Action::Motion, x, y, false}).tip;
        return tip ? tip->text.utf8_string() : std::string();
    }

    std::vector<int32_t> seeks;
    std::vector<bool> plays;
    int deletions = 0;
    int detections = 0;
    CanvasControls controls{{[this](int32_t value) { seeks.push_back(value); },
                             [this](bool play) { plays.push_back(play); }, [this] { ++detections; },
                             [this] { ++deletions; }}};
};

TEST_F(Controls, TimelineFollowsTheFrames) {
    controls.showFrame(51);
    EXPECT_TRUE(knobIsAt(51));
    EXPECT_FALSE(knobIsAt(11));
    EXPECT_EQ(seeks, std::vector<int32_t>{10});
}

TEST_F(Controls, HeldKnobStaysAndCatchesUpOnRelease) {
    controls.showFrame(11);
    press(96);
    controls.showFrame(101);
    release(96);
    EXPECT_TRUE(seeks.empty());
    EXPECT_TRUE(knobIsAt(101));
}

TEST_F(Controls, DraggedKnobStaysWhereTheUserLeftIt) {
    controls.showFrame(11);
    press(96);
    drag(304);
    controls.showFrame(13);
    release(304);
    EXPECT_EQ(seeks, std::vector<int32_t>{50});
    EXPECT_TRUE(knobIsAt(51));
    controls.showFrame(51);
    EXPECT_TRUE(knobIsAt(51));
}

TEST_F(Controls, PressBesideTheKnobIsTheUsersToo) {
    controls.showFrame(11);
    press(304);
    controls.showFrame(12);
    release(304);
    EXPECT_EQ(seeks, std::vector<int32_t>{50});
    EXPECT_TRUE(knobIsAt(51));
}

TEST_F(Controls, LostReleaseCatchesUpToo) {
    controls.showFrame(11);
    press(96);
    controls.showFrame(101);
    mouse(ui2::MouseInput::Action::Motion, 300, false);
    EXPECT_TRUE(knobIsAt(101));
}

TEST_F(Controls, AnotherVideoStartsAtItsBeginning) {
    controls.showFrame(51);
    controls.setVideo(true, 101);
    press(44);
    release(44);
    EXPECT_TRUE(seeks.empty());
    EXPECT_TRUE(knobIsAt(1));
}

TEST_F(Controls, DeleteIsEnabledWhileThereIsAVideo) {
    click(624);
    EXPECT_EQ(deletions, 1);
    controls.setVideo(false, 0);
    click(624);
    EXPECT_EQ(deletions, 1);
    EXPECT_EQ(tipAt(624), "Delete blur");
}

TEST_F(Controls, ButtonsTakeTheBarsEndsAndFollowTheWindow) {
    for (const int height : {480, 300}) {
        controls.place({640, height});
        EXPECT_EQ(tipAt(31, height - 32), "Play");
        EXPECT_EQ(tipAt(32, height - 32), "");
        EXPECT_EQ(tipAt(607, height - 1), "NO AI");
        EXPECT_EQ(tipAt(608, height - 32), "Delete blur") << "32 pixels from the right edge";
        EXPECT_EQ(tipAt(608, height - 33), "");
    }
}

TEST_F(Controls, ToggleFollowsPlayingAndStoppedAndIsLeftBySeeking) {
    controls.showPlayState(Playing);
    EXPECT_EQ(tipAt(16), "Pause");
    controls.showPlayState(Seeking);
    EXPECT_EQ(tipAt(16), "Pause");
    click(16);
    controls.showPlayState(Stopped);
    EXPECT_EQ(tipAt(16), "Play");
    controls.showPlayState(Seeking);
    EXPECT_EQ(tipAt(16), "Play");
    click(16);
    EXPECT_THAT(plays, testing::ElementsAre(false, true));
}

TEST(ControlsLock, IsFreeWhileACallbackRuns) {
    CanvasControls* busy = nullptr;
    int called = 0;
    // As the playback thread does while the window waits for it.
    const auto useControls = [&] {
        ++called;
        std::thread([&] {
            busy->showFrame(7);
            busy->showPlayState(Stopped);
            busy->clearHover();
        }).join();
    };
    CanvasControls own(
        {[&](int32_t) { useControls(); }, [&](bool) { useControls(); }, useControls, useControls});
    busy = &own;
    own.setVideo(true, 101);
    own.setAiAvailable(true);
    own.place({640, 480});
    for (const int x : {16, 300, 592, 624})
        for (const auto action : {ui2::MouseInput::Action::LeftDown, ui2::MouseInput::Action::LeftUp})
            for (const auto& call :
                 own.mouse({action, x, 464, action == ui2::MouseInput::Action::LeftDown}).calls)
                call();
    EXPECT_EQ(called, 4);
}

TEST_F(Controls, AiButtonIsNamedAfterTheDetectionWithoutAVideoToo) {
    controls.setAiAvailable(true);
    controls.setVideo(false, 0);
    EXPECT_EQ(tipAt(590), "AI");
    click(590);
    EXPECT_EQ(detections, 0);
    controls.setVideo(true, 101);
    click(590);
    EXPECT_EQ(detections, 1);
    EXPECT_EQ(tipAt(590), "AI");
}

/// A catalog with other words for the controls.
class OtherWords : public wxTranslationsLoader {
public:
    /// From now on they are the translations; `wxTranslations::Set(nullptr)` ends that.
    static void use() {
        auto translations = std::make_unique<wxTranslations>();
        translations->SetLoader(new OtherWords);
        translations->SetLanguage("de");
        ASSERT_TRUE(translations->AddCatalog("other"));
        wxTranslations::Set(translations.release());
    }
    wxMsgCatalog* LoadCatalog(const wxString& domain, const wxString&) override {
        const std::string words =
            test::messageCatalog({{"Play", "Los"}, {"Pause", "Halt"}, {"AI", "KI"}, {"NO AI", "ohne KI"}});
        return wxMsgCatalog::CreateFromData(wxScopedCharBuffer::CreateNonOwned(words.data(), words.size()),
                                            domain);
    }
    wxArrayString GetAvailableTranslations(const wxString&) const override {
        wxArrayString languages;
        languages.Add("de");
        return languages;
    }
};

TEST_F(Controls, TextsAreThoseOfTheLanguageThatTheControlsWereMadeIn) {
    OtherWords::use();
    EXPECT_EQ(_("Pause"), "Halt");
    controls.showPlayState(Playing);
    EXPECT_EQ(tipAt(16), "Pause");
    controls.showPlayState(Stopped);
    EXPECT_EQ(tipAt(16), "Play");
    controls.setAiAvailable(true);
    EXPECT_EQ(tipAt(590), "AI");
    wxTranslations::Set(nullptr);
}

TEST_F(Controls, AiButtonSaysAndShowsWhetherThereIsADetection) {
    click(590);
    EXPECT_EQ(detections, 0);
    controls.setAiAvailable(true);
    EXPECT_EQ(tipAt(590), "AI");
    click(590);
    EXPECT_EQ(detections, 1);
    controls.setAiAvailable(false);
    EXPECT_EQ(tipAt(590), "NO AI");
    click(590);
    EXPECT_EQ(detections, 1);
}

} // namespace
