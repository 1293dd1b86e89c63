#include "support/figure_clip.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

namespace test {

namespace {

constexpr uint32_t rgba(uint32_t r, uint32_t g, uint32_t b) {
    return 0xFF000000u | b << 16 | g << 8 | r;
}

void fill(pxl::Image& image, const Rect& rect, uint32_t colour, uint32_t other, int32_t period) {
    for (int32_t y = rect.y; y < rect.y + rect.h; ++y)
        for (int32_t x = rect.x; x < rect.x + rect.w; ++x)
            if (x >= 0 && y >= 0 && x < image.width && y < image.height)
                image.pixels[y * image.width + x] = (x / period + y / period) % 2 ? colour : other;
}

} // namespace

Rect Figure::box() const {
    const int32_t x = column * kFigureCell;
    const int32_t y = row * kFigureCell;
    if (kind == kPerson)
        return {x, y - kFigureCell / 2, kFigureCell, 2 * kFigureCell};
    if (kind == kFace)
        return {x - kFigureCell / 2, y, 2 * kFigureCell, kFigureCell};
    return {x, y, kFigureCell, kFigureCell};
}

Rect Figure::hiddenArea() const {
    Rect area = box();
    if (area.h > 1.5 * area.w)
        area.h /= 2;
    return area;
}

std::vector<Figure> figuresAt(int64_t frame) {
    const auto f = static_cast<int32_t>(frame);
    std::vector<Figure> figures;
    // Walks a cell to the right every six frames, from the first frame to the last.
    figures.push_back({Figure::kPerson, 2 + f / 6, 4});
    // Appears late and stays.
    if (f >= 60)
        figures.push_back({Figure::kPerson, 10, 10});
    // Hidden for ten frames, long enough for pre-blur to bridge the gap.
    if (f >= 20 && f <= 70 && !(f >= 40 && f < 50))
        figures.push_back({Figure::kFace, 5, 15});
    // There for one frame only.
    if (f == 80)
        figures.push_back({Figure::kFace, 15, 8});
    // Nothing that needs hiding.
    figures.push_back({Figure::kCar, 17, 17});
    return figures;
}

pxl::Image figureFrame(int64_t frame) {
    pxl::Image image(kFigureClipSide, kFigureClipSide);
    fill(image, {0, 0, image.width, image.height}, rgba(64, 64, 64), rgba(48, 48, 48), 8);
    const auto figures = figuresAt(frame);
    for (const Figure& figure : figures)
        fill(image, figure.box(), rgba(64, 64, 64), rgba(0, 0, 0), 4);
    for (const Figure& figure : figures) {
        constexpr int32_t edge = kFigureCell / 4;
        const uint32_t core = figure.kind == Figure::kPerson ? rgba(255, 0, 0)
                              : figure.kind == Figure::kFace ? rgba(0, 255, 0)
                                                             : rgba(0, 0, 255);
        fill(image, {figure.column * kFigureCell + edge, figure.row * kFigureCell + edge, 2 * edge, 2 * edge},
             core, core, 1);
    }
    return image;
}

void writeFigureClip(const std::string& path) {
    const std::string size = std::to_string(kFigureClipSide);
    const std::string command = "ffmpeg -nostdin -loglevel error -y -f rawvideo -pix_fmt rgba -s " + size +
                                "x" + size + " -r 25 -i pipe:0 -c:v libx264 -preset ultrafast -qp 8 -bf 0 " +
                                "-pix_fmt yuv420p '" + path + "'";
    struct Close {
        void operator()(std::FILE* pipe) const { pclose(pipe); }
    };
    std::unique_ptr<std::FILE, Close> pipe(popen(command.c_str(), "w"));
    if (!pipe)
        throw std::runtime_error("ffmpeg does not start");
    for (int64_t frame = 1; frame <= kFigureClipFrames; ++frame) {
        const pxl::Image image = figureFrame(frame);
        if (std::fwrite(image.pixels, 1, image.byteCount(), pipe.get()) != image.byteCount())
            throw std::runtime_error("ffmpeg takes no more frames");
    }
    if (pclose(pipe.release()) != 0)
        throw std::runtime_error("ffmpeg failed");
}

} // namespace test
