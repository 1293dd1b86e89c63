#include "exportworker.h"

#include <cmath>
#include <filesystem>
#include <stdexcept>

#include <wx/filefn.h>

#include <gmock/gmock.h>

#include "support/export_fixture.h"
#include "support/file_size_limit.h"

namespace {

using test::ExportFixture;
using test::LogCapture;
using testing::Test;

using Lines = std::vector<std::string>;

/// Passes everything on, but some frames can't be converted.
class FlawedDecoder : public video::Decoder {
public:
    FlawedDecoder(std::shared_ptr<video::Decoder> inner, std::function<bool(int64_t)> convertible)
        : inner_(std::move(inner)), convertible_(std::move(convertible)) {}

    bool open(const wxString& path) override { return inner_->open(path); }
    void close() override { inner_->close(); }
    void scan(video::Progress& progress) override { inner_->scan(progress); }
    bool convert(pxl::Image& target) override {
        return convertible_(inner_->frameIndex()) && inner_->convert(target);
    }
    int64_t frameIndex() const override { return inner_->frameIndex(); }
    void reset() override { inner_->reset(); }
    bool seek(int frame) override { return inner_->seek(frame); }
    bool next() override { return inner_->next(); }
    video::VideoInfo& info(video::VideoInfo& out) override { return inner_->info(out); }
    wxString lastError() const override { return inner_->lastError(); }

private:
    std::shared_ptr<video::Decoder> inner_;
    std::function<bool(int64_t)> convertible_;
};

/// Does not come back from decoding frame `stalledFrame` before it is interrupted.
class StallingDecoder : public FlawedDecoder {
public:
    StallingDecoder(std::shared_ptr<video::Decoder> inner, const std::atomic<bool>* interrupt,
                    int64_t stalledFrame, std::promise<void>& stalled)
        : FlawedDecoder(std::move(inner), [](int64_t) { return true; }), interrupt_(interrupt),
          stalledFrame_(stalledFrame), stalled_(stalled) {}

    bool next() override {
        if (frameIndex() + 1 < stalledFrame_)
            return FlawedDecoder::next();
        stalled_.set_value();
        while (!*interrupt_)
            std::this_thread::yield();
        return false;
    }

private:
    const std::atomic<bool>* interrupt_;
    int64_t stalledFrame_;
    std::promise<void>& stalled_;
};

class ThrowingProcessor : public IImageProcessor {
public:
    const Image* process(const Image&, int32_t, int32_t) override {
        throw std::runtime_error("no more memory");
    }
};

class ExportWorkerTest : public ExportFixture {};

} // namespace

// --- The normal way

TEST_F(ExportWorkerTest, ReportsProgressEveryHundredFrames) {
    const auto ended = run(makeWorker(prepare("plain.mp4")));
    EXPECT_EQ(ended.result, ExportResult::Success);
    EXPECT_EQ(ended.text, "");
    EXPECT_EQ(progress.calls(), (Lines{"start Export|Exporting video " + output.utf8_string() + "|250",
                                       "update 0|", "update 100|", "update 200|", "finish"}));
    EXPECT_EQ(test::probe(output).packets.size(), 250u);
}

TEST_F(ExportWorkerTest, StartsTheProgressOnceTheEncoderExists) {
    bool existed = false;
    progress.onStart = [&] { existed = exists(output); };
    run(makeWorker(prepare("two_frames.mp4")));
    EXPECT_TRUE(existed);
}

TEST_F(ExportWorkerTest, CompletionComesAfterTheProgressHasFinished) {
    Lines callsAtCompletion;
    std::promise<void> done;
    auto* worker = makeWorker(prepare("two_frames.mp4"));
    worker->setDone([&](ExportResult, const wxString&) {
        callsAtCompletion = progress.calls();
        done.set_value();
    });
    ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
    test::waitFor(done.get_future());
    ASSERT_FALSE(callsAtCompletion.empty());
    EXPECT_EQ(callsAtCompletion.back(), "finish");
}

