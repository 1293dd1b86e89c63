#include <mutex>

#include <gtest/gtest.h>

#include "support/player_fixture.h"

namespace {

constexpr int kRounds = 200;

/// What a window does to its player, over and over: a receiver with a lock of its own is attached, the player
/// works, the receiver lets go and dies, or the player dies first.
class VideoPlayerRounds : public test::PlayerTest {
protected:
    struct Receiver {
        std::mutex mutex;
        std::shared_ptr<VideoPlayer::Frame> frame;
        PlayState state = Stopped;
        bool alive = true;
    };

    void attach(const std::shared_ptr<Receiver>& receiver) {
        // By reference, as a window would: a call after the detachment is a use after free.
        player->setOnFrame([this, raw = receiver.get()](std::shared_ptr<VideoPlayer::Frame> frame) {
            const std::lock_guard<std::mutex> lock(raw->mutex);
            ASSERT_TRUE(raw->alive);
            raw->frame = std::move(frame);
            events.add("received");
        });
        player->setOnState([raw = receiver.get()](PlayState state) {
            const std::lock_guard<std::mutex> lock(raw->mutex);
            ASSERT_TRUE(raw->alive);
            raw->state = state;
        });
    }
    void begin() {
        renew();
        events.clear();
        decoder = std::make_shared<test::ScriptedDecoder>(300);
        decoder->endless = true;
    }
};

TEST_F(VideoPlayerRounds, ClosedWhilePreProcessing) {
    for (int round = 0; round < kRounds; ++round) {
        begin();
        open();
        player->play(25);
    }
    player.reset();
    SUCCEED();
}

TEST_F(VideoPlayerRounds, ClosedWhileSeeking) {
    for (int round = 0; round < kRounds; ++round) {
        begin();
        auto receiver = std::make_shared<Receiver>();
        attach(receiver);
        open();
        ASSERT_TRUE(events.waitFor("ready"));
        for (int frame = 1; frame <= 20; ++frame)
            player->seek(frame);
        if (round % 2 == 0) {
            ASSERT_TRUE(events.waitFor("received"));
        }
        player.reset();
        receiver->alive = false;
    }
}

TEST_F(VideoPlayerRounds, ClosedWhilePlaying) {
    for (int round = 0; round < kRounds; ++round) {
        begin();
        auto receiver = std::make_shared<Receiver>();
        attach(receiver);
        open();
        player->seek(1);
        player->play(100000);
        ASSERT_TRUE(events.waitFor("received", 1 + round % 5));
        player.reset();
        receiver->alive = false;
    }
}

TEST_F(VideoPlayerRounds, ReceiverDestroyedWhilePlaying) {
    for (int round = 0; round < kRounds; ++round) {
        begin();
        auto receiver = std::make_shared<Receiver>();
        attach(receiver);
        open();
        player->seek(1);
        player->play(100000);
        ASSERT_TRUE(events.waitFor("received", 1 + round % 5));
        player->setOnFrame({});
        player->setOnState({});
        receiver->alive = false;
        receiver.reset();
        if (round % 2 == 0)
            player->stop();
    }
    player.reset();
}

TEST_F(VideoPlayerRounds, StoppedAndStartedOver) {
    begin();
    auto receiver = std::make_shared<Receiver>();
    attach(receiver);
    open();
    ASSERT_TRUE(events.waitFor("ready"));
    player->seek(1);
    for (int round = 0; round < kRounds; ++round) {
        player->play(100000);
        if (round % 3 == 0) {
            ASSERT_TRUE(events.waitFor("received", round));
        } else if (round % 3 == 1) {
            player->seek(round + 1);
        }
        player->stop();
    }
    player->setOnFrame([this](std::shared_ptr<VideoPlayer::Frame> frame) {
        events.add("last " + std::to_string(frame->index));
    });
    player->seek(300);
    EXPECT_TRUE(events.waitFor("last 300"));
    EXPECT_FALSE(player->isPlaying());
    player.reset();
}

} // namespace
