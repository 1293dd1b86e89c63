#include "viewmapping.h"

#include <algorithm>
#include <cmath>

namespace view {

Mapping::Mapping(Size window, Size frame) : frame_(frame) {
    const auto areaWidth = static_cast<float>(window.width);
    const auto areaHeight = static_cast<float>(window.height - kControlBarHeight);
    if (frame.width < 1 || frame.height < 1 || areaWidth <= 0 || areaHeight <= 0)
        return;
    const auto frameWidth = static_cast<float>(frame.width);
    const auto frameHeight = static_cast<float>(frame.height);
    scale_ = std::min(areaWidth / frameWidth, areaHeight / frameHeight);
    origin_ = {areaWidth / 2 - frameWidth / 2 * scale_, areaHeight / 2 - frameHeight / 2 * scale_};
    // Half a pixel off, the middles of the window's pixels would lie on the edges of the video's, and
    // rounding would decide which of two each of them shows.
    if (scale_ == std::floor(scale_))
        origin_ = {std::floor(origin_.x), std::floor(origin_.y)};
}

PointF Mapping::toVideo(PointF window) const {
    if (!valid())
        return {};
    return {(window.x - origin_.x) / scale_, (window.y - origin_.y) / scale_};
}

PointF Mapping::toWindow(PointF video) const {
    if (!valid())
        return {};
    return {video.x * scale_ + origin_.x, video.y * scale_ + origin_.y};
}

Point Mapping::videoPixel(Point window) const {
    const PointF video = toVideo({static_cast<float>(window.x), static_cast<float>(window.y)});
    return {static_cast<int32_t>(video.x), static_cast<int32_t>(video.y)};
}

Point Mapping::windowPixel(Point video) const {
    const PointF window = toWindow({static_cast<float>(video.x) + 0.5f, static_cast<float>(video.y) + 0.5f});
    // Halves go down: at scale 1 the middle of video pixel 7 lies at 7.5.
    return {static_cast<int32_t>(std::ceil(window.x - 0.5f)),
            static_cast<int32_t>(std::ceil(window.y - 0.5f))};
}

bool Mapping::inside(Point window) const {
    if (!valid())
        return false;
    const Point video = videoPixel(window);
    return video.x >= 0 && video.y >= 0 && video.x < frame_.width && video.y <= frame_.height;
}

} // namespace view
