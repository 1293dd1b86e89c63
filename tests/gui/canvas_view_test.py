"""What the canvas shows, pixel by pixel, and at which sizes: against the export's processor, on a screen with a
scale factor, in the smallest window, and with videos of unusual size."""

import os
import subprocess

import driver

VIDEO = (320, 180)


def processed(name, frame, mode, *rectangles):
    """The frame as the export's processor makes it."""
    command = [os.path.join(driver.options.tools, "process_frame"), os.path.join(driver.options.media, name),
               str(frame), mode] + [str(number) for rectangle in rectangles for number in rectangle]
    data = subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout
    return driver.Image(VIDEO[0], VIDEO[1], b"".join(data[at:at + 3] for at in range(0, len(data), 4)))


class View(driver.GuiTest):
    def painted(self, app):
        """Paints one blur, puts the mouse away with nothing selected, and returns the rectangle."""
        app.click(*app.at(160, 110))
        match = app.wait_log(r"New Blur id:\d+ frame: 1\((\d+), (\d+), (\d+), (\d+)\)")
        app.click(*app.at(30, 160))
        app.wait_log("New Blur Brush", 2)
        app.move(app.size()[0] / 2, app.bar_y())
        return tuple(int(part) for part in match.groups())

    def differing(self, picture, wanted, x, y, w, h):
        return [(px, py) for py in range(y, y + h) for px in range(x, x + w)
                if picture.pixel(px, py) != wanted.pixel(px, py)]

    def check_preview(self, mode, width=640):
        app = self.open("plain.mp4")
        app.move_window(40, 40)
        # The height decides the scale; the hint line has room for one row.
        app.resize_canvas(width, VIDEO[1] + driver.BAR_HEIGHT)
        app.wait_number(1)
        x, y, w, h = self.painted(app)
        if mode == "unblur":
            app.key("ctrl+u")
        app.still_shot()
        scale, left, top = app.place(*VIDEO)
        self.assertEqual((scale, top), (1, 0))
        picture = app.still_shot().crop(int(left), 0, *VIDEO)
        wanted = processed("plain.mp4", 1, mode, (x, y, w, h))
        self.assertEqual(self.differing(picture, wanted, x + 4, y + 4, w - 8, h - 8), [])
        self.assertEqual(self.differing(picture, wanted, 0, 0, VIDEO[0], y), [])
        self.assertEqual(self.differing(picture, wanted, 0, y + h, VIDEO[0], VIDEO[1] - y - h), [])
        self.assertEqual(self.differing(picture, wanted, 0, y, x, h), [])
        self.assertEqual(self.differing(picture, wanted, x + w, y, VIDEO[0] - x - w, h), [])
        frame = picture.pixel(x + 1, y + h // 2)
        self.assertNotEqual(frame, wanted.pixel(x + 1, y + h // 2))

    def test_blur_preview_is_what_the_export_writes(self):
        self.check_preview("blur")

    def test_unblur_preview_is_what_the_export_writes(self):
        self.check_preview("unblur")

    def test_preview_has_the_exports_cells_in_windows_of_odd_width(self):
        for width in (641, 643):
            self.check_preview("blur", width)

    def test_smallest_window_still_works(self):
        app = self.open("plain.mp4")
        app.move_window(40, 40)
        self.screen.xdotool("windowsize", app.main_window(), 128, 128)
        driver.wait_until(lambda: app.canvas()[2] < 700, "the small window")
        app.still_shot()
        self.assertGreaterEqual(app.canvas()[3], 2 * driver.BAR_HEIGHT)
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] play 25fps")
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] stop")
        self.assertEqual(app.close(), 0)

    def test_shrunk_to_nothing_and_back(self):
        app = self.open("plain.mp4")
        app.move_window(40, 40)
        app.wait_number(1)
        app.click(*app.play_button())
        for width, height in ((900, 300), (300, 700), (128, 128), (1000, 800)):
            self.screen.xdotool("windowsize", app.main_window(), width, height)
            app.shot()
        app.wait_shot(lambda picture: (app.number(picture) or 0) > 5, "playing on")

    def check_video(self, name):
        app = self.open(name)
        app.move_window(40, 40)
        app.still_shot()
        width, height = app.size()
        app.move(width / 2, (height - driver.BAR_HEIGHT) / 2)
        app.click(width / 2, (height - driver.BAR_HEIGHT) / 2)
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] play")
        app.click(*app.timeline(0.7))
        app.still_shot()
        self.assertEqual(app.close(), 0)

    def test_odd_sized_video(self):
        self.check_video("odd_321x181.mp4")

    def test_single_pixel_video(self):
        self.check_video("one_pixel.mp4")

    def test_video_wider_than_the_screen(self):
        self.check_video("wide_8192x16.mp4")

    def test_one_frame_video(self):
        self.check_video("one_frame.mp4")

    def test_driver_without_opengl_33_is_told_once_and_the_rest_works(self):
        app = self.start("--video", os.path.join(driver.options.media, "plain.mp4"),
                         env={"MESA_GL_VERSION_OVERRIDE": "3.2"})
        window = app.main_window()
        driver.wait_until(lambda: "Error" in app.titles(), "the message")
        self.assertEqual(app.log_count(r"^Error: \[VideoCanvas\] No OpenGL 3\.3: nothing can be drawn$"), 1)
        self.screen.xdotool("key", "Return")
        driver.wait_until(lambda: "Error" not in app.titles(), "the end of the message")
        # The window and its menus live on.
        app.wait_log(r"Seek to frame 1$")
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] play 25fps")
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] stop")
        self.assertEqual((app.main_window(), app.titles()), (window, [app.title()]))
        self.assertEqual(app.close(), 0)

    def test_video_that_delivers_no_frame(self):
        app = self.start("--video", os.path.join(driver.options.media, "one_frame_bframes.mp4"))
        app.main_window()
        app.wait_log("VideoPlayerThread. created")
        app.still_shot()
        app.click(*app.play_button())
        app.click(*app.timeline(0.5))
        app.move(100, 100)
        app.click(100, 100)
        self.assertEqual(app.close(), 0)


class Scaled(driver.GuiTest):
    screen_size = (1800, 1300)

    def test_brush_picture_and_stored_rectangle_agree_at_scale_two(self):
        app = self.open("plain.mp4", scale=2)
        app.move_window(20, 20)
        clear = app.still_shot()
        self.assertEqual(app.number(clear), 1)
        app.click(*app.at(160, 120))
        match = app.wait_log(r"New Blur id:\d+ frame: 1\((\d+), (\d+), (\d+), (\d+)\)")
        x, y, w, h = (int(part) for part in match.groups())
        self.assertEqual((w, h), (18, 18))
        self.assertAlmostEqual(x + 9, 160, delta=1)
        self.assertAlmostEqual(y + 9, 120, delta=1)
        picture = app.wait_shot(lambda shot: app.pixel_at(shot, x, y + 9) == (255, 255, 255), "the white frame")
        for point in ((x, y), (x + w - 1, y), (x, y + h - 1), (x + w - 1, y + h - 1)):
            self.assertEqual(app.pixel_at(picture, *point), (255, 255, 255))
        for point in ((x - 1, y + 9), (x + w, y + 9), (x + 9, y - 1), (x + 9, y + h)):
            self.assertEqual(app.pixel_at(picture, *point), app.pixel_at(clear, *point))
        app.click(*app.delete_button())
        app.wait_log(r"\[BlurTrack\] Destroyed blurs")


if __name__ == "__main__":
    driver.main()
