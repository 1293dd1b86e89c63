"""Dialogs of the application by key, what they lead to, and every way to end the program."""

import os
import shutil
import signal

import driver
import menus
from menus import AI, HELP, TOOLS


class Dialogs(menus.MenuTest):
    # --- by key

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
            self.press_until_gone(app, "Error", key)
        app.wait_number(1)

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
        # The number may be 0: where German is the system's language it is the library's first.
        driver.wait_until(lambda: self.config(app)["userlang"] == "1", "the choice in the settings")
        self.wait_no_title(app, dialog)
        app.close()
        app = self.ready(home=home)
        app.key("ctrl+o")
        self.wait_title(app, "Videodatei öffnen")

    # --- opening and exporting

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
