#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/darknet_models.h"

/// Writes the clip of the user story and the model that finds the figures in it, and says on standard output
/// where they are: lines "FRAME X Y W H PERCENT" of what detection has to hide, frames from 1.
/// usage: story_clip CLIP MODEL_FOLDER
///
/// The clip is a grey texture that wanders 3 × 1 pixels per frame, with the frame's number in two rows of
/// black and white blocks above. A mosaic cell is 12 pixels.
namespace {

constexpr int kSide = 640;
constexpr int kFrames = 140;
constexpr int kNumberBlock = 40;
/// One of the model's cells.
constexpr int kFigureCell = 32;

/// Planes of YUV 4:2:0, one after the other.
class Picture {
public:
    explicit Picture(int frame) : planes_(kSide * kSide * 3 / 2, 128) {
        for (int y = 0; y < kSide; ++y)
            for (int x = 0; x < kSide; ++x)
                luma(x, y) = texture(x + 3 * frame, y + frame);
        for (int bit = 0; bit < 16; ++bit) {
            const bool isSet = (frame >> (15 - bit)) & 1;
            grey(bit * kNumberBlock, 0, kNumberBlock, kNumberBlock, isSet ? 235 : 16);
            grey(bit * kNumberBlock, kNumberBlock, kNumberBlock, kNumberBlock, isSet ? 16 : 235);
        }
    }

    void grey(int x, int y, int w, int h, uint8_t value) {
        for (int row = y; row < y + h; ++row)
            std::fill_n(&luma(x, row), w, value);
    }

    /// Even coordinates.
    void colour(int x, int y, int w, int h, uint8_t lumaValue, uint8_t cb, uint8_t cr) {
        grey(x, y, w, h, lumaValue);
        for (int row = y / 2; row < (y + h) / 2; ++row) {
            uint8_t* blue = planes_.data() + kSide * kSide + row * (kSide / 2) + x / 2;
            std::fill_n(blue, w / 2, cb);
            std::fill_n(blue + kSide * kSide / 4, w / 2, cr);
        }
    }

    bool writeTo(std::FILE* file) const {
        return std::fwrite(planes_.data(), 1, planes_.size(), file) == planes_.size();
    }

private:
    uint8_t& luma(int x, int y) { return planes_[static_cast<std::size_t>(y * kSide + x)]; }

    static uint8_t texture(int x, int y) {
        return static_cast<uint8_t>(
            std::lround(120 + 40 * std::sin(x / 2.9) * std::cos(y / 3.7) + 25 * std::sin((x + 2 * y) / 4.3)));
    }

    std::vector<uint8_t> planes_;
};

struct Figure {
    enum Kind { kPerson, kFace, kCar } kind;
    int column, row;
    int firstFrame, lastFrame;
};

constexpr Figure kFigures[] = {
    {Figure::kPerson, 12, 12, 100, kFrames},
    {Figure::kFace, 4, 16, 115, 125},
    {Figure::kCar, 16, 17, 1, kFrames},
};

void draw(Picture& picture, const Figure& figure) {
    const int x = figure.column * kFigureCell;
    const int y = figure.row * kFigureCell;
    constexpr int kEdge = kFigureCell / 4;
    constexpr int kCore = 2 * kEdge;
    switch (figure.kind) {
    case Figure::kPerson:
        picture.colour(x, y - kFigureCell / 2, kFigureCell, 2 * kFigureCell, 40, 128, 128);
        picture.colour(x + kEdge, y + kEdge, kCore, kCore, 81, 90, 240);
        break;
    case Figure::kFace:
        picture.colour(x - kFigureCell / 2, y, 2 * kFigureCell, kFigureCell, 40, 128, 128);
        picture.colour(x + kEdge, y + kEdge, kCore, kCore, 145, 54, 34);
        break;
    case Figure::kCar:
        picture.colour(x, y, kFigureCell, kFigureCell, 40, 128, 128);
        picture.colour(x + kEdge, y + kEdge, kCore, kCore, 41, 240, 110);
        break;
    }
}

/// The upper half of a person, the whole of a face.
void tell(const Figure& figure, int frame) {
    const int x = figure.column * kFigureCell;
    const int y = figure.row * kFigureCell;
    if (figure.kind == Figure::kPerson)
        std::printf("%d %d %d %d %d 90\n", frame, x, y - kFigureCell / 2, kFigureCell, kFigureCell);
    else if (figure.kind == Figure::kFace)
        std::printf("%d %d %d %d %d 70\n", frame, x - kFigureCell / 2, y, 2 * kFigureCell, kFigureCell);
}

bool writeClip(const std::string& path) {
    const std::string side = std::to_string(kSide);
    const std::string command = "ffmpeg -nostdin -loglevel error -y -f rawvideo -pix_fmt yuv420p -s " + side +
                                "x" + side +
                                " -r 25 -i pipe:0 -c:v libx264 -preset veryfast -crf 8 -bf 0 "
                                "-g 50 '" +
                                path + "'";
    std::FILE* pipe = popen(command.c_str(), "w");
    if (!pipe)
        return false;
    bool isWritten = true;
    for (int frame = 1; frame <= kFrames && isWritten; ++frame) {
        Picture picture(frame);
        for (const Figure& figure : kFigures)
            if (figure.firstFrame <= frame && frame <= figure.lastFrame)
                draw(picture, figure);
        isWritten = picture.writeTo(pipe);
    }
    return pclose(pipe) == 0 && isWritten;
}

bool writeModel(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    const test::DarknetModel model = test::colourModel();
    const auto write = [&](const char* name, const std::string& content) {
        std::ofstream file(folder / name, std::ios::binary);
        return static_cast<bool>(file.write(content.data(), static_cast<std::streamsize>(content.size())));
    };
    return write("figures.names", model.names) && write("figures.cfg", model.cfg) &&
           write("figures.weights", model.weights);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return 2;
    if (!writeClip(argv[1]) || !writeModel(argv[2]))
        return 1;
    for (int frame = 1; frame <= kFrames; ++frame)
        for (const Figure& figure : kFigures)
            if (figure.firstFrame <= frame && frame <= figure.lastFrame)
                tell(figure, frame);
    return 0;
}
