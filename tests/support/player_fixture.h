#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/event_list.h"
#include "support/log_capture.h"
#include "support/scripted_decoder.h"
#include "videoplayer.h"

namespace test {

/// Writes what it is told as lines: "start TITLE|MESSAGE|TOTAL", "update VALUE|MESSAGE", "finish".
class EventProgress : public ISafeProgress {
public:
    explicit EventProgress(EventList& events) : events_(events) {}
    void start(const wxString& title, const wxString& message, int32_t total) override {
        events_.add(wxString::Format("start %s|%s|%d", title, message, total).utf8_string());
    }
    void update(int32_t value, const wxString& message) override {
        events_.add(wxString::Format("update %d|%s", value, message).utf8_string());
    }
    void finish() override { events_.add("finish"); }

private:
    EventList& events_;
};

inline std::string stateName(PlayState state) {
    return state == Stopped ? "Stopped" : state == Seeking ? "Seeking" : state == Playing ? "Playing" : "?";
}

/// A player on a scripted decoder and a clock that only the test moves. `events` gets "frame N", the names of
/// the states and "ready", after the test's own hooks; `sleeps` the milliseconds that the play loop asked to
/// wait.
class PlayerTest : public testing::Test {
protected:
    PlayerTest() : decoder(std::make_shared<ScriptedDecoder>()) { renew(); }

    /// A fresh player with the recording callbacks.
    void renew() {
        player.reset();
        player =
            std::make_unique<VideoPlayer>(&progress, VideoPlayer::Pacing{[this] { return now; },
                                                                         [this](int64_t milliseconds) {
                                                                             sleeps.push_back(milliseconds);
                                                                             if (onSleep)
                                                                                 onSleep();
                                                                         }});
        player->setOnFrame([this](std::shared_ptr<VideoPlayer::Frame> frame) {
            if (onFrame)
                onFrame(*frame);
            events.add("frame " + std::to_string(frame->index));
        });
        player->setOnState([this](PlayState state) {
            if (onState)
                onState(state);
            events.add(stateName(state));
        });
        player->setOnReady([this] {
            if (onReady)
                onReady();
            events.add("ready");
        });
    }
    void open() {
        wxString error;
        ASSERT_TRUE(player->open(decoder, error));
    }
    /// Opens and returns when the thread has called back; `events` is empty then.
    void openAndWait() {
        open();
        ASSERT_TRUE(events.waitFor("ready"));
        events.clear();
    }
    /// Opens, posts what `commands` posts while the pre-processing is held up, and lets it go on.
    void openWithQueued(const std::function<void()>& commands) {
        Gate gate;
        decoder->onScan = [&gate] { gate.pass(); };
        open();
        commands();
        gate.open();
        ASSERT_TRUE(events.waitFor("ready"));
    }
    /// States and frames, without the pre-processing.
    EventList::Lines playback() const {
        EventList::Lines lines;
        for (const std::string& line : events.lines())
            if (line != "ready" && line != "finish" && line.compare(0, 6, "start ") != 0 &&
                line.compare(0, 7, "update ") != 0)
                lines.push_back(line);
        return lines;
    }

    LogCapture log;
    EventList events;
    EventProgress progress{events};
    std::shared_ptr<ScriptedDecoder> decoder;
    // The playback thread's, from inside callbacks and the decoder's hooks; the test's once the player is
    // gone.
    std::chrono::steady_clock::time_point now;
    std::vector<int64_t> sleeps;
    std::function<void()> onSleep;
    std::function<void(VideoPlayer::Frame&)> onFrame;
    std::function<void(PlayState)> onState;
    std::function<void()> onReady;
    std::unique_ptr<VideoPlayer> player;
};

} // namespace test
