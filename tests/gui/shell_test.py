"""The application around the canvas: menus by mouse and by key, and settings."""

import driver
import menus
from menus import AI, FILE, HELP, MODE, PREBLUR, SETTINGS, SPEED, THRESHOLD, TOOLS


class Shell(menus.MenuTest):
    # --- settings

    def test_two_runs_at_once_both_log_and_keep_each_others_settings(self):
        home = self.home_with_detector()
        first = self.ready(home=home)
        second = self.ready(home=home)
        self.choose(second, "Tools", (TOOLS, "AI"), (AI, "Settings"), (SETTINGS, "Pre-blur"), (PREBLUR, "3"))
        driver.wait_until(lambda: self.config(second)["preblursec"] == "3", "the setting")
        second.close()
        self.choose(first, "Tools", (TOOLS, "AI"), (AI, "Settings"), (SETTINGS, "Use GPU"))
        driver.wait_until(lambda: self.config(first)["gpu"] == "0", "the setting")
        self.assertEqual(self.config(first)["preblursec"], "3")
        self.assertEqual(first.log_count(r"Loaded Doriq.dll"), 2)

    # --- menus

    def test_file_menu_by_mouse(self):
        app = self.ready()
        self.choose(app, "File", (FILE, "Open"))
        self.key_in(app, "Open video file", "Escape")
        self.wait_no_title(app, "Open video file")
        self.choose(app, "File", (FILE, "Export"))
        self.key_in(app, "Export video file", "Escape")
        self.wait_no_title(app, "Export video file")
        self.choose(app, "File", (FILE, "Exit"))
        self.assertEqual(app.process.wait(driver.LIMIT), 0)

    def test_file_menu_by_accelerator(self):
        app = self.ready()
        for key, title in (("ctrl+o", "Open video file"), ("ctrl+e", "Export video file")):
            app.key(key)
            self.key_in(app, title, "Escape")
            self.wait_no_title(app, title)
        app.key("ctrl+q")
        self.assertEqual(app.process.wait(driver.LIMIT), 0)

    def test_mode_by_mouse_and_by_accelerator_changes_the_picture(self):
        app = self.ready()
        clear = app.still_shot()
        self.choose(app, "Tools", (TOOLS, "Mode"), (MODE, "Unblur mode"))
        hidden = app.wait_shot(lambda picture: not picture.same_as(clear), "the mosaic")
        self.choose(app, "Tools", (TOOLS, "Mode"), (MODE, "Blur mode"))
        app.wait_shot(lambda picture: picture.same_as(clear), "the clear picture")
        app.key("ctrl+u")
        app.wait_shot(lambda picture: picture.same_as(hidden), "the mosaic")
        app.key("ctrl+b")
        app.wait_shot(lambda picture: picture.same_as(clear), "the clear picture")

    def test_accelerators_of_the_tools_do_nothing_without_a_video(self):
        app = self.start()
        app.main_window()
        app.wait_log(r"^\[AI\]")

        app.wait_shot(driver.is_empty, "the empty canvas")
        before = app.still_shot()
        app.key("ctrl+e", "ctrl+u")
        app.key("ctrl+o")
        self.key_in(app, "Open video file", "Escape")
        self.wait_no_title(app, "Open video file")
        self.assertEqual(app.titles(), ["Tarvex Shroud"])
        app.wait_shot(lambda picture: picture.same_as(before), "the picture as it was")

    def test_speed_by_mouse_plays_four_times_as_fast(self):
        app = self.ready()
        self.choose(app, "Tools", (TOOLS, "Playback speed"), (SPEED, "4x"))
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] play 100fps")
        app.wait_log(r"Play$")
        driver.wait_until(lambda: (app.number(app.shot()) or 0) > 5, "playing")
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] stop")
        self.choose(app, "Tools", (TOOLS, "Playback speed"), (SPEED, "1x"))
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] play 25fps")

    def test_reset_by_mouse_takes_the_blur_off_the_picture(self):
        app = self.ready()
        app.move(*app.at(200, 120))
        before = app.number(app.still_shot())
        app.click(*app.at(200, 120))
        app.wait_log(r"New Blur id:0 ")
        self.screen.xdotool("mousemove", 0, 0)
        painted = app.still_shot()
        self.choose(app, "Tools", (TOOLS, "Reset all"))
        self.screen.xdotool("mousemove", 0, 0)
        app.wait_shot(lambda picture: not picture.same_as(painted), "the clear picture")
        self.assertEqual(before, 1)

    def test_ai_settings_by_mouse(self):
        app = self.ready(home=self.home_with_detector())
        for seconds in PREBLUR[::-1]:
            self.choose(app, "Tools", (TOOLS, "AI"), (AI, "Settings"), (SETTINGS, "Pre-blur"), (PREBLUR, seconds))
            driver.wait_until(lambda: self.config(app)["preblursec"] == seconds, "%s seconds" % seconds)
        for state in ("0", "1"):
            self.choose(app, "Tools", (TOOLS, "AI"), (AI, "Settings"), (SETTINGS, "Use GPU"))
            driver.wait_until(lambda: self.config(app)["gpu"] == state, "gpu %s" % state)

    def test_detection_and_threshold_by_mouse_change_the_picture(self):
        app = self.ready(home=self.home_with_detector(score="0.5"))
        clear = app.still_shot()
        self.choose(app, "Tools", (TOOLS, "AI"), (AI, "Blur humans"))
        app.wait_shot(lambda picture: not picture.same_as(clear) and "Tarvex AI" not in app.titles(),
                      "the detection's rectangle")
        # The first one may have been taken just before the dialog went away.
        found = app.still_shot()
        self.assertFalse(found.same_as(clear))
        # Up and down across the score, so that every item changes the picture. A score that equals the
        # threshold is shown.
        for percent in ("60", "50", "70", "40", "80", "30", "90", "20", "60", "10"):
            self.choose(app, "Tools", (TOOLS, "AI"), (AI, "Settings"), (SETTINGS, "Confidence threshold"),
                        (THRESHOLD, percent))
            self.screen.xdotool("mousemove", 0, 0)
            wanted = found if int(percent) <= 50 else clear
            app.wait_shot(lambda picture: picture.same_as(wanted), "score 50 at threshold %s" % percent)

    def test_help_menu_by_mouse(self):
        app = self.ready()
        self.choose(app, "Help", (HELP, "Language"))
        self.key_in(app, "Select language", "Escape")
        self.wait_no_title(app, "Select language")
        self.choose(app, "Help", (HELP, "About"))
        self.key_in(app, "About Tarvex Shroud", "Escape")
        self.wait_no_title(app, "About Tarvex Shroud")

    def test_a_disabled_item_is_paler_than_the_others_and_can_be_read(self):
        app = self.start()
        app.main_window()
        app.wait_log(r"^\[AI\]")
        app.move_window(60, 60)
        x, y, width, height = self.open_menu(app, "File")
        self.screen.xdotool("mousemove", 1, 1)

        def contrasts():
            """Of the three rows with their background: the greatest difference of a pixel."""
            picture = self.screen.shot().crop(x, y, width, height)
            ground = picture.pixel(width - 4, height // 6)
            found = []
            for row in range(3):
                # The middle of the row, left of its key.
                points = [(column, line) for column in range(6, width // 2)
                          for line in range((6 * row + 2) * height // 18, (6 * row + 4) * height // 18)]
                found.append(max(max(abs(a - b) for a, b in zip(picture.pixel(*point), ground))
                                 for point in points))
            return found

        def drawn():
            now = contrasts()
            return now if min(now) > 60 else None
        opening, exporting, leaving = driver.wait_until(drawn, "readable rows")
        self.assertLess(exporting, opening)
        self.assertLess(exporting, leaving)

    def test_keypad_plus_and_minus_change_the_mosaic_at_once(self):
        app = self.ready()
        app.key("ctrl+u")
        self.screen.xdotool("mousemove", 0, 0)
        coarse = app.still_shot()
        app.key("KP_Add")
        app.wait_shot(lambda picture: not picture.same_as(coarse), "smaller cells")
        app.key("KP_Subtract")
        app.wait_shot(lambda picture: picture.same_as(coarse), "the cells before")


if __name__ == "__main__":
    driver.main()
