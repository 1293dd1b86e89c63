"""The window where memory is short: each large allocation in turn fails, and nothing is lost."""

import os
import subprocess

import driver
import faults


class Memory(faults.FaultsTest):
    def large(self):
        """A clip whose every picture has 14,745,600 bytes, and a plane of 3,686,400 in the decoder."""
        video = os.path.join(self.folder, "large.mp4")
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i", "testsrc2=s=2560x1440:r=25:d=0.4",
                        "-pix_fmt", "yuv420p", "-preset", "ultrafast", video], check=True)
        return video

    def has_picture(self, shot):
        return not driver.close_to(shot.pixel(shot.width // 2, shot.height // 3), (32, 32, 32))

    def confirm_any_error(self, app):
        if "Error" in app.titles():
            self.confirm_error(app)

    def ask_for_a_file(self, app):
        """Opens the file dialog, past a complaint about the video before that comes only now."""
        def asked():
            self.confirm_any_error(app)
            app.key("ctrl+o")
            try:
                driver.wait_until(lambda: {"Error", "Open video file"} & set(app.titles()), "an answer", 5)
            except driver.Timeout:
                pass
            return "Open video file" in app.titles()
        driver.wait_until(asked, "the file dialog")

    def test_each_large_allocation_of_opening_may_fail(self):
        video = self.large()
        app = self.start(env=self.broken(memory=3000000))
        app.main_window()
        app.wait_log(r"^\[AI\]")
        for call in range(1, 40):
            self.ask_for_a_file(app)
            failures = self.failures()
            errors = app.log_count("^Error")
            seeks = app.log_count("Seek to frame 1$")
            self.fail_at(call)
            self.type_file(app, "Open video file", video)

            def told():
                return "Error" in app.titles() or app.log_count("^Error") > errors

            def seeked():
                # A seek that fails says nothing.
                return self.failures() > failures or self.has_picture(app.shot())
            driver.wait_until(lambda: told() or app.log_count("Seek to frame 1$") > seeks and seeked(),
                              "a picture or a complaint")
            app.still_shot()
            self.confirm_any_error(app)
            if self.failures() == failures:
                break
        else:
            self.fail("there is no end to the allocations")
        self.assertGreater(call, 3, "some failed")
        app.wait_shot(self.has_picture, "the picture")
        self.assertEqual(app.close(), 0)

    def test_each_large_allocation_of_painting_and_exporting_may_fail(self):
        size = (2560, 1440)
        video = self.large()
        output = os.path.join(self.folder, "out.mp4")
        app = self.start("--video", video, env=self.broken(memory=3000000))
        app.main_window()
        app.wait_log("Seek to frame 1$")
        app.wait_shot(self.has_picture, "the picture")
        app.move_window(60, 60)
        clear = app.still_shot()
        app.move(*app.at(1000, 700, size))
        app.wait_log("New Blur Brush")
        self.tap()
        app.wait_log("New Blur id:")
        self.screen.xdotool("mousemove", 1, 1)
        painted = app.wait_shot(lambda shot: not shot.same_as(clear), "the blur")

        # To another frame and back, until no call is left that can fail.
        for call in range(1, 10):
            failures = self.failures()
            self.fail_at(call)
            for fraction in (0.9, 0):
                seeks = app.log_count("Seek to frame")
                app.click(*app.timeline(fraction))
                app.wait_log("Seek to frame", seeks + 1)
                app.still_shot()
                self.confirm_any_error(app)
            if self.failures() == failures:
                break
        self.mend()
        app.click(*app.timeline(0))
        self.screen.xdotool("mousemove", 1, 1)
        app.wait_shot(lambda shot: shot.same_as(painted), "the blur as it was")

        # Those of the start, of the codec's own and of the frames. Another encoder takes over from one that can't start.
        complete = 0
        for call in (1, 4, 12, 20, 28):
            errors = app.log_count(r"^Error: \[VideoExportThread\]")
            self.fail_at(call)
            self.export(app, output)
            if app.log_count(r"^Error: \[VideoExportThread\]") > errors:
                self.confirm_error(app)
                self.assertFalse(os.path.exists(output), "an unreadable rest of export %d" % call)
            else:
                complete += 1
                self.assertEqual(self.frames_of(output), 10)
                os.remove(output)
        self.assertLess(complete, 5, "some failed")
        self.mend()
        app.wait_shot(lambda shot: shot.same_as(painted), "the blur as it was")
        self.export(app, output)
        self.assertEqual(self.frames_of(output), 10)
        self.assertEqual(app.close(), 0)


if __name__ == "__main__":
    driver.main()
