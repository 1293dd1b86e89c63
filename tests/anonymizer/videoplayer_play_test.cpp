#include <algorithm>
#include <future>
#include <mutex>
#include <optional>

#include <gtest/gtest.h>

#include "support/player_fixture.h"
#include "videoplayerthread.h"

namespace {

using Lines = test::EventList::Lines;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

class VideoPlayerPlay : public test::PlayerTest {
protected:
    /// Opens and shows frame `frame`; `events` is empty then.
    void openAt(int frame) {
        openAndWait();
        player->seek(frame);
        ASSERT_TRUE(events.waitFor("Stopped"));
        events.clear();
    }
    /// Plays from frame 1 to the end and returns what was slept, one entry per frame that slept.
    std::vector<int64_t> sleepsOf(int fps, nanoseconds perFrame, int frames = 4) {
        renew();
        events.clear();
        sleeps.clear();
        decoder = std::make_shared<test::ScriptedDecoder>(frames);
        decoder->onConvert = [this, perFrame](const pxl::Image&) { now += perFrame; };
        openAt(1);
        player->play(fps);
        EXPECT_TRUE(events.waitFor("Stopped"));
        player.reset();
        return sleeps;
    }
    std::ptrdiff_t countLog(const std::string& line) const {
        const auto lines = log.lines(wxLOG_Message);
        return std::count(lines.begin(), lines.end(), line);
    }
};

TEST_F(VideoPlayerPlay, AFrameWithoutMemoryIsLeftOutAndSaysSo) {
    decoder->onConvert = [this](const pxl::Image&) {
        if (decoder->frameIndex() == 8)
            throw std::bad_alloc();
    };
    openAt(6);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.lines(), (Lines{"Playing", "frame 7", "frame 9", "frame 10", "Stopped"}));
    EXPECT_EQ(log.lines(wxLOG_Error), (Lines{"[VideoPlayerThread] No memory for a frame of 4 x 2"}));
}

TEST_F(VideoPlayerPlay, BeforeAnySeekItStopsAtOnce) {
    openAndWait();
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.lines(), (Lines{"Playing", "Stopped"}));
}

TEST_F(VideoPlayerPlay, PlaysToTheEndAndStopsByItself) {
    openAt(6);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.lines(), (Lines{"Playing", "frame 7", "frame 8", "frame 9", "frame 10", "Stopped"}));
    EXPECT_FALSE(player->isPlaying());
    EXPECT_TRUE(log.contains("[VideoPlayer] play 25fps"));
    EXPECT_TRUE(log.contains("[VideoPlayerThread] Play"));
    EXPECT_FALSE(log.contains("[VideoPlayerThread] Stop Play"));
}

TEST_F(VideoPlayerPlay, OneFrameVideoStopsAtOnce) {
    decoder = std::make_shared<test::ScriptedDecoder>(1);
    openAt(1);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.lines(), (Lines{"Playing", "Stopped"}));
}

TEST_F(VideoPlayerPlay, PlayingIsTrueInTheLoopAndFalseBeforeStoppedIsReported) {
    std::vector<std::string> seen;
    onState = [&](PlayState state) {
        seen.push_back(test::stateName(state) + (player->isPlaying() ? " playing" : " not playing"));
    };
    onFrame = [&](VideoPlayer::Frame& frame) {
        if (frame.index == 9)
            seen.push_back(player->isPlaying() ? "9 playing" : "9 not playing");
    };
    openAt(8);
    EXPECT_FALSE(player->isPlaying());
    seen.clear();
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped"));
    player.reset();
    EXPECT_EQ(seen, (Lines{"Playing playing", "9 playing", "Stopped not playing"}));
}

