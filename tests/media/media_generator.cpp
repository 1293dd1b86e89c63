/// Draws the pictures of the synthesised clips and writes them to standard output as packed RGB, 3 bytes per
/// pixel, for the ffmpeg program to encode.
///
///   media_generator counter WIDTH HEIGHT FIRST COUNT        numbers FIRST … FIRST + COUNT - 1, where there
///   is room media_generator scene WIDTH HEIGHT COUNT [REGIONS.csv]  a street with a walker and a car

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "street_scene.h"
#include "support/counter_clip.h"

namespace {

using media::Picture;

/// A gradient with squares that wander, so that every frame differs everywhere and prediction has work to do.
void drawTexture(Picture& picture, int number) {
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x) {
            const int u = x + 3 * number;
            const int v = y + 2 * number;
            const bool raised = ((u / 16) ^ (v / 16)) & 1;
            uint8_t* pixel = picture.at(x, y);
            pixel[0] = static_cast<uint8_t>(40 + (u * 3 / 4) % 160 / 2 + (raised ? 60 : 0));
            pixel[1] = static_cast<uint8_t>(50 + (v * 2 / 3) % 150 / 2 + (raised ? 0 : 50));
            pixel[2] = static_cast<uint8_t>(60 + (u + v) % 180 / 2);
        }
}

void drawNumber(Picture& picture, int number) {
    const int side = counter_clip::blockSide(picture.width, picture.height);
    if (counter_clip::kBits * side > picture.width || 2 * side > picture.height)
        return;
    for (int bit = 0; bit < counter_clip::kBits; ++bit) {
        const bool set = (number >> (counter_clip::kBits - 1 - bit)) & 1;
        for (int y = 0; y < 2 * side; ++y)
            std::memset(picture.at(bit * side, y), set == (y < side) ? 255 : 0,
                        3 * static_cast<std::size_t>(side));
    }
}

bool write(const Picture& picture) {
    return std::fwrite(picture.bytes.data(), 1, picture.bytes.size(), stdout) == picture.bytes.size();
}

bool writeCounter(int width, int height, int first, int count) {
    Picture picture(width, height);
    for (int number = first; number < first + count; ++number) {
        drawTexture(picture, number);
        drawNumber(picture, number);
        if (!write(picture))
            return false;
    }
    return true;
}

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

bool writeScene(int width, int height, int count, const char* regionsPath) {
    std::unique_ptr<std::FILE, FileCloser> regions;
    if (regionsPath) {
        regions.reset(std::fopen(regionsPath, "wb"));
        if (!regions)
            return false;
        std::fputs("first_frame,last_frame,x,y,w,h,score\n", regions.get());
    }
    media::StreetScene scene(width, height);
    for (int number = 1; number <= count; ++number) {
        const auto found = scene.draw(number, count);
        if (!write(scene.picture()))
            return false;
        if (regions)
            for (const auto& box : found)
                std::fprintf(regions.get(), "%d,%d,%d,%d,%d,%d,100\n", number, number, box.x, box.y, box.w,
                             box.h);
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    const auto number = [&](int index) { return index < argc ? std::atoi(argv[index]) : 0; };
    bool written = false;
    if (mode == "counter" && argc == 6)
        written = writeCounter(number(2), number(3), number(4), number(5));
    else if (mode == "scene" && (argc == 5 || argc == 6))
        written = writeScene(number(2), number(3), number(4), argc == 6 ? argv[5] : nullptr);
    else
        std::fputs("usage: media_generator counter WIDTH HEIGHT FIRST COUNT\n"
                   "       media_generator scene WIDTH HEIGHT COUNT [REGIONS.csv]\n",
                   stderr);
    return written ? 0 : 1;
}
