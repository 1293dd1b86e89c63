#include "video_backend_ffmpeg_encoder.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <wx/filename.h>

#include "support/media_probe.h"
#include "support/temp_dir.h"

namespace {

using ffmpeg::timeBaseFor;
using ffmpeg::timestampOf;
using test::TempDir;

constexpr int kSide = 32;
/// The tool works out the durations of packets in B-frame order from the stream's rate, up to 1000 exclusive.
/// From there on the container's word, the duration of the whole, has to do.
constexpr double kToolKnowsDurationsBelow = 999.5;

class Picture : public video::Frame {
public:
    explicit Picture(int step) : image_(kSide, kSide) {
        for (int at = 0; at < kSide * kSide; ++at) {
            const auto level = static_cast<uint32_t>((at * 7 + at / kSide * 13 + step * 5) % 256);
            image_.pixels[at] = 0xFF000000u | (level << 16) | (level << 8) | level;
        }
    }
    const pxl::Image* image() const override { return &image_; }
    int64_t frameIndex() const override { return 1; }

private:
    pxl::Image image_;
};

void encodeClip(const wxString& path, double fps, int count, int32_t codec = video::kCodecH264) {
    video::EncoderSettings settings;
    settings.width = kSide;
    settings.height = kSide;
    settings.fps = fps;
    settings.gopSize = 12;
    settings.path = path;
    settings.codec = codec;
    Encoder_ffmpeg encoder(settings);
    ASSERT_TRUE(encoder.isOpen()) << fps;
    for (int index = 0; index < count; ++index)
        encoder.encode(std::make_shared<Picture>(index));
    encoder.finish();
    EXPECT_FALSE(encoder.failed()) << fps << ' ' << encoder.failureText();
}

/// Seconds of one unit of "1/600".
double unitOf(test::StreamReport& report) {
    const std::string& base = report.stream["time_base"];
    return std::stod(base) / std::stod(base.substr(base.find('/') + 1));
}

void expectSoundTiming(const wxString& path, double fps, std::size_t count) {
    auto report = test::probe(path);
    ASSERT_EQ(report.packets.size(), count) << fps;
    EXPECT_EQ(report.number("nb_frames"), static_cast<int64_t>(count)) << fps;
    EXPECT_EQ(report.packets.front().pts, 0) << fps;
    const double unit = unitOf(report);
    int64_t total = 0;
    for (std::size_t at = 0; at < count; ++at) {
        const test::Packet& packet = report.packets[at];
        if (fps < kToolKnowsDurationsBelow) {
            EXPECT_GT(packet.duration, 0) << fps << " packet " << at;
            total += packet.duration;
        }
        if (at > 0) {
            EXPECT_GT(packet.pts, report.packets[at - 1].pts) << fps << " packet " << at;
        }
        // Truncated to whole units, and no unit is longer than a frame.
        const double due = static_cast<double>(at) / fps;
        EXPECT_LE(packet.pts * unit, due + 1e-9) << fps << " packet " << at;
        EXPECT_GT(packet.pts * unit, due - 1.0 / fps) << fps << " packet " << at;
    }
    if (fps < kToolKnowsDurationsBelow) {
        EXPECT_NEAR(total * unit, static_cast<double>(count) / fps, 1.0 / fps) << fps;
    }
    EXPECT_NEAR(report.seconds("duration"), static_cast<double>(count) / fps, 1.0 / fps) << fps;
    EXPECT_DOUBLE_EQ(report.seconds("start_time"), 0.0) << fps;
}

int64_t fileSize(const wxString& path) {
    return static_cast<int64_t>(wxFileName::GetSize(path).GetValue());
}

/// The same frames by the command-line tool, at a rate it is told outright.
int64_t referenceSize(const TempDir& dir, double fps, int count, const std::string& encoding) {
    const wxString raw = dir.file("frames.raw");
    {
        std::ofstream file(raw.utf8_string(), std::ios::binary);
        for (int index = 0; index < count; ++index) {
            const Picture picture(index);
            file.write(reinterpret_cast<const char*>(picture.image()->pixels),
                       static_cast<std::streamsize>(picture.image()->byteCount()));
        }
    }
    const wxString result = dir.file("reference.mp4");
    test::outputOf("ffmpeg -y -v error -f rawvideo -pix_fmt rgba -s 32x32 -r " + std::to_string(fps) +
                   " -i " + test::quoted(raw) + " -pix_fmt yuv420p -g 12 " + encoding + ' ' +
                   test::quoted(result));
    return fileSize(result);
}

} // namespace

