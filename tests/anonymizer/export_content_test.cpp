#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "support/export_fixture.h"

/// What the exported pictures show, looked at with the command-line decoder.

namespace {

using test::ExportFixture;

struct Area {
    int x, y, w, h;
};

/// The pictures of a file, packed RGBA.
class Pictures {
public:
    Pictures(const wxString& file, int width, int height)
        : width_(width), height_(height), bytes_(test::decodeAll(file, "rgba")) {}

    int64_t count() const { return static_cast<int64_t>(bytes_.size() / frameBytes()); }

    /// `number` from 1, as frames are numbered. A view of this object's memory.
    pxl::Image picture(int64_t number) {
        return pxl::Image::view(
            width_, height_,
            reinterpret_cast<uint32_t*>(bytes_.data() + static_cast<std::size_t>(number - 1) * frameBytes()));
    }

private:
    std::size_t frameBytes() const {
        return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 4;
    }

    int width_;
    int height_;
    std::vector<uint8_t> bytes_;
};

int channel(uint32_t pixel, int index) {
    return static_cast<int>((pixel >> (8 * index)) & 0xFF);
}

/// Mean difference of the colour channels inside `area`.
double difference(const pxl::Image& first, const pxl::Image& second, const Area& area) {
    int64_t sum = 0;
    int64_t count = 0;
    for (int y = std::max(area.y, 0); y < std::min(area.y + area.h, first.height); ++y)
        for (int x = std::max(area.x, 0); x < std::min(area.x + area.w, first.width); ++x)
            for (int index = 0; index < 3; ++index) {
                sum += std::abs(channel(first.pixels[y * first.width + x], index) -
                                channel(second.pixels[y * first.width + x], index));
                ++count;
            }
    return static_cast<double>(sum) / static_cast<double>(count);
}

pxl::Image mosaicOf(const pxl::Image& clear) {
    pxl::Image mosaic(clear.width, clear.height);
    const int block = std::max(std::min(clear.width, clear.height) / 50, 1);
    for (int y = 0; y < clear.height; ++y)
        for (int x = 0; x < clear.width; ++x)
            mosaic.pixels[y * clear.width + x] =
                clear.pixels[(y / block * block) * clear.width + x / block * block];
    return mosaic;
}

bool covers(const Area& area, int x, int y) {
    return x >= area.x && x < area.x + area.w && y >= area.y && y < area.y + area.h;
}

/// Keeps what was given in, so that it can be compared with what came out.
class RememberingProcessor : public Frameblur {
public:
    const Image* process(const Image& input, int32_t frame, int32_t threshold) override {
        clear = input.clone();
        return Frameblur::process(input, frame, threshold);
    }
    Image clear;
};

class InspectingEncoder : public Encoder_ffmpeg {
public:
    using Encoder_ffmpeg::Encoder_ffmpeg;
    std::function<void(const video::Frame&)> inspect;
    void encode(std::shared_ptr<video::Frame> frame) override {
        inspect(*frame);
        Encoder_ffmpeg::encode(std::move(frame));
    }
};

double meanDifference(const std::vector<uint8_t>& first, const std::vector<uint8_t>& second, std::size_t from,
                      std::size_t size, std::size_t step) {
    uint64_t sum = 0;
    uint64_t count = 0;
    for (std::size_t start = from; start + size <= first.size(); start += step)
        for (std::size_t at = start; at < start + size; ++at, ++count)
            sum += static_cast<uint64_t>(std::abs(first[at] - second[at]));
    return static_cast<double>(sum) / static_cast<double>(count);
}

class ExportContent : public ExportFixture {
protected:
    static Area areaOf(const blurtrack::RectF& rect) {
        return {static_cast<int>(rect.x), static_cast<int>(rect.y), static_cast<int>(rect.w),
                static_cast<int>(rect.h)};
    }

    ExportResult exportWith(int32_t mode, const video::VideoInfo& info) {
        std::promise<ExportResult> ended;
        ExportWorker* worker = createExportWorker(mode, output, info, &progress);
        worker->setDone([&ended](ExportResult result, const wxString&) { ended.set_value(result); });
        EXPECT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
        return test::valueOf(ended.get_future());
    }

