#include "canvaspainter_fixture.h"

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "canvascontrols.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kMoment(2);

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

TEST_F(Painter, BlursThatAreNotKnownYetAreWaitedForAMoment) {
    const auto timeOfPaint = [this] {
        const auto begin = Clock::now();
        EXPECT_FALSE(paint().blursCurrent);
        return Clock::now() - begin;
    };
    paint();
    const std::lock_guard<std::mutex> held(blurtrack::store().mutex);
    // On a busy machine any paint may take long, but not every one.
    const auto last = Clock::now() + std::chrono::seconds(5);
    while (timeOfPaint() >= kMoment)
        ASSERT_LT(Clock::now(), last) << "known ones need no waiting";
    for (const int64_t index : {2, 2, 3, 1, 1})
        for (int repeats = 0; repeats < 3; ++repeats) {
            picture.frame->index = index;
            EXPECT_GE(timeOfPaint(), kMoment) << index;
        }
}

TEST_F(Painter, AFrameComesWithItsBlursThoughTheStoreIsHeldForAMoment) {
    blurtrack::addBlur(1, {10, 20, 40, 30}, 100, 7);
    blurtrack::addBlur(2, {10, 20, 40, 30}, 100, 7);
    paint();
    bool shown = false;
    // A busy machine may take the processor from the holder for longer than the paint waits.
    for (const auto last = Clock::now() + std::chrono::seconds(5); !shown && Clock::now() < last;) {
        // Another frame with nothing to upload, so that the paint comes to the store at once.
        picture.frame->index = 3 - picture.frame->index;
        std::promise<void> held;
        std::promise<void> painting;
        std::thread holder([&] {
            const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
            held.set_value();
            painting.get_future().wait();
            for (const auto end = Clock::now() + std::chrono::microseconds(300); Clock::now() < end;)
                std::this_thread::yield();
        });
        held.get_future().wait();
        painting.set_value();
        shown = paint().blursCurrent && patches().size() == 1;
        holder.join();
    }
    EXPECT_TRUE(shown);
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
