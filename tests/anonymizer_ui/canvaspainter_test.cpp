#include "canvaspainter.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "blurprocessors.h"
#include "canvascontrols.h"
#include "pxl/material.h"
#include "support/log_capture.h"
#include "switches.h"

namespace {

/// What the graphics card would hold, for as long as the test runs.
struct Card {
    int texturesMade = 0;
    int uploads = 0;
    int maps = 0;
    /// Textures that map nothing, or refuse to be made.
    bool refuseMapping = false;
    bool refuseTextures = false;
    /// Asks for textures so far.
    int texturesAskedFor = 0;
    bool noMemory = false;
    /// Mapped memory does not survive.
    bool loseMappings = false;
    uint32_t extraPitch = 0;
    /// Mapped memory begins in the middle of a pixel.
    bool misaligned = false;
    /// When a texture is made, mapped or unmapped.
    std::function<void()> onUse = [] {};
};

class FakeTexture : public pxl::Texture {
public:
    FakeTexture(Card& card, uint32_t width, uint32_t height)
        : card_(card), width_(width), height_(height), pixels(std::size_t{width} * height) {}
    uint32_t width() const override { return width_; }
    uint32_t height() const override { return height_; }
    uint32_t nativeName() const override { return 0; }
    void upload(const void* source) override {
        ++card_.uploads;
        std::memcpy(pixels.data(), source, pixels.size() * 4);
    }
    uint8_t flipped() const override { return 0; }
    Mapping map() override {
        card_.onUse();
        if (card_.refuseMapping)
            return {};
        ++card_.maps;
        mapped_.assign(pixels.size() * 4 + 1, 0);
        if (card_.misaligned)
            return {mapped_.data() + 1, width_ * 4 + card_.extraPitch};
        return {reinterpret_cast<uint8_t*>(pixels.data()), width_ * 4 + card_.extraPitch};
    }
    bool unmap() override {
        card_.onUse();
        if (card_.loseMappings) {
            std::fill(pixels.begin(), pixels.end(), 0u);
            return false;
        }
        ++card_.uploads;
        if (card_.misaligned)
            std::memcpy(pixels.data(), mapped_.data() + 1, pixels.size() * 4);
        return true;
    }

private:
    Card& card_;
    uint32_t width_, height_;
    std::vector<uint8_t> mapped_;

public:
    std::vector<uint32_t> pixels;
};

class FakeShader : public pxl::Shader {
public:
    FakeShader() {
        uniforms_.push_back({"u_matrix", pxl::UniformKind::Mat4, 1, 0, 0});
        uniforms_.push_back({"u_texture", pxl::UniformKind::Sampler2D, 1, 1, 0});
        uniforms_.push_back({"u_texture_sampler", pxl::UniformKind::SamplerSettings, 1, -1, 0});
    }
    const std::vector<pxl::Uniform>& uniforms() const override { return uniforms_; }

private:
    std::vector<pxl::Uniform> uniforms_;
};

class FakeMesh : public pxl::Mesh {
public:
    void setIndices(pxl::IndexFormat, const void*, uint32_t count) override { indices_ = count; }
    void setVertices(const pxl::VertexLayout&, const void* data, uint32_t count) override {
        vertices.assign(static_cast<const pxl::BatchVertex*>(data),
                        static_cast<const pxl::BatchVertex*>(data) + count);
    }
    uint32_t indexCount() const override { return indices_; }
    uint32_t vertexCount() const override { return static_cast<uint32_t>(vertices.size()); }
    std::vector<pxl::BatchVertex> vertices;

private:
    uint32_t indices_ = 0;
};

class FakeTarget : public pxl::RenderTarget {
public:
    int32_t width() const override { return 640; }
    int32_t height() const override { return 512; }
    pxl::Size size() const override { return {640, 512}; }
    void clear(pxl::Color color) override { cleared.push_back(color); }
    std::shared_ptr<pxl::Texture> texture() const override { return nullptr; }
    std::vector<pxl::Color> cleared;
};

/// One rectangle that reached the card.
struct Quad {
    std::shared_ptr<pxl::Texture> texture;
    float x, y, w, h;
    pxl::Color color;
    bool textured;
};

/// A picture of 320 × 240, its pixels all different, in a window that shows it at scale 1.
class Painter : public testing::Test {
protected:
    Painter() {
        blurtrack::clear();
        blurtrack::initFrames(100);
        auto mesh = std::make_shared<FakeMesh>();
        auto material = std::make_shared<pxl::Material>(std::make_shared<FakeShader>());
        auto batch = std::make_unique<pxl::Batch>(
            material, mesh,
            [this, mesh](pxl::RenderTarget&, const pxl::Material& used, const pxl::Mesh&, uint32_t,
                         uint32_t) {
                ++draws;
                if (onDraw)
                    onDraw();
                matrix = used.floats();
                matrices.push_back(matrix);
                for (std::size_t i = 0; i + 3 < mesh->vertices.size(); i += 4) {
                    const pxl::BatchVertex* corners = &mesh->vertices[i];
                    quads.push_back({used.samplers()[0].texture, corners[0].position.x, corners[0].position.y,
                                     corners[2].position.x - corners[0].position.x,
                                     corners[2].position.y - corners[0].position.y, corners[0].color,
                                     corners[0].mask.x == 1});
                }
            });
        painter = std::make_unique<CanvasPainter>(
            target, std::move(batch),
            [this](uint32_t width, uint32_t height) -> std::shared_ptr<pxl::Texture> {
                ++card.texturesAskedFor;
                card.onUse();
                if (card.noMemory)
                    throw std::bad_alloc();
                if (card.refuseTextures)
                    return nullptr;
                ++card.texturesMade;
                return std::make_shared<FakeTexture>(card, width, height);
            });
        picture.divisor = 50;
        picture.threshold = 50;
        picture.frame = frame(1);
    }
    ~Painter() override { blurtrack::clear(); }

