#include "blurprocessors.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "blurtrack.h"
#include "support/allocations.h"

namespace {

using blurtrack::BlurEntry;

/// Every pixel differs from its neighbours.
Image numbered(int32_t width, int32_t height) {
    Image image(width, height);
    for (std::size_t i = 0; i < image.pixelCount(); ++i)
        image.pixels[i] = static_cast<uint32_t>(i) * 2654435761u;
    return image;
}

bool samePixels(const Image& a, const Image& b) {
    return a.width == b.width && a.height == b.height &&
           std::equal(a.pixels, a.pixels + a.pixelCount(), b.pixels);
}

/// The mosaic word by word, as plainly as it can be said.
Image plainMosaic(const Image& source, int32_t block) {
    Image target(source.width, source.height);
    for (int32_t y = 0; y < source.height; ++y)
        for (int32_t x = 0; x < source.width; ++x)
            target.pixels[y * source.width + x] =
                source.pixels[(y / block * block) * source.width + x / block * block];
    return target;
}

/// Picks each pixel from `inside` where an applied rectangle covers it, else from `outside`.
Image plainResult(const Image& inside, const Image& outside, const std::vector<BlurEntry>& entries,
                  int32_t threshold) {
    Image result = outside.clone();
    for (int32_t y = 0; y < result.height; ++y)
        for (int32_t x = 0; x < result.width; ++x)
            for (const BlurEntry& entry : entries)
                if (entry.score >= threshold && x >= entry.x && y >= entry.y &&
                    x < int64_t{entry.x} + entry.w && y < int64_t{entry.y} + entry.h)
                    result.pixels[y * result.width + x] = inside.pixels[y * result.width + x];
    return result;
}

class Processors : public testing::Test {
protected:
    Processors() {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        blurtrack::clear();
        blurtrack::initFrames(10);
    }
    ~Processors() override {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        blurtrack::clear();
    }

    static void add(int64_t frame, int32_t x, int32_t y, int32_t w, int32_t h, int32_t score = 100) {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        blurtrack::store().frames.at(frame).push_back({blurtrack::kAnonymousBlurId, x, y, w, h, score});
    }
    static std::vector<BlurEntry> entries(int64_t frame) {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        return blurtrack::entriesAt(frame);
    }
    static void expectPlainResults(const Image& input, int32_t frame, int32_t threshold) {
        const Image mosaic =
            plainMosaic(input, mosaicBlockSize(input.width, input.height, kExportBlurDivisor));
        Frameblur blur;
        EXPECT_TRUE(samePixels(*blur.process(input, frame, threshold),
                               plainResult(mosaic, input, entries(frame), threshold)));
        Frameunblur unblur;
        EXPECT_TRUE(samePixels(*unblur.process(input, frame, threshold),
                               plainResult(input, mosaic, entries(frame), threshold)));
    }
};

using Pixelate = Processors;

} // namespace

TEST(MosaicBlockSize, IsAFractionOfTheShorterSideAndAtLeastOne) {
    EXPECT_EQ(mosaicBlockSize(1920, 1080, 50), 21);
    EXPECT_EQ(mosaicBlockSize(1080, 1920, 50), 21);
    EXPECT_EQ(mosaicBlockSize(1280, 720, 50), 14);
    EXPECT_EQ(mosaicBlockSize(99, 99, 50), 1);
    EXPECT_EQ(mosaicBlockSize(100, 60, 50), 1);
    EXPECT_EQ(mosaicBlockSize(100, 100, 50), 2);
    EXPECT_EQ(mosaicBlockSize(1, 1, 50), 1);
    EXPECT_EQ(mosaicBlockSize(1920, 1080, 400), 2);
}

