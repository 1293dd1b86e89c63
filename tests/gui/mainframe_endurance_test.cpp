/// The same again and again in one window; tests/endurance/run has the full length.
#include "commands.h"
#include "mainframe_fixture.h"
#include "support/footprint.h"

namespace {

/// The graphics driver and the GUI library keep some of what they once needed.
constexpr long kSlack = 8192;

class MainFrameEndurance : public test::MainFrameTest {};

} // namespace

TEST_F(MainFrameEndurance, OpeningAndShowingLeavesNothingBehind) {
    const char* const clips[] = {"two_frames.mp4", "odd_321x181.mov", "one_frame.mp4", "variable_rate.mp4"};
    test::FootprintWatch watch("window", 200, 8);
    for (int round = 0; round < watch.rounds(); ++round) {
        openReady(clips[round % 4]);
        addBlur(1);
        test::runPending();
        watch.look(round);
    }
    watch.expectFlat(kSlack);
}

TEST_F(MainFrameEndurance, ExportingLeavesNothingBehind) {
    openReady("two_frames.mp4");
    test::FootprintWatch watch("wexports", 50, 6);
    for (int round = 0; round < watch.rounds(); ++round) {
        frame_->exportTo(wxString::FromUTF8(folder_.file("out.mp4")));
        ASSERT_TRUE(test::runUntil([this] { return !frame_->refusesVideos(); }));
        test::runPending();
        watch.look(round);
    }
    EXPECT_TRUE(dialogs_.boxes.empty());
    watch.expectFlat(kSlack);
}
