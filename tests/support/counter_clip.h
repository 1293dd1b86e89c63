#pragma once

#include <algorithm>
#include <cstdint>

#include "pxl/image.h"

/// The mark that every frame of the synthesised counter clips carries: its number, as two rows of black and
/// white blocks in the top left corner, big enough to survive lossy coding and scaling. The upper row has the
/// number's bits, highest first, white for 1; the lower row has the opposite, as a check.
namespace counter_clip {

constexpr int kBits = 16;
constexpr int64_t kUnreadable = -1;

/// Side of a block in pixels for a picture of that size.
inline int blockSide(int width, int height) {
    return std::max(1, std::min(width / kBits, height / 4));
}

/// Rows of the picture that the mark takes up; regions for tests belong below.
inline int markHeight(int width, int height) {
    return 2 * blockSide(width, height);
}

/// Mean brightness, 0 … 255, of the middle of a block.
inline int blockBrightness(const pxl::Image& image, int column, int row) {
    const int side = blockSide(image.width, image.height);
    const int margin = side / 4;
    int64_t sum = 0;
    int64_t count = 0;
    for (int y = row * side + margin; y < std::max((row + 1) * side - margin, row * side + margin + 1); ++y)
        for (int x = column * side + margin;
             x < std::max((column + 1) * side - margin, column * side + margin + 1); ++x) {
            const auto* bytes = reinterpret_cast<const uint8_t*>(
                image.pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) + x);
            sum += bytes[0] + bytes[1] + bytes[2];
            count += 3;
        }
    return static_cast<int>(sum / count);
}

/// The number a picture carries; `kUnreadable` when the mark is damaged or missing.
inline int64_t readNumber(const pxl::Image& image) {
    if (image.empty() || image.width < kBits || image.height < 4)
        return kUnreadable;
    int64_t number = 0;
    for (int bit = 0; bit < kBits; ++bit) {
        const bool upper = blockBrightness(image, bit, 0) > 127;
        const bool lower = blockBrightness(image, bit, 1) > 127;
        if (upper == lower)
            return kUnreadable;
        number = number * 2 + (upper ? 1 : 0);
    }
    return number;
}

} // namespace counter_clip
