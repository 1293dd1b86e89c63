#pragma once

#include <cstdint>

namespace pxl {

/// Point or vector; the unit is the caller's (window or video pixels, texture fractions).
struct Vec2 {
    float x = 0;
    float y = 0;
};

/// Rectangle by its top left corner and size; the unit is the caller's.
struct RectF {
    float x = 0;
    float y = 0;
    float width = 0;
    float height = 0;
};

/// Whole pixels.
struct Size {
    int32_t width = 0;
    int32_t height = 0;
};

inline bool operator==(Size left, Size right) {
    return left.width == right.width && left.height == right.height;
}
inline bool operator!=(Size left, Size right) {
    return !(left == right);
}

/// Straight (not premultiplied) RGBA, 0 … 255 each, in the byte order of the vertices.
struct Color {
    uint8_t r = 255;
    uint8_t g = 255;
    uint8_t b = 255;
    uint8_t a = 255;
};

inline bool operator==(Color left, Color right) {
    return left.r == right.r && left.g == right.g && left.b == right.b && left.a == right.a;
}
inline bool operator!=(Color left, Color right) {
    return !(left == right);
}

/// 2×3 affine map: x' = a·x + c·y + tx, y' = b·x + d·y + ty. Starts as the identity.
struct Affine {
    float a = 1;
    float b = 0;
    float c = 0;
    float d = 1;
    float tx = 0;
    float ty = 0;

    Vec2 apply(Vec2 point) const { return {a * point.x + c * point.y + tx, b * point.x + d * point.y + ty}; }
};

} // namespace pxl
