#include "blurprocessors.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace {

/// Pixels of a row that are put together at once; most pictures are narrower.
constexpr std::size_t kStripLength = 4096;

/// Zero-filled picture of the input's size; one of that size is kept as it is.
void fitTo(const Image& input, Image& buffer) {
    if (buffer.width == input.width && buffer.height == input.height)
        return;
    buffer = Image::zeroed(input.width, input.height);
}

} // namespace

int32_t mosaicBlockSize(int32_t width, int32_t height, int32_t divisor) {
    return std::max(std::min(width, height) / divisor, 1);
}

void pixelate(const Image& source, uint32_t* target, int32_t block) {
    const auto width = static_cast<std::size_t>(source.width);
    const auto height = static_cast<std::size_t>(source.height);
    const auto cell = static_cast<std::size_t>(block);
    if (cell == 1) {
        std::memcpy(target, source.pixels, source.byteCount());
        return;
    }
    // The target may be the graphics driver's memory, which must not be read.
    std::array<uint32_t, kStripLength> strip;
    for (std::size_t y0 = 0; y0 < height; y0 += cell) {
        const uint32_t* samples = source.pixels + y0 * width;
        const std::size_t rows = std::min(cell, height - y0);
        for (std::size_t left = 0; left < width; left += kStripLength) {
            const std::size_t length = std::min(kStripLength, width - left);
            for (std::size_t x = left; x < left + length;) {
                const std::size_t x0 = x - x % cell;
                const std::size_t end = std::min(x0 + cell, left + length);
                std::fill_n(strip.data() + (x - left), end - x, samples[x0]);
                x = end;
            }
            for (std::size_t y = y0; y < y0 + rows; ++y)
                std::memcpy(target + y * width + left, strip.data(), length * sizeof(uint32_t));
        }
    }
}

Frameblur::Frameblur(int32_t width, int32_t height)
    : output_(Image::zeroed(width, height)), mosaic_(Image::zeroed(width, height)) {}

const Image* Frameblur::process(const Image& input, int32_t frame, int32_t threshold) {
    fitTo(input, output_);
    fitTo(input, mosaic_);
    if (input.empty())
        return &output_;
    std::memcpy(output_.pixels, input.pixels, input.byteCount());
    const int32_t block = mosaicBlockSize(input.width, input.height, kExportBlurDivisor);
    pixelate(input, mosaic_.pixels, block);
    regions_.collect(frame, threshold, input.width, input.height);
    regions_.copy(mosaic_, output_, block);
    return &output_;
}

Frameunblur::Frameunblur(int32_t width, int32_t height) : output_(Image::zeroed(width, height)) {}

const Image* Frameunblur::process(const Image& input, int32_t frame, int32_t threshold) {
    fitTo(input, output_);
    if (input.empty())
        return &output_;
    pixelate(input, output_.pixels, mosaicBlockSize(input.width, input.height, kExportBlurDivisor));
    regions_.collect(frame, threshold, input.width, input.height);
    regions_.copy(input, output_, 1);
    return &output_;
}
