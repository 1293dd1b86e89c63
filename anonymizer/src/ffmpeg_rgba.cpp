#include "ffmpeg_rgba.h"

#include <cstring>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

namespace ffmpeg {
namespace {

/// Pixels that the scaler may write at once.
constexpr int32_t kScalerBlock = 32;

bool isFullRange(const AVFrame& frame) {
    switch (frame.format) {
    case AV_PIX_FMT_YUVJ411P:
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ444P:
        return true;
    default:
        return frame.color_range == AVCOL_RANGE_JPEG;
    }
}

/// False unless every row has been written: the others would keep what was there.
bool scale(SwsContext* scaler, const AVFrame& picture, uint8_t* target, std::size_t stride, int rows) {
    uint8_t* const planes[] = {target, nullptr, nullptr, nullptr};
    const int strides[] = {static_cast<int>(stride), 0, 0, 0};
    return sws_scale(scaler, picture.data, picture.linesize, 0, picture.height, planes, strides) == rows;
}

} // namespace

bool RgbaConverter::convert(const AVFrame& picture, int32_t matrix, pxl::Image& target) {
    if (!picture.data[0] || target.empty())
        return false;
    const Scaler scaler(sws_getContext(
        picture.width, picture.height, static_cast<AVPixelFormat>(picture.format), target.width,
        target.height, AV_PIX_FMT_RGBA, SWS_FAST_BILINEAR, nullptr, nullptr, nullptr));
    if (!scaler)
        return false;
    setYuvToRgb(scaler.get(), matrix, isFullRange(picture));

    auto* pixels = reinterpret_cast<uint8_t*>(target.pixels);
    const std::size_t rowBytes = 4 * static_cast<std::size_t>(target.width);
    const auto rows = static_cast<std::size_t>(target.height);
    if (target.width % kScalerBlock == 0)
        return scale(scaler.get(), picture, pixels, rowBytes, target.height);

    // Into rows of any other width the scaler would write past the end, or leave the last columns as they
    // were.
    const std::size_t blocks = (static_cast<std::size_t>(target.width) + kScalerBlock - 1) / kScalerBlock;
    const std::size_t paddedBytes = 4 * blocks * kScalerBlock;
    uint8_t* padded = paddedRows(paddedBytes * rows);
    if (!padded || !scale(scaler.get(), picture, padded, paddedBytes, target.height))
        return false;
    for (std::size_t row = 0; row < rows; ++row)
        std::memcpy(pixels + row * rowBytes, padded + row * paddedBytes, rowBytes);
    return true;
}

uint8_t* RgbaConverter::paddedRows(std::size_t bytes) {
    if (rowsSize_ < bytes) {
        rows_.reset(static_cast<uint8_t*>(av_malloc(bytes)));
        rowsSize_ = rows_ ? bytes : 0;
    }
    return rows_.get();
}

void RgbaConverter::clear() {
    rows_.reset();
    rowsSize_ = 0;
}

} // namespace ffmpeg