TEST_F(ExportWorkerTest, EndsInTheStatedOrderAndHoldsNoLock) {
    struct Watched : Encoder_ffmpeg {
        Watched(const video::EncoderSettings& settings, std::function<void(const std::string&)> tell)
            : Encoder_ffmpeg(settings), note(std::move(tell)) {}
        ~Watched() override { note("encoder released"); }
        void encode(std::shared_ptr<video::Frame> frame) override {
            note("encode");
            Encoder_ffmpeg::encode(std::move(frame));
        }
        void finish() override {
            note("encoder finish");
            Encoder_ffmpeg::finish();
        }
        std::function<void(const std::string&)> note;
    };
    struct WatchedDecoder : FlawedDecoder {
        WatchedDecoder(std::shared_ptr<video::Decoder> inner, std::function<void(const std::string&)> tell)
            : FlawedDecoder(std::move(inner), [](int64_t) { return true; }), note(std::move(tell)) {}
        ~WatchedDecoder() override { note("decoder released"); }
        std::function<void(const std::string&)> note;
    };
    Lines order;
    std::weak_ptr<video::Decoder> decoder;
    const auto note = [&](const std::string& what) {
        // Another thread must get the store now.
        test::waitFor(std::async(std::launch::async,
                                 [] { const std::lock_guard<std::mutex> lock(blurtrack::store().mutex); }));
        // Whoever decodes ahead holds the decoder as long as the decode target.
        const bool targetExists = decoder.use_count() > 1;
        order.push_back(what + (targetExists ? ", target" : ""));
    };
    progress.onStart = [&] { note("start"); };
    progress.onUpdate = [&](int32_t value) { note("update " + std::to_string(value)); };
    progress.onFinish = [&] { note("progress finish"); };
    auto* worker = makeWorker(prepare("two_frames.mp4"));
    worker->wrapDecoder = [&](std::shared_ptr<video::Decoder> inner) {
        auto watched = std::make_shared<WatchedDecoder>(std::move(inner), note);
        decoder = watched;
        return watched;
    };
    worker->encoderFor = [&](const video::EncoderSettings& settings) {
        return std::make_shared<Watched>(settings, note);
    };
    const auto completed = std::make_shared<std::promise<void>>();
    worker->setDone([&note, completed](ExportResult, const wxString&) {
        note("completion");
        completed->set_value();
    });
    ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
    test::waitFor(completed->get_future());
    EXPECT_EQ(order, (Lines{"start", "encode, target", "update 0, target", "encode, target", "encoder finish",
                            "progress finish", "encoder released", "decoder released", "completion"}));
}

TEST_F(ExportWorkerTest, RunsWithoutACompletionCallback) {
    auto* worker = makeWorker(prepare("two_frames.mp4"));
    std::promise<void> gone;
    worker->encoderFor = [&gone](const video::EncoderSettings& settings) {
        struct Watched : Encoder_ffmpeg {
            Watched(const video::EncoderSettings& chosen, std::promise<void>& destroyed)
                : Encoder_ffmpeg(chosen), gone(destroyed) {}
            ~Watched() override { gone.set_value(); }
            std::promise<void>& gone;
        };
        return std::make_shared<Watched>(settings, gone);
    };
    ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
    test::waitFor(gone.get_future());
    EXPECT_EQ(test::probe(output).packets.size(), 2u);
}

TEST_F(ExportWorkerTest, LogsItsLifeAndTheChoiceOfTheCodec) {
    LogCapture log;
    run(makeWorker(prepare("two_frames.mp4")));
    EXPECT_EQ(log.lines(), (Lines{"[VideoExportThread] Thread created", "Trying to select h264 encoder.",
                                  "[VideoExportThread] Thread destroyed"}));
    EXPECT_EQ(log.lines(wxLOG_Message), log.lines());
}