    static std::shared_ptr<VideoPlayer::Frame> frame(int64_t index, int32_t width = 320,
                                                     int32_t height = 240) {
        auto made = std::make_shared<VideoPlayer::Frame>();
        made->index = index;
        made->image = pxl::Image(width, height);
        for (std::size_t i = 0; i < made->image.pixelCount(); ++i)
            made->image.pixels[i] =
                0xFF000000u + static_cast<uint32_t>(i) + static_cast<uint32_t>(index) * 100000;
        return made;
    }
    CanvasPainter::Outcome paint() {
        quads.clear();
        matrices.clear();
        draws = 0;
        return painter->paint(picture, window, [](pxl::Batch&) {});
    }
    static const std::vector<uint32_t>& pixelsOf(const Quad& quad) {
        return static_cast<const FakeTexture&>(*quad.texture).pixels;
    }
    bool holdsFrame(const Quad& quad) const {
        const pxl::Image& image = picture.frame->image;
        return std::memcmp(pixelsOf(quad).data(), image.pixels, image.byteCount()) == 0;
    }
    bool holdsMosaic(const Quad& quad) const {
        const pxl::Image& image = picture.frame->image;
        std::vector<uint32_t> wanted(image.pixelCount());
        pixelate(image, wanted.data(), mosaicBlockSize(image.width, image.height, picture.divisor));
        return pixelsOf(quad) == wanted;
    }
    /// Textured rectangles after the first, which is the picture.
    std::vector<Quad> patches() const {
        std::vector<Quad> found;
        for (std::size_t i = 1; i < quads.size(); ++i)
            if (quads[i].textured)
                found.push_back(quads[i]);
        return found;
    }