    /// One rectangle in one frame: that frame shows the mosaic there, every other one is as the source.
    void expectExactlyOneFrameIsHidden(const std::string& clip, int64_t hidden) {
        const auto info = prepare(clip);
        const blurtrack::RectF rect{60, 60, 200, 100};
        addBlur(hidden, rect);
        ASSERT_EQ(run(makeWorker(info)).result, ExportResult::Success);

        Pictures source(info.path, info.width, info.height);
        Pictures exported(output, info.width, info.height);
        ASSERT_EQ(exported.count(), info.frameCount);
        ASSERT_GE(source.count(), info.frameCount);
        for (int64_t number = 1; number <= info.frameCount; ++number) {
            const pxl::Image before = source.picture(number);
            const pxl::Image after = exported.picture(number);
            ASSERT_EQ(counter_clip::readNumber(after), counter_clip::readNumber(before)) << number;
            const double toClear = difference(before, after, areaOf(rect));
            const double toMosaic = difference(mosaicOf(before), after, areaOf(rect));
            if (number == hidden) {
                EXPECT_LT(toMosaic, 0.8 * toClear) << "frame " << number << " shows the clear picture";
            } else {
                EXPECT_LT(toClear, 0.8 * toMosaic) << "frame " << number << " was changed";
            }
        }
    }

    /// Compares every pixel that the encoder is given.
    void expectCells(const std::string& clip, int64_t hiddenFrame) {
        const auto info = prepare(clip);
        // Across the left and top edge, across the right and bottom edge with its partial cells, and inside.
        const std::vector<blurtrack::RectF> rects{{-7, -5, 31, 40}, {290, 150, 100, 100}, {101, 61, 50, 47}};
        for (std::size_t at = 0; at < rects.size(); ++at)
            addBlur(hiddenFrame, rects[at], static_cast<int64_t>(at));

        const auto processor = std::make_shared<RememberingProcessor>();
        int64_t frames = 0;
        auto* worker = makeWorker(info, processor);
        worker->encoderFor = [&](const video::EncoderSettings& settings) {
            auto encoder = std::make_shared<InspectingEncoder>(settings);
            encoder->inspect = [&](const video::Frame& frame) {
                ++frames;
                const pxl::Image& result = *frame.image();
                const pxl::Image& clear = processor->clear;
                const pxl::Image mosaic = mosaicOf(clear);
                ASSERT_NE(result.pixels, clear.pixels);
                for (int y = 0; y < result.height; ++y)
                    for (int x = 0; x < result.width; ++x) {
                        const bool hidden = frame.frameIndex() == hiddenFrame &&
                                            std::any_of(rects.begin(), rects.end(), [&](const auto& rect) {
                                                return covers(areaOf(rect), x, y);
                                            });
                        const int at = y * result.width + x;
                        ASSERT_EQ(result.pixels[at], hidden ? mosaic.pixels[at] : clear.pixels[at])
                            << x << ',' << y;
                        hiddenPixels += hidden;
                    }
            };
            return encoder;
        };
        EXPECT_EQ(run(worker).result, ExportResult::Success);
        EXPECT_EQ(frames, info.frameCount);
    }

    /// Counted by `expectCells`.
    int64_t hiddenPixels = 0;
};

} // namespace

TEST_F(ExportContent, RectangleOfOneFrameHidesThatFrameOnly) {
    expectExactlyOneFrameIsHidden("plain.mp4", 100);
}

TEST_F(ExportContent, WithBFramesToo) {
    expectExactlyOneFrameIsHidden("bframes.mp4", 101);
}

TEST_F(ExportContent, AtTheFirstFrameToo) {
    expectExactlyOneFrameIsHidden("open_gop.mp4", 1);
}

TEST_F(ExportContent, AtTheLastFrameToo) {
    expectExactlyOneFrameIsHidden("open_gop.mp4", 148);
}

TEST_F(ExportContent, WithMpeg4BFramesToo) {
    expectExactlyOneFrameIsHidden("mpeg4_bframes.mp4", 50);
}

TEST_F(ExportContent, WithAnEditListToo) {
    expectExactlyOneFrameIsHidden("edit_list.mp4", 30);
}

TEST_F(ExportContent, WithFragmentsToo) {
    expectExactlyOneFrameIsHidden("fragmented.mp4", 120);
}

TEST_F(ExportContent, WithHevcToo) {
    expectExactlyOneFrameIsHidden("hevc.mp4", 73);
}

TEST_F(ExportContent, WithProResToo) {
    expectExactlyOneFrameIsHidden("prores.mov", 21);
}

TEST_F(ExportContent, WithTenBitsToo) {
    expectExactlyOneFrameIsHidden("h264_10bit.mp4", 30);
}

TEST_F(ExportContent, WithAVariableRateToo) {
    expectExactlyOneFrameIsHidden("variable_rate.mp4", 61);
}

TEST_F(ExportContent, EveryCellInsideARectangleHasOneColourAndTheRestIsUntouched) {
    expectCells("two_frames.mp4", 1);
    EXPECT_EQ(hiddenPixels, 24 * 35 + 30 * 30 + 50 * 47);
}

