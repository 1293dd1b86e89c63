"""The window on a disk that takes nothing any more: settings and blurs stay, and nothing unreadable is left."""

import errno
import os

import driver
import faults
from menus import AI, PREBLUR, SETTINGS, TOOLS


class Disk(faults.FaultsTest):
    def config_text(self, app):
        with open(os.path.join(self.data_folder(app), "config.ini"), encoding="utf-8") as text:
            return text.read()

    def test_settings_that_cannot_be_stored_stay_as_they_were(self):
        # Once the settings alone, once the whole folder, log and all.
        for files in ("config.ini", "Tarvex Shroud/"):
            app = self.ready(home=self.home_with_detector(),
                             env=self.broken(files=files, error=errno.EROFS, lasting=1))
            preblur = ("Tools", (TOOLS, "AI"), (AI, "Settings"), (SETTINGS, "Pre-blur"))
            self.choose(app, *preblur, (PREBLUR, "2"))
            driver.wait_until(lambda: self.config(app)["preblursec"] == "2", "the setting")
            before = self.config_text(app)

            failures = self.failures()
            self.fail_at(1)
            self.choose(app, *preblur, (PREBLUR, "5"))
            driver.wait_until(lambda: self.failures() > failures, "the failure")
            self.play(app, 5)
            app.click(*app.play_button())
            app.still_shot()
            self.assertEqual(self.config_text(app), before)
            self.assertEqual(sorted(os.listdir(self.data_folder(app))),
                             sorted(["Plugins", "config.ini"] + [os.path.basename(log) for log in self.log_files(app)]))
            self.assertEqual(app.titles(), [app.title()])

            self.mend()
            self.choose(app, *preblur, (PREBLUR, "4"))
            driver.wait_until(lambda: self.config(app)["preblursec"] == "4", "the setting")
            self.assertEqual(app.close(), 0)

    def test_an_export_without_room_on_the_disk_is_told_and_leaves_nothing(self):
        output = os.path.join(self.folder, "out.mp4")
        app = self.ready(env=self.broken(files=output, error=errno.ENOSPC, lasting=1))
        self.paint(app, 200, 120)
        painted = app.still_shot()
        # Opening, the first writes, one in the middle, and the last, those of the index.
        self.fail_at(0)
        self.export(app, output)
        self.assertEqual(self.frames_of(output), faults.FRAMES)
        os.remove(output)
        with open(self.report, encoding="ascii") as file:
            calls = len(file.readlines())
        self.assertGreater(calls, 5)
        for call in (1, 2, calls // 2, calls - 1, calls):
            self.fail_at(call)
            self.expect_export_fails(app, output, "No space left on device")
            app.wait_shot(lambda shot: shot.same_as(painted), "the blur as it was")
        self.mend()
        self.export(app, output)
        self.assertEqual(self.frames_of(output), faults.FRAMES)
        self.assertEqual(app.close(), 0)


if __name__ == "__main__":
    driver.main()
