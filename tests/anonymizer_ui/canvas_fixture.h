#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <wx/string.h>

#include "canvasinteraction.h"
#include "support/log_capture.h"
#include "switches.h"

/// A picture of 320 × 240 shown pixel for pixel, so that window and video coordinates agree.
class Canvas : public testing::Test {
protected:
    Canvas() {
        blurtrack::clear();
        blurtrack::initFrames(1000);
        switches::brushSize = 32;
        switches::playbackSpeed = 1;
        canvas.resize({320, 240 + view::kControlBarHeight});
        show(10);
    }
    ~Canvas() override {
        blurtrack::clear();
        switches::brushSize = 32;
        switches::playbackSpeed = 1;
    }

    void show(int64_t index, int32_t width = 320, int32_t height = 240) {
        auto frame = std::make_shared<VideoPlayer::Frame>();
        frame->index = index;
        frame->image = pxl::Image(width, height);
        canvas.deliver(frame);
    }
    CanvasEffects send(CanvasMouse::Kind kind, int x, int y, int wheel = 0) {
        if (kind == CanvasMouse::LeftDown || kind == CanvasMouse::LeftUp)
            buttonHeld = kind == CanvasMouse::LeftDown;
        return canvas.figureOutState({kind, {x, y}, wheel, false, buttonHeld}, playing);
    }
    CanvasEffects move(int x, int y) { return send(CanvasMouse::Motion, x, y); }
    CanvasEffects press(int x, int y) { return send(CanvasMouse::LeftDown, x, y); }
    CanvasEffects release(int x, int y) { return send(CanvasMouse::LeftUp, x, y); }
    CanvasEffects leave() { return send(CanvasMouse::Leave, -1, 5); }
    CanvasEffects hold(double fps = 25) {
        const auto frame = canvas.picture().frame;
        return canvas.onHold(true, fps, seekPending, position.value_or(frame ? frame->index : 0));
    }

    /// Paints a blur by a click and moves away, leaving it selected.
    int64_t paintedAt(int x, int y) {
        const int64_t id = upcomingBrushId();
        move(x, y);
        press(x, y);
        release(x, y);
        return id;
    }
    /// Records frames 10 and 11 of a blur painted there; the button is still held. Returns its id.
    int64_t recordedAt(int x, int y) {
        const int64_t id = upcomingBrushId();
        move(x, y);
        press(x, y);
        hold();
        show(11);
        return id;
    }
    /// A blur that the mouse knows nothing of.
    static void put(int64_t frame, int64_t id, float x, float y, float size = 40) {
        blurtrack::addBlur(frame, {x, y, size, size}, 100, id);
    }
    static std::vector<int64_t> framesOf(int64_t id) {
        std::vector<int64_t> frames;
        for (const auto& [frame, entries] : blurtrack::store().frames)
            for (const auto& entry : entries)
                if (entry.id == id)
                    frames.push_back(frame);
        return frames;
    }
    static std::string format(const char* text, int64_t id, int64_t frame) {
        return wxString::Format(text, static_cast<long long>(id), static_cast<long long>(frame))
            .utf8_string();
    }
    bool brushShown() const { return canvas.picture().brushShown; }
    bool hovering() const { return canvas.picture().hovering; }

    test::LogCapture log;
    CanvasInteraction canvas;
    bool playing = false;
    bool buttonHeld = false;
    bool seekPending = false;
    /// Nothing for the picture's.
    std::optional<int64_t> position;
};
