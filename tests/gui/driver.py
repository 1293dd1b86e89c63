"""Drives the real program on a screen of its own: Xvfb, openbox, xdotool and a home folder that is thrown away.

A test file defines unittest cases on GuiTest and ends with driver.main(). CTest gives it the program and the
folder of the synthesised videos. Without Xvfb and its companions the file is skipped (exit code 77) with the
reason, and so is one whose every test says that it was skipped. Nothing waits for a fixed time: every wait names an event, polls for it and fails after a limit.
"""

import argparse
import ctypes
import glob
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

TOOLS = ["Xvfb", "openbox", "xdotool", "wmctrl", "xwininfo", "import"]
SKIPPED = 77
# Seconds; a machine that has much else to do takes more.
LIMIT = float(os.environ.get("SHROUD_GUI_LIMIT", "60"))
BAR_HEIGHT = 32

options = None


class Timeout(AssertionError):
    pass


def wait_until(condition, what, limit=LIMIT, pause=0.03):
    """The first true result of condition(); fails after `limit` seconds."""
    end = time.monotonic() + limit
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise Timeout("waited %g s for %s" % (limit, what))
        time.sleep(pause)


class Image:
    """A piece of the screen, RGB."""

    def __init__(self, width, height, data):
        self.width = width
        self.height = height
        self.data = data

    def pixel(self, x, y):
        at = 3 * (int(y) * self.width + int(x))
        return tuple(self.data[at:at + 3])

    def crop(self, x, y, width, height):
        rows = []
        for row in range(y, y + height):
            at = 3 * (row * self.width + x)
            rows.append(self.data[at:at + 3 * width])
        return Image(width, height, b"".join(rows))

    def same_as(self, other):
        return (self.width, self.height, self.data) == (other.width, other.height, other.data)

    def save(self, path):
        subprocess.run(["convert", "-size", "%dx%d" % (self.width, self.height), "-depth", "8", "rgb:-", path],
                       input=self.data, check=True)


def close_to(colour, wanted, tolerance=12):
    return all(abs(a - b) <= tolerance for a, b in zip(colour, wanted))