    Card card;
    std::shared_ptr<FakeTarget> target = std::make_shared<FakeTarget>();
    std::unique_ptr<CanvasPainter> painter;
    CanvasPicture picture;
    view::Size window{320, 240 + view::kControlBarHeight};
    std::vector<Quad> quads;
    std::vector<float> matrix;
    /// Of every draw of the last paint.
    std::vector<std::vector<float>> matrices;
    int draws = 0;
    std::function<void()> onDraw;
};

void expectPlace(const Quad& quad, float x, float y, float w, float h) {
    EXPECT_FLOAT_EQ(quad.x, x);
    EXPECT_FLOAT_EQ(quad.y, y);
    EXPECT_FLOAT_EQ(quad.w, w);
    EXPECT_FLOAT_EQ(quad.h, h);
}

TEST_F(Painter, WithoutFrameThereIsDarkGreyOnly) {
    picture.frame.reset();
    EXPECT_TRUE(paint().pictureShown);
    ASSERT_EQ(target->cleared.size(), 1u);
    EXPECT_EQ(target->cleared[0], (pxl::Color{32, 32, 32, 255}));
    EXPECT_TRUE(quads.empty());
    EXPECT_EQ(card.texturesMade, 0);
}

TEST_F(Painter, PictureIsDrawnAtItsFittedPlace) {
    window = {640, 480 + view::kControlBarHeight};
    paint();
    ASSERT_EQ(quads.size(), 1u);
    expectPlace(quads[0], 0, 0, 640, 480);
    EXPECT_TRUE(holdsFrame(quads[0]));
    EXPECT_EQ(quads[0].color, pxl::Color());
}

TEST_F(Painter, ProjectionMapsTheWindowToClipSpaceDownward) {
    paint();
    ASSERT_EQ(matrix.size(), 16u);
    EXPECT_FLOAT_EQ(matrix[0], 2.0f / 320);
    EXPECT_FLOAT_EQ(matrix[5], -2.0f / 272);
    EXPECT_FLOAT_EQ(matrix[10], -0.0010000100592f);
    EXPECT_FLOAT_EQ(matrix[12], -1);
    EXPECT_FLOAT_EQ(matrix[13], 1);
    EXPECT_FLOAT_EQ(matrix[14], -1.00001e-05f);
    EXPECT_FLOAT_EQ(matrix[15], 1);
}

TEST_F(Painter, EveryDrawUsesThisPaintsProjection) {
    blurtrack::addBlur(1, {10, 10, 40, 40}, 100, 7);
    for (const int width : {320, 640}) {
        window.width = width;
        paint();
        ASSERT_EQ(matrices.size(), 2u);
        for (const auto& used : matrices)
            EXPECT_FLOAT_EQ(used[0], 2.0f / static_cast<float>(width));
    }
}

TEST_F(Painter, SlotsAlternateOnNewFramesOnly) {
    paint();
    EXPECT_EQ(painter->slot(), 0);
    paint();
    EXPECT_EQ(painter->slot(), 0);
    picture.frame = frame(2);
    paint();
    EXPECT_EQ(painter->slot(), 1);
    picture.frame = frame(3);
    paint();
    EXPECT_EQ(painter->slot(), 0);
    EXPECT_TRUE(holdsFrame(quads[0]));
    EXPECT_EQ(card.texturesMade, 4);
}

TEST_F(Painter, RepaintUploadsNothing) {
    paint();
    const int uploads = card.uploads;
    paint();
    EXPECT_EQ(card.uploads, uploads);
}

TEST_F(Painter, ChangedDivisorRebuildsTheMosaicInPlace) {
    blurtrack::addBlur(1, {10, 10, 40, 40}, 100, 7);
    paint();
    const int uploads = card.uploads;
    picture.divisor = 25;
    paint();
    EXPECT_EQ(painter->slot(), 0);
    EXPECT_EQ(card.uploads, uploads + 1);
    EXPECT_TRUE(holdsMosaic(patches().at(0)));
}

TEST_F(Painter, DivisorOneGivesCellsOfTheSmallerSide) {
    blurtrack::addBlur(1, {10, 10, 40, 40}, 100, 7);
    picture.divisor = 1;
    paint();
    const std::vector<uint32_t>& mosaic = pixelsOf(patches().at(0));
    for (std::size_t y = 0; y < 240; ++y)
        for (std::size_t x = 0; x < 320; ++x)
            ASSERT_EQ(mosaic[y * 320 + x], picture.frame->image.pixels[x < 240 ? 0 : 240]) << x << ", " << y;
}

TEST_F(Painter, LargeDivisorShowsThePictureItself) {
    blurtrack::addBlur(1, {10, 10, 40, 40}, 100, 7);
    picture.divisor = 400;
    paint();
    EXPECT_TRUE(holdsFrame(patches().at(0)));
}

TEST_F(Painter, FrameAtTheAddressOfAFreedOneIsNew) {
    // The painter keeps the last frame alive, so a new one can't take its address.
    const std::weak_ptr<VideoPlayer::Frame> first = picture.frame;
    paint();
    picture.frame = frame(2);
    EXPECT_FALSE(first.expired());
    paint();
    EXPECT_TRUE(first.expired());
    EXPECT_TRUE(holdsFrame(quads[0]));
}

TEST_F(Painter, DetachedCanvasLetsGoOfTheLastFrame) {
    const std::weak_ptr<VideoPlayer::Frame> first = picture.frame;
    paint();
    picture.frame.reset();
    paint();
    EXPECT_TRUE(first.expired());
}

TEST_F(Painter, ChangedSizeRecreatesTheTexturesOfTheSlotInUse) {
    paint();
    picture.frame = frame(2, 100, 60);
    paint();
    EXPECT_EQ(card.texturesMade, 4);
    EXPECT_EQ(quads[0].texture->width(), 100u);
    picture.frame = frame(3, 100, 60);
    paint();
    EXPECT_EQ(card.texturesMade, 6);
    EXPECT_EQ(quads[0].texture->height(), 60u);
    EXPECT_TRUE(holdsFrame(quads[0]));
}

TEST_F(Painter, BlurIsAPatchOfMosaicWithAFrameOfFourBars) {
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    paint();
    ASSERT_EQ(quads.size(), 6u);
    expectPlace(quads[1], 10, 20, 40, 30);
    EXPECT_TRUE(holdsMosaic(quads[1]));
    expectPlace(quads[2], 10, 20, 4, 30);
    expectPlace(quads[3], 46, 20, 4, 30);
    expectPlace(quads[4], 14, 20, 32, 4);
    expectPlace(quads[5], 14, 46, 32, 4);
    for (int i = 2; i < 6; ++i) {
        EXPECT_FALSE(quads[static_cast<std::size_t>(i)].textured);
        EXPECT_EQ(quads[static_cast<std::size_t>(i)].color, (pxl::Color{76, 76, 76, 76}));
    }
}

TEST_F(Painter, UnblurModeSwapsPictureAndPatches) {
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    picture.editingMode = switches::kUnblurMode;
    paint();
    EXPECT_TRUE(holdsMosaic(quads[0]));
    EXPECT_TRUE(holdsFrame(quads[1]));
}

TEST_F(Painter, NarrowRectanglesHaveNoNegativeBars) {
    for (const float side : {1.0f, 3.0f, 5.0f, 7.0f, 8.0f}) {
        blurtrack::clear();
        blurtrack::initFrames(10);
        blurtrack::addBlur(1, {10, 10, side, side}, 100, 7);
        paint();
        ASSERT_EQ(quads.size(), 4u) << "no room between the bars at the sides";
        expectPlace(quads[1], 10, 10, side, side);
        expectPlace(quads[2], 10, 10, 4, side);
        expectPlace(quads[3], 10 + side - 4, 10, 4, side);
    }
    blurtrack::addBlur(2, {10, 10, 9, 3}, 100, 7);
    picture.frame = frame(2);
    paint();
    ASSERT_EQ(quads.size(), 6u);
    expectPlace(quads[4], 14, 10, 1, 4);
    expectPlace(quads[5], 14, 9, 1, 4);
}

TEST_F(Painter, DetectionsShowFromTheThresholdOn) {
    blurtrack::addBlur(1, {10, 20, 40, 30}, 50, blurtrack::kAnonymousBlurId);
    blurtrack::addBlur(1, {100, 20, 40, 30}, 49, blurtrack::kAnonymousBlurId);
    blurtrack::addBlur(1, {200, 20, 40, 30}, 10, 7);
    paint();
    ASSERT_EQ(patches().size(), 2u);
    EXPECT_FLOAT_EQ(patches()[0].x, 10);
    EXPECT_FLOAT_EQ(patches()[1].x, 200);
}

TEST_F(Painter, RectanglesBeyondThePictureShowWhatThereIsOfIt) {
    blurtrack::addBlur(1, {-10, -10, 30, 30}, 90, blurtrack::kAnonymousBlurId);
    blurtrack::addBlur(1, {300, 230, 2e9f, 2e9f}, 90, blurtrack::kAnonymousBlurId);
    blurtrack::addBlur(1, {400, 10, 30, 30}, 90, blurtrack::kAnonymousBlurId);
    paint();
    ASSERT_EQ(patches().size(), 2u);
    expectPlace(patches()[0], 0, 0, 20, 20);
    expectPlace(patches()[1], 300, 230, 20, 10);
    // The bars are the rectangle's own.
    expectPlace(quads[2], -10, -10, 4, 30);
    expectPlace(quads[3], 16, -10, 4, 30);
    expectPlace(quads[4], -6, -10, 22, 4);
    expectPlace(quads[5], -6, 16, 22, 4);
    ASSERT_EQ(quads.size(), 1u + 5 + 5 + 4);
    expectPlace(quads[11], 400, 10, 4, 30);
}

TEST_F(Painter, BrushIsTheSquareThatAClickAdds) {
    picture.brushShown = true;
    picture.brushPosition = {100, 50};
    picture.brushSize = 32;
    paint();
    ASSERT_EQ(patches().size(), 1u);
    expectPlace(patches()[0], 84, 34, 32, 32);
    EXPECT_EQ(quads.back().color, (pxl::Color{255, 255, 255, 255}));
    EXPECT_FALSE(quads.back().textured);
}

TEST_F(Painter, NoSquareNoBrush) {
    picture.brushShown = true;
    picture.brushPosition = {100, 50};
    picture.brushSize = 0;
    paint();
    EXPECT_EQ(quads.size(), 1u);
}

TEST_F(Painter, BrushAndHighlightShowTheSharpPictureInUnblurMode) {
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    picture.editingMode = switches::kUnblurMode;
    picture.brushShown = true;
    picture.brushPosition = {200, 150};
    picture.brushSize = 32;
    picture.hovering = true;
    picture.hoverId = 7;
    paint();
    EXPECT_TRUE(holdsMosaic(quads[0]));
    ASSERT_EQ(patches().size(), 3u);
    expectPlace(patches()[1], 184, 134, 32, 32);
    expectPlace(patches()[2], 10, 20, 40, 30);
    for (const Quad& patch : patches())
        EXPECT_TRUE(holdsFrame(patch));
    EXPECT_EQ(quads.back().color, (pxl::Color{255, 255, 255, 255}));
}

TEST_F(Painter, HoveredBlurIsHighlightedOnceMore) {
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    blurtrack::addBlur(1, {100, 20, 40, 30}, 100, 8);
    picture.hovering = true;
    picture.hoverId = 8;
    paint();
    ASSERT_EQ(patches().size(), 3u);
    expectPlace(patches()[2], 100, 20, 40, 30);
    EXPECT_EQ(quads.back().color, (pxl::Color{255, 255, 255, 255}));
    picture.hoverId = 9;
    paint();
    EXPECT_EQ(patches().size(), 2u);
}

TEST_F(Painter, DrawCallsAreTextureChangesPlusOneWithManyRectanglesToo) {
    paint();
    EXPECT_EQ(draws, 1);
    for (int i = 0; i < 500; ++i)
        blurtrack::addBlur(1, {static_cast<float>(i % 20 * 10), static_cast<float>(i / 20 * 8), 20, 16}, 100,
                           i);
    picture.brushShown = true;
    picture.brushSize = 32;
    picture.hovering = true;
    picture.hoverId = 3;
    paint();
    EXPECT_EQ(patches().size(), 502u);
    EXPECT_EQ(draws, 2);
}

TEST_F(Painter, HeldStoreIsNotWaitedForAndTheKnownBlursStay) {
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    paint();
    {
        const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
        EXPECT_FALSE(paint().blursCurrent);
        EXPECT_EQ(patches().size(), 1u);
        picture.frame = frame(2);
        EXPECT_FALSE(paint().blursCurrent);
        EXPECT_TRUE(patches().empty());
    }
    EXPECT_TRUE(paint().blursCurrent);
}

TEST_F(Painter, UnmappableTexturesAreUploadedFromMemory) {
    card.refuseMapping = true;
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    EXPECT_TRUE(paint().pictureShown);
    EXPECT_TRUE(holdsFrame(quads[0]));
    EXPECT_TRUE(holdsMosaic(quads[1]));
}

TEST_F(Painter, WideRowsOfMappedMemoryGetTheMosaicByWayOfTheScratchPicture) {
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    card.extraPitch = 64;
    EXPECT_TRUE(paint().pictureShown);
    EXPECT_TRUE(holdsFrame(quads[0]));
    EXPECT_TRUE(holdsMosaic(quads[1])) << "copied in one block";
    EXPECT_EQ(card.maps, 2);
    EXPECT_EQ(card.uploads, 2) << "by unmapping alone";
    picture.frame = frame(2, 100, 60);
    blurtrack::addBlur(2, {10, 20, 40, 30}, 100, 7);
    paint();
    EXPECT_TRUE(holdsMosaic(quads[1])) << "the scratch picture follows the size";
}

TEST_F(Painter, UnalignedMappedMemoryGetsTheMosaicByWayOfTheScratchPicture) {
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    card.misaligned = true;
    EXPECT_TRUE(paint().pictureShown);
    EXPECT_TRUE(holdsFrame(quads[0]));
    EXPECT_TRUE(holdsMosaic(quads[1]));
}

TEST_F(Painter, RefusedTexturesAreReportedAndSurvived) {
    card.refuseTextures = true;
    EXPECT_FALSE(paint().pictureShown);
    EXPECT_TRUE(quads.empty());
    EXPECT_FALSE(paint().pictureShown);
    card.refuseTextures = false;
    picture.frame = frame(2, 100, 60);
    EXPECT_TRUE(paint().pictureShown);
    EXPECT_EQ(quads.size(), 1u);
}

TEST_F(Painter, RefusedSizeIsAskedForAndLoggedOnce) {
    const test::LogCapture log;
    card.refuseTextures = true;
    for (int64_t index = 1; index <= 5; ++index) {
        picture.frame = frame(index);
        EXPECT_FALSE(paint().pictureShown);
    }
    EXPECT_EQ(card.texturesAskedFor, 2) << "frame and mosaic";
    EXPECT_EQ(log.lines(wxLOG_Error),
              std::vector<std::string>{"[VideoCanvas] The graphics driver refuses a texture of 320 x 240"});
    // Another video, perhaps on another screen.
    card.refuseTextures = false;
    painter->forgetPicture();
    EXPECT_TRUE(paint().pictureShown);
    EXPECT_TRUE(holdsFrame(quads[0]));
}

TEST_F(Painter, LackOfMemoryHidesThePictureOnly) {
    card.noMemory = true;
    EXPECT_FALSE(paint().pictureShown);
    EXPECT_FALSE(paint().pictureShown);
    EXPECT_EQ(card.texturesAskedFor, 1);
    EXPECT_TRUE(quads.empty());
    card.noMemory = false;
    picture.frame = frame(2);
    EXPECT_TRUE(paint().pictureShown) << "the shortage has passed";
    EXPECT_TRUE(holdsFrame(quads[0]));
}

TEST_F(Painter, LostMappingsAreUploadedFromMemory) {
    card.loseMappings = true;
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    EXPECT_TRUE(paint().pictureShown);
    EXPECT_TRUE(holdsFrame(quads[0]));
    EXPECT_TRUE(holdsMosaic(quads[1]));
}

TEST_F(Painter, FrameDeliveredDuringAPaintWaitsForTheNextOne) {
    std::weak_ptr<VideoPlayer::Frame> first = picture.frame;
    CanvasInteraction canvas;
    canvas.deliver(std::exchange(picture.frame, nullptr));
    picture = canvas.picture();
    picture.divisor = 50;
    quads.clear();
    painter->paint(picture, window, [&](pxl::Batch&) {
        picture = {};
        std::thread([&] { canvas.deliver(frame(2)); }).join();
        EXPECT_FALSE(first.expired()) << "still drawn from";
    });
    ASSERT_EQ(quads.size(), 1u);
    EXPECT_EQ(pixelsOf(quads[0])[0], frame(1)->image.pixels[0]);
    picture = canvas.picture();
    paint();
    EXPECT_EQ(picture.frame->index, 2);
    EXPECT_TRUE(holdsFrame(quads[0]));
    EXPECT_TRUE(first.expired());
}

TEST_F(Painter, HoldsNoLockWhileItDraws) {
    CanvasInteraction canvas;
    canvas.deliver(picture.frame);
    CanvasControls controls({});
    int looks = 0;
    // Another thread could wait for it; this one could take a lock it holds already.
    const auto expectFree = [&](const char* when) {
        ++looks;
        std::thread([&] {
            const std::unique_lock<std::mutex> store(blurtrack::store().mutex, std::try_to_lock);
            EXPECT_TRUE(store.owns_lock()) << when;
            canvas.picture();
            controls.clearHover();
        }).join();
    };
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    card.onUse = [&] { expectFree("texture"); };
    onDraw = [&] { expectFree("draw"); };
    painter->paint(picture, window, [&](pxl::Batch&) { expectFree("controls"); });
    EXPECT_EQ(looks, 2 + 2 + 2 + 2 + 1) << "made, mapped and unmapped two textures, drew twice, and controls";
}

TEST_F(Painter, UnusualFramesAndWindowsAreSurvived) {
    for (const view::Size size : {view::Size{1, 1}, {8192, 16}, {321, 181}})
        for (const view::Size room : {view::Size{128, 128}, {1, 1}, {0, 0}, {4000, 33}}) {
            picture.frame = frame(1, size.width, size.height);
            picture.brushShown = true;
            picture.brushSize = 64;
            window = room;
            EXPECT_TRUE(paint().pictureShown);
        }
}

TEST_F(Painter, ControlsAreDrawnInWindowPixels) {
    window = {640, 480 + view::kControlBarHeight};
    quads.clear();
    painter->paint(picture, window, [](pxl::Batch& batch) { batch.fillRect({5, 6, 7, 8}, {1, 2, 3, 4}); });
    expectPlace(quads.back(), 5, 6, 7, 8);
}

} // namespace