TEST_F(Pixelate, TakesTheTopLeftPixelOfEveryCell) {
    const Image source = numbered(5, 3);
    Image target(5, 3);
    pixelate(source, target.pixels, 2);
    const std::vector<std::size_t> from = {0, 0, 2, 2, 4, 0, 0, 2, 2, 4, 10, 10, 12, 12, 14};
    for (std::size_t i = 0; i < from.size(); ++i)
        EXPECT_EQ(target.pixels[i], source.pixels[from[i]]) << "pixel " << i;
}

TEST_F(Pixelate, EqualsThePlainAlgorithmForEverySizeAndBlock) {
    for (int32_t width : {1, 2, 3, 7, 16, 31, 64, 65, 4099})
        for (int32_t height : {1, 2, 5, 16, 33})
            for (int32_t block : {1, 2, 3, 4, 7, 8, 21, 64, 1000}) {
                const Image source = numbered(width, height);
                Image target(width, height);
                pixelate(source, target.pixels, block);
                EXPECT_TRUE(samePixels(target, plainMosaic(source, block)))
                    << width << " x " << height << " in cells of " << block;
            }
}

TEST_F(Pixelate, NeverWritesOutsideTheTarget) {
    const Image source = numbered(13, 11);
    std::vector<uint32_t> memory(13 * 11 + 64, 0xDEADBEEFu);
    pixelate(source, memory.data() + 32, 5);
    for (std::size_t i = 0; i < 32; ++i) {
        EXPECT_EQ(memory[i], 0xDEADBEEFu);
        EXPECT_EQ(memory[memory.size() - 1 - i], 0xDEADBEEFu);
    }
}

TEST_F(Processors, SmallFramesHaveCellsOfOnePixel) {
    const Image input = numbered(99, 99);
    add(1, 0, 0, 99, 99);
    Frameblur blur;
    EXPECT_TRUE(samePixels(*blur.process(input, 1, 50), input));
    Frameunblur unblur;
    EXPECT_TRUE(samePixels(*unblur.process(input, 1, 50), input));
}

TEST_F(Processors, ScoresBelowTheThresholdAreNotApplied) {
    const Image input = numbered(200, 150);
    add(1, 10, 10, 100, 100, 40);
    Frameblur blur;
    EXPECT_TRUE(samePixels(*blur.process(input, 1, 50), input));
    Frameunblur unblur;
    EXPECT_TRUE(samePixels(*unblur.process(input, 1, 50), plainMosaic(input, 3)));
}

TEST_F(Processors, ScoreEqualToTheThresholdIsApplied) {
    const Image input = numbered(200, 150);
    add(1, 10, 10, 100, 100, 50);
    Frameblur blur;
    EXPECT_FALSE(samePixels(*blur.process(input, 1, 50), input));
    expectPlainResults(input, 1, 50);
}

TEST_F(Processors, BrushEntriesObeyTheThresholdToo) {
    const Image input = numbered(200, 150);
    add(1, 10, 10, 100, 100, 100);
    Frameblur blur;
    EXPECT_FALSE(samePixels(*blur.process(input, 1, 100), input));
    EXPECT_TRUE(samePixels(*blur.process(input, 1, 101), input));
}

TEST_F(Processors, RectangleReachingOverTheLeftEdgeIsCut) {
    const Image input = numbered(400, 300);
    add(1, -10, 0, 30, 300);
    Frameblur blur;
    const Image* result = blur.process(input, 1, 50);
    const Image mosaic = plainMosaic(input, 6);
    for (int32_t y = 0; y < 300; ++y)
        for (int32_t x = 0; x < 400; ++x) {
            const Image& expected = x <= 19 ? mosaic : input;
            ASSERT_EQ(result->pixels[y * 400 + x], expected.pixels[y * 400 + x]) << x << ", " << y;
        }
}