TEST_F(VideoPlayerPlay, SeekWhilePlayingEndsPlayingAndIsServed) {
    std::vector<bool> playingAtStop;
    onState = [&](PlayState state) {
        if (state == Stopped)
            playingAtStop.push_back(player->isPlaying());
    };
    onFrame = [this](VideoPlayer::Frame& frame) {
        if (frame.index == 3)
            player->seek(8);
    };
    openAt(2);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_EQ(events.lines(), (Lines{"Playing", "frame 3", "Stopped", "Seeking", "frame 8", "Stopped"}));
    player.reset();
    EXPECT_EQ(playingAtStop, (std::vector<bool>{false, false, false}));
    EXPECT_EQ(countLog("[VideoPlayerThread] Stop Play"), 0);
}

TEST_F(VideoPlayerPlay, StopEndsTheLoopBeforeItReturns) {
    decoder->endless = true;
    openAt(1);
    player->play(100000);
    ASSERT_TRUE(events.waitFor("frame 5"));
    player->stop();
    EXPECT_FALSE(player->isPlaying());
    const int64_t decoded = decoder->countCalls("next");
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(decoder->countCalls("next"), decoded);
    EXPECT_EQ(countLog("[VideoPlayer] stop"), 1);
    EXPECT_EQ(countLog("[VideoPlayerThread] Stop Play"), 1);
    EXPECT_EQ(countLog("[VideoPlayerThread] Stop"), 0);
}

TEST_F(VideoPlayerPlay, StopWhileIdleReturnsAtOnceAndSaysSo) {
    openAt(1);
    player->stop();
    player->seek(2);
    ASSERT_TRUE(events.waitFor("frame 2"));
    EXPECT_EQ(countLog("[VideoPlayerThread] Stop"), 1);
    EXPECT_EQ(countLog("[VideoPlayerThread] Stop Play"), 0);
}

TEST_F(VideoPlayerPlay, StopFromACallbackOnlyAsks) {
    onFrame = [this](VideoPlayer::Frame& frame) {
        if (frame.index == 3)
            player->stop();
    };
    openAt(2);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.lines(), (Lines{"Playing", "frame 3", "Stopped"}));
}

TEST_F(VideoPlayerPlay, PlayWhilePlayingChangesTheRateOnly) {
    onFrame = [this](VideoPlayer::Frame& frame) {
        if (frame.index == 4)
            player->play(100);
    };
    openAt(2);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.lines(), (Lines{"Playing", "frame 3", "frame 4", "frame 5", "frame 6", "frame 7",
                                     "frame 8", "frame 9", "frame 10", "Stopped"}));
    player.reset();
    EXPECT_EQ(sleeps, (std::vector<int64_t>{40, 40, 10, 10, 10, 10, 10, 10}));
    EXPECT_EQ(countLog("[VideoPlayerThread] Play"), 1);
}

TEST_F(VideoPlayerPlay, OneWaitingPlayIsTakenPerFrame) {
    onFrame = [this](VideoPlayer::Frame& frame) {
        if (frame.index == 3) {
            player->play(100);
            player->play(50);
        }
    };
    decoder = std::make_shared<test::ScriptedDecoder>(6);
    openAt(2);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped"));
    player.reset();
    EXPECT_EQ(sleeps, (std::vector<int64_t>{40, 10, 20, 20}));
}

TEST_F(VideoPlayerPlay, PlayAfterAStopStartsAnew) {
    onFrame = [this](VideoPlayer::Frame& frame) {
        if (frame.index == 3) {
            player->stop();
            player->play(50);
        }
    };
    decoder = std::make_shared<test::ScriptedDecoder>(4);
    openAt(2);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_EQ(events.lines(), (Lines{"Playing", "frame 3", "Stopped", "Playing", "frame 4", "Stopped"}));
    EXPECT_EQ(countLog("[VideoPlayerThread] Play"), 2);
}

TEST_F(VideoPlayerPlay, CountOfTheSignalMayRunAheadOfTheQueue) {
    onFrame = [this](VideoPlayer::Frame& frame) {
        if (frame.index > 2 && frame.index < 10)
            player->play(25);
    };
    openAt(2);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.count("frame 10"), 1u);
    onFrame = {};
    player->seek(5);
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_EQ(events.lines().back(), "Stopped");
    EXPECT_EQ(events.count("frame 5"), 2u);
    EXPECT_EQ(events.count("Playing"), 1u);
}