TEST(EncoderTiming, TimeBaseIsTheInverseOfTheNearestSmallFraction) {
    const auto expectBase = [](double fps, int num, int den) {
        EXPECT_EQ(timeBaseFor(fps).num, num) << fps;
        EXPECT_EQ(timeBaseFor(fps).den, den) << fps;
    };
    expectBase(25, 1, 25);
    expectBase(24000.0 / 1001, 1, 24);
    expectBase(29.97, 1, 30);
    expectBase(30000.0 / 1001, 1, 30);
    expectBase(60000.0 / 1001, 1, 60);
    expectBase(60, 1, 60);
    expectBase(100, 1, 100);
    expectBase(12.5, 2, 25);
    expectBase(1, 1, 1);
}

TEST(EncoderTiming, RatesAboveTheirFractionGetAFinerOne) {
    const auto expectBase = [](double fps, int num, int den) {
        EXPECT_EQ(timeBaseFor(fps).num, num) << fps;
        EXPECT_EQ(timeBaseFor(fps).den, den) << fps;
    };
    expectBase(120, 1, 120);
    expectBase(240, 1, 240);
    expectBase(1000, 1, 1000);
    expectBase(50.3, 10, 503);
    expectBase(25.01, 100, 2501);
    expectBase(90000, 1, 90000);
    // The finest there is, for a rate that no video has.
    expectBase(2e6, 1, 1000000);
}

TEST(EncoderTiming, At25FramesPerSecondFrameNHasTimeStampN) {
    for (int64_t index = 0; index < 100000; ++index)
        ASSERT_EQ(timestampOf(index, timeBaseFor(25), 25), index);
}

TEST(EncoderTiming, At2997OneTimeStampIsSkippedEveryThousandFrames) {
    for (int64_t index = 0; index <= 998; ++index)
        ASSERT_EQ(timestampOf(index, timeBaseFor(29.97), 29.97), index);
    EXPECT_EQ(timestampOf(999, timeBaseFor(29.97), 29.97), 1000);
}

TEST(EncoderTiming, At24000Over1001TheQuotientIsTruncatedAsItComesOutOfDoubleArithmetic) {
    const double fps = 24000.0 / 1001;
    // 1000.9999999999999 and 3003, where there would be 1001 and 3003.
    EXPECT_EQ(timestampOf(999, timeBaseFor(fps), fps), 999);
    EXPECT_EQ(timestampOf(1000, timeBaseFor(fps), fps), 1000);
    EXPECT_EQ(timestampOf(1001, timeBaseFor(fps), fps), 1002);
    EXPECT_EQ(timestampOf(3000, timeBaseFor(fps), fps), 3003);
}

TEST(EncoderTiming, EveryRateFrom1To1000RisesStrictlyAndKeepsTime) {
    for (int hundredths = 100; hundredths <= 100000; hundredths += 7) {
        const double fps = hundredths / 100.0;
        const ffmpeg::TimeBase base = timeBaseFor(fps);
        ASSERT_LE(base.den, 65535) << fps;
        ASSERT_GE(base.den, fps * base.num * (1 - 1e-12)) << fps;
        int64_t last = -1;
        for (int64_t index = 0; index < 400; ++index) {
            const int64_t pts = timestampOf(index, base, fps);
            // One that double arithmetic has left on its predecessor's unit is moved on by the encoder.
            ASSERT_GE(pts, last) << fps << " frame " << index;
            const int64_t moved = std::max(pts, last + 1);
            ASSERT_NEAR(static_cast<double>(moved), static_cast<double>(base.den) * index / (base.num * fps),
                        1 + 1e-9)
                << fps << " frame " << index;
            last = moved;
        }
        const double seconds = static_cast<double>(timestampOf(100000, base, fps)) * base.num / base.den;
        ASSERT_NEAR(seconds, 100000 / fps, (1.0 + 1e-6) / fps) << fps;
    }
}

TEST(EncoderTiming, FilesKeepEveryFrameAtAnyRate) {
    const TempDir dir;
    const wxString path = dir.file("clip.mp4");
    for (const double fps :
         {1.0 / 3,        0.5,    1.0,    1.01,           3.7,    5.0,    7.5,   9.99,  12.5,
          14.985,         15.0,   23.976, 24000.0 / 1001, 24.0,   24.99,  25.0,  25.01, 29.97,
          30000.0 / 1001, 30.0,   33.37,  47.95,          48.0,   50.0,   50.3,  59.94, 60.0,
          72.0,           90.0,   99.9,   100.0,          100.5,  119.88, 120.0, 143.9, 144.0,
          165.0,          200.0,  239.76, 240.0,          300.0,  333.3,  480.0, 500.0, 655.36,
          720.0,          959.04, 960.0,  999.0,          999.99, 1000.0}) {
        encodeClip(path, fps, 30);
        expectSoundTiming(path, fps, 30);
    }
}

