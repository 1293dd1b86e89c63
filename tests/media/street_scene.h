#pragma once

#include <cstdint>
#include <vector>

namespace media {

/// Packed RGB picture, top row first.
struct Picture {
    Picture(int pictureWidth, int pictureHeight)
        : width(pictureWidth), height(pictureHeight),
          bytes(3 * static_cast<std::size_t>(pictureWidth) * static_cast<std::size_t>(pictureHeight)) {}

    uint8_t* at(int x, int y) {
        return bytes.data() + 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                                   static_cast<std::size_t>(x));
    }

    int width;
    int height;
    std::vector<uint8_t> bytes;
};

struct Color {
    uint8_t r, g, b;
};

/// In pixels of the picture, origin top left.
struct Box {
    int x, y, w, h;
};

/// A street on which somebody walks from left to right while a car comes closer.
class StreetScene {
public:
    StreetScene(int width, int height);

    /// Draws frame `number` of 1 … `count`. Returns the boxes of what should not be recognisable: the
    /// walker's face and the car's number plate.
    std::vector<Box> draw(int number, int count);

    Picture& picture() { return picture_; }

private:
    // Shapes; positions and sizes in units of a picture 1280 wide.
    void box(double left, double top, double right, double bottom, double radius, Color color);
    void ellipse(double centreX, double centreY, double radiusX, double radiusY, Color color);
    void limb(double fromX, double fromY, double toX, double toY, double radius, Color color);
    void glyphs(double left, double top, double dot, const char* text, Color color);
    template <typename Distance>
    void fill(double left, double top, double right, double bottom, Distance distance, Color color);

    void drawBackground();
    Box drawWalker(double progress);
    Box drawCar(double progress);
    Box toPixels(double left, double top, double right, double bottom) const;

    double scale_;
    Picture picture_;
    Picture background_;
};

} // namespace media