TEST_F(VideoPlayerPlay, UnknownCommandEndsPlayingAndIsDropped) {
    VideoPlayerThread thread(&progress, {[this] { return now; }, [](int64_t) {}});
    thread.onState.set([this](PlayState state) { events.add(test::stateName(state)); });
    thread.onFrame.set([&](std::shared_ptr<VideoPlayer::Frame> frame) {
        events.add("frame " + std::to_string(frame->index));
        if (frame->index == 3)
            thread.post(playercommand::make(9));
    });
    thread.setDecoder(decoder);
    ASSERT_EQ(thread.Run(), wxTHREAD_NO_ERROR);
    thread.post(playercommand::make(playercommand::kSeek, 2));
    thread.post(playercommand::make(playercommand::kPlay, 25));
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_FALSE(thread.playing);
    thread.exitRequested = true;
    thread.Wait();
    EXPECT_EQ(playback(), (Lines{"Seeking", "frame 2", "Stopped", "Playing", "frame 3", "Stopped"}));
}

TEST_F(VideoPlayerPlay, FailedConversionDropsTheFrameAndPlaysOn) {
    decoder->failingConversions = {8};
    openAt(7);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.lines(), (Lines{"Playing", "frame 9", "frame 10", "Stopped"}));
    player.reset();
    EXPECT_EQ(sleeps, (std::vector<int64_t>{40, 40, 40}));
}

TEST_F(VideoPlayerPlay, PeriodIsAWholeNumberOfMilliseconds) {
    EXPECT_EQ(sleepsOf(25, nanoseconds(0)), (std::vector<int64_t>{40, 40, 40}));
    EXPECT_EQ(sleepsOf(30, nanoseconds(0)), (std::vector<int64_t>{33, 33, 33}));
    EXPECT_EQ(sleepsOf(1000, nanoseconds(0)), (std::vector<int64_t>{1, 1, 1}));
    EXPECT_EQ(sleepsOf(1001, nanoseconds(0)), (std::vector<int64_t>{}));
}

TEST_F(VideoPlayerPlay, TimeAFrameTookIsTakenOffTruncated) {
    EXPECT_EQ(sleepsOf(25, milliseconds(15)), (std::vector<int64_t>{25, 25, 25}));
    EXPECT_EQ(sleepsOf(25, nanoseconds(39999999)), (std::vector<int64_t>{1, 1, 1}));
    EXPECT_EQ(sleepsOf(25, milliseconds(40)), (std::vector<int64_t>{}));
}

TEST_F(VideoPlayerPlay, LateFrameIsShownAndNoTimeIsMadeUp) {
    decoder->onConvert = [this](const pxl::Image&) {
        if (decoder->frameIndex() == 4)
            now += milliseconds(500);
    };
    openAt(2);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.count("frame 4"), 1u);
    player.reset();
    EXPECT_EQ(sleeps, (std::vector<int64_t>{40, 40, 40, 40, 40, 40, 40})) << "seven of eight frames";
}

TEST_F(VideoPlayerPlay, RatesBelowOneAreOne) {
    EXPECT_EQ(sleepsOf(0, nanoseconds(0)), (std::vector<int64_t>{1000, 1000, 1000}));
    EXPECT_EQ(sleepsOf(-5, nanoseconds(0)), (std::vector<int64_t>{1000, 1000, 1000}));
    EXPECT_EQ(countLog("[VideoPlayer] play 1fps"), 2);
}

TEST_F(VideoPlayerPlay, RateZeroPostedToTheThreadItselfDoesNotDivide) {
    std::vector<int64_t> slept;
    VideoPlayerThread thread(&progress,
                             {[this] { return now; }, [&](int64_t duration) { slept.push_back(duration); }});
    thread.onState.set([this](PlayState state) { events.add(test::stateName(state)); });
    thread.setDecoder(decoder);
    ASSERT_EQ(thread.Run(), wxTHREAD_NO_ERROR);
    thread.post(playercommand::make(playercommand::kSeek, 9));
    thread.post(playercommand::make(playercommand::kPlay, 0));
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    thread.exitRequested = true;
    thread.Wait();
    EXPECT_EQ(slept, std::vector<int64_t>{1000});
}

