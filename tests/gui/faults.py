"""A system that breaks down under the program, where a test says so."""

import glob
import os
import shutil

import driver
import menus

FRAMES = 250


class FaultsTest(menus.MenuTest):
    def setUp(self):
        self.folder = self.home()
        self.control = os.path.join(self.folder, "control")
        self.report = os.path.join(self.folder, "report")
        self.rounds = 0

    # --- breaking

    def broken(self, **faults):
        """The environment of a program whose calls fail from `fail_at` on (tests/support/fault_shim.cpp)."""
        shim = os.path.abspath(os.path.join(driver.options.tools, "..", "lib", "tests", "fault_shim.so"))
        if not os.path.exists(shim):
            self.skipTest("the sanitizers take the place of the failing functions")
        # By a name without blanks, which would be two.
        link = os.path.join(self.folder, "shim.so")
        if not os.path.exists(link):
            os.symlink(shim, link)
        env = {"SHROUD_FAULT_" + name.upper(): str(value) for name, value in faults.items()}
        return dict(env, LD_PRELOAD=link, SHROUD_FAULT_CONTROL=self.control, SHROUD_FAULT_REPORT=self.report)

    def fail_at(self, call):
        """The next call of that number fails, counted from now."""
        self.rounds += 1
        with open(self.control + ".new", "w", encoding="ascii") as file:
            file.write("%d %d" % (self.rounds, call))
        os.rename(self.control + ".new", self.control)

    def mend(self):
        os.remove(self.control)

    def failures(self):
        if not os.path.exists(self.report):
            return 0
        with open(self.report, encoding="ascii") as file:
            return sum(line.startswith("!") for line in file)

    # --- the user

    def data_folder(self, app):
        return os.path.join(app.env["XDG_CONFIG_HOME"], "Tarvex Shroud")

    def log_files(self, app):
        return glob.glob(os.path.join(self.data_folder(app), "*.log"))

    def clip(self, name="plain.mp4"):
        return shutil.copy(os.path.join(driver.options.media, name), os.path.join(self.folder, "clip.mp4"))

    def tap(self):
        """A click of one piece, which the program never takes for a button held down."""
        self.screen.xdotool("click", 1)

    def paint(self, app, x, y):
        before = app.log_count("New Blur id:")
        app.move(*app.at(x, y))
        if before:
            # Takes the brush; the blur before is still selected.
            self.tap()
        app.wait_log("New Blur Brush", before + 1)
        self.tap()
        app.wait_log("New Blur id:", before + 1)
        self.screen.xdotool("mousemove", 1, 1)

    def play(self, app, beyond):
        app.click(*app.play_button())
        # No tool tip over the button.
        self.screen.xdotool("mousemove", 1, 1)
        app.wait_shot(lambda shot: (app.number(shot) or 0) > beyond, "playing beyond frame %d" % beyond)

    def go_to(self, app, fraction):
        """Presses the timeline there; the number of the frame that is shown then."""
        x, y = app.timeline(fraction)
        app.click(x, y)
        self.screen.xdotool("mousemove", 1, 1)
        wanted = app.timeline_frame(x, FRAMES)
        app.wait_number(wanted)
        return wanted

    def export(self, app, path):
        """Chooses that name and waits for the end of the export."""
        before = app.log_count(r"\[VideoExportThread\] Thread destroyed")
        app.key("ctrl+e")
        self.type_file(app, "Export video file", path)
        app.wait_log(r"\[VideoExportThread\] Thread destroyed", before + 1)
        driver.wait_until(lambda: "Export" not in app.titles(), "the progress to go")

    def confirm_error(self, app):
        self.key_in(app, "Error", "Return")
        self.wait_no_title(app, "Error")

    def expect_export_fails(self, app, path, reason):
        failed = app.log_count("^Error: .*%s" % reason)
        self.export(app, path)
        self.confirm_error(app)
        app.wait_log("^Error: .*%s" % reason, failed + 1)
        self.assertFalse(os.path.exists(path), "an unreadable rest")
