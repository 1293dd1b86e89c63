#pragma once

#include <cstdint>
#include <vector>

#include "pxl/image.h"

/// Copies the pixels that the blur store's rectangles of one frame cover, each pixel once however many
/// rectangles share it, in the order of the rows. Keeps its lists, so that it allocates nothing in the long
/// run.
class RegionCopier {
public:
    /// Takes over the rectangles of a frame with a score of at least `threshold` percent, as far as they lie
    /// inside a picture of that size. Takes the blur store's mutex meanwhile.
    void collect(int64_t frame, int32_t threshold, int32_t width, int32_t height);

    /// Both pictures have the size given to `collect`. Rows of `from` are the same in groups of `equalRows`,
    /// counted from the top; one row of a group is read for all of it, so that it stays in the cache.
    void copy(const pxl::Image& from, pxl::Image& to, int32_t equalRows);

private:
    /// Pixels; right and bottom are the first ones outside.
    struct Rectangle {
        int32_t left, top, right, bottom;
    };
    struct Run {
        int32_t left, right;
    };

    /// Rows where a rectangle begins or ends, once each, in order.
    void findEdges();
    /// What the rectangles cover of one row, without overlaps, from left to right.
    void findRuns(int32_t row);

    /// Ordered by their left side when `copy` needs them.
    std::vector<Rectangle> rectangles_;
    std::vector<int32_t> edges_;
    std::vector<Run> runs_;
};
