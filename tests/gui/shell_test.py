"""The application around the canvas: menus by mouse and by key, dialogs, settings, shutdown."""

import os
import shutil
import signal

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

        def is_empty(picture):
            return driver.close_to(picture.pixel(picture.width // 2, picture.height // 2), (32, 32, 32))
        app.wait_shot(is_empty, "the empty canvas")
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

    def test_the_tab_key_goes_round_the_language_dialog(self):
        app = self.ready()
        title = "Select language"
        before = self.config(app)

        def use(*keys):
            self.choose(app, "Help", (HELP, "Language"))
            self.key_in(app, title, *keys)
            self.wait_no_title(app, title)
            return self.config(app)
        # List, Cancel, OK, as they stand, and back to the list.
        self.assertEqual(use("Home", "Tab", "space"), before)
        self.assertEqual(use("Home", "shift+Tab", "shift+Tab", "space"), before)
        self.assertEqual(use("Home", "Tab", "Tab", "Tab", "Tab", "space"), before)
        self.assertEqual(use("Home", "Down", "Escape"), before)
        use("Home", "Tab", "Tab", "space")
        driver.wait_until(lambda: self.config(app)["userlang"] == "1", "the choice in the settings")

    def test_escape_and_return_close_a_message_box(self):
        app = self.ready()
        for key in ("Escape", "Return", "space"):
            app.key("ctrl+e")
            self.type_file(app, "Export video file", "/proc/none.mp4")
            self.key_in(app, "Error", key)
            self.wait_no_title(app, "Error")
        app.wait_number(1)

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

    def test_a_chosen_language_is_there_after_a_restart(self):
        home = self.home()
        app = self.ready(home=home)
        self.choose(app, "Help", (HELP, "Language"))
        before = self.config(app)
        self.key_in(app, "Select language", "Escape")
        self.wait_no_title(app, "Select language")
        self.assertEqual(self.config(app), before)
        self.choose(app, "Help", (HELP, "Language"))
        dialog = "Select language"
        self.screen.xdotool("windowfocus", "--sync", self.dialog(app, dialog))
        # Dansk, Deutsch, …
        self.screen.xdotool("key", "Home", "Down")
        self.screen.xdotool("key", "Return")
        driver.wait_until(lambda: self.config(app)["userlang"] == "1" and self.config(app)["lang"] != "0",
                          "the choice in the settings")
        self.wait_no_title(app, dialog)
        app.close()
        app = self.ready(home=home)
        app.key("ctrl+o")
        self.wait_title(app, "Videodatei öffnen")

    def test_keypad_plus_and_minus_change_the_mosaic_at_once(self):
        app = self.ready()
        app.key("ctrl+u")
        self.screen.xdotool("mousemove", 0, 0)
        coarse = app.still_shot()
        app.key("KP_Add")
        app.wait_shot(lambda picture: not picture.same_as(coarse), "smaller cells")
        app.key("KP_Subtract")
        app.wait_shot(lambda picture: picture.same_as(coarse), "the cells before")

    # --- opening and exporting by dialog

    def test_open_by_dialog_and_a_failure_after_it(self):
        app = self.start()
        app.main_window()
        app.key("ctrl+o")
        self.type_file(app, "Open video file", os.path.join(driver.options.media, "plain.mp4"))
        app.wait_number(1)
        app.key("ctrl+o")
        self.type_file(app, "Open video file", os.path.join(driver.options.media, "text.mp4"))
        self.read_box(app, "Error while opening the video file %s/text.mp4: Invalid data found when processing input"
                      % driver.options.media,
                      "The file may be damaged, unfinished or protected, or it may be no video at all.")
        self.assertEqual(app.titles(), ["Tarvex Shroud"])
        picture = app.still_shot()
        self.assertEqual(picture.pixel(picture.width // 2, picture.height // 2), (32, 32, 32))

    def test_export_by_dialog_writes_every_frame(self):
        app = self.ready()
        output = os.path.join(app.home, "copy")
        app.key("ctrl+e")
        self.type_file(app, "Export video file", output)
        app.wait_log(r"\[VideoExportThread\] Thread destroyed")
        self.assertEqual(self.frames_of(output + ".mp4"), 250)
        self.assertEqual(app.titles(), [app.title()])

    def test_export_to_a_place_that_takes_no_files_is_an_error_box(self):
        app = self.ready()
        app.key("ctrl+e")
        self.type_file(app, "Export video file", "/proc/none.mp4")
        self.read_box(app, "Error while exporting the video file /proc/none.mp4: No such file or directory")
        app.wait_number(1)

    def test_export_to_a_folder_without_permission_is_an_error_box(self):
        home = self.home()
        folder = os.path.join(home, "locked")
        os.mkdir(folder)
        os.chmod(folder, 0o555)
        app = self.start_as_nobody(home, "--video", os.path.join(driver.options.media, "plain.mp4"), keep=[folder])
        app.wait_number(1)
        output = os.path.join(folder, "out.mp4")
        app.key("ctrl+e")
        self.type_file(app, "Export video file", output)
        self.read_box(app, "Error while exporting the video file %s: Permission denied" % output)
        self.assertEqual(os.listdir(folder), [])
        app.wait_number(1)

    def test_export_onto_the_open_video_is_an_error_box(self):
        home = self.home()
        source = os.path.join(home, "source.mp4")
        shutil.copy(os.path.join(driver.options.media, "plain.mp4"), source)
        link = os.path.join(home, "link.mp4")
        os.symlink(source, link)
        app = self.start("--video", source, home=home)
        app.wait_number(1)
        for output in (source, link):
            app.key("ctrl+e")
            self.type_file(app, "Export video file", output, replace=True)
            self.read_box(app, "The file %s is the open video itself and can't be replaced by its export." % output,
                          "Choose another name or folder.")
        self.assertEqual(self.frames_of(source), 250)

    # --- closing

    def test_nothing_closes_the_window_while_an_export_runs(self):
        app = self.ready()
        output = os.path.join(app.home, "whole.mp4")
        app.key("ctrl+e")
        self.type_file(app, "Export video file", output)
        progress = self.dialog(app, "Export")
        self.screen.output("wmctrl", "-i", "-c", str(progress))
        self.screen.output("wmctrl", "-i", "-c", str(app.main_window()))
        for key in ("alt+F4", "Escape", "Return", "Tab", "space"):
            self.screen.output("xdotool", "windowfocus", str(progress), "key", key)
        self.screen.output("xdotool", "key", "ctrl+q")
        app.wait_log(r"\[VideoExportThread\] Thread destroyed")
        app.check_running()
        self.wait_no_title(app, "Export")
        self.assertEqual(self.frames_of(output), 250)
        self.assertEqual(app.close(), 0)

    def test_a_stop_signal_during_an_export_leaves_a_readable_file(self):
        app = self.ready("gop_250_1080p.mp4")
        output = os.path.join(app.home, "cut.mp4")
        app.key("ctrl+e")
        self.type_file(app, "Export video file", output)
        driver.wait_until(lambda: os.path.exists(output) and os.path.getsize(output) > 10000, "frames in the file")
        app.process.send_signal(signal.SIGTERM)
        self.assertEqual(app.process.wait(driver.LIMIT), -signal.SIGTERM)
        self.assertIn("[VideoExportThread] Thread destroyed", app.log())
        frames = self.frames_of(output)
        self.assertGreater(frames, 0)
        self.assertLess(frames, 300)

    def test_a_stop_signal_during_the_detection_ends_at_once(self):
        app = self.ready("gop_250.mp4", home=self.home_with_detector())
        self.choose(app, "Tools", (TOOLS, "AI"), (AI, "Blur humans"))
        app.process.send_signal(signal.SIGTERM)
        self.assertEqual(app.process.wait(driver.LIMIT), -signal.SIGTERM)

    def test_a_stop_signal_ends_the_idle_window_even_behind_a_dialog(self):
        for stop in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            app = self.start()
            app.main_window()
            if stop == signal.SIGTERM:
                app.key("ctrl+o")
                self.dialog(app, "Open video file")
            app.process.send_signal(stop)
            self.assertEqual(app.process.wait(driver.LIMIT), -stop)

    def test_alt_f4_closes_the_idle_window(self):
        app = self.ready()
        app.key("alt+F4")
        self.assertEqual(app.process.wait(driver.LIMIT), 0)
        lines = app.log()
        self.assertIn("[VideoPlayerThread] destroyed", lines)

    def test_closing_while_playing_ends_at_once(self):
        app = self.ready()
        app.click(*app.play_button())
        driver.wait_until(lambda: (app.number(app.shot()) or 0) > 5, "playing")
        self.assertEqual(app.close(), 0)


if __name__ == "__main__":
    driver.main()
