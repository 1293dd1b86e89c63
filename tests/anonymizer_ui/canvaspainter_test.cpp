#include "canvaspainter_fixture.h"

#include "switches.h"

namespace {

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
    EXPECT_EQ(quads[0].u, 0);
    EXPECT_EQ(quads[0].v, 0);
    EXPECT_EQ(quads[0].uSize, 1);
    EXPECT_EQ(quads[0].vSize, 1);
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

TEST_F(Painter, BlurIsAPatchOfMosaicWithAFrameOfFourBars) {
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    paint();
    ASSERT_EQ(quads.size(), 6u);
    expectPlace(quads[1], 10, 20, 40, 30);
    expectShowsWhatLiesThere(quads[1]);
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
    blurtrack::addBlur(3, {10, 10, 20, 0.5f}, 100, 7);
    picture.frame = frame(3);
    paint();
    ASSERT_EQ(quads.size(), 3u) << "neither patch nor bars at the sides";
    expectPlace(quads[1], 14, 10, 12, 4);
    expectPlace(quads[2], 14, 6, 12, 4);
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
    blurtrack::addBlur(1, {10, 300, 30, 30}, 90, blurtrack::kAnonymousBlurId);
    paint();
    ASSERT_EQ(patches().size(), 2u);
    expectPlace(patches()[0], 0, 0, 20, 20);
    expectPlace(patches()[1], 300, 230, 20, 10);
    for (const Quad& patch : patches())
        expectShowsWhatLiesThere(patch);
    // The bars are the rectangle's own.
    expectPlace(quads[2], -10, -10, 4, 30);
    expectPlace(quads[3], 16, -10, 4, 30);
    expectPlace(quads[4], -6, -10, 22, 4);
    expectPlace(quads[5], -6, 16, 22, 4);
    ASSERT_EQ(quads.size(), 1u + 5 + 5 + 4 + 4);
    expectPlace(quads[11], 400, 10, 4, 30);
    expectPlace(quads[15], 10, 300, 4, 30);
}

TEST_F(Painter, BrushIsTheSquareThatAClickAdds) {
    picture.brushShown = true;
    picture.brushPosition = {100, 50};
    picture.brushSize = 32;
    paint();
    ASSERT_EQ(patches().size(), 1u);
    expectPlace(patches()[0], 84, 34, 32, 32);
    expectShowsWhatLiesThere(patches()[0]);
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
    expectShowsWhatLiesThere(patches()[2]);
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

TEST_F(Painter, WithoutAShaderThereIsTheBackgroundOnly) {
    CanvasPainter bare(target, std::make_unique<pxl::Batch>(nullptr, nullptr), {});
    EXPECT_FALSE(bare.valid());
    bool controlsDrawn = false;
    EXPECT_TRUE(bare.paint(picture, window, [&](pxl::Batch&) { controlsDrawn = true; }).pictureShown);
    EXPECT_EQ(target->cleared.size(), 1u);
    EXPECT_FALSE(controlsDrawn);
}

TEST_F(Painter, ControlsAreDrawnInWindowPixels) {
    window = {640, 480 + view::kControlBarHeight};
    quads.clear();
    painter->paint(picture, window, [](pxl::Batch& batch) { batch.fillRect({5, 6, 7, 8}, {1, 2, 3, 4}); });
    expectPlace(quads.back(), 5, 6, 7, 8);
}

} // namespace
