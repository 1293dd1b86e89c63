#include <algorithm>
#include <cstdlib>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/mem.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include "ffmpeg_rgba.h"
#include "video_backend.h"

namespace {

constexpr int kLargestWidth = 1999;
constexpr int kBt709 = 1;

ffmpeg::FrameHandle makePicture(AVPixelFormat format, int width, int height) {
    ffmpeg::FrameHandle picture(av_frame_alloc());
    picture->format = format;
    picture->width = width;
    picture->height = height;
    return av_frame_get_buffer(picture.get(), 0) < 0 ? nullptr : std::move(picture);
}

/// Fills all planes with a shade of grey, full range or limited.
void fillGrey(AVFrame& picture, int percent) {
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
    const int depth = description->comp[0].depth;
    for (int plane = 0; plane < 3; ++plane) {
        const bool chroma = plane > 0 && !(description->flags & AV_PIX_FMT_FLAG_RGB);
        const int value = (chroma ? 128 : percent * 255 / 100) << (depth - 8);
        const int rows = chroma ? AV_CEIL_RSHIFT(picture.height, description->log2_chroma_h) : picture.height;
        for (int y = 0; y < rows; ++y) {
            uint8_t* row = picture.data[plane] + y * picture.linesize[plane];
            if (depth > 8)
                std::fill_n(reinterpret_cast<uint16_t*>(row), picture.linesize[plane] / 2,
                            static_cast<uint16_t>(value));
            else
                std::fill_n(row, picture.linesize[plane], static_cast<uint8_t>(value));
        }
    }
}

/// Memory that tells who wrote where: a picture in the middle of marked bytes.
class GuardedImage {
public:
    GuardedImage(int width, int height)
        : memory_(2 * kGuard + static_cast<std::size_t>(width) * static_cast<std::size_t>(height), kMark),
          image_(pxl::Image::view(width, height, memory_.data() + kGuard)) {}

    pxl::Image& image() { return image_; }

    bool guardsAreIntact() const {
        for (std::size_t i = 0; i < kGuard; ++i)
            if (memory_[i] != kMark || memory_[memory_.size() - 1 - i] != kMark)
                return false;
        return true;
    }

    /// Pixels that are not opaque or differ by more than `tolerance` from the first one.
    int strayPixels(int tolerance) const {
        int stray = 0;
        const auto* first = reinterpret_cast<const uint8_t*>(image_.pixels);
        for (std::size_t i = 0; i < image_.pixelCount(); ++i) {
            const uint8_t* pixel = first + 4 * i;
            bool same = pixel[3] == 255;
            for (int channel = 0; channel < 3; ++channel)
                same = same && std::abs(pixel[channel] - first[channel]) <= tolerance;
            stray += same ? 0 : 1;
        }
        return stray;
    }

private:
    static constexpr std::size_t kGuard = 256;
    static constexpr uint32_t kMark = 0x5A0102A5;

    std::vector<uint32_t> memory_;
    pxl::Image image_;
};

class EveryWidth : public testing::TestWithParam<AVPixelFormat> {
protected:
    static void SetUpTestSuite() { ffmpeg::initialiseOnce(); }

    void expectWhole(const AVFrame& picture, int width, int height) {
        GuardedImage target(width, height);
        ASSERT_TRUE(converter_.convert(picture, video::kColorMatrixUnspecified, target.image()));
        ASSERT_TRUE(target.guardsAreIntact()) << width << "x" << height;
        ASSERT_EQ(target.strayPixels(4), 0) << width << "x" << height;
    }