TEST_F(ExportContent, EveryCellOfAnOddSizeToo) {
    expectCells("odd_321x181.mp4", 17);
    EXPECT_EQ(hiddenPixels, 24 * 35 + 31 * 31 + 50 * 47);
}

TEST_F(ExportContent, UnblurModeHidesAllButTheRectangles) {
    const auto info = prepare("plain.mp4");
    const blurtrack::RectF rect{60, 60, 200, 100};
    for (int64_t frame = 1; frame <= 120; ++frame)
        addBlur(frame, rect);
    ASSERT_EQ(exportWith(switches::kUnblurMode, info), ExportResult::Success);

    Pictures source(info.path, info.width, info.height);
    Pictures exported(output, info.width, info.height);
    ASSERT_EQ(exported.count(), 250);
    const Area inside = areaOf(rect);
    const Area below{0, 164, 320, 16};
    for (const int64_t number : {1, 60, 120, 121, 200, 250}) {
        const pxl::Image before = source.picture(number);
        const pxl::Image after = exported.picture(number);
        const pxl::Image mosaic = mosaicOf(before);
        EXPECT_LT(difference(mosaic, after, below), 0.9 * difference(before, after, below)) << number;
        const double toClear = difference(before, after, inside);
        const double toMosaic = difference(mosaic, after, inside);
        if (number <= 120) {
            EXPECT_LT(toClear, 0.9 * toMosaic) << number;
        } else {
            EXPECT_LT(toMosaic, 0.9 * toClear) << number;
        }
    }
}

TEST_F(ExportContent, OnlyScoresThatReachTheThresholdAreHidden) {
    const auto info = prepare("two_frames.mp4");
    const blurtrack::RectF rect{60, 60, 200, 100};
    addBlur(1, rect, 1, 40);
    addBlur(2, rect, 1, 40);
    const auto isHiddenAt = [&](int32_t threshold) {
        switches::confidenceThreshold = threshold;
        EXPECT_EQ(exportWith(switches::kBlurMode, info), ExportResult::Success);
        Pictures source(info.path, info.width, info.height);
        Pictures exported(output, info.width, info.height);
        const pxl::Image before = source.picture(2);
        const pxl::Image after = exported.picture(2);
        return difference(mosaicOf(before), after, areaOf(rect)) < difference(before, after, areaOf(rect));
    };
    EXPECT_FALSE(isHiddenAt(50));
    EXPECT_FALSE(isHiddenAt(41));
    EXPECT_TRUE(isHiddenAt(40));
}

TEST_F(ExportContent, PlanesOutsideRectanglesStayAsTheyWere) {
    // Bars are drawn by the matrix that the stream states, or by BT.601 when it states none.
    const wxString untagged = dir.file("bars.mp4");
    test::outputOf("ffmpeg -v error -f lavfi -i smptebars=size=320x180:rate=25 -frames:v 20 -pix_fmt yuv420p "
                   "-c:v libx264 -bf 0 -crf 10 " +
                   test::quoted(untagged));
    auto info = prepare("bars_bt709.mp4");
    for (const wxString& clip : {info.path, untagged}) {
        info.path = clip;
        info.colorMatrix = clip == untagged ? video::kColorMatrixUnspecified : info.colorMatrix;
        ASSERT_EQ(exportWith(switches::kBlurMode, info), ExportResult::Success);
        const auto before = test::decodeAll(info.path, "yuv420p");
        const auto after = test::decodeAll(output, "yuv420p");
        ASSERT_EQ(before.size(), after.size()) << clip;
        const auto luma = static_cast<std::size_t>(info.width) * static_cast<std::size_t>(info.height);
        const std::size_t frame = luma * 3 / 2;
        EXPECT_LT(meanDifference(before, after, 0, luma, frame), 1.2) << clip;
        EXPECT_LT(meanDifference(before, after, luma, luma / 4, frame), 1.2) << clip;
        EXPECT_LT(meanDifference(before, after, luma * 5 / 4, luma / 4, frame), 1.2) << clip;
        EXPECT_EQ(test::probe(output).stream["color_space"], test::probe(info.path).stream["color_space"])
            << clip;
    }
}

