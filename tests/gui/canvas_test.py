"""The canvas in the real window: picture, playing, scrubbing, painting, recording, selecting, deleting."""

import driver


class Canvas(driver.GuiTest):
    def test_first_frame_is_shown_letter_boxed_over_the_bar(self):
        app = self.open("plain.mp4")
        app.wait_number(1)
        picture = app.still_shot()
        scale, left, top = app.place(320, 180)
        self.assertGreater(left + top, 2)
        corner = (int(left) // 2, int(top) // 2)
        far_corner = (picture.width - 1 - corner[0], picture.height - 33 - corner[1])
        for x, y in (corner, far_corner, (picture.width // 2, picture.height - 2)):
            self.assertEqual(picture.pixel(x, y), (32, 32, 32))
        self.assertNotEqual(picture.pixel(left + 2 * scale, top + 12 * scale), (32, 32, 32))
        x, y = app.timeline(0)
        self.assertEqual(picture.pixel(x, y), (255, 255, 255))

    def test_play_and_pause_by_the_button(self):
        app = self.open("plain.mp4")
        app.wait_number(1)
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] play 25fps")
        app.wait_shot(lambda picture: (app.number(picture) or 0) > 10, "playing on")
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] stop")
        number = app.number(app.still_shot())
        self.assertGreater(number, 10)
        self.assertLess(number, 250)

    def test_button_works_with_its_tool_tip_open(self):
        app = self.open("plain.mp4")
        app.wait_number(1)
        windows = len(self.screen.windows())
        app.move(*app.play_button())
        driver.wait_until(lambda: len(self.screen.windows()) > windows, "the tool tip")
        app.press()
        driver.wait_until(lambda: len(self.screen.windows()) == windows, "the tool tip to close")
        app.release()
        app.wait_log(r"\[VideoPlayer\] play 25fps")
        driver.wait_until(lambda: len(self.screen.windows()) > windows, "the tool tip again")
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] stop")
        self.assertNotIn("failed in", app.console())

    def test_quick_clicks_reach_the_button_below_its_tool_tip(self):
        app = self.open("plain.mp4")
        app.wait_number(1)
        windows = len(self.screen.windows())
        app.move(*app.play_button())
        for line in (r"\[VideoPlayer\] play 25fps", r"\[VideoPlayer\] stop"):
            driver.wait_until(lambda: len(self.screen.windows()) > windows, "the tool tip")
            self.screen.xdotool("click", "--delay", 0, 1)
            app.wait_log(line)
            driver.wait_until(lambda: len(self.screen.windows()) == windows, "the tool tip to close")

    def test_window_closes_with_a_tool_tip_open(self):
        app = self.open("plain.mp4")
        app.wait_number(1)
        windows = len(self.screen.windows())
        app.move(*app.play_button())
        driver.wait_until(lambda: len(self.screen.windows()) > windows, "the tool tip")
        self.assertEqual(app.close(), 0)

    def test_click_on_the_playing_picture_pauses(self):
        app = self.open("plain.mp4")
        app.wait_number(1)
        app.click(*app.play_button())
        app.wait_shot(lambda picture: (app.number(picture) or 0) > 5, "playing on")
        app.click(*app.at(160, 120))
        app.wait_log(r"\[VideoPlayer\] stop")
        app.wait_log(r"Seek to frame (\d+)$", 2)
        app.still_shot()

    def test_dragging_the_timeline_shows_the_frame_it_says(self):
        app = self.open("gop_250.mp4")
        app.wait_number(1)
        app.drag([app.timeline(0), app.timeline(0.9), app.timeline(0.2), app.timeline(0.5)], 12)
        wanted = app.timeline_frame(app.timeline(0.5)[0], 298)
        app.wait_number(wanted)
        app.release()
        app.wait_log(r"Seek to frame %d$" % wanted)
        picture = app.still_shot()
        self.assertEqual(app.number(picture), wanted)
        self.assertEqual(picture.pixel(*app.timeline(0.5)), (255, 255, 255))

    def test_click_beside_the_knob_jumps(self):
        app = self.open("plain.mp4")
        app.wait_number(1)
        app.click(*app.timeline(0.5))
        app.wait_log(r"Seek to frame 1[12]\d$")
        app.wait_shot(lambda picture: 115 < (app.number(picture) or 0) < 135, "the middle frame")

    def test_painting_hides_what_lies_under_the_brush(self):
        app = self.open("plain.mp4")
        clear = app.wait_number(1)
        app.click(*app.at(160, 120))
        match = app.wait_log(r"New Blur id:(\d+) frame: 1\((\d+), (\d+), (\d+), (\d+)\)")
        x, y, w, h = (int(match.group(i)) for i in range(2, 6))
        self.assertEqual((w, h), (18, 18))
        self.assertAlmostEqual(x + 9, 160, delta=1)
        self.assertAlmostEqual(y + 9, 120, delta=1)
        # The selected blur has a white frame of four video pixels.
        picture = app.wait_shot(lambda shot: driver.close_to(app.pixel_at(shot, x + 1, y + 9), (255, 255, 255)),
                                "the white frame")
        for point in ((x + 1, y + 1), (x + w - 2, y + 9), (x + 9, y + 1), (x + 9, y + h - 2)):
            self.assertEqual(app.pixel_at(picture, *point), (255, 255, 255))
        for point in ((x - 2, y + 9), (x + w + 1, y + 9)):
            self.assertEqual(app.pixel_at(picture, *point), app.pixel_at(clear, *point))

    def test_wheel_resizes_the_brush_between_its_bounds(self):
        app = self.open("plain.mp4")
        app.wait_number(1)
        app.move(*app.at(160, 100))
        app.wait_log("New Blur Brush")
        app.wheel(2)
        app.press()
        app.release()
        app.wait_log(r"New Blur id:\d+ frame: 1\(\d+, \d+, 50, 50\)")
        app.wheel(-10)
        app.click(*app.at(40, 100))
        app.click(*app.at(40, 100))
        app.wait_log(r"New Blur id:\d+ frame: 1\(\d+, \d+, 16, 16\)")
        app.wheel(30)
        app.click(*app.at(250, 60))
        app.click(*app.at(250, 60))
        app.wait_log(r"New Blur id:\d+ frame: 1\(156, 0, 164, 164\)")

    def test_closing_while_recording_ends_at_once(self):
        for _ in range(3):
            app = self.open("plain.mp4")
            app.wait_number(1)
            app.move(*app.at(100, 120))
            app.wait_log("New Blur Brush")
            app.press()
            app.wait_log("Continue blur while playing")
            app.wait_shot(lambda picture: (app.number(picture) or 0) > 5, "playing on")
            # The button stays down, so the mouse can't go away first.
            self.screen.output("wmctrl", "-i", "-c", str(app.main_window()))
            self.assertEqual(app.process.wait(timeout=driver.LIMIT), 0)
            app.release()

    def test_holding_records_every_frame_and_shows_the_last_one(self):
        app = self.open("plain.mp4")
        app.wait_number(1)
        app.move(*app.at(100, 120))
        app.wait_log("New Blur Brush")
        app.press()
        app.wait_log(r"Begin blur while playing id:(\d+) frame: 1$")
        app.wait_log(r"Continue blur while playing id:(\d+) frame: 1$")
        app.wait_shot(lambda picture: (app.number(picture) or 0) > 10, "playing on")
        app.move(*app.at(140, 120))
        before = app.number(app.shot())
        app.wait_shot(lambda picture: (app.number(picture) or 0) > before + 10, "playing on")
        app.release()
        match = app.wait_log(r"Blur while playing ended id:(\d+) frame: (\d+)")
        last = int(match.group(2))
        app.wait_log(r"Seek to frame %d$" % last)
        picture = app.wait_number(last)
        self.assertEqual(app.number(app.still_shot()), last)
        # The recorded blur is selected: white frame at the place of the brush.
        self.assertEqual(app.pixel_at(app.still_shot(), 140 - 8, 120), (255, 255, 255))
        # One frame on there is none.
        app.move(*app.at(250, 60))
        x, y = app.timeline(last / 247)
        app.click(x + 40, y)
        app.wait_shot(lambda shot: (app.number(shot) or 0) > last, "a later frame")
        later = app.still_shot()
        self.assertNotEqual(app.pixel_at(later, 140 - 8, 120), (255, 255, 255))

    def test_delete_removes_the_selected_blur(self):
        app = self.open("plain.mp4")
        clear = app.wait_number(1)
        app.click(*app.at(160, 120))
        app.wait_log("New Blur id")
        app.wait_shot(lambda shot: app.pixel_at(shot, 152, 120) == (255, 255, 255), "the white frame")
        app.click(*app.delete_button())
        app.wait_log(r"\[BlurTrack\] Destroyed blurs with id:\d+ from frame: 1 ->")
        app.move(5, 5)
        app.wait_shot(lambda shot: app.pixel_at(shot, 152, 120) == app.pixel_at(clear, 152, 120), "the clear picture")

    def test_unblur_mode_shows_the_rectangle_sharp_and_the_rest_hidden(self):
        app = self.open("plain.mp4")
        clear = app.wait_number(1)
        app.click(*app.at(160, 120))
        app.wait_log("New Blur id")
        app.click(*app.at(40, 150))
        app.move(5, 5)
        app.still_shot()
        app.key("ctrl+u")
        picture = app.wait_shot(lambda shot: app.number(shot) != 1 or not shot.same_as(clear), "the mosaic")
        picture = app.still_shot()
        inside = [(160 + dx, 120 + dy) for dx in range(-4, 5) for dy in range(-4, 5)]
        for point in inside:
            self.assertEqual(app.pixel_at(picture, *point), app.pixel_at(clear, *point))
        outside = [(x, y) for x in range(200, 300, 3) for y in range(60, 170, 3)]
        changed = sum(app.pixel_at(picture, *point) != app.pixel_at(clear, *point) for point in outside)
        self.assertGreater(changed, len(outside) // 4)

    def test_keypad_changes_the_mosaic_at_once(self):
        app = self.open("plain.mp4")
        app.wait_number(1)
        app.key("ctrl+u")
        coarse = app.still_shot()
        app.key("KP_Add")
        app.wait_shot(lambda shot: not shot.same_as(coarse), "a finer mosaic")
        finer = app.still_shot()
        app.key("KP_Subtract")
        app.wait_shot(lambda shot: shot.same_as(coarse), "the mosaic from before")
        self.assertFalse(finer.same_as(coarse))


if __name__ == "__main__":
    driver.main()
