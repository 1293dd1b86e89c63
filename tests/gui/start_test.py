"""The start of the program: command line, folders, logs, languages, and the window that it opens."""

import glob
import os
import re
import shlex
import shutil
import subprocess

import driver
import menus
from menus import AI, SETTINGS, THRESHOLD, TOOLS


class Start(menus.MenuTest):
    def logs(self, home):
        return sorted(glob.glob(os.path.join(home, ".config", "Tarvex Shroud", "*.log")))

    def home_with_old_logs(self, count):
        """A home folder and in it the data folder with old00.log, the oldest, old01.log, …"""
        home = self.home()
        folder = os.path.join(home, ".config", "Tarvex Shroud")
        os.makedirs(folder)
        for number in range(count):
            path = os.path.join(folder, "old%02d.log" % number)
            with open(path, "w", encoding="utf-8"):
                pass
            os.utime(path, (1000000 + number, 1000000 + number))
        return home, folder

    def test_first_run_writes_the_four_defaults_and_a_log(self):
        app = self.start()
        app.main_window()
        self.assertEqual(self.config(app), {"gpu": "1", "preblursec": "1", "userlang": "0", "lang": "0"})
        logs = self.logs(app.home)
        self.assertEqual(len(logs), 1)
        self.assertRegex(os.path.basename(logs[0]), r"^\d{4}-\d\d-\d\dT\d\d_\d\d_\d\d\.log$")
        app.wait_log(r"^\[AI\] Could not find Doriq.dll$")
        self.assertEqual(app.title(), "Tarvex Shroud")
        self.assertEqual(app.console().count("[Message]"), 0)
        self.assertEqual(app.close(), 0)

    def test_settings_of_an_earlier_run_stay_and_a_deleted_file_comes_back(self):
        home = self.home()
        folder = os.path.join(home, ".config", "Tarvex Shroud")
        os.makedirs(folder)
        with open(os.path.join(folder, "config.ini"), "w", encoding="utf-8") as file:
            file.write("gpu=0\npreblursec=4\nuserlang=0\nlang=0\n")
        app = self.start(home=home)
        app.main_window()
        self.assertEqual(self.config(app)["preblursec"], "4")
        self.assertEqual(app.close(), 0)
        os.remove(os.path.join(folder, "config.ini"))
        app = self.start(home=home)
        app.main_window()
        self.assertEqual(self.config(app)["preblursec"], "1")

    def test_of_ten_old_logs_the_oldest_goes(self):
        home, _ = self.home_with_old_logs(10)
        app = self.start(home=home)
        app.wait_log(r"^Deleted old log file: .*/old00\.log$")
        names = [os.path.basename(path) for path in self.logs(home)]
        self.assertEqual(len(names), 10)
        self.assertNotIn("old00.log", names)
        self.assertIn("old01.log", names)

    def test_a_data_folder_that_cannot_be_made_does_not_stop_the_start(self):
        home = self.home()
        with open(os.path.join(home, ".config"), "w", encoding="utf-8"):
            pass
        app = self.start("--video", os.path.join(driver.options.media, "plain.mp4"), home=home)
        lines = self.read_log_box(app)
        self.assertIn("Could not open log directory: ", lines)
        self.assertEqual([line for line in lines if line.startswith("Log file")], [], "there is no name to tell")
        app.wait_number(1)
        self.assertEqual(app.title(), "Tarvex Shroud - %s/plain.mp4" % driver.options.media)
        # What would be lines of the log file are boxes on the screen, to the last.
        box = "Tarvex Shroud Information"

        def play():
            app.click(*app.play_button())
            return box in app.titles()
        driver.wait_until(play, "a box", pause=1)

        def leave():
            self.screen.output("wmctrl", "-c", box if box in app.titles() else "Tarvex Shroud - ")
            return not app.running()
        driver.wait_until(leave, "the end of the program", pause=0.3)
        self.assertEqual(app.process.returncode, 0)

    def test_both_names_of_the_option_open_a_video(self):
        for option in ("-v", "--video"):
            app = self.start(option, os.path.join(driver.options.media, "plain.mp4"))
            app.wait_number(1)
            self.assertIn("[Message] Loading video from parameter: %s/plain.mp4\n" % driver.options.media,
                          app.console())
            self.assertEqual(app.title(), "Tarvex Shroud - %s/plain.mp4" % driver.options.media)
            self.assertEqual(app.close(), 0)

    def test_a_missing_video_opens_the_empty_window_without_a_word(self):
        app = self.start("--video", "/no/such/file.mp4")
        app.main_window()
        app.wait_log(r"^\[AI\]")
        self.assertEqual(app.titles(), ["Tarvex Shroud"])
        self.assertEqual(app.console().count("[Message]"), 0)

    def test_an_unreadable_video_is_an_error_box(self):
        app = self.start("--video", os.path.join(driver.options.media, "text.mp4"))
        self.read_box(app, "Error while opening the video file %s/text.mp4: Invalid data found when processing input"
                      % driver.options.media,
                      "The file may be damaged, unfinished or protected, or it may be no video at all.")
        self.assertEqual(app.titles(), ["Tarvex Shroud"])
        app.wait_log(r"^Error: \[DecoderFFMPEG\] Invalid data found")
        self.assertEqual(app.close(), 0)

    def test_a_wrong_command_line_shows_the_usage_and_the_window(self):
        app = self.start("--nonsense")
        app.main_window()
        usage = "Usage: tarvex_shroud [-v <str>]\n  -v, --video=<str>\tFile to open\n"
        driver.wait_until(lambda: usage in app.console(), "the usage text")
        self.assertIn("Unknown long option 'nonsense'", app.console())
        self.assertEqual(app.titles(), ["Tarvex Shroud"])

    def test_a_name_beyond_ascii_is_opened_in_the_c_locale(self):
        home = self.home()
        path = os.path.join(home, "Ärger 中文.mp4")
        shutil.copy(os.path.join(driver.options.media, "plain.mp4"), path)
        app = self.start_in_locale("C", path, home)
        app.wait_number(1)
        self.assertIn("Ärger 中文.mp4", app.title())

    def test_a_name_whose_bytes_are_no_text_is_opened(self):
        folder = self.home()
        path = os.path.join(os.fsencode(folder), b"Stra\xdfe.mp4")
        shutil.copy(os.path.join(driver.options.media, "plain.mp4"), path)
        app = self.start("--video", path)
        app.wait_number(1)
        self.assertTrue(app.title().startswith("Tarvex Shroud - %s/Stra" % folder))
        self.assertEqual(app.close(), 0)

    def start_in_locale(self, locale, path, home):
        wrapper = os.path.join(home, "start")
        with open(wrapper, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\nexec env LC_ALL=%s %s --video %s\n"
                       % (locale, shlex.quote(driver.options.program), shlex.quote(path)))
        os.chmod(wrapper, 0o755)
        return self.start_program(wrapper, home=home)

    def test_two_starts_within_a_second_share_a_log(self):
        def share():
            home = self.home()
            apps = [self.start(home=home), self.start(home=home)]
            for app in apps:
                app.main_window()
            names = self.logs(home)
            for app in apps:
                self.assertEqual(app.close(), 0)
            # Now and then a second begins between the two.
            return names if len(names) == 1 else None
        name, = driver.wait_until(share, "two starts within the same second", 300)
        with open(name, encoding="utf-8") as file:
            lines = file.read().splitlines()
        self.assertEqual(len([line for line in lines if line.endswith("[AI] Could not find Doriq.dll")]), 2)
        for line in lines:
            self.assertRegex(line, r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d: ", "no line is torn")

    def test_the_steps_come_in_their_order(self):
        home = self.home()
        folder = os.path.join(home, ".config", "Tarvex Shroud")
        os.makedirs(folder)
        for number in range(10):
            with open(os.path.join(folder, "old%d.log" % number), "w", encoding="utf-8"):
                pass
        app = self.start("--video", os.path.join(driver.options.media, "plain.mp4"), home=home)
        app.wait_number(1)
        app.wait_log(r"Seek to frame 1$")
        lines = [line for line in app.log() if re.search(r"^Deleted old|^\[AI\]|\[VideoPlayerThread\] created", line)]
        self.assertEqual([line.split()[0] for line in lines], ["Deleted", "[AI]", "[VideoPlayerThread]"])

    def test_translations_come_after_the_detection_library_and_before_the_window(self):
        folder = self.home()
        program = os.path.join(folder, "tarvex_shroud")
        shutil.copy(driver.options.program, program)
        os.makedirs(os.path.join(folder, "languages", "de"))
        with open(os.path.join(folder, "languages", "de", "main.mo"), "w", encoding="utf-8") as file:
            file.write("no catalog")
        app = self.start_program(program, env={"LANGUAGE": "de", "LC_ALL": "C.UTF-8"})
        app.main_window()
        app.wait_log(r"^\[VideoPlayerThread\] created")
        # There is nothing but the catalog beside this program.
        app.wait_log(r"^\[MainFrame\] No window icon at %s/Resources/Icons/tarvex_shroud.ico$" % folder)
        steps = [re.search(r"Could not find Doriq|\[Languages\] Damaged catalog|VideoPlayerThread\] created", line)
                 for line in app.log()]
        self.assertEqual([step.group() for step in steps if step],
                         ["Could not find Doriq", "[Languages] Damaged catalog", "VideoPlayerThread] created"])
        self.assertEqual(app.close(), 0)

    def test_the_defaults_are_there_before_the_detection_library(self):
        library = os.path.join(driver.options.tools, "..", "lib", "tests", "fake_doriq.so")
        if not os.path.exists(library):
            self.skipTest("there is no fake detection library")
        home = self.home()
        folder = os.path.join(home, ".config", "Tarvex Shroud", "Plugins", "Tarvex AI")
        os.makedirs(folder)
        shutil.copy(library, os.path.join(folder, "Doriq.so"))
        app = self.start(home=home)
        app.wait_log(r"^\[AI\] Loaded Doriq.dll$")
        with open(os.path.join(folder, "Doriq.so.loaded"), encoding="utf-8") as file:
            self.assertEqual(file.read(), "with settings\n")

    def test_a_log_file_that_cannot_be_opened_is_told(self):
        home = self.home()
        folder = os.path.join(home, ".config", "Tarvex Shroud")
        os.makedirs(os.path.dirname(folder))
        os.symlink("/proc", folder)
        app = self.start(home=home)
        lines = self.read_log_box(app)
        self.assertRegex(lines[0], r"^Log file %s/\d{4}-\d\d-\d\dT\d\d_\d\d_\d\d\.log could not be opened$" % folder)
        self.assertEqual(app.titles(), ["Tarvex Shroud"])

    def test_an_old_log_that_cannot_be_removed_is_told_and_the_next_one_goes(self):
        if os.getuid() != 0:
            self.skipTest("only the administrator can give a file to another user")
        home, folder = self.home_with_old_logs(12)
        # In such a folder everyone may write, but removes only files of their own.
        os.chmod(folder, 0o1777)
        app = self.start_as_nobody(home, keep=[folder, os.path.join(folder, "old00.log")])
        app.wait_log(r"^Error: Failed to remove log file: .*/old00\.log$")
        app.wait_log(r"^Deleted old log file: .*/old01\.log$")
        app.wait_log(r"^Deleted old log file: .*/old02\.log$")
        self.assertEqual(len(self.logs(home)), 11)

    # --- installed

    def test_installed_it_finds_its_pictures_and_languages_through_the_link(self):
        if not shutil.which("cmake"):
            self.skipTest("cmake is not installed")
        prefix = self.home()
        build = os.path.dirname(os.path.abspath(driver.options.tools))
        subprocess.run(["cmake", "--install", build, "--prefix", prefix], check=True, stdout=subprocess.DEVNULL)
        link = os.path.join(prefix, "bin", "tarvex_shroud")
        self.assertTrue(os.path.realpath(link).startswith(os.path.realpath(prefix)))
        video = os.path.join(driver.options.media, "plain.mp4")
        pictures = []
        for program in (driver.options.program, link):
            app = self.start_program(program, "--video", video, env={"LANGUAGE": "de", "LC_ALL": "C.UTF-8"})
            app.wait_number(1)
            app.wait_log(r"Seek to frame 1$")
            self.assertNotIn("_NET_WM_ICON:  not found", self.properties(app))
            self.assertEqual(app.log_count(r"^Error|No window icon"), 0)
            self.screen.xdotool("mousemove", 1, 1)
            pictures.append(app.still_shot())
            app.key("alt+h")
            self.screen.xdotool("key", "s")
            self.key_in(app, "Sprache w\u00e4hlen", "Escape")
            self.wait_no_title(app, "Sprache w\u00e4hlen")
            self.assertEqual(app.close(), 0)
        self.assertTrue(pictures[0].same_as(pictures[1]), "the same buttons")

    # --- the window

    def properties(self, app):
        return self.screen.output("xprop", "-id", str(app.main_window()), "WM_CLASS", "_NET_WM_ICON",
                                  "WM_NORMAL_HINTS").decode(errors="replace")

    def test_the_window_has_its_size_icon_and_class(self):
        app = self.start()
        self.assertEqual(self.frame_size(app), (800, 580))
        text = self.properties(app)
        with open(os.path.join(os.path.dirname(__file__), "..", "..", "packaging", "tarvex_shroud.desktop"),
                  encoding="utf-8") as entry:
            wanted = re.search(r"^StartupWMClass=(.*)$", entry.read(), re.MULTILINE).group(1)
        self.assertIn(wanted, re.findall(r'"([^"]*)"', text.split("WM_CLASS", 1)[1].split("\n", 1)[0]))
        self.assertRegex(text, r"_NET_WM_ICON\(CARDINAL\)")
        self.assertNotIn("not found", text)

    def test_the_window_manager_keeps_the_window_at_its_minimum(self):
        app = self.start()
        app.main_window()

        def minimum():
            left, right, top, bottom = self.frame_extents(app)
            width, height = (int(number) for number in
                             re.search(r"program specified minimum size: (\d+) by (\d+)", self.properties(app)).groups())
            found = width + left + right, height + top + bottom
            # It is told again once the window manager's frame is known. The menu bar may need a little more width.
            return found if found[1] == 128 and 128 <= found[0] < 256 else None
        smallest = driver.wait_until(minimum, "the window's minimum")

        def shrink():
            self.screen.output("wmctrl", "-i", "-r", str(app.main_window()), "-e", "0,60,60,50,40")
            return self.frame_size(app) == smallest
        driver.wait_until(shrink, "the smallest window", pause=0.2)

    def frame_extents(self, app):
        frame = self.screen.output("xprop", "-id", str(app.main_window()), "_NET_FRAME_EXTENTS").decode()
        return [int(number) for number in re.findall(r"\d+", frame)]

    def frame_size(self, app):
        _, _, width, height = self.place(app.main_window())
        left, right, top, bottom = self.frame_extents(app)
        return width + left + right, height + top + bottom

    def test_the_threshold_is_forgotten_at_the_end(self):
        home = self.home_with_detector(score="0.5")
        app = self.ready(home=home)
        self.choose(app, "Tools", (TOOLS, "AI"), (AI, "Settings"), (SETTINGS, "Confidence threshold"),
                    (THRESHOLD, "70"))
        self.assertEqual(app.close(), 0)
        self.assertEqual(sorted(self.config(app)), ["gpu", "lang", "preblursec", "userlang"])
        app = self.ready(home=home)
        clear = app.still_shot()
        self.choose(app, "Tools", (TOOLS, "AI"), (AI, "Blur humans"))
        # At 70 nothing of that score would be shown.
        app.wait_shot(lambda picture: not picture.same_as(clear) and "Tarvex AI" not in app.titles(),
                      "the detection's rectangle")

    # --- languages

    def test_a_stored_english_holds_on_a_system_in_another_language(self):
        home = self.home()
        folder = os.path.join(home, ".config", "Tarvex Shroud")
        os.makedirs(folder)
        for stored, title in (("0", "Videodatei öffnen"), ("1", "Open video file")):
            with open(os.path.join(folder, "config.ini"), "w", encoding="utf-8") as file:
                file.write("gpu=1\npreblursec=1\nuserlang=%s\nlang=175\n" % stored)
            app = self.start(home=home, env={"LANGUAGE": "de", "LC_ALL": "C.UTF-8"})
            app.main_window()
            app.key("ctrl+o")
            self.key_in(app, title, "Escape")
            self.wait_no_title(app, title)
            self.assertEqual(app.close(), 0)

    def test_the_systems_language_is_taken_when_it_has_texts_and_english_otherwise(self):
        for language, title in (("de", "Videodatei öffnen"), ("de_AT:en", "Videodatei öffnen"),
                                ("eo", "Open video file")):
            app = self.start(env={"LANGUAGE": language, "LC_ALL": "C.UTF-8"})
            app.main_window()
            app.key("ctrl+o")
            self.key_in(app, title, "Escape")
            self.wait_no_title(app, title)
            self.assertEqual(app.close(), 0)

    def test_a_language_read_from_the_right_mirrors_the_menus_but_not_the_picture(self):
        app = self.open("plain.mp4", env={"LANGUAGE": "ar", "LC_ALL": "C.UTF-8"})
        app.wait_number(1)
        app.move_window(60, 60)
        self.screen.xdotool("mousemove", 1, 1)
        clear = app.still_shot()
        app.click(*app.at(80, 120))
        app.wait_log(r"New Blur id:0 ")
        self.screen.xdotool("mousemove", 1, 1)
        picture = app.wait_shot(lambda shot: not shot.same_as(clear), "the blur")
        changed = [x for x in range(0, 320) if app.pixel_at(picture, x, 120) != app.pixel_at(clear, x, 120)]
        self.assertTrue(changed)
        self.assertLess(max(changed), 160, "in the half that was clicked")
        x, y, width, _ = self.place(app.main_window())
        before = self.popups()
        self.click_at(x + width - menus.MENU_LEFT["File"], y + menus.MENU_MIDDLE)
        self.new_popup(before)


if __name__ == "__main__":
    driver.main()
