#include "brush.h"

#include <algorithm>

namespace brush {

namespace {

constexpr int32_t kStep = 16;
constexpr int32_t kSmallest = 16;
constexpr int32_t kMargin = 16;

} // namespace

int32_t sizeAfterWheel(int32_t size, int rotation, view::Size frame) {
    const int32_t wanted = size + (rotation > 0 ? kStep : rotation < 0 ? -kStep : 0);
    const int32_t largest = std::min(frame.width - kMargin, frame.height - kMargin);
    if (largest < wanted)
        return largest;
    return std::max(wanted, kSmallest);
}

view::Rect square(view::Point centre, int32_t size, view::Size frame) {
    if (size < 1 || frame.width < 1 || frame.height < 1)
        return {};
    return {std::clamp(centre.x - size / 2, 0, std::max(frame.width - size, 0)),
            std::clamp(centre.y - size / 2, 0, std::max(frame.height - size, 0)), size, size};
}

view::Point centreOf(const view::Rect& square) {
    return {square.x + square.w / 2, square.y + square.h / 2};
}

} // namespace brush