TEST_F(ExportWorkerTest, HandsTheSourcesShapeToTheEncoder) {
    video::EncoderSettings seen;
    const auto info = prepare("fps_2997.mp4");
    auto* worker = makeWorker(info);
    worker->encoderFor = [&](const video::EncoderSettings& settings) {
        seen = settings;
        return std::make_shared<Encoder_ffmpeg>(settings);
    };
    run(worker);
    EXPECT_EQ(seen.width, info.width);
    EXPECT_EQ(seen.height, info.height);
    EXPECT_DOUBLE_EQ(seen.fps, info.fps);
    EXPECT_EQ(seen.bitRate, info.bitRate);
    EXPECT_EQ(seen.gopSize, info.gopSize);
    EXPECT_EQ(seen.passes, 1);
    EXPECT_EQ(seen.path, output);
    EXPECT_EQ(seen.codec, video::kCodecH264);
    EXPECT_EQ(seen.colorMatrix, info.colorMatrix);
}

// With MPEG-4: a second H.264 file of one process may differ from the first one by libx264's own doing,
// although it is given the very same pictures.
TEST_F(ExportWorkerTest, FileIsByteForByteThatOfAPlainLoop) {
    const auto info = prepare("bframes.mp4");
    for (int64_t frame = 20; frame <= 90; ++frame)
        addBlur(frame, {static_cast<float>(2 * frame), 60, 90, 70});
    auto* worker = makeWorker(info);
    worker->encoderFor = [](const video::EncoderSettings& settings) -> std::shared_ptr<Encoder_ffmpeg> {
        if (settings.codec == video::kCodecH264)
            return nullptr;
        return std::make_shared<Encoder_ffmpeg>(settings);
    };
    ASSERT_EQ(run(worker).result, ExportResult::Success);

    const auto settings = encoderSettingsFor(info, dir.file("plain.mp4"), video::kCodecMpeg4);
    Decoder_ffmpeg decoder;
    ASSERT_TRUE(decoder.open(info.path));
    Encoder_ffmpeg encoder(settings);
    ASSERT_TRUE(encoder.isOpen());
    Frameblur processor;
    pxl::Image image(info.width, info.height);
    while (decoder.next())
        if (decoder.convert(image)) {
            const Image* result = processor.process(image, static_cast<int32_t>(decoder.frameIndex()), 50);
            encoder.encode(std::make_shared<Frame_ffmpeg>(result->clone(), decoder.frameIndex()));
        }
    encoder.finish();
    EXPECT_GT(bytesOf(output).size(), 10000u);
    EXPECT_TRUE(bytesOf(output) == bytesOf(settings.path));
}

TEST_F(ExportWorkerTest, TwoExportsAndAnEditingUserGetAlong) {
    const auto info = prepare("plain.mp4");
    progress.onUpdate = [](int32_t) {
        for (int64_t frame = 1; frame <= 250; ++frame)
            addBlur(frame, {10, 60, 40, 40}, frame);
    };
    start(makeWorker(info));
    test::RecordingProgress secondProgress;
    std::promise<ExportResult> second;
    ExportWorker* other =
        createExportWorker(switches::kUnblurMode, dir.file("second.mp4"), info, &secondProgress);
    other->setDone([&second](ExportResult result, const wxString&) { second.set_value(result); });
    ASSERT_EQ(other->Run(), wxTHREAD_NO_ERROR);
    for (int64_t frame = 1; frame <= 250; ++frame)
        addBlur(frame, {100, 60, 40, 40}, 1000 + frame);
    EXPECT_EQ(await().result, ExportResult::Success);
    EXPECT_EQ(test::valueOf(second.get_future()), ExportResult::Success);
    EXPECT_EQ(test::probe(dir.file("second.mp4")).packets.size(), 250u);
}

TEST_F(ExportWorkerTest, TotalOfTheProgressStaysWithinItsType) {
    auto info = prepare("two_frames.mp4");
    info.frameCount = int64_t{1} << 33;
    run(makeWorker(info));
    EXPECT_EQ(progress.calls().front(),
              "start Export|Exporting video " + output.utf8_string() + "|2147483647");
}

// --- Frames that can't be converted

