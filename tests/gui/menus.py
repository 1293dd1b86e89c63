"""The menu bar and the dialogs of the program, used by mouse and by key."""

import json
import os
import shutil
import subprocess

import driver

MENU_LEFT = {"File": 19, "Tools": 63, "Help": 111}
MENU_MIDDLE = 13

# Rows of each menu, separators left out.
FILE = ["Open", "Export", "Exit"]
TOOLS = ["Mode", "Playback speed", "AI", "Reset all"]
MODE = ["Blur mode", "Unblur mode"]
SPEED = ["1x", "4x"]
AI = ["Blur humans", "Settings"]
SETTINGS = ["Pre-blur", "Confidence threshold", "Use GPU"]
PREBLUR = ["1", "2", "3", "4", "5"]
THRESHOLD = ["10", "20", "30", "40", "50", "60", "70", "80", "90"]
HELP = ["Language", "About"]


class MenuTest(driver.GuiTest):
    def ready(self, name="plain.mp4", **named):
        """The program at a place where its menus fit on the screen, with the clip's first frame."""
        app = self.open(name, **named)
        app.wait_number(1)
        app.move_window(60, 60)
        app.still_shot()
        return app

    def home_with_detector(self, score="0.9"):
        """A home folder with a fake detection library that finds the same in every frame."""
        library = os.path.join(driver.options.tools, "..", "lib", "tests", "fake_doriq.so")
        if not os.path.exists(library):
            self.skipTest("there is no fake detection library")
        home = self.home()
        folder = os.path.join(home, ".config", "Tarvex Shroud", "Plugins", "Tarvex AI")
        model = os.path.join(folder, "Resources", "yolov4-tiny")
        os.makedirs(model)
        shutil.copy(library, os.path.join(folder, "Doriq.so"))
        for name, content in (("a.names", "person\n"), ("a.cfg", "\n"), ("a.weights", "hit 0 100 60 40 40 %s 0\n" % score)):
            with open(os.path.join(model, name), "w", encoding="utf-8") as file:
                file.write(content)
        return home

    # --- windows and menus

    def place(self, window):
        """x, y, width, height on the screen."""
        text = self.screen.output("xwininfo", "-id", str(window)).decode(errors="replace")
        fields = dict(line.strip().split(":", 1) for line in text.splitlines() if ":" in line)
        return tuple(int(fields[name]) for name in ("Absolute upper-left X", "Absolute upper-left Y", "Width",
                                                    "Height"))

    def popups(self):
        return set(self.screen.windows())

    def click_at(self, x, y):
        self.screen.xdotool("mousemove", x, y)
        self.screen.xdotool("click", 1)

    def new_popup(self, before, limit=driver.LIMIT):
        def find():
            for window in self.popups() - before:
                place = self.place(window)
                if place[2] > 20 and place[3] > 20:
                    return window, place
            return None
        return driver.wait_until(find, "a menu", limit)

    def row_point(self, place, rows, label):
        x, y, width, height = place
        return x + width // 3, y + height * (2 * rows.index(label) + 1) // (2 * len(rows))

    def open_menu(self, app, menu, *path):
        """Opens a menu by mouse, goes down `path` of (rows, label) and returns the place of the last menu."""
        app.main_window()
        self.screen.xdotool("windowfocus", "--sync", app.main_window())
        x, y, _, _ = self.place(app.main_window())

        def first():
            before = self.popups()
            self.click_at(x + MENU_LEFT[menu], y + MENU_MIDDLE)
            try:
                return self.new_popup(before, 5)
            except driver.Timeout:
                # A window that has just come to the front may miss a click.
                self.screen.xdotool("key", "Escape")
                return None
        _, place = driver.wait_until(first, "the menu %r" % menu)
        for rows, label in path:
            before = self.popups()
            # A sub-menu opens under the pointer; a click would close it again.
            self.screen.xdotool("mousemove", *self.row_point(place, rows, label))
            _, place = self.new_popup(before)
        return place

    def choose(self, app, menu, *path):
        """Clicks through a menu; the last of `path` is the command."""
        before = self.popups()
        place = self.open_menu(app, menu, *path[:-1])
        self.click_at(*self.row_point(place, *path[-1]))
        driver.wait_until(lambda: not [window for window in self.popups() - before if self.is_menu(window)],
                          "the menu to close")

    def is_menu(self, window):
        text = self.screen.output("xwininfo", "-id", str(window), "-wm", "-all").decode(errors="replace")
        return "Override Redirect State: yes" in text and "Menu" in text

    def close_menus(self, app):
        for _ in range(4):
            self.screen.xdotool("key", "Escape")
        app.check_running()

    def wait_title(self, app, title):
        driver.wait_until(lambda: title in app.titles(), "the window %r among %r" % (title, app.titles()))

    def wait_no_title(self, app, title):
        driver.wait_until(lambda: title not in app.titles(), "the window %r to close" % title)

    def dialog(self, app, title):
        def find():
            for line in self.screen.output("wmctrl", "-l", "-p").decode(errors="replace").splitlines():
                parts = line.split(None, 4)
                if int(parts[2]) == app.process.pid and len(parts) == 5 and parts[4] == title:
                    return int(parts[0], 16)
            return None
        return driver.wait_until(find, "the window %r" % title)

    def key_in(self, app, title, *keys):
        self.screen.xdotool("windowfocus", "--sync", self.dialog(app, title))
        self.screen.xdotool("key", *keys)

    def marked_in_turn(self, window, wanted):
        """Goes round the parts of a dialog until the text `wanted` is marked, as a text is that can be copied."""
        selections = driver.Selections(self.screen)
        self.addCleanup(selections.close)
        seen = []

        def is_marked():
            now = selections.text("PRIMARY")
            if now and now not in seen:
                seen.append(now)
            return now == wanted

        def next_part():
            self.screen.xdotool("windowfocus", "--sync", window)
            self.screen.xdotool("key", "Tab")
            try:
                return driver.wait_until(is_marked, "", 1)
            except driver.Timeout:
                return False
        try:
            driver.wait_until(next_part, "")
        except driver.Timeout:
            self.fail("%r, not %r" % (seen, wanted))

    def read_box(self, app, text, *advice, title="Error"):
        """Waits for a message box with this text, and this advice below it, and presses OK."""
        for part in (text,) + advice:
            self.marked_in_turn(self.dialog(app, title), part)
        self.press_until_gone(app, title, "Return")

    def press_until_gone(self, app, title, key):
        """A box that has just taken the focus may miss a key."""
        box = str(self.dialog(app, title))

        def press():
            self.screen.output("xdotool", "windowfocus", box, "key", key)
            try:
                return driver.wait_until(lambda: title not in app.titles(), "", 2)
            except driver.Timeout:
                return False
        driver.wait_until(press, "the window %r to close" % title)

    def read_log_box(self, app, title="Tarvex Shroud Error"):
        """The lines that the box of the log tells, without their times; presses OK."""
        selections = driver.Selections(self.screen)
        self.addCleanup(selections.close)
        box = self.dialog(app, title)

        def copied():
            # Opens or closes the details; the button that copies them is there while they are open.
            self.key_in(app, title, "alt+d")
            try:
                return driver.wait_until(lambda: self.copy_of(selections, box), "", 2)
            except driver.Timeout:
                return None
        text = driver.wait_until(copied, "the lines of the box")
        self.press_until_gone(app, title, "Escape")
        return [line.split(": ", 1)[-1] for line in text.splitlines()]

    def copy_of(self, selections, box):
        self.screen.xdotool("windowfocus", "--sync", box)
        self.screen.xdotool("key", "alt+c")
        return selections.text("CLIPBOARD")

    def start_as_nobody(self, home, *arguments, keep=()):
        """The program without an administrator's rights. Everything in its home is its own but `keep`, which
        stays ours."""
        if os.getuid() == 0:
            if not shutil.which("setpriv"):
                self.skipTest("setpriv is not installed")
            wrapper = os.path.join(home, "start")
            with open(wrapper, "w", encoding="utf-8") as file:
                file.write('#!/bin/sh\nexec setpriv --reuid=65534 --regid=65534 --clear-groups %s "$@"\n'
                           % driver.options.program)
            os.chmod(wrapper, 0o755)
            os.chmod(home, 0o755)
            if subprocess.run(["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "test", "-x",
                               driver.options.program], check=False).returncode:
                self.skipTest("the program is in a folder that only the administrator sees")
            for folder, _, names in os.walk(home):
                for path in [folder] + [os.path.join(folder, name) for name in names]:
                    if path not in keep:
                        os.chown(path, 65534, 65534)
            return self.start_program(wrapper, *arguments, home=home)
        return self.start(*arguments, home=home)

    def start_program(self, path, *arguments, **named):
        """The program as another file."""
        program, driver.options.program = driver.options.program, path
        try:
            return self.start(*arguments, **named)
        finally:
            driver.options.program = program

    def type_file(self, app, title, path, replace=False):
        """Types a path into a file dialog and accepts it."""
        self.screen.xdotool("windowfocus", "--sync", self.dialog(app, title))
        self.screen.xdotool("type", path)

        def accepted():
            # The dialog swallows the key while it looks the typed name up.
            if replace and "" in app.titles():
                # The question about a file that is there has no title, and the focus.
                self.screen.xdotool("key", "Return")
            elif title in app.titles():
                self.screen.output("xdotool", "search", "--name", "^%s$" % title, "windowfocus", "key", "Return")
            try:
                driver.wait_until(lambda: title not in app.titles(), "the file dialog to close", 2)
                return True
            except driver.Timeout:
                return False
        driver.wait_until(accepted, "the file dialog to take %s" % path)

    def config(self, app):
        path = os.path.join(app.env["XDG_CONFIG_HOME"], "Tarvex Shroud", "config.ini")
        with open(path, encoding="utf-8") as text:
            return dict(line.strip().split("=", 1) for line in text if "=" in line)

    def frames_of(self, path):
        """Decoded by a tool that knows nothing of the product."""
        out = subprocess.run(["ffprobe", "-v", "error", "-count_frames", "-show_entries", "stream=nb_read_frames",
                              "-of", "json", path], stdout=subprocess.PIPE, check=True).stdout
        return int(json.loads(out)["streams"][0]["nb_read_frames"])
