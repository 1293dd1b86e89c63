#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "video_backend.h"

namespace test {

/// A decoder without a file. What it plays is set before it is handed over; what was asked of it can be read
/// at any time. Like a real one it stands at the end after a scan, so that a first `next` finds nothing.
class ScriptedDecoder : public video::Decoder {
public:
    explicit ScriptedDecoder(int64_t frames = 10) : frames_(frames) {}

    // Set before the decoder is used.
    int64_t statedFrames = 0;
    int32_t width = 4;
    int32_t height = 2;
    double fps = 25.0;
    wxString path = "/clip.mp4";
    /// Plays on past the last frame.
    bool endless = false;
    std::set<int64_t> failingSeeks;
    std::set<int64_t> failingNexts;
    std::set<int64_t> failingConversions;
    // Run on the thread that uses the decoder, before the operation is carried out.
    std::function<void()> onScan;
    std::function<void(int64_t done)> onScanned;
    std::function<void(int64_t frame)> onSeek;
    std::function<void(int64_t frame)> onNext;
    std::function<void(const pxl::Image& target)> onConvert;

    /// "info", "scan", "seek 5", "next 5", "convert 5", "close", …
    std::vector<std::string> calls() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return calls_;
    }
    int64_t countCalls(const std::string& beginning) const {
        int64_t count = 0;
        for (const std::string& call : calls())
            count += call.compare(0, beginning.size(), beginning) == 0 ? 1 : 0;
        return count;
    }

    bool open(const wxString&) override { return true; }
    void close() override { note("close"); }
    void scan(video::Progress& progress) override {
        note("scan");
        if (onScan)
            onScan();
        progress.total = statedFrames;
        for (int64_t done = 1; done <= frames_ && !progress.stop; ++done) {
            progress.done = done;
            if (onScanned)
                onScanned(done);
            if (progress.onProgress)
                progress.onProgress();
        }
        scanned_ = progress.done;
        position_ = frames_;
        current_ = 0;
    }
    bool convert(pxl::Image& target) override {
        note("convert " + std::to_string(current_));
        if (onConvert)
            onConvert(target);
        if (failingConversions.count(current_) != 0)
            return false;
        for (std::size_t i = 0; i < target.pixelCount(); ++i)
            target.pixels[i] = 0xFF000000u + static_cast<uint32_t>(current_);
        return true;
    }
    int64_t frameIndex() const override { return current_; }
    void reset() override { current_ = 0; }
    bool seek(int frame) override {
        note("seek " + std::to_string(frame));
        if (onSeek)
            onSeek(frame);
        if (frame < 1 || frame > frames_ || failingSeeks.count(frame) != 0)
            return false;
        position_ = frame - 1;
        return true;
    }
    bool next() override {
        const int64_t wanted = position_ + 1;
        note("next " + std::to_string(wanted));
        if (onNext)
            onNext(wanted);
        if ((wanted > frames_ && !endless) || failingNexts.count(wanted) != 0)
            return false;
        position_ = wanted;
        current_ = wanted;
        return true;
    }
    video::VideoInfo& info(video::VideoInfo& out) override {
        note("info");
        out = {};
        out.frameCount = scanned_ >= 0 ? scanned_ : statedFrames;
        out.width = width;
        out.height = height;
        out.fps = fps;
        out.path = path;
        return out;
    }
    wxString lastError() const override { return {}; }

private:
    void note(const std::string& call) {
        const std::lock_guard<std::mutex> lock(mutex_);
        calls_.push_back(call);
    }

    int64_t frames_;
    int64_t scanned_ = -1;
    int64_t position_ = 0;
    int64_t current_ = 0;
    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
};

} // namespace test
