/// The same again and again in one process; tests/endurance/run has the full length.
#include <chrono>
#include <future>
#include <mutex>
#include <random>

#include <wx/log.h>

#include "blurtrack.h"
#include "support/export_fixture.h"
#include "support/footprint.h"
#include "videoplayer.h"

namespace {

constexpr long kSlack = 4096;

class Silent : public ISafeProgress {
public:
    void start(const wxString&, const wxString&, int32_t) override {}
    void update(int32_t, const wxString&) override {}
    void finish() override {}
};

class Endurance : public test::ExportFixture {
protected:
    /// Opens and returns once the video is pre-processed.
    std::unique_ptr<VideoPlayer> opened(const char* name) {
        auto player = std::make_unique<VideoPlayer>(&silent_);
        auto ready = std::make_shared<std::promise<void>>();
        player->setOnReady([ready] { ready->set_value(); });
        wxString error;
        EXPECT_TRUE(player->open(test::clipPath(name), error)) << error;
        EXPECT_EQ(ready->get_future().wait_for(test::kPatience), std::future_status::ready);
        return player;
    }
    /// Waits for the thread that ends last.
    static bool threadsAreBackTo(long count) {
        const auto end = std::chrono::steady_clock::now() + test::kPatience;
        while (test::Footprint::now().threads > count)
            if (std::chrono::steady_clock::now() > end)
                return false;
        return true;
    }

    Silent silent_;
};

} // namespace

TEST_F(Endurance, OpeningLeavesNothingBehind) {
    const char* const clips[] = {"two_frames.mp4", "odd_321x181.mov", "one_frame.mp4", "variable_rate.mp4"};
    test::FootprintWatch watch("opens", 1000, 16);
    for (int round = 0; round < watch.rounds(); ++round) {
        opened(clips[round % 4]).reset();
        watch.look(round);
    }
    watch.expectFlat(kSlack);
}

TEST_F(Endurance, SeekingLeavesNothingBehind) {
    const auto player = opened("bframes.mp4");
    std::mutex mutex;
    std::promise<int64_t> delivered;
    player->setOnFrame([&](std::shared_ptr<VideoPlayer::Frame> frame) {
        const std::lock_guard<std::mutex> lock(mutex);
        delivered.set_value(frame->index);
    });
    std::mt19937 random(7);
    std::uniform_int_distribution<int> anyFrame(1, static_cast<int>(player->info().frameCount));
    test::FootprintWatch watch("seeks", 5000, 20);
    for (int round = 0; round < watch.rounds(); ++round) {
        const int frame = anyFrame(random);
        std::future<int64_t> shown;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            delivered = {};
            shown = delivered.get_future();
        }
        player->seek(frame);
        ASSERT_EQ(shown.wait_for(test::kPatience), std::future_status::ready);
        ASSERT_EQ(shown.get(), frame);
        // What other threads log waits for the main thread's event loop, which there is none of.
        wxLog::FlushActive();
        watch.look(round);
    }
    watch.expectFlat(kSlack);
}

TEST_F(Endurance, ExportingLeavesNothingBehind) {
    const auto info = prepare(test::isEndurance() ? "plain.mp4" : "two_frames.mp4");
    for (int64_t frame = 1; frame <= info.frameCount; ++frame)
        addBlur(frame, {40, 40, 80, 60});
    test::FootprintWatch watch("exports", 50, 8);
    long threads = 0;
    for (int round = 0; round < watch.rounds(); ++round) {
        if (round == 0)
            threads = test::Footprint::now().threads;
        auto* worker = createExportWorker(switches::kBlurMode, output, info, &silent_);
        std::promise<ExportResult> ended;
        worker->setDone([&](ExportResult result, const wxString&) { ended.set_value(result); });
        ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
        ASSERT_EQ(test::valueOf(ended.get_future()), ExportResult::Success);
        ASSERT_TRUE(threadsAreBackTo(threads));
        watch.look(round);
    }
    watch.expectFlat(kSlack);
}