TEST_F(ExportWorkerTest, FailedConversionsCountForTheProgressAndAreSkipped) {
    LogCapture log;
    auto* worker = makeWorker(prepare("plain.mp4"));
    worker->wrapDecoder = [](std::shared_ptr<video::Decoder> decoder) {
        return std::make_shared<FlawedDecoder>(std::move(decoder),
                                               [](int64_t frame) { return frame != 1 && frame != 50; });
    };
    EXPECT_EQ(run(worker).result, ExportResult::Success);
    // Counter 0 was the frame that failed.
    EXPECT_EQ(progress.calls(), (Lines{"start Export|Exporting video " + output.utf8_string() + "|250",
                                       "update 100|", "update 200|", "finish"}));
    const auto packets = test::probe(output).packets;
    ASSERT_EQ(packets.size(), 248u);
    for (std::size_t i = 0; i < packets.size(); ++i)
        EXPECT_EQ(packets[i].pts, static_cast<int64_t>(i)) << "the encoder counts what it is given";
    EXPECT_TRUE(log.contains("[VideoExportThread] 2 frames could not be converted and are missing"));
}

TEST_F(ExportWorkerTest, NoConvertibleFrameAtAllIsAFailure) {
    auto* worker = makeWorker(prepare("two_frames.mp4"));
    worker->wrapDecoder = [](std::shared_ptr<video::Decoder> decoder) {
        return std::make_shared<FlawedDecoder>(std::move(decoder), [](int64_t) { return false; });
    };
    const auto ended = run(worker);
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "The video has no frames to export.");
    EXPECT_FALSE(exists(output));
}

// --- The choice of the encoder

TEST_F(ExportWorkerTest, WithoutAnH264EncoderTheFileIsMpeg4) {
    auto* worker = makeWorker(prepare("two_frames.mp4"));
    worker->encoderFor = [](const video::EncoderSettings& settings) -> std::shared_ptr<Encoder_ffmpeg> {
        if (settings.codec == video::kCodecH264)
            return nullptr;
        return std::make_shared<Encoder_ffmpeg>(settings);
    };
    LogCapture log;
    EXPECT_EQ(run(worker).result, ExportResult::Success);
    EXPECT_EQ(log.lines(), (Lines{"Trying to select h264 encoder.", "No h264 encoder. Fallback MPEG4",
                                  "[VideoExportThread] Thread destroyed"}));
    EXPECT_EQ(test::probe(output).stream["codec_name"], "mpeg4");
}

TEST_F(ExportWorkerTest, OddSizesFallBackToMpeg4) {
    for (const char* clip : {"odd_321x181.mp4"}) {
        LogCapture log;
        const auto info = prepare(clip);
        EXPECT_EQ(run(makeWorker(info)).result, ExportResult::Success);
        EXPECT_TRUE(log.contains("No h264 encoder. Fallback MPEG4"));
        auto report = test::probe(output);
        EXPECT_EQ(report.stream["codec_name"], "mpeg4");
        EXPECT_EQ(report.number("width"), 321);
        EXPECT_EQ(report.number("height"), 181);
        EXPECT_EQ(report.packets.size(), 60u);
    }
}

TEST_F(ExportWorkerTest, NoEncoderAtAllIsReportedAndNothingIsDecoded) {
    auto* worker = makeWorker(prepare("plain.mp4"), std::make_shared<ThrowingProcessor>());
    worker->encoderFor = [](const video::EncoderSettings&) { return nullptr; };
    const auto ended = run(worker);
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "There is no video encoder.");
    EXPECT_EQ(progress.calls(), (Lines{"start Export|Exporting video " + output.utf8_string() + "|250",
                                       "update 0|There is no video encoder.", "finish"}));
    EXPECT_FALSE(exists(output));
}

TEST_F(ExportWorkerTest, EncodersThatAreNotReadyLeaveAnExistingFileAlone) {
    auto info = prepare("plain.mp4");
    info.fps = std::nan("");
    dir.write("out.mp4", "precious");
    const auto ended = run(makeWorker(info));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "The frame rate of the video is not usable.");
    EXPECT_EQ(progress.calls().back(), "finish");
    EXPECT_EQ(bytesOf(output), "precious");
}

TEST_F(ExportWorkerTest, MissingFolderFailsWithTheLibrarysWords) {
    const auto info = prepare("plain.mp4");
    output = dir.file("nowhere") + "/out.mp4";
    const auto ended = run(makeWorker(info));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "No such file or directory");
}