TEST_F(Processors, FrameWithoutAKeyIsUnchangedOrFullyPixelated) {
    const Image input = numbered(200, 150);
    Frameblur blur;
    EXPECT_TRUE(samePixels(*blur.process(input, 1000, 50), input));
    EXPECT_TRUE(samePixels(*blur.process(input, -1, 50), input));
    Frameunblur unblur;
    EXPECT_TRUE(samePixels(*unblur.process(input, 1000, 50), plainMosaic(input, 3)));
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    EXPECT_EQ(blurtrack::store().frames.size(), 11u);
}

TEST_F(Processors, OnlyTheFrameAskedForIsRead) {
    const Image input = numbered(200, 150);
    add(4, 0, 0, 200, 150);
    add(6, 0, 0, 200, 150);
    Frameblur blur;
    EXPECT_TRUE(samePixels(*blur.process(input, 5, 50), input));
}

TEST_F(Processors, WidthHundredHeightSixtyKeepsEveryPixel) {
    const Image input = numbered(100, 60);
    Frameunblur unblur;
    EXPECT_TRUE(samePixels(*unblur.process(input, 1, 50), input));
}

TEST_F(Processors, RectanglesOutsideEmptyOrNegativeDoNothing) {
    const Image input = numbered(200, 150);
    add(1, 200, 0, 10, 10);
    add(1, 0, 150, 10, 10);
    add(1, -20, -20, 20, 20);
    add(1, 10, 10, 0, 50);
    add(1, 10, 10, 50, 0);
    add(1, 100, 100, -50, -50);
    add(1, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN);
    add(1, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX);
    Frameblur blur;
    EXPECT_TRUE(samePixels(*blur.process(input, 1, 50), input));
    expectPlainResults(input, 1, 50);
}

TEST_F(Processors, RightEdgeBeyond32BitsCoversTheRestOfTheFrame) {
    const Image input = numbered(200, 150);
    add(1, 50, 60, INT32_MAX, INT32_MAX);
    expectPlainResults(input, 1, 50);
    add(2, INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX);
    Frameblur blur;
    EXPECT_TRUE(samePixels(*blur.process(input, 2, 50), input)) << "ends at -1";
    add(3, -1000000000, -1000000000, 2000000000, 2000000000);
    EXPECT_TRUE(samePixels(*blur.process(input, 3, 50), plainMosaic(input, 3)));
}

TEST_F(Processors, EveryCellInsideARectangleHasOneColourInPartialCellsToo) {
    // 333 x 257: cells of 5 pixels, the last column 3 and the last row 2 pixels of a cell.
    const Image input = numbered(333, 257);
    add(1, 101, 53, 97, 89);
    add(1, 300, 200, 33, 57);
    Frameblur blur;
    const Image* result = blur.process(input, 1, 50);
    for (const BlurEntry& entry : entries(1))
        for (int32_t y = entry.y; y < entry.y + entry.h; ++y)
            for (int32_t x = entry.x; x < entry.x + entry.w; ++x)
                ASSERT_EQ(result->pixels[y * 333 + x], input.pixels[(y / 5 * 5) * 333 + x / 5 * 5])
                    << x << ", " << y;
}

TEST_F(Processors, EqualThePlainAlgorithmForRandomRectangles) {
    std::mt19937 random(20240607);
    std::uniform_int_distribution<int32_t> sizes(1, 420);
    std::uniform_int_distribution<int32_t> positions(-150, 450);
    std::uniform_int_distribution<int32_t> extents(-20, 300);
    std::uniform_int_distribution<int32_t> scores(0, 100);
    for (int round = 0; round < 60; ++round) {
        {
            const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
            blurtrack::initFrames(10);
        }
        const int count = round % 2 ? round % 8 : round;
        for (int i = 0; i < count; ++i)
            add(1, positions(random), positions(random), extents(random), extents(random), scores(random));
        expectPlainResults(numbered(sizes(random), sizes(random)), 1, scores(random));
    }
}