TEST(EncoderTiming, Mpeg4FilesKeepEveryFrameToo) {
    const TempDir dir;
    const wxString path = dir.file("clip.mp4");
    for (const double fps : {1.0 / 3, 0.5, 1.0, 7.5, 12.5, 14.985, 23.976, 25.0, 29.97, 33.37, 50.3, 59.94,
                             60.0, 119.88, 120.0, 240.0, 999.0, 1000.0}) {
        encodeClip(path, fps, 30, video::kCodecMpeg4);
        expectSoundTiming(path, fps, 30);
    }
}

TEST(EncoderTiming, The2997FileHasTheStatedTimeStamps) {
    const TempDir dir;
    const wxString path = dir.file("clip.mp4");
    encodeClip(path, 29.97, 1002);
    auto report = test::probe(path);
    EXPECT_EQ(report.stream["time_base"], "1/30");
    ASSERT_EQ(report.packets.size(), 1002u);
    EXPECT_EQ(report.packets[998].pts, 998);
    EXPECT_EQ(report.packets[999].pts, 1000);
    EXPECT_EQ(report.packets[1001].pts, 1002);
    EXPECT_EQ(report.number("duration_ts"), 1003);
}

TEST(EncoderTiming, FileAt25FramesPerSecondSaysSo) {
    const TempDir dir;
    const wxString path = dir.file("clip.mp4");
    encodeClip(path, 25, 248);
    auto report = test::probe(path);
    EXPECT_EQ(report.stream["time_base"], "1/25");
    EXPECT_EQ(report.stream["r_frame_rate"], "25/1");
    EXPECT_EQ(report.stream["avg_frame_rate"], "25/1");
    EXPECT_DOUBLE_EQ(report.seconds("duration"), 9.92);
    for (std::size_t at = 0; at < report.packets.size(); ++at)
        EXPECT_EQ(report.packets[at].pts, static_cast<int64_t>(at));
}

TEST(EncoderTiming, FastRatesAreReadBackAsTheyWere) {
    const TempDir dir;
    const wxString path = dir.file("clip.mp4");
    for (const int fps : {100, 120, 240}) {
        encodeClip(path, fps, 120);
        auto report = test::probe(path);
        EXPECT_EQ(report.stream["r_frame_rate"], std::to_string(fps) + "/1");
        EXPECT_EQ(report.stream["avg_frame_rate"], std::to_string(fps) + "/1");
    }
}

TEST(EncoderTiming, NoEditListHidesAFrame) {
    // The tool obeys edit lists; the frames at both ends are the ones at risk.
    const TempDir dir;
    for (const char* name : {"clip.mp4", "clip.mov"})
        for (const double fps : {25.0, 29.97, 120.0}) {
            const wxString path = dir.file(name);
            encodeClip(path, fps, 50);
            EXPECT_EQ(test::decodeAll(path, "gray").size(), 50u * kSide * kSide) << name << ' ' << fps;
        }
}

TEST(EncoderTiming, TimeScaleDoesNotBlowUpTheBitRate) {
    const TempDir dir;
    const wxString path = dir.file("clip.mp4");
    for (const double fps : {1.0, 12.5, 25.0, 29.97, 33.37, 50.3, 60.0, 120.0, 240.0, 1000.0}) {
        encodeClip(path, fps, 100);
        const double size = static_cast<double>(fileSize(path));
        const double reference =
            static_cast<double>(referenceSize(dir, fps, 100, "-c:v libx264 -profile:v main"));
        ASSERT_GT(reference, 1000) << fps;
        EXPECT_LT(size, 1.1 * reference) << fps;
        EXPECT_GT(size, 0.7 * reference) << fps;
    }
}

TEST(EncoderTiming, NorThatOfMpeg4) {
    // The encoder's bit rate is a fixed one, so how many bits a frame gets depends on what it takes for the
    // rate.
    const TempDir dir;
    const wxString path = dir.file("clip.mp4");
    for (const double fps : {1.0, 12.5, 25.0, 29.97, 33.37, 50.3, 60.0, 120.0, 240.0, 1000.0}) {
        encodeClip(path, fps, 100, video::kCodecMpeg4);
        const double size = static_cast<double>(fileSize(path));
        const double reference =
            static_cast<double>(referenceSize(dir, fps, 100, "-c:v mpeg4 -flags +mv4 -mbd rd -trellis 2"));
        ASSERT_GT(reference, 1000) << fps;
        EXPECT_LT(size, 1.25 * reference) << fps;
        EXPECT_GT(size, 0.7 * reference) << fps;
    }
}