    ffmpeg::RgbaConverter converter_;
};

TEST_P(EveryWidth, OfThePictureFillsTheTargetAndNothingElse) {
    for (int width = 1; width <= kLargestWidth; ++width) {
        const int height = 2 + width % 3;
        const auto picture = makePicture(GetParam(), width, height);
        ASSERT_TRUE(picture);
        fillGrey(*picture, 60);
        expectWhole(*picture, width, height);
    }
}

TEST_P(EveryWidth, OfTheTargetIsFilledByScaling) {
    const auto picture = makePicture(GetParam(), 320, 18);
    ASSERT_TRUE(picture);
    fillGrey(*picture, 60);
    for (int width = 1; width <= kLargestWidth; width += width < 100 ? 1 : 3)
        expectWhole(*picture, width, 4 + width % 3);
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryWidth,
                         testing::Values(AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV422P,
                                         AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV422P10LE,
                                         AV_PIX_FMT_GBRP),
                         [](const testing::TestParamInfo<AVPixelFormat>& format) {
                             return std::string(av_get_pix_fmt_name(format.param));
                         });

TEST(RgbaConverter, RefusesAnEmptyPictureAndAnEmptyTarget) {
    ffmpeg::RgbaConverter converter;
    const ffmpeg::FrameHandle none(av_frame_alloc());
    pxl::Image target(8, 8);
    EXPECT_FALSE(converter.convert(*none, video::kColorMatrixUnspecified, target));
    const auto picture = makePicture(AV_PIX_FMT_YUV420P, 8, 8);
    pxl::Image empty;
    EXPECT_FALSE(converter.convert(*picture, video::kColorMatrixUnspecified, empty));
}

TEST(RgbaConverter, RefusesAPictureForWhosePaddedRowsThereIsNoMemory) {
    constexpr int kWidth = 1920;
    constexpr int kHeight = 1080;
    const auto picture = makePicture(AV_PIX_FMT_YUV420P, kWidth, kHeight);
    ASSERT_TRUE(picture);
    fillGrey(*picture, 60);
    pxl::Image even(kWidth, kHeight);
    pxl::Image odd(kWidth - 1, kHeight);
    ffmpeg::RgbaConverter converter;
    const auto convert = [&](pxl::Image& target) {
        return converter.convert(*picture, video::kColorMatrixUnspecified, target);
    };
    // Enough for everything else.
    av_max_alloc(std::size_t{4} * kWidth * kHeight / 2);
    const bool withoutRows = convert(even);
    const bool withRows = convert(odd);
    av_max_alloc(std::numeric_limits<int>::max());
    EXPECT_TRUE(withoutRows);
    EXPECT_FALSE(withRows);
    EXPECT_TRUE(convert(odd)) << "there is memory again";
}

struct Rgb {
    int r, g, b;
};

/// Colours that every matrix and range can hold, saturated ones among them.
const Rgb kColors[] = {{0, 0, 0},     {255, 255, 255}, {128, 128, 128}, {191, 0, 0},
                       {0, 191, 0},   {0, 0, 191},     {191, 191, 0},   {0, 191, 191},
                       {191, 0, 191}, {222, 176, 146}, {36, 112, 152}};

struct Coding {
    const char* name;
    int32_t matrix;
    AVPixelFormat format;
    AVColorRange range;
    double kr, kb;
};

void PrintTo(const Coding& coding, std::ostream* out) {
    *out << coding.name;
}

bool isFull(const Coding& coding) {
    // The formats that have it in their name: yuvj420p and its like.
    return coding.range == AVCOL_RANGE_JPEG ||
           std::string(av_get_pix_fmt_name(coding.format)).compare(0, 4, "yuvj") == 0;
}

/// The definition of the coding, in floating point.
void fillColor(AVFrame& picture, const Coding& coding, Rgb color) {
    const double luma = coding.kr * color.r + (1 - coding.kr - coding.kb) * color.g + coding.kb * color.b;
    const double cb = (color.b - luma) / (2 * (1 - coding.kb));
    const double cr = (color.r - luma) / (2 * (1 - coding.kr));
    const double y = isFull(coding) ? luma : 16 + luma * 219 / 255;
    const double scale = isFull(coding) ? 1 : 224.0 / 255;
    const double values[] = {y, 128 + cb * scale, 128 + cr * scale};
    const bool tenBits = coding.format == AV_PIX_FMT_YUV420P10LE;
    const int chromaRows = AV_CEIL_RSHIFT(picture.height, av_pix_fmt_desc_get(coding.format)->log2_chroma_h);
    for (int plane = 0; plane < 3; ++plane)
        for (int row = 0; row < (plane ? chromaRows : picture.height); ++row) {
            uint8_t* bytes = picture.data[plane] + row * picture.linesize[plane];
            if (tenBits)
                std::fill_n(reinterpret_cast<uint16_t*>(bytes), picture.linesize[plane] / 2,
                            static_cast<uint16_t>(std::min(1023.0, 4 * values[plane] + 0.5)));
            else
                std::fill_n(bytes, picture.linesize[plane],
                            static_cast<uint8_t>(std::min(255.0, values[plane] + 0.5)));
        }
}

class Colors : public testing::TestWithParam<Coding> {
protected:
    static void SetUpTestSuite() { ffmpeg::initialiseOnce(); }
};

TEST_P(Colors, AreDecodedAsTheyAreMeant) {
    const Coding& coding = GetParam();
    ffmpeg::RgbaConverter converter;
    for (const Rgb& color : kColors) {
        const auto picture = makePicture(coding.format, 64, 16);
        picture->color_range = coding.range;
        fillColor(*picture, coding, color);
        pxl::Image image(64, 16);
        ASSERT_TRUE(converter.convert(*picture, coding.matrix, image));
        const auto* pixel = reinterpret_cast<const uint8_t*>(image.pixels + 8 * 64 + 32);
        EXPECT_NEAR(pixel[0], color.r, 3) << color.r << " " << color.g << " " << color.b;
        EXPECT_NEAR(pixel[1], color.g, 3) << color.r << " " << color.g << " " << color.b;
        EXPECT_NEAR(pixel[2], color.b, 3) << color.r << " " << color.g << " " << color.b;
    }
}

class LimitedRange : public Colors {};

TEST_P(LimitedRange, ComesBackAsTheSamePlanes) {
    const Coding& coding = GetParam();
    ffmpeg::RgbaConverter converter;
    for (const Rgb& color : kColors) {
        const auto picture = makePicture(coding.format, 64, 16);
        fillColor(*picture, coding, color);
        pxl::Image image(64, 16);
        ASSERT_TRUE(converter.convert(*picture, coding.matrix, image));

        const auto back = makePicture(AV_PIX_FMT_YUV420P, 64, 16);
        const ffmpeg::Scaler scaler(sws_getContext(64, 16, AV_PIX_FMT_RGBA, 64, 16, AV_PIX_FMT_YUV420P,
                                                   SWS_BILINEAR, nullptr, nullptr, nullptr));
        ASSERT_TRUE(scaler);
        ffmpeg::setRgbToYuv(scaler.get(), coding.matrix, false);
        const uint8_t* const source[] = {reinterpret_cast<const uint8_t*>(image.pixels)};
        const int stride[] = {64 * 4};
        sws_scale(scaler.get(), source, stride, 0, 16, back->data, back->linesize);
        for (int plane = 0; plane < 3; ++plane) {
            const int shift = plane ? 1 : 0;
            EXPECT_NEAR(back->data[plane][(8 >> shift) * back->linesize[plane] + (32 >> shift)],
                        picture->data[plane][(8 >> shift) * picture->linesize[plane] + (32 >> shift)], 2)
                << "plane " << plane << " of " << color.r << " " << color.g << " " << color.b;
        }
    }
}

const Coding kLimitedRange[] = {{"Unspecified", 2, AV_PIX_FMT_YUV420P, AVCOL_RANGE_UNSPECIFIED, 0.299, 0.114},
                                {"Bt601", 6, AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG, 0.299, 0.114},
                                {"Bt709", kBt709, AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG, 0.2126, 0.0722},
                                {"Bt2020", 9, AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG, 0.2627, 0.0593}};

/// Their planes get another range or depth on the way back, so only the colours can be the same.
const Coding kOthers[] = {
    {"FullRangeFormat", 2, AV_PIX_FMT_YUVJ420P, AVCOL_RANGE_UNSPECIFIED, 0.299, 0.114},
    {"FullRangeFormat411", 2, AV_PIX_FMT_YUVJ411P, AVCOL_RANGE_UNSPECIFIED, 0.299, 0.114},
    {"FullRangeFormat422", 2, AV_PIX_FMT_YUVJ422P, AVCOL_RANGE_UNSPECIFIED, 0.299, 0.114},
    {"FullRangeFormat440", 2, AV_PIX_FMT_YUVJ440P, AVCOL_RANGE_UNSPECIFIED, 0.299, 0.114},
    {"FullRangeFormat444", 2, AV_PIX_FMT_YUVJ444P, AVCOL_RANGE_UNSPECIFIED, 0.299, 0.114},
    {"FullRangeTag", 2, AV_PIX_FMT_YUV420P, AVCOL_RANGE_JPEG, 0.299, 0.114},
    {"FullRangeBt709", kBt709, AV_PIX_FMT_YUVJ420P, AVCOL_RANGE_JPEG, 0.2126, 0.0722},
    {"TenBits", 2, AV_PIX_FMT_YUV420P10LE, AVCOL_RANGE_MPEG, 0.299, 0.114},
    {"TenBitsFullRange", kBt709, AV_PIX_FMT_YUV420P10LE, AVCOL_RANGE_JPEG, 0.2126, 0.0722}};

std::string nameOf(const testing::TestParamInfo<Coding>& coding) {
    return coding.param.name;
}

INSTANTIATE_TEST_SUITE_P(Limited, Colors, testing::ValuesIn(kLimitedRange), nameOf);
INSTANTIATE_TEST_SUITE_P(Others, Colors, testing::ValuesIn(kOthers), nameOf);
INSTANTIATE_TEST_SUITE_P(Limited, LimitedRange, testing::ValuesIn(kLimitedRange), nameOf);

} // namespace
