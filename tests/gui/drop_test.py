"""Files dragged from another program's window and dropped on the real one."""

import os
import shutil
import subprocess
import tempfile

import driver
import menus


class Drop(menus.MenuTest):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="shroud-drop-")
        self.addCleanup(shutil.rmtree, self.folder, True)

    def copy(self, clip, name):
        path = os.path.join(self.folder, name)
        shutil.copy(os.path.join(driver.options.media, clip), path)
        return path

    def write(self, name, content):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(content)
        return path

    def program(self, *arguments):
        app = self.start(*arguments)
        app.main_window()
        app.move_window(300, 200)
        app.still_shot()
        return app

    def source(self, *paths):
        """The window to drag the files from: its middle on the screen, and a function for what it has said."""
        program = os.path.join(driver.options.tools, "drag_source")
        words = os.path.join(self.folder, "drag_source.txt")
        with open(words, "wb") as output:
            # It reads the names by its locale, and is not what is looked at.
            process = subprocess.Popen([program] + list(paths), env=dict(self.screen.env, LC_ALL="C.UTF-8"),
                                       stdout=output, stderr=subprocess.DEVNULL)

        def end():
            process.kill()
            process.wait()
        self.addCleanup(end)

        def find():
            self.assertIsNone(process.poll(), "the drag source ended")
            for line in self.screen.output("wmctrl", "-l", "-p", "-G").decode(errors="replace").splitlines():
                parts = line.split(None, 8)
                if int(parts[2]) == process.pid:
                    x, y, width, height = (int(part) for part in parts[3:7])
                    return x + width // 2, y + height // 2
            return None

        def said():
            with open(words, encoding="utf-8") as text:
                return text.read().split()
        return driver.wait_until(find, "the drag source"), said, end

    def drag(self, app, *paths):
        """Drags the files to the middle of the picture; the program has dealt with them when this returns."""
        start, said, end_source = self.source(*paths)

        def begin():
            # A window that has just come up may miss a press.
            begun = said().count("begun")
            self.screen.xdotool("mouseup", 1)
            self.screen.xdotool("mousemove", *start)
            self.screen.xdotool("mousedown", 1)
            return self.happens(lambda: said().count("begun") > begun)

        def drop():
            driver.wait_until(begin, "the drag to begin")
            x, y, width, height = app.canvas()
            for step in range(20):
                self.screen.xdotool("mousemove", x + width // 2 + step, y + height // 2)
            self.screen.xdotool("mouseup", 1)
            driver.wait_until(lambda: said()[-1] in ("dropped", "lost"), "the drag to end")
            # It gets lost where the program has not yet said that it takes files.
            return said()[-1] == "dropped"
        driver.wait_until(drop, "the files to be taken")
        end_source()

    def happens(self, condition):
        try:
            return driver.wait_until(condition, "", 2)
        except driver.Timeout:
            return False

    def wait_bar(self, app, height):
        """Waits until one more bar has taken from the picture's height; its left and lower end and its width."""
        def find():
            x, y, width, now = app.canvas()
            return (x, width) if now < height else None
        x, width = driver.wait_until(find, "a bar")
        app.still_shot()
        # It came under those before and under the hint line.
        frame = self.place(app.main_window())
        return x, frame[1] + frame[3], width

    def assert_says(self, bar, text):
        program = os.path.join(driver.options.tools, "info_bar")
        process = subprocess.Popen([program, str(bar[2]), text], env=self.screen.env, stderr=subprocess.DEVNULL)
        try:
            def find():
                self.assertIsNone(process.poll(), "the other window ended")
                for line in self.screen.output("wmctrl", "-l", "-p").decode(errors="replace").splitlines():
                    parts = line.split(None, 4)
                    if int(parts[2]) == process.pid:
                        return int(parts[0], 16)
                return None
            window = driver.wait_until(find, "the other window")

            def looks_the_same():
                x, y, _, height = self.place(window)
                left, bottom, width = bar
                shot = self.screen.shot()
                return shot.crop(x, y, width, height).same_as(shot.crop(left, bottom - height, width, height))
            driver.wait_until(looks_the_same, "the bar to look like one that says %r" % text)
        finally:
            process.kill()
            process.wait()

    def test_a_video_is_opened(self):
        path = self.copy("plain.mp4", "Ärger & mehr %20 clip.mp4")
        app = self.program()
        self.drag(app, path)
        app.wait_number(1)
        self.assertEqual(app.title(), "Tarvex Shroud - " + path)

    def test_an_ending_in_upper_case_is_a_video_too(self):
        path = self.copy("odd_321x181.mov", "CLIP.MOV")
        app = self.program()
        self.drag(app, path)
        app.wait_number(1, (321, 181))
        self.assertEqual(app.title(), "Tarvex Shroud - " + path)

    def test_one_video_takes_the_place_of_another(self):
        app = self.program("--video", os.path.join(driver.options.media, "plain.mp4"))
        app.wait_number(1)
        path = self.copy("odd_321x181.mov", "second.mov")
        self.drag(app, path)
        driver.wait_until(lambda: app.title() == "Tarvex Shroud - " + path, "the second video")
        app.wait_number(1, (321, 181))

    def test_refused_drops_stack_their_bars(self):
        video = self.copy("plain.mp4", "one.mp4")
        app = self.program()
        one, others = "Only one file at a time can be opened.", "Only *.mp4 and *.mov files are supported."
        refused = ((one, (video, self.copy("plain.mp4", "two.mp4"))), (others, (self.folder,)),
                   (others, (self.write("notes.txt", "x"),)))
        for text, files in refused:
            height = app.canvas()[3]
            self.drag(app, *files)
            self.assert_says(self.wait_bar(app, height), text)
        self.assertEqual(app.titles(), ["Tarvex Shroud"])
        self.drag(app, video)
        app.wait_number(1)

    def test_a_video_by_its_name_only_is_an_error_box(self):
        app = self.program()
        path = self.write("text.mp4", "no video")
        self.drag(app, path)
        self.read_box(app, "Error while opening the video file %s: Invalid data found when processing input" % path,
                      "The file may be damaged, unfinished or protected, or it may be no video at all.")
        self.assertEqual(app.titles(), ["Tarvex Shroud"])


if __name__ == "__main__":
    driver.main()
