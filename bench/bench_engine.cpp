/// Measures the frame processors against a plain copy of the frame, and the blur store with many frames
/// against itself with few.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include <wx/init.h>
#include <wx/log.h>

#include "blurprocessors.h"
#include "blurtrack.h"
#include "report.h"

namespace {

constexpr int kFramesPerRepeat = 20;
constexpr unsigned kSeed = 20;

struct PictureSize {
    const char* name;
    int32_t width, height;
};

Image noise(int32_t width, int32_t height) {
    std::mt19937 random(kSeed);
    Image image(width, height);
    std::generate_n(image.pixels, image.pixelCount(), [&] { return static_cast<uint32_t>(random()); });
    return image;
}

/// Rectangles of a tenth of the picture's sides, in frame 1.
void placeRectangles(const PictureSize& size, int count) {
    std::mt19937 random(kSeed);
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    blurtrack::clear();
    blurtrack::initFrames(1);
    for (int i = 0; i < count; ++i) {
        const auto x = static_cast<float>(random() % static_cast<unsigned>(size.width * 9 / 10));
        const auto y = static_cast<float>(random() % static_cast<unsigned>(size.height * 9 / 10));
        const auto w = static_cast<float>(size.width) / 10;
        const auto h = static_cast<float>(size.height) / 10;
        blurtrack::addBlur(1, {x, y, w, h}, blurtrack::kBrushScore, blurtrack::kAnonymousBlurId);
    }
}

void measureProcessor(const bench::Options& options, const std::string& name, IImageProcessor& processor,
                      const PictureSize& size, int rectangles) {
    placeRectangles(size, rectangles);
    const Image input = noise(size.width, size.height);
    Image copy(size.width, size.height);
    bench::Figure figure;
    figure.name = name + " " + size.name + ", " + std::to_string(rectangles) + " rectangles";
    figure.unit = "ms";
    figure.peerName = "memcpy of the frame";
    figure.wantedRatio = 3;
    processor.process(input, 1, 50);
    for (int i = 0; i < options.repeat; ++i) {
        double ours = 0;
        double peer = 0;
        for (int frame = 0; frame < kFramesPerRepeat; ++frame) {
            ours += bench::threadSeconds([&] { processor.process(input, 1, 50); });
            peer += bench::threadSeconds([&] { std::memcpy(copy.pixels, input.pixels, input.byteCount()); });
        }
        figure.ours.push_back(ours / kFramesPerRepeat * 1e3);
        figure.peer.push_back(peer / kFramesPerRepeat * 1e3);
    }
    bench::print(figure);
}

void measureProcessors(const bench::Options& options) {
    for (const PictureSize& size : {PictureSize{"1080p", 1920, 1080}, PictureSize{"4K", 3840, 2160}})
        for (int rectangles : {0, 1, 100}) {
            Frameblur blur(size.width, size.height);
            measureProcessor(options, "Frameblur", blur, size, rectangles);
            Frameunblur unblur(size.width, size.height);
            measureProcessor(options, "Frameunblur", unblur, size, rectangles);
        }
}

constexpr int64_t kIds = 10;
constexpr int64_t kFewFrames = 25000;
constexpr int64_t kManyFrames = 100000;

/// Nanoseconds per call of each operation, over a store of so many frames with ten rectangles each. Frames
/// are visited in order, as recording, playback and export do.
struct StoreTimes {
    double add, hit, remove;
};

StoreTimes measureStore(int64_t frames) {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    blurtrack::clear();
    blurtrack::initFrames(frames);
    const auto calls = static_cast<double>(frames * kIds);
    StoreTimes times{};
    times.add = bench::threadSeconds([&] {
        for (int64_t frame = 1; frame <= frames; ++frame)
            for (int64_t id = 0; id < kIds; ++id) {
                const auto offset = static_cast<float>(id * 40);
                blurtrack::addBlur(frame, {offset, offset, 60, 60}, blurtrack::kBrushScore, id);
            }
    });
    int64_t hits = 0;
    times.hit = bench::threadSeconds([&] {
        for (int64_t frame = 1; frame <= frames; ++frame)
            for (int64_t id = 0; id < kIds; ++id) {
                const auto offset = static_cast<float>(id * 40 + 10);
                hits += blurtrack::hitTest(frame, offset, offset).id;
            }
    });
    times.remove = bench::threadSeconds([&] {
        for (int64_t id = 0; id < kIds; ++id)
            blurtrack::delBlur(id, 1);
    });
    blurtrack::clear();
    if (hits == 0)
        std::abort();
    times.add *= 1e9 / calls;
    times.hit *= 1e9 / calls;
    times.remove *= 1e9 / calls;
    return times;
}

void measureStores(const bench::Options& options) {
    bench::Figure add;
    add.name = "store: add, 100,000 frames x 10";
    add.unit = "ns/call";
    add.peerName = "the same with a quarter of the frames";
    add.wantedRatio = 2.5; // the caches hold less of the larger store
    add.note = "a step that grew with the number of frames would make it 4";
    bench::Figure hit = add;
    hit.name = "store: hit-test, 100,000 frames x 10";
    bench::Figure remove = add;
    remove.name = "store: delete, per frame of the span";
    for (int i = 0; i < options.repeat; ++i) {
        const StoreTimes many = measureStore(kManyFrames);
        const StoreTimes few = measureStore(kFewFrames);
        add.ours.push_back(many.add);
        add.peer.push_back(few.add);
        hit.ours.push_back(many.hit);
        hit.peer.push_back(few.hit);
        remove.ours.push_back(many.remove);
        remove.peer.push_back(few.remove);
    }
    bench::print(add);
    bench::print(hit);
    bench::print(remove);
}

} // namespace

int main(int argc, char** argv) {
    const wxInitializer library;
    wxLog::SetLogLevel(wxLOG_FatalError); // the cost of writing log lines is the log's
    const bench::Options options = bench::parseOptions(argc, argv);
    measureProcessors(options);
    measureStores(options);
}
