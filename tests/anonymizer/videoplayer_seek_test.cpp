#include <algorithm>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/player_fixture.h"
#include "videoplayerthread.h"

namespace {

using Lines = test::EventList::Lines;

class VideoPlayerSeek : public test::PlayerTest {};

TEST(PlayerCommand, TypeIsInTheLowHalfAndTheSignedArgumentInTheHighHalf) {
    using namespace playercommand;
    EXPECT_EQ(make(kSeek, 7), 0x0000000700000001u);
    EXPECT_EQ(make(kPlay, -2), 0xFFFFFFFE00000002u);
    EXPECT_EQ(make(kStop), 3u);
    for (const int32_t value : {0, 1, -1, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(argument(make(kSeek, value)), value);
        EXPECT_EQ(type(make(kSeek, value)), uint32_t{kSeek});
    }
}

TEST_F(VideoPlayerSeek, TenSeeksInARowGiveOneFrameAndOneLine) {
    openWithQueued([this] {
        for (int frame = 1; frame <= 10; ++frame)
            player->seek(frame);
    });
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(playback(), (Lines{"Seeking", "frame 10", "Stopped"}));
    player.reset();
    const auto lines = log.lines(wxLOG_Message);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "[VideoPlayerThread] So many seeks, skipping 9"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "[VideoPlayerThread] Seek to frame 10"), 1);
    EXPECT_EQ(decoder->countCalls("seek"), 1);
}

TEST_F(VideoPlayerSeek, PositionIsTheFrameDecodedLastWhetherOrNotItWasDelivered) {
    EXPECT_EQ(player->position(), 0);
    decoder->failingConversions = {7};
    decoder->failingNexts = {8};
    decoder->failingSeeks = {9};
    openAndWait();
    EXPECT_EQ(player->position(), 0) << "the scan has decoded nothing";
    std::ptrdiff_t ended = 0;
    for (const auto& [frame, position] :
         std::vector<std::pair<int, int64_t>>{{3, 3}, {7, 7}, {8, 0}, {3, 3}, {9, 0}, {4, 4}, {11, 0}}) {
        player->seek(frame);
        ASSERT_TRUE(events.waitFor("Stopped", ++ended));
        EXPECT_EQ(player->position(), position) << frame;
    }
    player->seek(4);
    ASSERT_TRUE(events.waitFor("Stopped", ++ended));
    std::vector<int64_t> positions;
    onFrame = [&](VideoPlayer::Frame&) { positions.push_back(player->position()); };
    onState = [&](PlayState) { positions.push_back(player->position()); };
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped", ++ended));
    EXPECT_EQ(positions, (std::vector<int64_t>{4, 5, 6, 0})) << "frame 8 could not be decoded";
    player->end();
    EXPECT_EQ(player->position(), 0);
}

TEST_F(VideoPlayerSeek, TwoSeeksCoalesceAlready) {
    openWithQueued([this] {
        player->seek(4);
        player->seek(5);
    });
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(playback(), (Lines{"Seeking", "frame 5", "Stopped"}));
    EXPECT_TRUE(log.contains("[VideoPlayerThread] So many seeks, skipping 1"));
}

TEST_F(VideoPlayerSeek, OneSeekSkipsNothing) {
    openAndWait();
    player->seek(4);
    ASSERT_TRUE(events.waitFor("Stopped"));
    player.reset();
    for (const std::string& line : log.lines())
        EXPECT_EQ(line.find("So many"), std::string::npos) << line;
    EXPECT_TRUE(log.contains("[VideoPlayerThread] Seek to frame 4"));
}

TEST_F(VideoPlayerSeek, OnlyARunAtTheFrontCoalesces) {
    openWithQueued([this] {
        player->seek(2);
        player->seek(3);
        player->stop();
        player->seek(4);
    });
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_EQ(playback(), (Lines{"Seeking", "frame 3", "Stopped", "Seeking", "frame 4", "Stopped"}));
    EXPECT_TRUE(log.contains("[VideoPlayerThread] So many seeks, skipping 1"));
    EXPECT_TRUE(log.contains("[VideoPlayerThread] Stop"));
}

TEST_F(VideoPlayerSeek, DecodedFrameIsDroppedWhenANewerSeekWaits) {
    decoder->onNext = [this](int64_t frame) {
        if (frame == 5)
            player->seek(7);
    };
    openAndWait();
    player->seek(5);
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_EQ(events.lines(), (Lines{"Seeking", "Stopped", "Seeking", "frame 7", "Stopped"}));
    EXPECT_EQ(decoder->countCalls("convert"), 1) << "the stale picture is not converted";
    player->seek(8);
    ASSERT_TRUE(events.waitFor("Stopped", 3));
    EXPECT_EQ(events.lines().back(), "Stopped");
    EXPECT_EQ(events.count("frame 8"), 1u);
}

