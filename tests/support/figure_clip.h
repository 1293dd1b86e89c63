#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pxl/image.h"

/// A clip of figures that test::colourModel() finds exactly: standing persons (red core, 1 × 2 cells) and
/// lying faces (green core, 2 × 1 cells) on a patterned ground, moving, appearing late and hidden at times.
namespace test {

struct Rect {
    int32_t x = 0, y = 0, w = 0, h = 0;
    bool operator==(const Rect& other) const {
        return x == other.x && y == other.y && w == other.w && h == other.h;
    }
    bool operator<(const Rect& other) const {
        return y != other.y   ? y < other.y
               : x != other.x ? x < other.x
               : w != other.w ? w < other.w
                              : h < other.h;
    }
};

constexpr int32_t kFigureClipSide = 640;
constexpr int32_t kFigureCell = 32;
constexpr int32_t kFigureClipFrames = 90;
constexpr double kFigureClipRate = 25.0;

/// Which of the figures stand where in a frame, from 1.
struct Figure {
    enum Kind { kPerson, kFace, kCar } kind;
    /// Cell of the core.
    int32_t column, row;

    /// What the model reports.
    Rect box() const;
    /// What has to be hidden: a standing person's upper half.
    Rect hiddenArea() const;
};
std::vector<Figure> figuresAt(int64_t frame);

pxl::Image figureFrame(int64_t frame);

/// Encodes the clip with the ffmpeg program; throws when that fails.
void writeFigureClip(const std::string& path);

} // namespace test