def is_empty(picture):
    """True of the canvas without a video, and not before it has been painted."""
    return close_to(picture.pixel(picture.width // 2, picture.height // 2), (32, 32, 32))


class Screen:
    """An X server with a window manager."""

    def __init__(self, width=1280, height=1024):
        self.size = (width, height)
        reader, writer = os.pipe()
        # A server that starts afresh after its last client, as which it takes a look from outside, loses a window
        # manager that comes just then.
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writer), "-screen", "0", "%dx%dx24" % self.size, "-nolisten", "tcp",
             "-noreset"],
            pass_fds=[writer], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(writer)
        with os.fdopen(reader) as pipe:
            number = pipe.readline().strip()
        if not number:
            raise RuntimeError("Xvfb did not start")
        self.env = dict(os.environ, DISPLAY=":" + number)
        self.env.pop("WAYLAND_DISPLAY", None)
        self.manager = subprocess.Popen(["openbox"], env=self.env, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        wait_until(lambda: subprocess.run(["wmctrl", "-m"], env=self.env, stdout=subprocess.DEVNULL,
                                          stderr=subprocess.DEVNULL).returncode == 0, "the window manager")

    def close(self):
        for process in (self.manager, self.server):
            process.terminate()
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()

    def output(self, *command):
        return subprocess.run(command, env=self.env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              check=False).stdout

    def xdotool(self, *command):
        subprocess.run(["xdotool"] + [str(part) for part in command], env=self.env, check=True,
                       stdout=subprocess.DEVNULL)

    def windows(self):
        """Ids of all windows on the screen, tool tips and menus too."""
        tree = self.output("xdotool", "search", "--onlyvisible", "--name", ".*").decode().split()
        tree += self.output("xdotool", "search", "--onlyvisible", "--class", ".*").decode().split()
        return sorted(set(tree))

    def shot(self):
        data = self.output("import", "-silent", "-window", "root", "-depth", "8", "rgb:-")
        return Image(self.size[0], self.size[1], data)


class Pixels:
    """Single pixels of the screen, in less than a millisecond each."""

    def __init__(self, screen):
        self.x11 = ctypes.CDLL("libX11.so.6")
        for name in ("XOpenDisplay", "XGetImage"):
            getattr(self.x11, name).restype = ctypes.c_void_p
        self.x11.XDefaultRootWindow.restype = self.x11.XGetPixel.restype = ctypes.c_ulong
        self.display = ctypes.c_void_p(self.x11.XOpenDisplay(screen.env["DISPLAY"].encode()))
        self.root = ctypes.c_ulong(self.x11.XDefaultRootWindow(self.display))

    def at(self, x, y):
        all_planes, z_pixmap = ctypes.c_ulong(0xffffffff), 2
        image = ctypes.c_void_p(self.x11.XGetImage(self.display, self.root, x, y, 1, 1, all_planes, z_pixmap))
        value = self.x11.XGetPixel(image, 0, 0)
        self.x11.XDestroyImage(image)
        return value >> 16 & 255, value >> 8 & 255, value & 255

    def close(self):
        self.x11.XCloseDisplay(self.display)


class Selections:
    """What other programs offer to be pasted: PRIMARY, the text marked last, and CLIPBOARD, the text copied last."""

    def __init__(self, screen):
        self.x11 = ctypes.CDLL("libX11.so.6")
        self.x11.XOpenDisplay.restype = ctypes.c_void_p
        for name in ("XDefaultRootWindow", "XCreateSimpleWindow", "XInternAtom"):
            getattr(self.x11, name).restype = ctypes.c_ulong
        self.display = ctypes.c_void_p(self.x11.XOpenDisplay(screen.env["DISPLAY"].encode()))
        root = ctypes.c_ulong(self.x11.XDefaultRootWindow(self.display))
        self.window = ctypes.c_ulong(self.x11.XCreateSimpleWindow(self.display, root, 0, 0, 1, 1, 0, 0, 0))

    def atom(self, name):
        return ctypes.c_ulong(self.x11.XInternAtom(self.display, name.encode(), 0))

    def text(self, name):
        """Empty when nobody offers any."""
        kind, place, now = self.atom("UTF8_STRING"), self.atom("SHROUD_TEST"), ctypes.c_ulong(0)
        self.x11.XConvertSelection(self.display, self.atom(name), kind, place, self.window, now)
        event = (ctypes.c_long * 24)()
        selection_notify = 31
        wait_until(lambda: self.x11.XCheckTypedWindowEvent(self.display, self.window, selection_notify, event),
                   "an answer about the selection")
        return self.property(place)

    def property(self, place):
        kind, form, count, rest = ctypes.c_ulong(), ctypes.c_int(), ctypes.c_ulong(), ctypes.c_ulong()
        data = ctypes.c_void_p()
        start, size, delete, any_kind = ctypes.c_long(0), ctypes.c_long(1 << 20), 1, ctypes.c_ulong(0)
        self.x11.XGetWindowProperty(self.display, self.window, place, start, size, delete, any_kind,
                                    ctypes.byref(kind), ctypes.byref(form), ctypes.byref(count),
                                    ctypes.byref(rest), ctypes.byref(data))
        text = ctypes.string_at(data, count.value).decode(errors="replace") if data else ""
        if data:
            self.x11.XFree(data)
        return text

    def close(self):
        self.x11.XCloseDisplay(self.display)


class App:
    """The program, started with a fresh home folder."""

    def __init__(self, screen, *arguments, scale=1, env=None, home=None):
        self.screen = screen
        self.scale = scale
        self.own_home = home is None
        self.home = home or tempfile.mkdtemp(prefix="shroud-gui-")
        self.env = dict(screen.env, HOME=self.home, XDG_CONFIG_HOME=os.path.join(self.home, ".config"),
                        XDG_CACHE_HOME=os.path.join(self.home, ".cache"), GDK_SCALE=str(scale), NO_AT_BRIDGE="1")
        # The locale the tests were started in, but English texts (see tests/locales).
        locale = self.env.setdefault("LC_ALL", "C.UTF-8")
        if not locale.startswith("C"):
            del self.env["LC_ALL"]
            self.env.update(LANG=locale, LC_MESSAGES="en_US.UTF-8")
        self.env.pop("LANGUAGE", None)
        if "LC_ALL" in (env or {}):
            for name in ("LANG", "LC_MESSAGES"):
                self.env.pop(name, None)
        self.env.update(env or {})
        self.console_path = os.path.join(self.home, "console.txt")
        with open(self.console_path, "wb") as console:
            self.process = subprocess.Popen([options.program] + list(arguments), env=self.env, cwd=self.home,
                                            stdout=console, stderr=subprocess.STDOUT)
        self.window = None

    def video(self, name):
        return os.path.join(options.media, name)

    # --- the program

    def running(self):
        return self.process.poll() is None

    def console(self):
        with open(self.console_path, encoding="utf-8", errors="replace") as text:
            return text.read()

    def log(self):
        """All lines of the log files, without their time stamps."""
        lines = []
        for path in sorted(glob.glob(os.path.join(self.env["XDG_CONFIG_HOME"], "Tarvex Shroud", "*.log"))):
            with open(path, encoding="utf-8", errors="replace") as text:
                lines += [re.sub(r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d: ", "", line.rstrip("\n")) for line in text]
        return lines

    def log_count(self, pattern):
        return sum(1 for line in self.log() if re.search(pattern, line))

    def wait_log(self, pattern, count=1, limit=LIMIT):
        """The match of the `count`th line with the pattern."""
        def find():
            self.check_running()
            matches = [match for match in (re.search(pattern, line) for line in self.log()) if match]
            return matches[count - 1] if len(matches) >= count else None
        return wait_until(find, "log line %r, %d times" % (pattern, count), limit)

    def check_running(self):
        if not self.running():
            raise AssertionError("the program ended with %s:\n%s" % (self.process.returncode, self.console()))

    def close(self):
        """Closes the window as a user does and returns the exit code."""
        self.screen.output("wmctrl", "-i", "-c", str(self.main_window()))
        return self.process.wait(timeout=LIMIT)

    def kill(self):
        if self.running():
            self.process.send_signal(signal.SIGKILL)
            self.process.wait()
        if self.own_home:
            shutil.rmtree(self.home, ignore_errors=True)

    # --- windows

    def main_window(self):
        def find():
            self.check_running()
            for line in self.screen.output("wmctrl", "-l", "-p").decode(errors="replace").splitlines():
                parts = line.split(None, 4)
                if int(parts[2]) == self.process.pid and len(parts) == 5 and "Tarvex Shroud" in parts[4]:
                    return int(parts[0], 16)
            return None
        if self.window is None:
            self.window = wait_until(find, "the main window")
        return self.window

    def titles(self):
        """Titles of all windows of the program."""
        for _ in range(50):
            lines = self.screen.output("wmctrl", "-l", "-p").decode(errors="replace").splitlines()
            titles = [parts[4] if len(parts) > 4 else "" for parts in (line.split(None, 4) for line in lines)
                      if int(parts[2]) == self.process.pid]
            # A list that changes while it is read comes out empty.
            if titles or not self.running():
                break
        return titles

    def title(self):
        return self.screen.output("xdotool", "getwindowname", str(self.main_window())).decode().strip()

    def canvas(self):
        """x, y, width, height of the canvas on the screen, physical pixels."""
        tree = self.screen.output("xwininfo", "-id", str(self.main_window()), "-tree").decode(errors="replace")
        found = re.findall(r"(\d+)x(\d+)\+-?\d+\+-?\d+\s+\+(-?\d+)\+(-?\d+)", tree)
        places = [(int(x), int(y), int(w), int(h)) for w, h, x, y in found]
        return max(places, key=lambda place: place[2] * place[3])

    def resize_canvas(self, width, height):
        """Resizes the main window until the canvas has that size, physical pixels."""
        for _ in range(10):
            _, _, now_width, now_height = self.canvas()
            if (now_width, now_height) == (width, height):
                return
            frame = self.screen.output("xdotool", "getwindowgeometry", "--shell",
                                       str(self.main_window())).decode()
            sizes = dict(line.split("=") for line in frame.split())
            self.screen.xdotool("windowsize", self.main_window(), int(sizes["WIDTH"]) + width - now_width,
                                int(sizes["HEIGHT"]) + height - now_height)
            try:
                wait_until(lambda: self.canvas()[2:] != (now_width, now_height), "the new size", 2)
            except Timeout:
                pass
        raise AssertionError("canvas is %dx%d, not %dx%d" % (self.canvas()[2:] + (width, height)))

    def move_window(self, x, y):
        """Moves the main window to another place; its canvas stands near that point afterwards."""
        self.screen.xdotool("windowmove", self.main_window(), x, y)
        wait_until(lambda: all(0 <= now - wanted < 100 for now, wanted in zip(self.canvas(), (x, y))),
                   "the window at its place")

    def shot(self):
        """The canvas as it is on the screen now."""
        self.check_running()
        return self.screen.shot().crop(*self.canvas())

    def still_shot(self):
        """The canvas once two pictures of it in a row are the same."""
        last = [None]

        def settled():
            now = self.shot()
            same = last[0] is not None and now.same_as(last[0])
            last[0] = now
            return now if same else None
        return wait_until(settled, "a still picture")

    def wait_shot(self, condition, what, limit=LIMIT):
        """The first picture of the canvas for which condition(picture) is true."""
        def look():
            picture = self.shot()
            return picture if condition(picture) else None
        return wait_until(look, what, limit)

    # --- mouse and keys; points are window pixels of the canvas

    def on_screen(self, x, y):
        left, top, _, _ = self.canvas()
        return left + round(x * self.scale), top + round(y * self.scale)

    def move(self, x, y):
        self.screen.xdotool("mousemove", *self.on_screen(x, y))

    def glide(self, points, pauses=None, press=False, release=False):
        """Goes through the points at once, with a pause of so many seconds before each but the first."""
        command = ["mousedown", 1] if press else []
        left, top, _, _ = self.canvas()
        for i, (x, y) in enumerate(points):
            if i and pauses and pauses[i]:
                command += ["sleep", pauses[i]]
            command += ["mousemove", left + round(x * self.scale), top + round(y * self.scale)]
        self.screen.xdotool(*command, *(["mouseup", 1] if release else []))

    def press(self):
        self.screen.xdotool("mousedown", 1)

    def release(self):
        self.screen.xdotool("mouseup", 1)

    def click(self, x, y):
        """As long as a person's click."""
        self.move(x, y)
        self.press()
        time.sleep(0.05)
        self.release()

    def drag(self, points, steps=8):
        """Presses at the first point, goes through the others and leaves the button held."""
        self.move(*points[0])
        self.press()
        for start, end in zip(points, points[1:]):
            for step in range(1, steps + 1):
                self.move(start[0] + (end[0] - start[0]) * step / steps,
                          start[1] + (end[1] - start[1]) * step / steps)

    def wheel(self, notches):
        self.screen.xdotool("click", "--repeat", abs(notches), 4 if notches > 0 else 5)

    def key(self, *names):
        self.screen.xdotool("windowfocus", "--sync", self.main_window())
        self.screen.xdotool("key", *names)

    # --- the canvas's controls, window pixels

    def size(self):
        _, _, width, height = self.canvas()
        return width // self.scale, height // self.scale

    def bar_y(self):
        return self.size()[1] - BAR_HEIGHT // 2

    def play_button(self):
        return BAR_HEIGHT // 2, self.bar_y()

    def delete_button(self):
        return self.size()[0] - BAR_HEIGHT // 2, self.bar_y()

    def ai_button(self):
        return self.size()[0] - BAR_HEIGHT * 3 // 2, self.bar_y()

    def timeline(self, fraction):
        left = BAR_HEIGHT + 12
        right = self.size()[0] - 2 * BAR_HEIGHT - 12
        return left + (right - left) * fraction, self.bar_y()

    def timeline_frame(self, x, frame_count):
        """The frame that the timeline says with its knob at that place."""
        left, right = self.timeline(0)[0], self.timeline(1)[0]
        return (round(x) - left) * (frame_count - 1) // (right - left) + 1

    # --- the video in the canvas

    def place(self, video_width, video_height):
        """Scale and left top of the letter-boxed picture, window pixels."""
        width, height = self.size()
        height -= BAR_HEIGHT
        scale = min(width / video_width, height / video_height)
        return scale, (width - video_width * scale) / 2, (height - video_height * scale) / 2

    def at(self, video_x, video_y, video=(320, 180)):
        """Window point of a video pixel's middle."""
        scale, left, top = self.place(*video)
        return left + (video_x + 0.5) * scale, top + (video_y + 0.5) * scale

    def pixel_at(self, picture, video_x, video_y, video=(320, 180)):
        x, y = self.at(video_x, video_y, video)
        return picture.pixel(x * self.scale, y * self.scale)

    def number(self, picture, video=(320, 180)):
        """The frame number that a counter clip's picture carries; None when it can't be read."""
        side = max(1, min(video[0] // 16, video[1] // 4))
        value = 0
        for bit in range(16):
            upper, lower = (sum(self.pixel_at(picture, (bit + 0.5) * side, (row + 0.5) * side, video)) > 381
                            for row in (0, 1))
            if upper == lower:
                return None
            value = value * 2 + int(upper)
        return value

    def wait_number(self, wanted, video=(320, 180), limit=LIMIT):
        return self.wait_shot(lambda picture: self.number(picture, video) == wanted,
                              "frame %s on the screen" % wanted, limit)


class GuiTest(unittest.TestCase):
    """A screen per class, programs per test."""

    screen_size = (1280, 1024)

    @classmethod
    def setUpClass(cls):
        cls.screen = Screen(*cls.screen_size)

    @classmethod
    def tearDownClass(cls):
        cls.screen.close()

    def start(self, *arguments, **named):
        app = App(self.screen, *arguments, **named)
        self.addCleanup(app.kill)
        self.addCleanup(self.keep_picture, app)
        return app

    def home(self):
        """A home folder that several programs may have one after the other."""
        folder = tempfile.mkdtemp(prefix="shroud-gui-")
        self.addCleanup(shutil.rmtree, folder, True)
        return folder

    def open(self, name, **named):
        """The program with a counter clip open and its first frame on the screen."""
        app = self.start("--video", os.path.join(options.media, name), **named)
        app.main_window()
        app.wait_log(r"Seek to frame 1$")
        # The hint line finds its height, and the canvas its own, when the video is ready.
        app.still_shot()
        return app

    def keep_picture(self, app):
        """A picture and the log of a failed test, for the one who looks into it."""
        outcome = getattr(self, "_outcome", None)
        errors = getattr(getattr(outcome, "result", None), "errors", [])
        failures = getattr(getattr(outcome, "result", None), "failures", [])
        partial = [error for _, error in getattr(outcome, "errors", []) if error]
        if not (partial or any(case is self for case, _ in errors + failures)):
            return
        folder = options.pictures
        os.makedirs(folder, exist_ok=True)
        path = os.path.join(folder, self.id().split(".", 1)[-1] + ".png")
        self.screen.shot().save(path)
        print("picture: %s\nconsole:\n%s\nlog:\n%s" % (path, app.console(), "\n".join(app.log())))


def main():
    global options
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--media", required=True)
    parser.add_argument("--tools", default="", help="folder of the tests' own helper programs")
    parser.add_argument("--detector", default="", help="the detection library, where the build has one")
    parser.add_argument("--pictures", default=os.path.join(tempfile.gettempdir(), "shroud-gui-failures"))
    options, rest = parser.parse_known_args()
    options.program = os.path.abspath(options.program)
    options.media = os.path.abspath(options.media)
    missing = [tool for tool in TOOLS if not shutil.which(tool)]
    if missing:
        print("skipped: %s not installed" % ", ".join(missing))
        sys.exit(SKIPPED)
    result = unittest.main(argv=[sys.argv[0]] + rest, verbosity=2, exit=False).result
    if not result.wasSuccessful():
        sys.exit(1)
    sys.exit(SKIPPED if result.skipped and len(result.skipped) == result.testsRun else 0)