TEST_F(VideoPlayerSeek, DroppedFrameSignalsTheNewerSeekOnceMore) {
    // Without a limit on the wait, only a signal ends it.
    VideoPlayerThread thread(&progress, {[this] { return now; }, [](int64_t) {},
                                         [this](wxSemaphore& signal, unsigned long) {
                                             events.add("idle");
                                             return signal.Wait() == wxSEMA_NO_ERROR;
                                         }});
    thread.onFrame.set([this](std::shared_ptr<VideoPlayer::Frame> frame) {
        events.add("frame " + std::to_string(frame->index));
    });
    decoder->onNext = [&](int64_t frame) {
        if (frame == 5)
            thread.post(playercommand::make(playercommand::kSeek, 7));
    };
    thread.setDecoder(decoder);
    ASSERT_EQ(thread.Run(), wxTHREAD_NO_ERROR);
    thread.post(playercommand::make(playercommand::kSeek, 5));
    EXPECT_TRUE(events.waitFor("idle", 4)) << "one signal more than commands";
    thread.exitRequested = true;
    thread.wake();
    thread.Wait();
    EXPECT_EQ(playback(), (Lines{"idle", "idle", "frame 7", "idle", "idle"}));
}

TEST_F(VideoPlayerSeek, OtherWaitingCommandsDoNotDropTheFrame) {
    decoder->onNext = [this](int64_t frame) {
        if (frame == 9)
            player->play(25);
    };
    openAndWait();
    player->seek(9);
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_EQ(events.lines(), (Lines{"Seeking", "frame 9", "Stopped", "Playing", "frame 10", "Stopped"}));
}

TEST_F(VideoPlayerSeek, FailuresDeliverNothingAndReturnToIdle) {
    decoder->failingSeeks = {2};
    decoder->failingNexts = {3};
    decoder->failingConversions = {4};
    openAndWait();
    int stops = 0;
    for (const int frame : {2, 3, 4, 0, 11, -3}) {
        player->seek(frame);
        ASSERT_TRUE(events.waitFor("Stopped", ++stops));
    }
    for (const std::string& line : events.lines())
        EXPECT_TRUE(line == "Seeking" || line == "Stopped") << line;
    EXPECT_EQ(decoder->countCalls("next"), 2) << "only after a successful seek";
    EXPECT_EQ(decoder->countCalls("convert"), 1) << "only after a successful decode";
    EXPECT_EQ(decoder->countCalls("seek -3"), 1);
    player->seek(10);
    EXPECT_TRUE(events.waitFor("frame 10"));
    player.reset();
    EXPECT_TRUE(log.lines(wxLOG_Error).empty());
}

TEST_F(VideoPlayerSeek, PictureHasTheVideosSizeAndIsZeroBeforeTheConversion) {
    bool zero = true;
    decoder->width = 6;
    decoder->height = 3;
    decoder->onConvert = [&](const pxl::Image& target) {
        zero = zero && std::all_of(target.pixels, target.pixels + target.pixelCount(),
                                   [](uint32_t pixel) { return pixel == 0; });
    };
    int32_t width = 0, height = 0;
    uint32_t first = 0;
    onFrame = [&](VideoPlayer::Frame& frame) {
        width = frame.image.width;
        height = frame.image.height;
        first = frame.image.pixels[0];
    };
    openAndWait();
    player->seek(4);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_TRUE(zero);
    EXPECT_EQ(width, 6);
    EXPECT_EQ(height, 3);
    EXPECT_EQ(first, 0xFF000004u);
}

TEST_F(VideoPlayerSeek, EveryFrameHasABufferOfItsOwnAndOutlivesThePlayer) {
    std::vector<std::shared_ptr<VideoPlayer::Frame>> kept;
    player->setOnFrame([&](std::shared_ptr<VideoPlayer::Frame> frame) { kept.push_back(std::move(frame)); });
    openAndWait();
    for (int frame = 1; frame <= 3; ++frame) {
        player->seek(frame);
        ASSERT_TRUE(events.waitFor("Stopped", frame));
    }
    player.reset();
    ASSERT_EQ(kept.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(kept[i]->index, static_cast<int64_t>(i) + 1);
        EXPECT_EQ(kept[i]->image.pixels[0], 0xFF000001u + i);
        EXPECT_EQ(kept[i].use_count(), 1);
    }
}

TEST_F(VideoPlayerSeek, UnknownCommandsAreIgnored) {
    VideoPlayerThread thread(&progress, {[this] { return now; }, [](int64_t) {}});
    thread.onState.set([this](PlayState state) { events.add("thread " + test::stateName(state)); });
    thread.setDecoder(decoder);
    ASSERT_EQ(thread.Run(), wxTHREAD_NO_ERROR);
    thread.post(playercommand::make(7, 1));
    thread.post(playercommand::make(0));
    thread.post(playercommand::make(playercommand::kSeek, 1));
    ASSERT_TRUE(events.waitFor("thread Stopped"));
    thread.exitRequested = true;
    thread.Wait();
    EXPECT_EQ(events.count("thread Seeking"), 1u);
    thread.post(playercommand::make(playercommand::kSeek, 1));
    EXPECT_FALSE(thread.IsAlive());
}