TEST_F(Processors, OverlappingNestedAndTouchingRectanglesEqualThePlainAlgorithm) {
    const Image input = numbered(333, 257);
    for (const auto& [x, y, w, h] :
         {std::tuple(50, 50, 100, 100), std::tuple(60, 60, 20, 20), std::tuple(150, 50, 30, 100),
          std::tuple(50, 150, 130, 7), std::tuple(120, 120, 200, 200), std::tuple(50, 50, 100, 100),
          std::tuple(-5, 100, 400, 1), std::tuple(0, 0, 1, 257)})
        add(1, x, y, w, h);
    expectPlainResults(input, 1, 50);
}

TEST_F(Processors, FramesOfOnePixelWork) {
    const Image input = numbered(1, 1);
    add(1, 0, 0, 1, 1);
    expectPlainResults(input, 1, 50);
}

TEST_F(Processors, EmptyFramesGiveAnEmptyResult) {
    const Image input;
    Frameblur blur(20, 10);
    Frameunblur unblur;
    EXPECT_TRUE(blur.process(input, 1, 50)->empty());
    EXPECT_TRUE(unblur.process(input, 1, 50)->empty());
}

TEST_F(Processors, PicturesOfAnotherHeightOrWidthFitTheirBuffersAnew) {
    Frameunblur unblur;
    for (const auto& [width, height] : {std::pair(120, 100), std::pair(120, 220), std::pair(300, 220)}) {
        const Image input = numbered(width, height);
        const Image* const result = unblur.process(input, 1, 50);
        const int32_t block = mosaicBlockSize(width, height, kExportBlurDivisor);
        EXPECT_TRUE(samePixels(*result, plainMosaic(input, block))) << width << " x " << height;
    }
}

TEST_F(Processors, ResultNeverSharesTheInputsPixels) {
    const Image input = numbered(200, 150);
    Frameblur blur;
    EXPECT_NE(blur.process(input, 1, 50)->pixels, input.pixels);
    Frameunblur unblur;
    EXPECT_NE(unblur.process(input, 1, 50)->pixels, input.pixels);
}

template <class Processor>
class Buffers : public Processors {};
using BothProcessors = testing::Types<Frameblur, Frameunblur>;
TYPED_TEST_SUITE(Buffers, BothProcessors);

TYPED_TEST(Buffers, AreKeptWhileTheSizeStays) {
    TypeParam processor;
    const Image* first = processor.process(numbered(200, 150), 1, 50);
    const uint32_t* pixels = first->pixels;
    for (int32_t frame = 2; frame < 10; ++frame) {
        EXPECT_EQ(processor.process(numbered(200, 150), frame, 50), first);
        EXPECT_EQ(first->pixels, pixels);
    }
}

TYPED_TEST(Buffers, NothingIsAllocatedWhileTheSizeStays) {
    for (int32_t frame = 1; frame < 10; ++frame)
        this->add(frame, 10, 10, 100, 100);
    TypeParam processor;
    const Image input = numbered(200, 150);
    processor.process(input, 1, 50);
    const std::size_t before = test::allocationsOfThisThread();
    for (int32_t frame = 2; frame < 10; ++frame)
        processor.process(input, frame, 50);
    EXPECT_EQ(test::allocationsOfThisThread(), before);
}

TYPED_TEST(Buffers, MadeInAdvanceAreUsedForFramesOfThatSize) {
    TypeParam processor(200, 150);
    const Image* result = processor.process(numbered(200, 150), 1, 50);
    EXPECT_EQ(result->width, 200);
    EXPECT_EQ(result->height, 150);
}

TYPED_TEST(Buffers, AreReplacedWhenTheSizeChanges) {
    TypeParam processor(1920, 1080);
    for (const auto& size : {std::pair(200, 150), std::pair(150, 200), std::pair(301, 1)}) {
        const Image input = numbered(size.first, size.second);
        const Image* result = processor.process(input, 1, 50);
        EXPECT_EQ(result->width, size.first);
        EXPECT_EQ(result->height, size.second);
        this->expectPlainResults(input, 1, 50);
    }
}
