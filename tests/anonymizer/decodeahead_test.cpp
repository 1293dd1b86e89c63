#include "decodeahead.h"

#include <future>
#include <stdexcept>

#include <gtest/gtest.h>

#include "support/patience.h"

namespace {

/// Delivers `frames` pictures whose first pixel is their number.
class CountingDecoder : public video::Decoder {
public:
    explicit CountingDecoder(int64_t frames) : frames_(frames) {}

    /// Frame whose decoding throws; 0 for none.
    int64_t throwsAt = 0;
    /// Frame that can't be converted; 0 for none.
    int64_t unconvertible = 0;
    /// Called before each frame is decoded.
    std::function<void()> onNext;
    std::atomic<int64_t> decoded{0};

    bool open(const wxString&) override { return true; }
    void close() override {}
    void scan(video::Progress&) override {}
    bool convert(pxl::Image& target) override {
        if (decoded == unconvertible)
            return false;
        target.pixels[0] = static_cast<uint32_t>(decoded);
        return true;
    }
    int64_t frameIndex() const override { return decoded; }
    void reset() override {}
    bool seek(int) override { return false; }
    bool next() override {
        if (onNext)
            onNext();
        if (decoded == frames_)
            return false;
        if (++decoded == throwsAt)
            throw std::runtime_error("broken");
        return true;
    }
    video::VideoInfo& info(video::VideoInfo& out) override { return out; }
    wxString lastError() const override { return {}; }

private:
    int64_t frames_;
};

} // namespace

TEST(DecodeAhead, DeliversEveryPictureInOrder) {
    std::atomic<bool> stop{false};
    DecodeAhead stage(std::make_shared<CountingDecoder>(1000), 4, 2, stop);
    for (int64_t number = 1; number <= 1000; ++number) {
        const auto* picture = stage.next();
        ASSERT_TRUE(picture);
        EXPECT_TRUE(picture->converted);
        ASSERT_EQ(picture->frameIndex, number);
        ASSERT_EQ(picture->image.pixels[0], static_cast<uint32_t>(number));
        EXPECT_EQ(picture->image.width, 4);
        EXPECT_EQ(picture->image.height, 2);
    }
    EXPECT_FALSE(stage.next());
    EXPECT_FALSE(stage.next());
}

TEST(DecodeAhead, RunsAheadByOnePictureAndTheFrameAfterIt) {
    std::atomic<bool> stop{false};
    const auto decoder = std::make_shared<CountingDecoder>(500);
    DecodeAhead stage(decoder, 4, 2, stop);
    for (int64_t taken = 0; stage.next(); ++taken)
        ASSERT_LE(decoder->decoded, taken + 2);
    EXPECT_EQ(decoder->decoded, 500);
}

TEST(DecodeAhead, TellsWhichPictureCouldNotBeConverted) {
    std::atomic<bool> stop{false};
    const auto decoder = std::make_shared<CountingDecoder>(3);
    decoder->unconvertible = 2;
    DecodeAhead stage(decoder, 4, 2, stop);
    EXPECT_TRUE(stage.next()->converted);
    const auto* second = stage.next();
    EXPECT_FALSE(second->converted);
    EXPECT_EQ(second->frameIndex, 2);
    EXPECT_TRUE(stage.next()->converted);
    EXPECT_FALSE(stage.next());
}

TEST(DecodeAhead, EmptyVideoEndsAtOnce) {
    std::atomic<bool> stop{false};
    DecodeAhead stage(std::make_shared<CountingDecoder>(0), 0, 0, stop);
    EXPECT_FALSE(stage.next());
}

TEST(DecodeAhead, WhatTheDecoderThrowsArrivesAfterThePicturesBeforeIt) {
    std::atomic<bool> stop{false};
    const auto decoder = std::make_shared<CountingDecoder>(10);
    decoder->throwsAt = 3;
    DecodeAhead stage(decoder, 4, 2, stop);
    EXPECT_EQ(stage.next()->frameIndex, 1);
    EXPECT_EQ(stage.next()->frameIndex, 2);
    EXPECT_THROW(stage.next(), std::runtime_error);
    EXPECT_FALSE(stage.next());
}

TEST(DecodeAhead, GivenBackEarlyThePictureIsNotGivenBackTwice) {
    std::atomic<bool> stop{false};
    DecodeAhead stage(std::make_shared<CountingDecoder>(100), 4, 2, stop);
    stage.release();
    for (int64_t number = 1; number <= 100; ++number) {
        ASSERT_EQ(stage.next()->frameIndex, number);
        stage.release();
        stage.release();
    }
    EXPECT_FALSE(stage.next());
}

TEST(DecodeAhead, CanBeDroppedWhileAPictureWaits) {
    std::atomic<bool> stop{false};
    const auto decoder = std::make_shared<CountingDecoder>(1000000);
    {
        DecodeAhead stage(decoder, 4, 2, stop);
        EXPECT_TRUE(stage.next());
    }
    EXPECT_TRUE(stop);
    EXPECT_LE(decoder->decoded, 2);
    EXPECT_EQ(decoder.use_count(), 1);
}

TEST(DecodeAhead, DroppingItRaisesTheStopFlagInsideALongRead) {
    std::atomic<bool> stop{false};
    std::promise<void> reading;
    const auto decoder = std::make_shared<CountingDecoder>(5);
    decoder->onNext = [&, first = true]() mutable {
        if (std::exchange(first, false))
            reading.set_value();
        while (!stop)
            std::this_thread::yield();
    };
    {
        DecodeAhead stage(decoder, 4, 2, stop);
        test::waitFor(reading.get_future());
    }
    EXPECT_EQ(decoder->decoded, 1);
}

TEST(DecodeAhead, StopFlagRaisedByOthersEndsTheVideoForTheOneWhoWaits) {
    std::atomic<bool> stop{false};
    std::promise<void> reading;
    const auto decoder = std::make_shared<CountingDecoder>(5);
    decoder->onNext = [&] {
        if (decoder->decoded < 2)
            return;
        reading.set_value();
        while (!stop)
            std::this_thread::yield();
        decoder->onNext = nullptr;
        throw std::runtime_error("interrupted");
    };
    DecodeAhead stage(decoder, 4, 2, stop);
    EXPECT_TRUE(stage.next());
    EXPECT_TRUE(stage.next());
    std::thread other([&] {
        test::waitFor(reading.get_future());
        stop = true;
    });
    EXPECT_THROW(stage.next(), std::runtime_error);
    EXPECT_FALSE(stage.next());
    other.join();
}