TEST_F(VideoPlayerSeek, SeekOnItsWayLearnsOfTheNewerOneAtOnce) {
    std::vector<bool> seen;
    VideoPlayerThread thread(&progress, {[this] { return now; }, [](int64_t) {}});
    const auto look = [&] { seen.push_back(thread.newerSeekWaits); };
    const auto post = [&](uint32_t type, int32_t argument) {
        thread.post(playercommand::make(type, argument));
        look();
    };
    decoder->onNext = [&](int64_t frame) {
        look();
        if (frame == 4)
            post(playercommand::kSeek, 6);
        if (frame == 6) {
            post(playercommand::kStop, 0);
            post(playercommand::kSeek, 8); // behind another command: frame 6 is still shown
        }
        if (frame == 9)
            post(playercommand::kSeek, 2); // while playing
    };
    thread.onFrame.set([this](std::shared_ptr<VideoPlayer::Frame> frame) {
        events.add("frame " + std::to_string(frame->index));
    });
    thread.setDecoder(decoder);
    ASSERT_EQ(thread.Run(), wxTHREAD_NO_ERROR);
    thread.post(playercommand::make(playercommand::kSeek, 4));
    ASSERT_TRUE(events.waitFor("frame 8"));
    thread.post(playercommand::make(playercommand::kPlay, 25));
    ASSERT_TRUE(events.waitFor("frame 2"));
    thread.exitRequested = true;
    thread.Wait();
    EXPECT_EQ(playback(), (Lines{"frame 6", "frame 8", "frame 9", "frame 2"}));
    EXPECT_EQ(seen, (std::vector<bool>{false, true, false, false, false, false, false, false, false}));
}

TEST_F(VideoPlayerSeek, IdleThreadWaitsForAtMost200Milliseconds) {
    std::vector<unsigned long> waits;
    VideoPlayerThread thread(&progress, {[this] { return now; }, [](int64_t) {},
                                         [&](wxSemaphore& signal, unsigned long milliseconds) {
                                             waits.push_back(milliseconds);
                                             // Nobody signals: the wait itself has to end.
                                             thread.exitRequested = true;
                                             return signal.WaitTimeout(milliseconds) == wxSEMA_NO_ERROR;
                                         }});
    thread.setDecoder(decoder);
    ASSERT_EQ(thread.Run(), wxTHREAD_NO_ERROR);
    thread.Wait();
    EXPECT_EQ(waits, std::vector<unsigned long>{200});
    EXPECT_EQ(decoder->calls().back(), "close");
}

TEST_F(VideoPlayerSeek, IdleThreadNoticesTheExitFlagByItself) {
    VideoPlayerThread thread(&progress, {[this] { return now; }, [](int64_t) {}});
    thread.onReady.set([this] { events.add("thread ready"); });
    thread.setDecoder(decoder);
    ASSERT_EQ(thread.Run(), wxTHREAD_NO_ERROR);
    ASSERT_TRUE(events.waitFor("thread ready"));
    thread.exitRequested = true;
    thread.Wait();
    EXPECT_EQ(decoder->calls().back(), "close");
}

TEST_F(VideoPlayerSeek, IsPendingUntilTheLastFrameAskedForIsThere) {
    std::vector<std::string> seen;
    const auto note = [&](const std::string& when) {
        seen.push_back(when + (player->isSeekPending() ? " pending" : " done"));
    };
    // Comes too late to replace the first one.
    decoder->onConvert = [this](const pxl::Image&) {
        if (decoder->frameIndex() == 4)
            player->seek(5);
    };
    onFrame = [&](VideoPlayer::Frame& frame) { note(std::to_string(frame.index)); };
    onState = [&](PlayState state) { note(test::stateName(state)); };
    openAndWait();
    EXPECT_FALSE(player->isSeekPending());
    player->seek(4);
    EXPECT_TRUE(player->isSeekPending() || events.count("frame 4") == 1);
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    player.reset();
    EXPECT_EQ(seen, (Lines{"Seeking pending", "4 pending", "Stopped pending", "Seeking pending", "5 pending",
                           "Stopped pending"}))
        << "whoever waits for its end must not miss the state";
}

TEST_F(VideoPlayerSeek, AFailedOneIsNotPendingForEver) {
    openAndWait();
    player->seek(999);
    ASSERT_TRUE(events.waitFor("Stopped"));
    while (player->isSeekPending()) // ends once the state has been told
        std::this_thread::yield();
}

} // namespace