TEST_F(ExportWorkerTest, FolderWithoutWritePermissionFails) {
    const auto info = prepare("plain.mp4");
    wxFileName::Mkdir(dir.file("closed"));
    output = dir.file("closed") + "/out.mp4";
    std::filesystem::permissions(dir.file("closed").utf8_string(),
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    const test::WithoutPrivileges permissionsApply;
    const auto ended = run(makeWorker(info));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "Permission denied");
}

TEST_F(ExportWorkerTest, QuickTimeIsChosenByTheName) {
    const auto info = prepare("bframes.mov");
    output = dir.file("out.mov");
    EXPECT_EQ(run(makeWorker(info)).result, ExportResult::Success);
    auto report = test::probe(output);
    EXPECT_EQ(report.format["tag:major_brand"], "qt  ");
    EXPECT_EQ(report.packets.size(), 248u);
}

TEST_F(ExportWorkerTest, PicturesTooSmallForAMosaicAreLogged) {
    auto info = prepare("plain.mp4");
    info.width = 160;
    info.height = 90;
    LogCapture log;
    EXPECT_EQ(run(makeWorker(info)).result, ExportResult::Success);
    EXPECT_TRUE(log.lines(wxLOG_Warning).empty());
    EXPECT_THAT(log.lines(wxLOG_Message), testing::Contains(testing::EndsWith("hide nothing")));
    EXPECT_EQ(test::probe(output).number("width"), 160);
}

// --- Being stopped, and failing on the way

TEST_F(ExportWorkerTest, StopRequestReachesAStalledRead) {
    for (const int64_t stalledFrame : {1, 5}) {
        std::promise<void> stalled;
        const std::atomic<bool>* interrupt = nullptr;
        auto outcome = std::make_shared<std::promise<ExportResult>>();
        auto* worker =
            new test::TestWorker(prepare("plain.mp4"), output, 50, &progress, std::make_shared<Frameblur>());
        worker->onOpen = [&](const std::atomic<bool>* flag) { interrupt = flag; };
        worker->wrapDecoder = [&](std::shared_ptr<video::Decoder> decoder) {
            return std::make_shared<StallingDecoder>(std::move(decoder), interrupt, stalledFrame, stalled);
        };
        // As the contract asks: the worker is not gone before Delete has returned.
        std::promise<void> deleted;
        worker->setDone([outcome, done = deleted.get_future().share()](ExportResult result, const wxString&) {
            test::waitFor(done);
            outcome->set_value(result);
        });
        ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
        test::waitFor(stalled.get_future());
        worker->Delete();
        deleted.set_value();
        EXPECT_EQ(test::valueOf(outcome->get_future()), ExportResult::Cancelled);
        // The decoder is ahead of the encoder: the stop may come before all of its pictures are written.
        EXPECT_LE(test::probe(output).packets.size(), static_cast<std::size_t>(stalledFrame - 1));
    }
}

TEST_F(ExportWorkerTest, RefusedEncoderIsGoneBeforeTheNextIsMade) {
    std::weak_ptr<Encoder_ffmpeg> first;
    bool gone = false;
    auto* worker = makeWorker(prepare("odd_321x181.mp4"));
    worker->encoderFor = [&](const video::EncoderSettings& settings) {
        gone = first.expired();
        auto encoder = std::make_shared<Encoder_ffmpeg>(settings);
        if (settings.codec == video::kCodecH264)
            first = encoder;
        return encoder;
    };
    EXPECT_EQ(run(worker).result, ExportResult::Success);
    EXPECT_TRUE(gone);
}

TEST_F(ExportWorkerTest, TooLittleMemoryForTheEncoderLeavesAnExistingFileAlone) {
    auto* worker = makeWorker(prepare("two_frames.mp4"));
    dir.write("out.mp4", "precious");
    worker->encoderFor = [](const video::EncoderSettings&) -> std::shared_ptr<Encoder_ffmpeg> {
        throw std::bad_alloc();
    };
    EXPECT_EQ(run(worker).result, ExportResult::Failed);
    EXPECT_EQ(bytesOf(output), "precious");
}

