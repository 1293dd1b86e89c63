#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <wx/filename.h>

#include "blurtrack.h"
#include "exportworker.h"
#include "support/clip_decoding.h"
#include "support/log_capture.h"
#include "support/media_probe.h"
#include "support/patience.h"
#include "support/recording_progress.h"
#include "support/temp_dir.h"
#include "switches.h"
#include "video_backend_ffmpeg_encoder.h"

namespace test {

/// A worker whose decoder and encoder a test may replace.
class TestWorker : public ExportWorker {
public:
    using ExportWorker::ExportWorker;

    /// Is told the flag that interrupts the decoder.
    std::function<void(const std::atomic<bool>*)> onOpen;
    std::function<std::shared_ptr<video::Decoder>(std::shared_ptr<video::Decoder>)> wrapDecoder;
    std::function<std::shared_ptr<Encoder_ffmpeg>(const video::EncoderSettings&)> encoderFor;

protected:
    std::shared_ptr<video::Decoder> openSource(const std::atomic<bool>* interrupt, wxString& error) override {
        if (onOpen)
            onOpen(interrupt);
        auto decoder = ExportWorker::openSource(interrupt, error);
        return wrapDecoder ? wrapDecoder(std::move(decoder)) : decoder;
    }
    std::shared_ptr<Encoder_ffmpeg> makeEncoder(const video::EncoderSettings& settings) override {
        return encoderFor ? encoderFor(settings) : ExportWorker::makeEncoder(settings);
    }
};

/// An empty blur store, the switches as at start-up, and a folder for the exported file.
class ExportFixture : public testing::Test {
protected:
    struct Ended {
        ExportResult result = ExportResult::Failed;
        std::string text;
    };

    ExportFixture() : output(dir.file("out.mp4")) { reset(); }
    ~ExportFixture() override { reset(); }

    static void reset() {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        blurtrack::clear();
        switches::confidenceThreshold = 50;
    }

    /// What the player would hand over, with the exact frame count. Sizes the store.
    static video::VideoInfo prepare(const std::string& clip) {
        Decoder_ffmpeg decoder;
        EXPECT_TRUE(decoder.open(clipPath(clip))) << clip;
        scanAll(decoder);
        video::VideoInfo info;
        decoder.info(info);
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        blurtrack::initFrames(info.frameCount);
        return info;
    }

    static bool exists(const wxString& path) { return wxFileName::Exists(path); }
    static std::string bytesOf(const wxString& path) { return readFile(path.utf8_string()); }

    static void addBlur(int64_t frame, const blurtrack::RectF& rect, int64_t id = 1, int32_t score = 100) {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        blurtrack::addBlur(frame, rect, score, id);
    }

    TestWorker* makeWorker(const video::VideoInfo& info,
                           std::shared_ptr<IImageProcessor> processor = std::make_shared<Frameblur>()) {
        // Tells when the worker has released it, which its destructor does last.
        std::shared_ptr<IImageProcessor> watched(processor.get(),
                                                 [gone = gone_, processor](IImageProcessor*) mutable {
                                                     processor.reset();
                                                     gone->set_value();
                                                 });
        watched_ = true;
        return new TestWorker(info, output, switches::confidenceThreshold, &progress, std::move(watched));
    }

    /// Starts the worker; `await` has the rest.
    void start(ExportWorker* worker) {
        worker->setDone([ended = ended_](ExportResult result, const wxString& text) {
            ended->set_value({result, text.utf8_string()});
        });
        ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
    }

    /// Waits for the completion, and where the fixture made the worker, until it is gone.
    Ended await() {
        Ended ended = valueOf(ended_->get_future());
        if (watched_)
            waitFor(gone_->get_future());
        return ended;
    }

    Ended run(ExportWorker* worker) {
        start(worker);
        return await();
    }

    TempDir dir;
    wxString output;
    RecordingProgress progress;

private:
    // Shared: the worker's thread may still be inside them when the waiting thread goes on.
    std::shared_ptr<std::promise<Ended>> ended_ = std::make_shared<std::promise<Ended>>();
    std::shared_ptr<std::promise<void>> gone_ = std::make_shared<std::promise<void>>();
    bool watched_ = false;
};

} // namespace test
