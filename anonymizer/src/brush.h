#pragma once

#include <cstdint>

#include "viewmapping.h"

/// The square the user paints with, in pixels of the video.
namespace brush {

/// Brush size after one wheel event: 16 more for a positive rotation, 16 less for a negative one, whatever
/// its magnitude. A size above the upper bound, 16 less than the frame's shorter side, becomes that bound,
/// which may lie below the lower one (growing on a 20 × 20 frame gives 4, on a frame of 16 pixels or less no
/// brush at all); otherwise a size below 16 becomes 16.
int32_t sizeAfterWheel(int32_t size, int rotation, view::Size frame);

/// The rectangle that a dab at `centre` (a video pixel) adds: a square of side `size` around it, moved into
/// the frame where it reaches beyond. A square larger than the frame begins at the frame's corner and reaches
/// beyond the other end. Empty when `size` or the frame is below one pixel.
view::Rect square(view::Point centre, int32_t size, view::Size frame);

/// Video pixel that `square` is centred on, so that squaring it again gives the same rectangle.
view::Point centreOf(const view::Rect& square);

} // namespace brush
