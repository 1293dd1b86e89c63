#include "street_scene.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace media {
namespace {

constexpr double kUnitsAcross = 1280.0;
constexpr double kPi = 3.14159265358979323846;

struct Glyph {
    char letter;
    std::array<uint8_t, 5> rows;
};

// Three dots wide, five high; the highest of three bits is the left dot.
constexpr std::array<Glyph, 7> kGlyphs{{{'S', {7, 4, 7, 1, 7}},
                                        {'H', {5, 5, 7, 5, 5}},
                                        {'R', {6, 5, 6, 5, 5}},
                                        {'0', {7, 5, 5, 5, 7}},
                                        {'4', {5, 5, 7, 1, 1}},
                                        {'2', {7, 1, 7, 4, 7}},
                                        {'7', {7, 1, 2, 2, 2}}}};

/// Repeatable grain, -4 … 4, so that surfaces are not flat.
int grain(int x, int y) {
    uint32_t hash = static_cast<uint32_t>(x) * 374761393u + static_cast<uint32_t>(y) * 668265263u;
    hash = (hash ^ (hash >> 13)) * 1274126177u;
    return static_cast<int>((hash >> 16) % 9) - 4;
}

} // namespace

StreetScene::StreetScene(int width, int height)
    : scale_(width / kUnitsAcross), picture_(width, height), background_(width, height) {
    drawBackground();
    background_ = picture_;
}

std::vector<Box> StreetScene::draw(int number, int count) {
    picture_.bytes = background_.bytes;
    const double progress = static_cast<double>(number - 1) / std::max(1, count - 1);
    const Box plate = drawCar(progress);
    const Box face = drawWalker(progress);
    return {face, plate};
}

/// `distance` is the signed distance to the shape's edge in units, negative inside.
template <typename Distance>
void StreetScene::fill(double left, double top, double right, double bottom, Distance distance, Color color) {
    const int firstX = std::max(0, static_cast<int>(std::floor(left * scale_)) - 1);
    const int firstY = std::max(0, static_cast<int>(std::floor(top * scale_)) - 1);
    const int lastX = std::min(picture_.width - 1, static_cast<int>(std::ceil(right * scale_)) + 1);
    const int lastY = std::min(picture_.height - 1, static_cast<int>(std::ceil(bottom * scale_)) + 1);
    for (int y = firstY; y <= lastY; ++y)
        for (int x = firstX; x <= lastX; ++x) {
            const double edge = distance((x + 0.5) / scale_, (y + 0.5) / scale_) * scale_;
            const double cover = std::clamp(0.5 - edge, 0.0, 1.0);
            if (cover <= 0)
                continue;
            uint8_t* pixel = picture_.at(x, y);
            const int shade = grain(x, y) / 2;
            const std::array<int, 3> wanted{color.r + shade, color.g + shade, color.b + shade};
            for (std::size_t i = 0; i < wanted.size(); ++i)
                pixel[i] =
                    static_cast<uint8_t>(std::clamp(pixel[i] + (wanted[i] - pixel[i]) * cover, 0.0, 255.0));
        }
}

void StreetScene::box(double left, double top, double right, double bottom, double radius, Color color) {
    const double centreX = (left + right) / 2, centreY = (top + bottom) / 2;
    const double halfX = (right - left) / 2 - radius, halfY = (bottom - top) / 2 - radius;
    fill(
        left, top, right, bottom,
        [=](double x, double y) {
            const double dx = std::abs(x - centreX) - halfX, dy = std::abs(y - centreY) - halfY;
            return std::hypot(std::max(dx, 0.0), std::max(dy, 0.0)) + std::min(std::max(dx, dy), 0.0) -
                   radius;
        },
        color);
}

void StreetScene::ellipse(double centreX, double centreY, double radiusX, double radiusY, Color color) {
    fill(
        centreX - radiusX, centreY - radiusY, centreX + radiusX, centreY + radiusY,
        [=](double x, double y) {
            return (std::hypot((x - centreX) / radiusX, (y - centreY) / radiusY) - 1) *
                   std::min(radiusX, radiusY);
        },
        color);
}

void StreetScene::limb(double fromX, double fromY, double toX, double toY, double radius, Color color) {
    const double dx = toX - fromX, dy = toY - fromY;
    const double length = dx * dx + dy * dy;
    fill(
        std::min(fromX, toX) - radius, std::min(fromY, toY) - radius, std::max(fromX, toX) + radius,
        std::max(fromY, toY) + radius,
        [=](double x, double y) {
            const double along = std::clamp(((x - fromX) * dx + (y - fromY) * dy) / length, 0.0, 1.0);
            return std::hypot(x - fromX - along * dx, y - fromY - along * dy) - radius;
        },
        color);
}

void StreetScene::glyphs(double left, double top, double dot, const char* text, Color color) {
    for (; *text; ++text, left += 4 * dot)
        for (const auto& glyph : kGlyphs)
            for (int row = 0; row < 5 && glyph.letter == *text; ++row)
                for (int column = 0; column < 3; ++column)
                    if (glyph.rows[static_cast<std::size_t>(row)] & (4 >> column))
                        box(left + column * dot, top + row * dot, left + (column + 1) * dot,
                            top + (row + 1) * dot, 0, color);
}