TEST_F(ExportWorkerTest, CancelledExportLeavesAReadableShorterFile) {
    std::promise<void> reached;
    std::promise<void> goOn;
    progress.onUpdate = [&](int32_t value) {
        if (value == 100) {
            reached.set_value();
            test::waitFor(goOn.get_future());
        }
    };
    auto* worker = makeWorker(prepare("plain.mp4"));
    start(worker);
    test::waitFor(reached.get_future());
    worker->Delete();
    goOn.set_value();
    const auto ended = await();
    EXPECT_EQ(ended.result, ExportResult::Cancelled);
    EXPECT_EQ(ended.text, "");
    EXPECT_EQ(progress.calls(), (Lines{"start Export|Exporting video " + output.utf8_string() + "|250",
                                       "update 0|", "update 100|", "finish"}));
    auto report = test::probe(output);
    EXPECT_EQ(report.packets.size(), 101u);
    EXPECT_DOUBLE_EQ(report.seconds("duration"), 4.04);
}

TEST_F(ExportWorkerTest, CancelledBeforeTheFirstFrameItStillEndsProperly) {
    std::promise<void> reached;
    std::promise<void> goOn;
    progress.onStart = [&] {
        reached.set_value();
        test::waitFor(goOn.get_future());
    };
    auto* worker = makeWorker(prepare("plain.mp4"));
    start(worker);
    test::waitFor(reached.get_future());
    worker->Delete();
    goOn.set_value();
    EXPECT_EQ(await().result, ExportResult::Cancelled);
    EXPECT_EQ(progress.calls(),
              (Lines{"start Export|Exporting video " + output.utf8_string() + "|250", "finish"}));
}

TEST_F(ExportWorkerTest, FullDiskFailsAndLeavesNothingBehind) {
    std::filesystem::path full = "/dev/full";
    if (!std::filesystem::exists(full))
        GTEST_SKIP() << "no /dev/full here";
    const auto info = prepare("plain.mp4");
    std::filesystem::create_symlink(full, output.utf8_string());
    const auto ended = run(makeWorker(info));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "No space left on device");
    EXPECT_TRUE(std::filesystem::exists(full));
}

TEST_F(ExportWorkerTest, WriteFailureOnTheWayFailsAndRemovesTheRest) {
    const auto info = prepare("plain.mp4");
    Ended ended;
    {
        const test::FileSizeLimit limit(30000);
        ended = run(makeWorker(info));
    }
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "File too large");
    EXPECT_EQ(progress.calls().back(), "finish");
    EXPECT_FALSE(exists(output));
}

TEST_F(ExportWorkerTest, AFailureThroughALinkRemovesTheRestNotTheLink) {
    const auto info = prepare("plain.mp4");
    std::filesystem::create_symlink("real.mp4", output.utf8_string());
    {
        const test::FileSizeLimit limit(30000);
        EXPECT_EQ(run(makeWorker(info)).result, ExportResult::Failed);
    }
    EXPECT_FALSE(exists(dir.file("real.mp4")));
    EXPECT_TRUE(std::filesystem::is_symlink(output.utf8_string()));
}

TEST_F(ExportWorkerTest, FolderRemovedMeanwhileIsAFailure) {
    const auto info = prepare("plain.mp4");
    const wxString folder = dir.file("folder");
    wxFileName::Mkdir(folder);
    output = folder + "/out.mp4";
    progress.onUpdate = [&](int32_t value) {
        if (value == 100)
            wxFileName::Rmdir(folder, wxPATH_RMDIR_RECURSIVE);
    };
    const auto ended = run(makeWorker(info));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "The exported file has disappeared.");
}

TEST_F(ExportWorkerTest, ThrowingProcessorFailsButEndsInOrder) {
    const auto ended = run(makeWorker(prepare("plain.mp4"), std::make_shared<ThrowingProcessor>()));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "no more memory");
    EXPECT_EQ(progress.calls(),
              (Lines{"start Export|Exporting video " + output.utf8_string() + "|250", "finish"}));
    EXPECT_FALSE(exists(output));
}
