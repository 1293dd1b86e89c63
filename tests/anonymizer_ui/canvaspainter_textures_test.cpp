#include "canvaspainter_fixture.h"

#include <memory>
#include <string>
#include <vector>

#include "support/log_capture.h"

namespace {

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

TEST_F(Painter, ChangedWidthOrHeightRecreatesTheTexturesOfTheSlotInUse) {
    int made = 0;
    // The slots alternate: the second picture of each size fills the other one.
    for (const view::Size size : {view::Size{320, 240}, {100, 240}, {100, 60}, {200, 120}})
        for (int64_t index = 1; index <= 2; ++index) {
            picture.frame = frame(index, size.width, size.height);
            paint();
            EXPECT_EQ(card.texturesMade, made += 2);
            EXPECT_EQ(quads[0].texture->width(), static_cast<uint32_t>(size.width));
            EXPECT_EQ(quads[0].texture->height(), static_cast<uint32_t>(size.height));
            EXPECT_TRUE(holdsFrame(quads[0]));
        }
}

TEST_F(Painter, UnmappableTexturesAreUploadedFromMemory) {
    card.refuseMapping = true;
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    EXPECT_TRUE(paint().pictureShown);
    EXPECT_TRUE(holdsFrame(quads[0]));
    EXPECT_TRUE(holdsMosaic(quads[1]));
}

TEST_F(Painter, WideRowsOfMappedMemoryGetTheMosaicByWayOfTheScratchPicture) {
    card.extraPitch = 64;
    int64_t index = 0;
    // The scratch picture follows the size.
    for (const view::Size size : {view::Size{320, 240}, {320, 240}, {320, 120}, {100, 120}}) {
        card.maps = card.uploads = 0;
        picture.frame = frame(++index, size.width, size.height);
        blurtrack::addBlur(index, {10, 20, 40, 30}, 100, 7);
        EXPECT_TRUE(paint().pictureShown);
        EXPECT_TRUE(holdsFrame(quads[0]));
        EXPECT_TRUE(holdsMosaic(quads[1])) << "copied in one block";
        EXPECT_EQ(card.maps, 2);
        EXPECT_EQ(card.uploads, 2) << "by unmapping alone";
    }
}

TEST_F(Painter, UnalignedMappedMemoryGetsTheMosaicByWayOfTheScratchPicture) {
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    card.misaligned = true;
    EXPECT_TRUE(paint().pictureShown);
    EXPECT_TRUE(holdsFrame(quads[0]));
    EXPECT_TRUE(holdsMosaic(quads[1]));
}

TEST_F(Painter, RefusedTexturesAreReportedAndSurvived) {
    for (const view::Size otherSize : {view::Size{100, 60}, {320, 60}}) {
        card.refuseTextures = true;
        picture.frame = frame(1);
        EXPECT_FALSE(paint().pictureShown);
        EXPECT_TRUE(quads.empty());
        EXPECT_FALSE(paint().pictureShown);
        card.refuseTextures = false;
        picture.frame = frame(2, otherSize.width, otherSize.height);
        EXPECT_TRUE(paint().pictureShown);
        EXPECT_EQ(quads.size(), 1u);
        painter->forgetPicture();
    }
}

TEST_F(Painter, RefusedMosaicHidesThePictureToo) {
    card.onUse = [&] { card.refuseTextures = card.texturesAskedFor == 2; };
    EXPECT_FALSE(paint().pictureShown);
    EXPECT_EQ(card.texturesMade, 1);
    EXPECT_TRUE(quads.empty());
}

TEST_F(Painter, EmptyPicturesAreNotShown) {
    picture.frame = std::make_shared<VideoPlayer::Frame>();
    picture.frame->index = 1;
    EXPECT_FALSE(paint().pictureShown);
    EXPECT_TRUE(quads.empty());
    EXPECT_EQ(card.texturesAskedFor, 0);
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
    const test::LogCapture log;
    card.noMemory = true;
    EXPECT_FALSE(paint().pictureShown);
    EXPECT_FALSE(paint().pictureShown);
    EXPECT_EQ(card.texturesAskedFor, 1) << "tried again with the next picture";
    EXPECT_TRUE(quads.empty());
    picture.frame = frame(2);
    EXPECT_FALSE(paint().pictureShown);
    EXPECT_EQ(card.texturesAskedFor, 2);
    EXPECT_EQ(log.lines(wxLOG_Error),
              std::vector<std::string>{"[VideoCanvas] No memory to show a frame of 320 x 240"});
    card.noMemory = false;
    picture.frame = frame(3);
    EXPECT_TRUE(paint().pictureShown) << "the shortage has passed";
    EXPECT_TRUE(holdsFrame(quads[0]));
}

TEST_F(Painter, LostMappingsAreUploadedFromMemory) {
    card.loseMappings = true;
    for (const uint32_t extraPitch : {0u, 64u}) {
        card.extraPitch = extraPitch;
        picture.frame = frame(picture.frame->index + 1);
        blurtrack::addBlur(picture.frame->index, {10, 20, 40, 30}, 100, 7);
        EXPECT_TRUE(paint().pictureShown);
        EXPECT_TRUE(holdsFrame(quads[0]));
        EXPECT_TRUE(holdsMosaic(quads[1])) << extraPitch;
    }
}

} // namespace