void StreetScene::drawBackground() {
    for (int y = 0; y < picture_.height; ++y)
        for (int x = 0; x < picture_.width; ++x) {
            const double up = 1 - y / (420.0 * scale_);
            const int shade = grain(x / 2, y / 2);
            uint8_t* pixel = picture_.at(x, y);
            pixel[0] = static_cast<uint8_t>(std::clamp(205 - 90 * up + shade, 0.0, 255.0));
            pixel[1] = static_cast<uint8_t>(std::clamp(215 - 60 * up + shade, 0.0, 255.0));
            pixel[2] = static_cast<uint8_t>(std::clamp(225 - 20 * up + shade, 0.0, 255.0));
        }
    ellipse(1060, 90, 46, 46, {255, 240, 190});
    struct House {
        double left, right, top;
        Color wall;
    };
    constexpr std::array<House, 5> houses{{{-20, 230, 120, {176, 112, 92}},
                                           {230, 470, 180, {203, 186, 152}},
                                           {470, 760, 90, {132, 140, 152}},
                                           {760, 1000, 160, {188, 148, 118}},
                                           {1000, 1300, 110, {150, 164, 140}}}};
    for (const auto& house : houses) {
        box(house.left, house.top, house.right, 470, 0, house.wall);
        for (double y = house.top + 26; y < 400; y += 66)
            for (double x = house.left + 24; x + 34 < house.right; x += 58) {
                box(x, y, x + 34, y + 42, 2, {62, 74, 92});
                box(x + 3, y + 3, x + 15, y + 39, 1, {120, 144, 168});
            }
    }
    box(-20, 470, 1300, 560, 0, {158, 154, 148});
    box(-20, 556, 1300, 564, 0, {110, 108, 104});
    box(-20, 564, 1300, 760, 0, {82, 84, 88});
    for (double x = 30; x < kUnitsAcross; x += 160)
        box(x, 655, x + 90, 665, 2, {214, 210, 190});
    limb(350, 240, 350, 520, 4, {64, 66, 70});
    ellipse(350, 232, 18, 12, {240, 232, 200});
}

Box StreetScene::drawWalker(double progress) {
    const double x = 120 + 620 * progress;
    const double step = std::sin(progress * 2 * kPi * 9);
    const double y = 330 + 6 * std::abs(step);
    constexpr Color skin{222, 176, 146}, coat{168, 42, 52}, trousers{44, 52, 84}, shoe{32, 30, 30};
    limb(x, y + 170, x - 34 * step, y + 262, 14, trousers);
    limb(x, y + 170, x + 34 * step, y + 262, 14, trousers);
    limb(x - 34 * step, y + 268, x - 34 * step + 16, y + 270, 10, shoe);
    limb(x + 34 * step, y + 268, x + 34 * step + 16, y + 270, 10, shoe);
    limb(x - 20, y + 84, x - 30 + 30 * step, y + 160, 10, coat);
    box(x - 32, y + 58, x + 32, y + 184, 22, coat);
    limb(x + 18, y + 84, x + 28 - 30 * step, y + 160, 10, {148, 34, 44});
    limb(x, y + 44, x, y + 64, 11, skin);
    ellipse(x, y + 6, 38, 46, {70, 46, 30});
    ellipse(x + 3, y + 14, 33, 41, skin);
    for (const double side : {-12.0, 16.0}) {
        ellipse(x + side, y + 8, 7, 5, {250, 250, 248});
        ellipse(x + side + 1.5, y + 8, 3, 4, {40, 62, 92});
        limb(x + side - 6, y - 3, x + side + 6, y - 4, 1.6, {70, 46, 30});
    }
    limb(x + 3, y + 12, x + 6, y + 24, 1.8, {188, 138, 112});
    limb(x - 8, y + 36, x + 14, y + 36, 2.4, {168, 66, 66});
    return toPixels(x - 42, y - 44, x + 42, y + 60);
}

Box StreetScene::drawCar(double progress) {
    const double size = 0.7 + 0.6 * progress;
    const double x = 980 - 30 * progress, y = 540 + 60 * progress;
    const auto sx = [&](double value) { return x + value * size; };
    const auto sy = [&](double value) { return y + value * size; };
    box(sx(-134), sy(34), sx(-92), sy(84), 10 * size, {24, 24, 26});
    box(sx(92), sy(34), sx(134), sy(84), 10 * size, {24, 24, 26});
    box(sx(-104), sy(-112), sx(104), sy(0), 34 * size, {28, 92, 128});
    box(sx(-88), sy(-98), sx(88), sy(-30), 22 * size, {178, 208, 222});
    box(sx(-140), sy(-34), sx(140), sy(62), 24 * size, {36, 112, 152});
    for (const double side : {-1.0, 1.0})
        ellipse(sx(104 * side), sy(-2), 24 * size, 15 * size, {250, 244, 214});
    box(sx(-66), sy(-12), sx(66), sy(10), 6 * size, {30, 36, 42});
    box(sx(-64), sy(22), sx(64), sy(52), 4 * size, {244, 244, 240});
    glyphs(sx(-57), sy(27), 4 * size, "SHR0427", {28, 30, 60});
    return toPixels(sx(-68), sy(18), sx(68), sy(56));
}

Box StreetScene::toPixels(double left, double top, double right, double bottom) const {
    const int x = static_cast<int>(std::floor(left * scale_));
    const int y = static_cast<int>(std::floor(top * scale_));
    return {x, y, static_cast<int>(std::ceil(right * scale_)) - x,
            static_cast<int>(std::ceil(bottom * scale_)) - y};
}

} // namespace media
