#include <limits>

#include <gtest/gtest.h>

#include "support/player_fixture.h"
#include "videoplayerthread.h"

namespace {

using Lines = test::EventList::Lines;

class VideoPlayerPreProcess : public test::PlayerTest {};

TEST_F(VideoPlayerPreProcess, ReportsFramesOneHundredAndOneAndSoOn) {
    decoder = std::make_shared<test::ScriptedDecoder>(250);
    decoder->statedFrames = 260;
    open();
    ASSERT_TRUE(events.waitFor("ready"));
    EXPECT_EQ(events.lines(), (Lines{"start Please wait|Pre-processing /clip.mp4|260", "update 1|",
                                     "update 101|", "update 201|", "finish", "ready"}));
}

TEST_F(VideoPlayerPreProcess, MaximumIsTheCountFromBeforeTheScan) {
    decoder->statedFrames = 0;
    open();
    ASSERT_TRUE(events.waitFor("ready"));
    EXPECT_EQ(events.lines().front(), "start Please wait|Pre-processing /clip.mp4|0");
}

TEST_F(VideoPlayerPreProcess, AbsurdCountsAreCutToTheReportersRange) {
    decoder->statedFrames = std::numeric_limits<int64_t>::max();
    open();
    ASSERT_TRUE(events.waitFor("ready"));
    EXPECT_EQ(events.lines().front(), "start Please wait|Pre-processing /clip.mp4|2147483647");
    renew();
    events.clear();
    decoder = std::make_shared<test::ScriptedDecoder>();
    decoder->statedFrames = -1;
    open();
    ASSERT_TRUE(events.waitFor("ready"));
    EXPECT_EQ(events.lines().front(), "start Please wait|Pre-processing /clip.mp4|0");
}

TEST_F(VideoPlayerPreProcess, DescriptionIsStoredBeforeTheReadyCall) {
    decoder = std::make_shared<test::ScriptedDecoder>(7);
    decoder->statedFrames = 9;
    test::Gate gate;
    decoder->onScan = [&] { gate.pass(); };
    video::VideoInfo inReady;
    bool preprocessingInReady = false;
    onReady = [&] {
        inReady = player->info();
        preprocessingInReady = player->isPreprocessing();
    };
    open();
    EXPECT_TRUE(player->isPreprocessing());
    EXPECT_EQ(player->info().frameCount, 0);
    EXPECT_EQ(player->info().width, 0);
    EXPECT_TRUE(player->info().path.empty());
    gate.open();
    ASSERT_TRUE(events.waitFor("ready"));
    player->seek(1);
    ASSERT_TRUE(events.waitFor("frame 1"));
    EXPECT_FALSE(player->isPreprocessing());
    EXPECT_TRUE(preprocessingInReady);
    EXPECT_EQ(inReady.frameCount, 7);
    EXPECT_EQ(inReady.width, 4);
    EXPECT_EQ(inReady.height, 2);
    EXPECT_EQ(inReady.fps, 25.0);
    EXPECT_EQ(inReady.path, "/clip.mp4");
    EXPECT_FALSE(player->isUneven());
}

TEST_F(VideoPlayerPreProcess, RunsFromOpenUntilItIsDestroyed) {
    EXPECT_FALSE(player->isRunning());
    EXPECT_FALSE(player->isPreprocessing());
    openAndWait();
    EXPECT_TRUE(player->isRunning());
    wxString error;
    EXPECT_FALSE(player->open(std::make_shared<test::ScriptedDecoder>(), error));
    EXPECT_TRUE(player->isRunning());
    player.reset();
    EXPECT_EQ(decoder->calls().back(), "close");
    EXPECT_EQ(decoder->countCalls("close"), 1);
}

TEST_F(VideoPlayerPreProcess, NoStateIsReportedAtTheStart) {
    openAndWait();
    player->seek(1);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.lines(), (Lines{"Seeking", "frame 1", "Stopped"}));
}

TEST_F(VideoPlayerPreProcess, DestroyingThePlayerEndsTheScan) {
    decoder = std::make_shared<test::ScriptedDecoder>(std::numeric_limits<int64_t>::max());
    test::Gate scanning;
    decoder->onScanned = [&](int64_t done) {
        if (done == 1000)
            scanning.open();
    };
    open();
    ASSERT_TRUE(scanning.pass());
    player.reset();
    EXPECT_EQ(events.count("finish"), 1u);
    EXPECT_EQ(events.count("ready"), 0u) << "a scan cut short is no video";
    EXPECT_EQ(decoder->calls().back(), "close");
}

