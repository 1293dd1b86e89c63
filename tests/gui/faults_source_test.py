"""The window while its source vanishes or shrinks, and on a clock that jumps: nothing crashes, nothing is lost, and
the user is told."""

import os

import driver
import faults


class Source(faults.FaultsTest):
    def expect_told_and_nothing_lost(self, app, painted, reason):
        """An export fails for that reason; once the source is back, all that was painted can be exported."""
        output = os.path.join(self.folder, "out.mp4")
        self.expect_export_fails(app, output, reason)
        app.wait_shot(lambda shot: shot.same_as(painted), "the blur as it was")
        self.clip()
        self.export(app, output)
        self.assertEqual(self.frames_of(output), faults.FRAMES)
        self.assertEqual(app.close(), 0)

    def test_a_source_that_vanishes_plays_on_and_is_told_when_it_is_exported(self):
        video = self.clip()
        app = self.ready(video)
        self.play(app, 10)
        os.remove(video)
        app.wait_shot(lambda shot: (app.number(shot) or 0) > 30, "playing on")
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] stop")
        self.go_to(app, 0.7)
        self.paint(app, 100, 120)
        painted = app.still_shot()
        self.go_to(app, 0)
        self.go_to(app, 0.7)
        app.wait_shot(lambda shot: shot.same_as(painted), "the blur")
        self.expect_told_and_nothing_lost(app, painted, "No such file or directory")

    def test_a_source_that_shrinks_stops_playing_and_is_told_when_it_is_exported(self):
        video = self.clip()
        app = self.ready(video)
        self.paint(app, 200, 120)
        painted = app.still_shot()
        self.play(app, 10)
        os.truncate(video, os.path.getsize(video) // 3)
        # The end of what is left stops it.
        x, y = (round(value) for value in app.play_button())
        button = painted.crop(x - 12, y - 12, 24, 24)
        app.wait_shot(lambda shot: shot.crop(x - 12, y - 12, 24, 24).same_as(button), "the triangle",
                      4 * driver.LIMIT)
        app.click(*app.timeline(0.95))
        app.wait_log("Seek to frame 2[23]")
        self.screen.xdotool("mousemove", 1, 1)
        self.go_to(app, 0)
        app.wait_shot(lambda shot: shot.same_as(painted), "the blur")
        self.expect_told_and_nothing_lost(app, painted, "")

    def test_a_clock_that_jumps_changes_nothing(self):
        output = os.path.join(self.folder, "out.mp4")
        app = self.ready(env=self.broken(clock=3600))
        self.play(app, 5)
        # Back and forth by an hour at every look at it.
        self.fail_at(1)
        app.wait_shot(lambda shot: (app.number(shot) or 0) > 30, "playing on")
        app.click(*app.play_button())
        app.wait_log(r"\[VideoPlayer\] stop")
        # By way of the far end: the knob may stand at the other place already.
        self.go_to(app, 0.9)
        shown = self.go_to(app, 0.2)
        self.paint(app, 200, 120)
        app.move(*app.at(100, 120))
        self.tap()
        app.wait_log("New Blur Brush", 2)
        app.press()
        app.wait_log("Begin blur while playing")
        app.wait_shot(lambda shot: (app.number(shot) or 0) > shown + 10, "recording")
        app.release()
        app.wait_log("Blur while playing ended")
        self.export(app, output)
        self.assertEqual(self.frames_of(output), faults.FRAMES)
        with open(self.log_files(app)[0], encoding="utf-8") as log:
            hours = {line[11:13] for line in log if len(line) > 13 and line[10] == " "}
        self.assertGreater(len(hours), 1, "the clock did jump")
        self.assertEqual(app.close(), 0)


if __name__ == "__main__":
    driver.main()
