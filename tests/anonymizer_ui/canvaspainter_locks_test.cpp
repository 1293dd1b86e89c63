#include "canvaspainter_fixture.h"

#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "canvascontrols.h"

namespace {

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

} // namespace