TEST_F(VideoPlayerPreProcess, StopReturnsAtOnceAndAPlayBeforeItShowsNothing) {
    openWithQueued([this] {
        player->play(25);
        player->stop();
        EXPECT_FALSE(player->isPlaying());
        EXPECT_TRUE(player->isPreprocessing());
        player->seek(3);
    });
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_EQ(playback(), (Lines{"Playing", "Stopped", "Seeking", "frame 3", "Stopped"}));
    EXPECT_EQ(decoder->countCalls("next"), 1);
    EXPECT_TRUE(log.contains("[VideoPlayerThread] Stop Play"));
}

TEST_F(VideoPlayerPreProcess, VideoWithoutFramesSurvivesEverything) {
    decoder = std::make_shared<test::ScriptedDecoder>(0);
    openAndWait();
    EXPECT_EQ(player->info().frameCount, 0);
    player->seek(1);
    ASSERT_TRUE(events.waitFor("Stopped", 1));
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    player->stop();
    EXPECT_EQ(events.lines(), (Lines{"Seeking", "Stopped", "Playing", "Stopped"}));
}

TEST_F(VideoPlayerPreProcess, VideoWithoutASizeShowsNothing) {
    decoder->width = 0;
    decoder->height = -3;
    openAndWait();
    player->seek(1);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.lines(), (Lines{"Seeking", "Stopped"}));
}

TEST_F(VideoPlayerPreProcess, CommandsToAPlayerThatIsNotOpenAreDropped) {
    player->play(25);
    player->seek(1);
    player->stop();
    openAndWait();
    player->seek(2);
    ASSERT_TRUE(events.waitFor("Stopped"));
    EXPECT_EQ(events.lines(), (Lines{"Seeking", "frame 2", "Stopped"}));
    EXPECT_TRUE(log.contains("[VideoPlayer] play 25fps"));
    EXPECT_TRUE(log.contains("[VideoPlayer] stop"));
}

TEST_F(VideoPlayerPreProcess, ThreadLogsItsBirthAndDeath) {
    openAndWait();
    player.reset();
    const auto lines = log.lines(wxLOG_Message);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front(), "[VideoPlayerThread] created");
    EXPECT_EQ(lines.back(), "[VideoPlayerThread] destroyed");
}

TEST_F(VideoPlayerPreProcess, WorksWithoutAnyCallback) {
    player->setOnFrame({});
    player->setOnState({});
    player->setOnReady({});
    test::Gate converted;
    decoder->onConvert = [&](const pxl::Image&) { converted.open(); };
    open();
    player->seek(1);
    EXPECT_TRUE(converted.pass());
}

TEST_F(VideoPlayerPreProcess, AnEndedPlayerHasNoThreadAndDoesNothingMore) {
    openAndWait();
    EXPECT_FALSE(player->canOpen());
    player->end();
    EXPECT_TRUE(log.contains("[VideoPlayerThread] destroyed"));
    player->setOnFrame([this](std::shared_ptr<VideoPlayer::Frame>) { events.add("late frame"); });
    player->setOnState({});
    player->setOnReady({});
    player->seek(1);
    player->play(25);
    player->stop();
    wxString error;
    EXPECT_FALSE(player->open(decoder, error));
    EXPECT_FALSE(player->open("/clip.mp4", error));
    EXPECT_EQ(error, "");
    EXPECT_FALSE(player->canOpen() || player->isRunning() || player->isPlaying() ||
                 player->isPreprocessing() || player->isSeekPending() || player->isUneven());
    EXPECT_EQ(player->info().frameCount, 0);
    player->end();
    EXPECT_EQ(events.count("late frame"), 0u);
}

TEST_F(VideoPlayerPreProcess, AnUnusedPlayerEndsAtOnce) {
    EXPECT_TRUE(player->canOpen());
    player->end();
    EXPECT_TRUE(log.contains("[VideoPlayerThread] destroyed"));
    EXPECT_FALSE(player->canOpen());
}

TEST_F(VideoPlayerPreProcess, TheThreadLetsGoOfTheDecoderBeforeItsCallbacks) {
    std::vector<std::string> gone;
    // Noted when the last holder lets go.
    const auto noting = [&gone](const char* name) {
        return std::shared_ptr<void>(nullptr, [&gone, name](void*) { gone.emplace_back(name); });
    };
    {
        VideoPlayerThread thread(&progress, {});
        thread.setDecoder(
            std::shared_ptr<video::Decoder>(decoder.get(), [held = noting("decoder")](void*) {}));
        thread.onFrame.set([held = noting("onFrame")](std::shared_ptr<VideoPlayer::Frame>) {});
        thread.onReady.set([held = noting("onReady")] {});
        thread.onState.set([held = noting("onState")](PlayState) {});
    }
    EXPECT_EQ(gone, (std::vector<std::string>{"decoder", "onState", "onReady", "onFrame"}));
    EXPECT_EQ(log.lines().back(), "[VideoPlayerThread] destroyed");
}

} // namespace
