#include "support/player_fixture.h"

#include "canvaseffects.h"
#include "canvasinteraction.h"
#include "switches.h"

namespace {

// The canvas's rules on a player: what a recording stores of a video with frames that cannot be converted.

constexpr int64_t kMoved = 6;
constexpr int64_t kReleased = 20;

struct Stored {
    int64_t frame;
    int32_t left;
    bool operator==(const Stored& other) const { return frame == other.frame && left == other.left; }
};
std::ostream& operator<<(std::ostream& out, const Stored& stored) {
    return out << stored.frame << " at " << stored.left;
}

class CanvasPlaying : public test::PlayerTest, private CanvasActions {
protected:
    CanvasPlaying() {
        decoder = std::make_shared<test::ScriptedDecoder>(30);
        decoder->width = 320;
        decoder->height = 240;
        blurtrack::clear();
        blurtrack::initFrames(30);
        switches::brushSize = 32;
        switches::playbackSpeed = 1;
        canvas_.resize({320, 240 + view::kControlBarHeight});
        player->setOnFrame([this](std::shared_ptr<VideoPlayer::Frame> frame) {
            const int64_t index = frame->index;
            delivered_ = index;
            canvas_.deliver(std::move(frame));
            events.add("frame " + std::to_string(index));
        });
        onState = [this](PlayState state) { canvas_.setPlayState(state, player->position()); };
        // The play loop stands still after these two.
        onSleep = [this] {
            if (delivered_ == kMoved)
                moved_.pass();
            else if (delivered_ == kReleased)
                released_.pass();
        };
    }
    ~CanvasPlaying() override {
        moved_.open();
        released_.open();
        player->end();
        blurtrack::clear();
    }

    void mouse(CanvasMouse::Kind kind, int x) {
        const bool held = kind != CanvasMouse::LeftUp && recorded_ != blurtrack::kNoBlurId;
        carryOut(canvas_.figureOutState({kind, {x, 100}, 0, false, held}, player->isPlaying()), *this);
    }
    /// Shows frame 1, presses there and holds until the video plays.
    void startRecording() {
        openAndWait();
        player->seek(1);
        ASSERT_TRUE(events.waitFor("Stopped"));
        mouse(CanvasMouse::Motion, 100);
        recorded_ = upcomingBrushId() - 1;
        pressAndHold(100);
    }
    void pressAndHold(int x) {
        mouse(CanvasMouse::LeftDown, x);
        // The seek may not quite have ended yet: the hold begins anew then.
        while (holding_) {
            holding_ = false;
            const bool seekPending = player->isSeekPending();
            carryOut(canvas_.onHold(true, 25, seekPending, player->position()), *this);
        }
        ASSERT_TRUE(canvas_.recording());
    }
    std::vector<Stored> stored() const {
        std::vector<Stored> found;
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        for (const auto& [frame, entries] : blurtrack::store().frames)
            for (const auto& entry : entries)
                if (entry.id == recorded_)
                    found.push_back({frame, entry.x});
        return found;
    }
    /// What the brush was on: one rectangle on each frame, those that were not converted with the square of
    /// the next one.
    static std::vector<Stored> expected() {
        std::vector<Stored> all;
        for (int64_t frame = 1; frame <= kReleased; ++frame)
            all.push_back({frame, frame <= kMoved ? 84 : 134});
        return all;
    }

    CanvasInteraction canvas_;
    int64_t recorded_ = blurtrack::kNoBlurId;
    test::Gate moved_;
    test::Gate released_;

private:
    void stopHoldTimer() override { holding_ = false; }
    void startHoldTimer() override { holding_ = true; }
    void clearLayoutHover() override {}
    void play(int fps) override { player->play(fps); }
    void tellHint(const CanvasEffects::Hint&) override {}
    void stop() override {
        released_.open();
        player->stop();
    }
    void seek(int64_t frame) override { player->seek(static_cast<int>(frame)); }
    void repaint() override {}
    void tellBlurLost() override {}

    bool holding_ = false;
    /// The playback thread's.
    int64_t delivered_ = 0;
};

TEST_F(CanvasPlaying, EveryFrameOfARecordingHasOneRectangleThoughConversionsFail) {
    decoder->failingConversions = {2, 7, 8, 15, 19, 21};
    startRecording();
    ASSERT_TRUE(events.waitFor("frame " + std::to_string(kMoved)));
    mouse(CanvasMouse::Motion, 150);
    moved_.open();
    const std::string last = "frame " + std::to_string(kReleased);
    ASSERT_TRUE(events.waitFor(last));
    mouse(CanvasMouse::LeftUp, 150);
    ASSERT_TRUE(events.waitFor(last, 2)) << "the picture shows the last recorded frame";

    EXPECT_EQ(stored(), expected());
    EXPECT_EQ(events.count("frame 7"), 0u);
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    const auto span = blurtrack::spanOf(recorded_);
    ASSERT_TRUE(span);
    EXPECT_EQ(span->startFrame, 1);
    EXPECT_EQ(span->frameCount, kReleased);
    blurtrack::delBlur(recorded_, span->startFrame);
    for (const auto& [frame, entries] : blurtrack::store().frames)
        EXPECT_TRUE(entries.empty()) << "frame " << frame;
}

TEST_F(CanvasPlaying, ARecordingBeginsAtThePictureThoughTheDecoderStandsElsewhere) {
    decoder->failingConversions = {20};
    openAndWait();
    player->seek(1);
    ASSERT_TRUE(events.waitFor("Stopped"));
    recorded_ = 700;
    {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        for (int64_t frame = 1; frame <= 30; ++frame)
            blurtrack::addBlur(frame, {200, 84, 32, 32}, blurtrack::kBrushScore, recorded_);
    }
    player->seek(20);
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_EQ(player->position(), 20);
    ASSERT_EQ(canvas_.picture().frame->index, 1);
    mouse(CanvasMouse::Motion, 210);
    pressAndHold(210);
    mouse(CanvasMouse::Motion, 250);
    ASSERT_TRUE(events.waitFor("frame " + std::to_string(kMoved)));
    const std::vector<Stored> recorded = stored();
    ASSERT_EQ(recorded.size(), static_cast<std::size_t>(kMoved));
    for (std::size_t i = 0; i < recorded.size(); ++i)
        EXPECT_EQ(recorded[i].frame, static_cast<int64_t>(i) + 1);
    EXPECT_EQ(decoder->countCalls("seek 1"), 2);
}

TEST_F(CanvasPlaying, ARecordingHasTheSameRectanglesWhenTheBlursAreInUseMeanwhile) {
    decoder->failingConversions = {7, 8, 15};
    startRecording();
    ASSERT_TRUE(events.waitFor("frame " + std::to_string(kMoved)));
    {
        const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
        mouse(CanvasMouse::Motion, 150);
        moved_.open();
        ASSERT_TRUE(events.waitFor("frame " + std::to_string(kReleased)));
    }
    // The brush has gone on before anything is stored.
    mouse(CanvasMouse::Motion, 250);
    mouse(CanvasMouse::LeftUp, 250);
    EXPECT_EQ(stored(), expected());
    EXPECT_TRUE(log.lines(wxLOG_Error).empty());
}

} // namespace
