#include <filesystem>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "support/counter_clip.h"
#include "support/paths.h"
#include "support/player_fixture.h"
#include "support/temp_folder.h"

namespace {

wxString clip(const char* name) {
    return wxString::FromUTF8(test::mediaDir()) + "/" + wxString::FromUTF8(name);
}

/// A player on real files; events get "picture N index M" with the number read from the picture.
class VideoPlayerFile : public test::PlayerTest {
protected:
    VideoPlayerFile() {
        onFrame = [this](VideoPlayer::Frame& frame) {
            const int64_t number = counter_clip::readNumber(frame.image);
            if (number != frame.index)
                events.add("wrong picture " + std::to_string(number) + " at " + std::to_string(frame.index));
        };
    }
    void openClip(const char* name) {
        wxString error;
        ASSERT_TRUE(player->open(clip(name), error)) << error;
        ASSERT_TRUE(events.waitFor("ready"));
        events.clear();
    }
    void expectRightPictures() const {
        for (const std::string& line : events.lines())
            EXPECT_NE(line.compare(0, 5, "wrong"), 0) << line;
    }
};

TEST_F(VideoPlayerFile, SeeksDeliverExactlyTheirFrame) {
    openClip("bframes.mp4");
    EXPECT_EQ(player->info().frameCount, 248);
    EXPECT_EQ(player->info().width, 320);
    EXPECT_EQ(player->info().height, 180);
    EXPECT_FALSE(player->isUneven());
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> anyFrame(1, 248);
    std::vector<int> frames{1, 248, 1, 2, 50, 51, 52, 247};
    for (int i = 0; i < 12; ++i)
        frames.push_back(anyFrame(random));
    for (const int frame : frames) {
        events.clear();
        player->seek(frame);
        ASSERT_TRUE(events.waitFor("Stopped"));
        EXPECT_EQ(events.count("frame " + std::to_string(frame)), 1u) << frame;
        expectRightPictures();
    }
}

TEST_F(VideoPlayerFile, PlaysEveryFrameOnceInOrder) {
    openClip("plain.mp4");
    player->seek(1);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    test::EventList::Lines expected{"Seeking", "frame 1", "Stopped", "Playing"};
    for (int frame = 2; frame <= 250; ++frame)
        expected.push_back("frame " + std::to_string(frame));
    expected.push_back("Stopped");
    EXPECT_EQ(events.lines(), expected);
}

TEST_F(VideoPlayerFile, PlayingEndsWithoutTheFramesThatTheDecoderStillHolds) {
    openClip("bframes.mp4");
    player->seek(240);
    player->play(100);
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_EQ(events.lines(),
              (test::EventList::Lines{"Seeking", "frame 240", "Stopped", "Playing", "frame 241", "frame 242",
                                      "frame 243", "frame 244", "frame 245", "frame 246", "frame 247",
                                      "frame 248", "Stopped"}));
}

TEST_F(VideoPlayerFile, AFileThatIsCutWhileItPlaysEndsThere) {
    const test::TempFolder folder;
    const std::string path = folder.write("cut.mp4", test::readFile(clip("sample.mp4").utf8_string()));
    wxString error;
    ASSERT_TRUE(player->open(wxString::FromUTF8(path), error)) << error;
    ASSERT_TRUE(events.waitFor("ready"));
    events.clear();
    std::filesystem::resize_file(std::filesystem::u8path(path), 200000);
    player->seek(1);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Playing"));
    ASSERT_TRUE(events.waitFor("Stopped"));
    player->seek(static_cast<int>(player->info().frameCount));
    player->seek(1);
    ASSERT_TRUE(events.waitFor("frame 1"));
    EXPECT_EQ(events.count("frame " + std::to_string(player->info().frameCount)), 0u);
}

TEST_F(VideoPlayerFile, SeekStormEndsOnTheLastPosition) {
    openClip("gop_250.mp4");
    for (int frame = 1; frame <= 298; ++frame)
        player->seek(frame);
    ASSERT_TRUE(events.waitFor("frame 298"));
    ASSERT_TRUE(events.waitUntil([](const auto& lines) { return lines.back() == "Stopped"; }));
    expectRightPictures();
    test::EventList::Lines frames;
    for (const std::string& line : events.lines())
        if (line.compare(0, 6, "frame ") == 0)
            frames.push_back(line);
    EXPECT_EQ(frames.back(), "frame 298");
}

TEST_F(VideoPlayerFile, AbandonedSeeksLeaveTheNextOneExact) {
    for (const char* name : {"bframes.mp4", "open_gop.mp4", "fragmented.mp4", "mpeg4_bframes.mp4"}) {
        SCOPED_TRACE(name);
        renew();
        openClip(name);
        const int frames = static_cast<int>(player->info().frameCount);
        std::mt19937 random(7);
        std::uniform_int_distribution<int> anyFrame(1, frames);
        for (int round = 0; round < 30; ++round) {
            events.clear();
            player->seek(anyFrame(random));
            ASSERT_TRUE(events.waitFor("Seeking"));
            // Anywhere on the way of the first one.
            for (int turn = 0; turn < round * 200; ++turn)
                std::this_thread::yield();
            const int last = anyFrame(random);
            player->seek(last);
            ASSERT_TRUE(events.waitFor("frame " + std::to_string(last)));
            ASSERT_TRUE(events.waitUntil([](const auto& lines) { return lines.back() == "Stopped"; }));
            expectRightPictures();
        }
    }
}

TEST_F(VideoPlayerFile, RefusedFilesGiveTheirTextAndAnotherMayBeTried) {
    wxString error;
    EXPECT_FALSE(player->open(clip("no such file.mp4"), error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(player->isRunning());
    EXPECT_FALSE(player->open(clip("text.mp4"), error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(player->open(clip("audio_only.mp4"), error));
    EXPECT_TRUE(error.empty()) << "no text for files without a video stream, not the one of before";
    EXPECT_FALSE(player->isPreprocessing());
    openClip("one_frame.mp4");
    EXPECT_TRUE(player->isRunning());
}

TEST_F(VideoPlayerFile, OneFrameVideo) {
    openClip("one_frame.mp4");
    EXPECT_EQ(player->info().frameCount, 1);
    player->seek(1);
    player->seek(2);
    player->play(25);
    ASSERT_TRUE(events.waitFor("Playing"));
    ASSERT_TRUE(events.waitUntil([](const auto& lines) { return lines.back() == "Stopped"; }));
    expectRightPictures();
}

TEST_F(VideoPlayerFile, VideoThatNeverDeliversAFrame) {
    openClip("one_frame_bframes.mp4");
    EXPECT_EQ(player->info().frameCount, 0);
    player->seek(1);
    ASSERT_TRUE(events.waitFor("Stopped"));
    player->play(25);
    ASSERT_TRUE(events.waitFor("Stopped", 2));
    EXPECT_EQ(events.lines(), (test::EventList::Lines{"Seeking", "Stopped", "Playing", "Stopped"}));
}

TEST_F(VideoPlayerFile, TellsVariableRates) {
    openClip("variable_rate.mp4");
    EXPECT_TRUE(player->isUneven());
}

TEST_F(VideoPlayerFile, PathsInAnyScript) {
    openClip("пример видео/Клип 🎬.mp4");
    EXPECT_EQ(player->info().path, clip("пример видео/Клип 🎬.mp4"));
    player->seek(30);
    ASSERT_TRUE(events.waitFor("frame 30"));
    expectRightPictures();
}

TEST_F(VideoPlayerFile, PictureSizeIsTheHeadersWhenTheStreamChangesIt) {
    openClip("size_change.mp4");
    int32_t width = 0, height = 0;
    player->setOnFrame([&](std::shared_ptr<VideoPlayer::Frame> frame) {
        width = frame->image.width;
        height = frame->image.height;
        events.add("frame");
    });
    player->seek(80);
    ASSERT_TRUE(events.waitFor("frame"));
    player->setOnFrame({});
    EXPECT_EQ(width, 320);
    EXPECT_EQ(height, 180);
}

TEST_F(VideoPlayerFile, DestroyedInAnyPhase) {
    for (int round = 0; round < 24; ++round) {
        renew();
        events.clear();
        wxString error;
        ASSERT_TRUE(player->open(clip("gop_250.mp4"), error));
        if (round % 4 == 0) {
            ASSERT_TRUE(events.waitFor("update 1|"));
            continue;
        }
        ASSERT_TRUE(events.waitFor("ready"));
        player->seek(round * 10 + 1);
        if (round % 4 >= 2)
            player->play(1000);
        if (round % 4 == 3) {
            ASSERT_TRUE(events.waitFor("Playing"));
        }
    }
    player.reset();
    expectRightPictures();
}

} // namespace
