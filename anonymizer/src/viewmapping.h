#pragma once

#include <cstdint>

/// Where the picture lies in the canvas window: the one place that turns window pixels into video pixels and
/// back. "Window" always means logical pixels with the origin at the canvas's top left, the unit of mouse
/// events, client sizes and the layout; physical pixels exist only in the back buffer and its viewport.
namespace view {

/// Height of the control bar along the bottom, window pixels.
constexpr int32_t kControlBarHeight = 32;

struct Point {
    int32_t x = 0, y = 0;
};

struct PointF {
    float x = 0, y = 0;
};

struct Size {
    int32_t width = 0, height = 0;
};

/// Rectangle in pixels of the video.
struct Rect {
    int32_t x = 0, y = 0, w = 0, h = 0;
    bool empty() const { return w < 1 || h < 1; }
};

/// The picture fitted whole into the video area (the window without the control bar), centre on centre; at a
/// whole scale on whole window pixels, half a pixel beside the centre if need be.
class Mapping {
public:
    /// Maps nothing.
    Mapping() = default;
    /// `window` in window pixels with the control bar, `frame` in video pixels.
    Mapping(Size window, Size frame);

    /// False when there is no picture or no room for it: then nothing is inside and both directions give 0.
    bool valid() const { return scale_ > 0; }
    /// Window pixels per video pixel.
    float scale() const { return scale_; }
    /// Window position of the picture's top-left corner.
    PointF origin() const { return origin_; }
    Size frame() const { return frame_; }

    PointF toVideo(PointF window) const;
    PointF toWindow(PointF video) const;

    /// Video pixel under the window pixel, truncated toward zero; may lie outside the picture.
    Point videoPixel(Point window) const;
    /// Window pixel nearest to the middle of a video pixel. `videoPixel` of it gives `video` back wherever
    /// the picture is not shrunk; where it is, this gives back the window pixel that `video` came from.
    Point windowPixel(Point video) const;

    /// Whether a window pixel counts as on the picture. One row below the picture still does, one column to
    /// the right does not.
    bool inside(Point window) const;

private:
    Size frame_;
    float scale_ = 0;
    PointF origin_;
};

} // namespace view