TEST_F(ExportContent, PlanesOutsideRectanglesStayNearForOtherCodecsAndDepths) {
    // The tool turns the source into 8 bits, 4:2:0 by its own way.
    for (const char* clip : {"h264_10bit.mp4", "hevc.mp4", "prores.mov"}) {
        const auto info = prepare(clip);
        const blurtrack::RectF rect{0, 0, 320, 90};
        for (int64_t frame = 1; frame <= info.frameCount; ++frame)
            addBlur(frame, rect);
        ASSERT_EQ(exportWith(switches::kBlurMode, info), ExportResult::Success) << clip;
        auto before = test::decodeAll(info.path, "yuv420p");
        const auto after = test::decodeAll(output, "yuv420p");
        const std::size_t luma = 320 * 180;
        const std::size_t frame = luma * 3 / 2;
        ASSERT_EQ(after.size(), static_cast<std::size_t>(info.frameCount) * frame) << clip;
        ASSERT_GE(before.size(), after.size()) << clip;
        before.resize(after.size());
        // The lower half of each plane, but for the blocks that the rectangle's edge runs through.
        EXPECT_LT(meanDifference(before, after, 320 * 112, 320 * 68, frame), 4.0) << clip;
        for (const std::size_t plane : {luma, luma * 5 / 4}) {
            EXPECT_LT(meanDifference(before, after, plane + 160 * 56, 160 * 34, frame), 4.0) << clip;
            int64_t shift = 0;
            std::size_t count = 0;
            for (std::size_t start = plane + 160 * 56; start < after.size(); start += frame)
                for (std::size_t at = start; at < start + 160 * 34; ++at, ++count)
                    shift += before[at] - after[at];
            EXPECT_LT(std::abs(static_cast<double>(shift)) / static_cast<double>(count), 0.7) << clip;
        }
        reset();
    }
}

TEST_F(ExportContent, FullRangeSourceKeepsItsColours) {
    const auto info = prepare("full_range.mp4");
    ASSERT_EQ(exportWith(switches::kBlurMode, info), ExportResult::Success);
    const auto before = test::decodeAll(info.path, "rgba");
    const auto after = test::decodeAll(output, "rgba");
    ASSERT_EQ(before.size() / 60, after.size() / 58);
    for (std::size_t colour = 0; colour < 3; ++colour) {
        int64_t shift = 0;
        for (std::size_t at = colour; at < after.size(); at += 4)
            shift += before[at] - after[at];
        EXPECT_LT(std::abs(static_cast<double>(shift)) / (static_cast<double>(after.size()) / 4), 2.0)
            << colour;
    }
}

TEST_F(ExportContent, OneVideoStreamWhateverTheSourceHolds) {
    for (const char* clip :
         {"audio_first.mp4", "two_videos.mp4", "rotated.mp4", "hevc.mp4", "prores.mov", "size_change.mp4",
          "fragmented.mp4", "variable_rate.mp4", "h264_10bit.mp4", "edit_list.mp4", "mpeg4_bframes.mp4",
          "slow_one_per_20s.mp4", "interlaced.mp4", "same_time.mp4", "same_time_bframes.mp4"}) {
        const auto info = prepare(clip);
        EXPECT_EQ(exportWith(switches::kBlurMode, info), ExportResult::Success) << clip;
        auto report = test::probe(output);
        EXPECT_EQ(report.format["nb_streams"], "1") << clip;
        EXPECT_EQ(report.stream["codec_type"], "video") << clip;
        EXPECT_EQ(report.packets.size(), static_cast<std::size_t>(info.frameCount)) << clip;
        const double expected = static_cast<double>(info.frameCount) / info.fps;
        EXPECT_NEAR(report.seconds("duration"), expected, 1.0 / info.fps) << clip;
    }
}

TEST_F(ExportContent, AmongFramesOfOneTimeStampToo) {
    expectExactlyOneFrameIsHidden("same_time.mp4", 60);
}

TEST_F(ExportContent, AmongFramesOfOneTimeStampWithBFramesToo) {
    expectExactlyOneFrameIsHidden("same_time_bframes.mp4", 49);
}

TEST_F(ExportContent, AnAbsurdRateFailsClearlyAndLeavesNothing) {
    const auto info = prepare("fps_90000.mp4");
    ASSERT_GT(info.fps, 1000);
    const auto ended = run(makeWorker(info));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "The frame rate of the video is not usable.");
    EXPECT_FALSE(wxFileName::Exists(output));
}

TEST_F(ExportContent, EveryRateOfTheSetKeepsItsFramesAndTime) {
    for (const char* clip : {"fps_23976.mp4", "fps_25.mp4", "fps_2997.mp4", "fps_30.mp4", "fps_50.mp4",
                             "fps_60.mp4", "fps_120.mp4", "fps_240.mp4"}) {
        const auto info = prepare(clip);
        EXPECT_EQ(exportWith(switches::kBlurMode, info), ExportResult::Success) << clip;
        auto report = test::probe(output);
        EXPECT_EQ(report.packets.size(), 118u) << clip;
        EXPECT_NEAR(report.seconds("duration"), 118 / info.fps, 1 / info.fps) << clip;
        EXPECT_DOUBLE_EQ(report.seconds("start_time"), 0.0) << clip;
    }
}