TEST_F(VideoPlayerPlay, DestroyingThePlayerEndsPlaying) {
    decoder->endless = true;
    openAt(1);
    player->play(100000);
    ASSERT_TRUE(events.waitFor("frame 5"));
    player.reset();
    EXPECT_EQ(decoder->calls().back(), "close");
    EXPECT_EQ(events.count("Stopped"), 0u);
}

TEST_F(VideoPlayerPlay, DetachedReceiverIsNotCalledAgain) {
    decoder->endless = true;
    std::mutex canvasState;
    std::optional<int64_t> received = 0;
    player->setOnFrame([&](std::shared_ptr<VideoPlayer::Frame> frame) {
        const std::lock_guard<std::mutex> lock(canvasState);
        received.value() = frame->index;
        events.add("received");
    });
    openAndWait();
    player->seek(1);
    player->play(100000);
    ASSERT_TRUE(events.waitFor("received", 5));
    player->setOnFrame({});
    received.reset(); // a further call would fail on value()
    player->seek(3);
    ASSERT_TRUE(events.waitFor("Stopped", 3));
    player->stop();
}

TEST_F(VideoPlayerPlay, StopWaitsForACallbackThatWaitsForTheCanvas) {
    decoder->endless = true;
    std::mutex canvasState;
    player->setOnFrame([&](std::shared_ptr<VideoPlayer::Frame>) {
        const std::lock_guard<std::mutex> lock(canvasState);
        events.add("received");
    });
    openAndWait();
    player->seek(1);
    ASSERT_TRUE(events.waitFor("received"));
    {
        const std::lock_guard<std::mutex> lock(canvasState);
        player->play(25);
    }
    player->stop();
    EXPECT_FALSE(player->isPlaying());
}

/// A clock that runs backwards, so that the wait for the next frame has no end.
class EndlessPeriod : public test::PlayerTest {
protected:
    EndlessPeriod() {
        decoder->endless = true;
        player = std::make_unique<VideoPlayer>(
            &progress, VideoPlayer::Pacing{[this] { return now -= std::chrono::hours(1); }, {}});
        player->setOnFrame([this](std::shared_ptr<VideoPlayer::Frame> frame) {
            events.add("frame " + std::to_string(frame->index));
        });
        player->setOnState([this](PlayState state) { events.add(test::stateName(state)); });
        player->setOnReady([this] { events.add("ready"); });
        openAndWait();
        player->seek(1);
        player->play(1);
        EXPECT_TRUE(events.waitFor("frame 2"));
    }
    static bool ends(const std::function<void()>& action) {
        auto done = std::async(std::launch::async, action);
        return done.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    }
};

TEST_F(EndlessPeriod, StopDoesNotWaitForTheNextFrame) {
    ASSERT_TRUE(ends([this] { player->stop(); }));
    EXPECT_FALSE(player->isPlaying());
    EXPECT_EQ(events.count("frame 3"), 0u);
}

TEST_F(EndlessPeriod, SeekDoesNotWaitForTheNextFrame) {
    player->seek(7);
    EXPECT_TRUE(events.waitFor("frame 7"));
}

TEST_F(EndlessPeriod, EndOfThePlayerDoesNotWaitForTheNextFrame) {
    EXPECT_TRUE(ends([this] { player.reset(); }));
}

TEST_F(EndlessPeriod, NewRateWaitsForTheNextFrame) {
    player->play(2);
    // Seen by the play loop before the stop.
    player->stop();
    EXPECT_FALSE(player->isPlaying());
    EXPECT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_LE(events.count("frame 3"), 1u);
    EXPECT_EQ(events.count("frame 4"), 0u);
}

} // namespace
