"""The mouse in big quick steps that stop dead: timeline, brush and recording end where the pointer is."""

import os
import random
import time

import driver

KNOB = (86, 86, 86)
WHITE = (255, 255, 255)
LARGE = (1920, 1080)
# Seconds that the long drag lasts, and how many short ones there are; a measurement takes 60 of those.
DRAG_SECONDS = float(os.environ.get("SHROUD_DRAG_SECONDS", "10"))
BURSTS = int(os.environ.get("SHROUD_BURSTS", "4"))


class Drag(driver.GuiTest):
    def setUp(self):
        self.random = random.Random(20240607)

    def burst(self, app, point):
        """A few random points on the way, with or without a pause between them, and then no motion at all."""
        points = [point() for _ in range(self.random.randint(3, 8))]
        pauses = [self.random.choice((0, 0.004, 0.012)) for _ in points]
        app.glide(points, pauses)
        return points[-1]

    def test_timeline_ends_where_the_pointer_stops(self):
        app = self.open("gop_250.mp4")
        app.wait_number(1)
        place = app.timeline(0)
        for i in range(BURSTS):
            app.move(*place)
            app.press()
            place = self.burst(app, lambda: app.timeline(self.random.random()))
            wanted = app.timeline_frame(place[0], 298)
            self.assertEqual(app.wait_number(wanted).pixel(*place), KNOB, "drag %d" % i)
            app.release()
            app.wait_shot(lambda picture: picture.pixel(*place) == WHITE, "the knob let go of")
            self.assertEqual(app.number(app.still_shot()), wanted, "drag %d" % i)

    def test_a_release_right_after_the_last_motion(self):
        app = self.open("gop_250.mp4")
        app.wait_number(1)
        place = app.timeline(0)
        for _ in range(BURSTS):
            app.move(*place)
            place = app.timeline(self.random.random())
            app.glide([place], press=True, release=True)
            picture = app.wait_number(app.timeline_frame(place[0], 298))
            self.assertEqual(picture.pixel(*place), WHITE)

    def around(self, app, place):
        """Points of the brush's frame when its middle is there, and points outside."""
        x, y = place
        scale = app.place(320, 180)[0]
        inner, outer = 7 * scale, 11 * scale
        return ([(x - inner, y), (x + inner, y), (x, y - inner), (x, y + inner)],
                [(x - outer, y), (x + outer, y), (x, y - outer), (x, y + outer)])

    def brush_is_at(self, app, picture, place):
        inner, outer = self.around(app, place)
        return (all(picture.pixel(*point) == WHITE for point in inner) and
                not any(picture.pixel(*point) == WHITE for point in outer))

    def on_the_picture(self, app):
        return app.at(self.random.randint(30, 290), self.random.randint(60, 160))

    def test_brush_and_blur_end_where_the_pointer_stops(self):
        app = self.open("plain.mp4")
        app.wait_number(1)
        for _ in range(BURSTS):
            place = self.burst(app, lambda: self.on_the_picture(app))
            app.wait_shot(lambda picture: self.brush_is_at(app, picture, place), "the brush under the pointer")

    def test_recording_ends_where_the_pointer_stops(self):
        app = self.open("fps_5.mp4")
        app.wait_number(1)
        app.move(*app.at(100, 120))
        app.wait_log("New Blur Brush")
        app.press()
        app.wait_log("Continue blur while playing")
        for _ in range(BURSTS):
            place = self.burst(app, lambda: self.on_the_picture(app))
            app.wait_shot(lambda picture: self.brush_is_at(app, picture, place), "the brush under the pointer")
        before = app.number(app.shot())
        app.wait_shot(lambda picture: (app.number(picture) or 0) > before, "a frame after the last motion")
        app.release()
        last = int(app.wait_log(r"Blur while playing ended id:\d+ frame: (\d+)").group(1))
        app.wait_number(last)
        self.assertTrue(self.brush_is_at(app, app.still_shot(), place))

    def test_long_drag_over_a_large_video_with_few_keyframes(self):
        app = self.open("gop_250_1080p.mp4")
        app.wait_number(1, LARGE)
        pixels = driver.Pixels(self.screen)
        self.addCleanup(pixels.close)
        (left, y), (right, _) = app.timeline(0), app.timeline(1)
        app.move(left, y)
        app.press()
        answers = []
        end = time.monotonic() + DRAG_SECONDS
        while time.monotonic() < end:
            points = [(self.random.randint(left, right), y) for _ in range(30)]
            app.glide(points, [0.008] * len(points))
            # The knob is where the pointer is as soon as the window answers, whatever the decoder is at.
            place = points[-1]
            start = time.monotonic()
            driver.wait_until(lambda: pixels.at(*app.on_screen(*place)) == KNOB, "the knob under the pointer",
                              pause=0.001)
            answers.append(time.monotonic() - start)
        start = time.monotonic()
        wanted = app.timeline_frame(place[0], 300)
        app.wait_number(wanted, LARGE)
        print("%d drags, answers %.0f ms in the middle, %.0f ms at most; picture at rest after %.0f ms" %
              (len(answers), 1000 * sorted(answers)[len(answers) // 2], 1000 * max(answers),
               1000 * (time.monotonic() - start)))
        app.release()
        picture = app.still_shot()
        self.assertEqual(app.number(picture, LARGE), wanted)
        self.assertEqual(picture.pixel(*place), WHITE)
        self.assertEqual(app.close(), 0)


if __name__ == "__main__":
    driver.main()
