/// Measures what a paint costs on the user-interface thread: for a new 1080p frame and for the same frame
/// again, with few and with many rectangles. The graphics card is replaced by plain memory, so that the time
/// of a software rasteriser is not in the figures; everything up to the driver is.

#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <wx/init.h>
#include <wx/log.h>

#include "blurtrack.h"
#include "canvaspainter.h"
#include "pxl/material.h"
#include "report.h"

namespace {

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;
constexpr int kPaints = 40;
constexpr view::Size kWindow{1280, 752};

class MemoryTexture : public pxl::Texture {
public:
    MemoryTexture(uint32_t width, uint32_t height)
        : image_(static_cast<int32_t>(width), static_cast<int32_t>(height)) {}
    uint32_t width() const override { return static_cast<uint32_t>(image_.width); }
    uint32_t height() const override { return static_cast<uint32_t>(image_.height); }
    uint32_t nativeName() const override { return 0; }
    void upload(const void*) override {}
    uint8_t flipped() const override { return 0; }
    Mapping map() override {
        void* pixels = image_.pixels;
        return {static_cast<uint8_t*>(pixels), width() * 4};
    }
    bool unmap() override { return true; }

private:
    pxl::Image image_;
};

class MemoryShader : public pxl::Shader {
public:
    MemoryShader() {
        uniforms_ = {{"u_matrix", pxl::UniformKind::Mat4, 1, 0, 0},
                     {"u_texture", pxl::UniformKind::Sampler2D, 1, 1, 0},
                     {"u_texture_sampler", pxl::UniformKind::SamplerSettings, 1, -1, 0}};
    }
    const std::vector<pxl::Uniform>& uniforms() const override { return uniforms_; }

private:
    std::vector<pxl::Uniform> uniforms_;
};

class MemoryMesh : public pxl::Mesh {
public:
    void setIndices(pxl::IndexFormat, const void*, uint32_t count) override { indices_ = count; }
    void setVertices(const pxl::VertexLayout&, const void*, uint32_t count) override { vertices_ = count; }
    uint32_t indexCount() const override { return indices_; }
    uint32_t vertexCount() const override { return vertices_; }

private:
    uint32_t indices_ = 0;
    uint32_t vertices_ = 0;
};

class MemoryTarget : public pxl::RenderTarget {
public:
    int32_t width() const override { return kWindow.width; }
    int32_t height() const override { return kWindow.height; }
    pxl::Size size() const override { return {kWindow.width, kWindow.height}; }
    void clear(pxl::Color) override {}
    std::shared_ptr<pxl::Texture> texture() const override { return nullptr; }
};

std::shared_ptr<VideoPlayer::Frame> frame(int64_t index) {
    auto made = std::make_shared<VideoPlayer::Frame>();
    made->index = index;
    made->image = pxl::Image(kWidth, kHeight);
    for (std::size_t i = 0; i < made->image.pixelCount(); ++i)
        made->image.pixels[i] = 0xFF000000u | static_cast<uint32_t>(i * 2654435761u >> 8);
    return made;
}

void placeRectangles(int count) {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    blurtrack::clear();
    blurtrack::initFrames(2);
    for (int64_t index = 1; index <= 2; ++index)
        for (int i = 0; i < count; ++i)
            blurtrack::addBlur(index,
                               {static_cast<float>(i % 25 * 70), static_cast<float>(i / 25 * 50), 64, 48},
                               blurtrack::kBrushScore, i);
}

void measure(const bench::Options& options, int rectangles) {
    placeRectangles(rectangles);
    auto batch = std::make_unique<pxl::Batch>(
        std::make_shared<pxl::Material>(std::make_shared<MemoryShader>()), std::make_shared<MemoryMesh>(),
        [](pxl::RenderTarget&, const pxl::Material&, const pxl::Mesh&, uint32_t, uint32_t) {});
    CanvasPainter painter(
        std::make_shared<MemoryTarget>(), std::move(batch),
        [](uint32_t width, uint32_t height) { return std::make_shared<MemoryTexture>(width, height); });
    CanvasPicture picture;
    picture.divisor = 50;
    picture.threshold = 50;
    picture.brushShown = true;
    picture.brushPosition = {600, 300};
    picture.brushSize = 108;
    const std::shared_ptr<VideoPlayer::Frame> frames[2] = {frame(1), frame(2)};
    const auto paint = [&](int64_t number) {
        picture.frame = frames[number % 2];
        painter.paint(picture, kWindow, [](pxl::Batch&) {});
    };
    paint(0);
    paint(1);

    bench::Figure fresh;
    fresh.name = "paint: new 1080p frame, " + std::to_string(rectangles) + " rectangles";
    fresh.unit = "ms";
    fresh.wantedValue = 6;
    fresh.note = "copy, mosaic and geometry on the user-interface thread, without the graphics driver";
    bench::Figure again = fresh;
    again.name = "paint: the same frame again, " + std::to_string(rectangles) + " rectangles";
    again.wantedValue = 1;
    bench::Figure calls;
    calls.name = "paint: draw calls, " + std::to_string(rectangles) + " rectangles";
    calls.unit = "calls";
    calls.wantedValue = 2;
    calls.note = "the texture of the picture, then that of its mosaic";
    for (int repeat = 0; repeat < options.repeat; ++repeat) {
        fresh.ours.push_back(1000 / double{kPaints} * bench::threadSeconds([&] {
                                 for (int i = 0; i < kPaints; ++i)
                                     paint(i);
                             }));
        const uint64_t before = painter.batch().drawCalls();
        again.ours.push_back(1000 / double{kPaints} * bench::threadSeconds([&] {
                                 for (int i = 0; i < kPaints; ++i)
                                     paint(kPaints - 1);
                             }));
        calls.ours.push_back(static_cast<double>(painter.batch().drawCalls() - before) / kPaints);
    }
    bench::print(fresh);
    bench::print(again);
    bench::print(calls);
}

} // namespace

int main(int argc, char** argv) {
    const wxInitializer library;
    wxLog::SetLogLevel(wxLOG_FatalError);
    const bench::Options options = bench::parseOptions(argc, argv);
    for (const int rectangles : {1, 500})
        measure(options, rectangles);
}
