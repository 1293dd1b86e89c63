/// Exports of sources that give nothing, are damaged, or change meanwhile.
#include "exportworker.h"

#include <filesystem>

#include <wx/filefn.h>

#include "support/export_fixture.h"

namespace {

using Lines = std::vector<std::string>;

class ExportWorkerSources : public test::ExportFixture {};

} // namespace

// --- Sources that give nothing

TEST_F(ExportWorkerSources, SourceThatCannotBeOpenedStillRunsTheWholeCourse) {
    auto info = prepare("plain.mp4");
    info.path = dir.file("missing.mp4");
    bool existed = false;
    progress.onStart = [&] { existed = exists(output); };
    const auto ended = run(makeWorker(info));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "No such file or directory");
    EXPECT_EQ(progress.calls(),
              (Lines{"start Export|Exporting video " + output.utf8_string() + "|250", "finish"}));
    EXPECT_TRUE(existed);
    EXPECT_FALSE(exists(output));
}

TEST_F(ExportWorkerSources, SourcesWithoutAPictureFail) {
    const auto info = prepare("plain.mp4");
    for (const char* clip : {"empty.mp4", "text.mp4", "audio_only.mp4", "directory.mp4",
                             "truncated_no_index.mp4", "one_frame_bframes.mp4", "two_frames_bframes.mp4"}) {
        auto broken = info;
        broken.path = test::clipPath(clip);
        test::RecordingProgress calls;
        std::promise<std::pair<ExportResult, std::string>> ended;
        auto* worker = createExportWorker(switches::kBlurMode, output, broken, &calls);
        worker->setDone([&ended](ExportResult result, const wxString& text) {
            ended.set_value({result, text.utf8_string()});
        });
        ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
        const auto [result, text] = test::valueOf(ended.get_future());
        EXPECT_EQ(result, ExportResult::Failed) << clip;
        EXPECT_NE(text, "") << clip;
        EXPECT_EQ(calls.calls().back(), "finish") << clip;
        EXPECT_FALSE(exists(output)) << clip;
    }
}

TEST_F(ExportWorkerSources, DamagedSourcesGiveWhatCanBeDecoded) {
    for (const char* clip : {"truncated_5.mp4", "corrupt.mp4"}) {
        const auto info = prepare(clip);
        ASSERT_GT(info.frameCount, 0) << clip;
        std::promise<ExportResult> ended;
        auto* worker = createExportWorker(switches::kBlurMode, output, info, &progress);
        worker->setDone([&ended](ExportResult result, const wxString&) { ended.set_value(result); });
        ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
        EXPECT_EQ(test::valueOf(ended.get_future()), ExportResult::Success) << clip;
        EXPECT_EQ(test::probe(output).packets.size(), static_cast<std::size_t>(info.frameCount)) << clip;
    }
}

TEST_F(ExportWorkerSources, SourceIsNeverWrittenTo) {
    auto info = prepare("two_frames.mp4");
    const std::string original = bytesOf(info.path);
    dir.write("source.mp4", original);
    info.path = dir.file("source.mp4");
    std::filesystem::create_symlink("source.mp4", dir.file("link.mp4").utf8_string());
    std::filesystem::create_hard_link(info.path.utf8_string(), dir.file("hard.mp4").utf8_string());
    for (const char* name : {"source.mp4", "link.mp4", "hard.mp4"}) {
        test::RecordingProgress calls;
        std::promise<ExportResult> ended;
        auto* worker = createExportWorker(switches::kBlurMode, dir.file(name), info, &calls);
        worker->setDone([&ended](ExportResult result, const wxString&) { ended.set_value(result); });
        ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
        EXPECT_EQ(test::valueOf(ended.get_future()), ExportResult::Failed) << name;
        EXPECT_EQ(calls.calls().back(), "finish") << name;
        EXPECT_TRUE(bytesOf(info.path) == original) << name;
    }
}

TEST_F(ExportWorkerSources, EveryTruncatedSourceGivesTheFramesOfTheScanOrFailsClearly) {
    int successes = 0;
    for (int at = 0; at < 10; ++at) {
        const std::string clip = "truncated_" + std::to_string(at) + ".mp4";
        const auto info = prepare(clip);
        std::promise<std::pair<ExportResult, std::string>> ended;
        auto* worker = createExportWorker(switches::kBlurMode, output, info, &progress);
        worker->setDone([&ended](ExportResult result, const wxString& text) {
            ended.set_value({result, text.utf8_string()});
        });
        ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
        const auto [result, text] = test::valueOf(ended.get_future());
        if (result == ExportResult::Success) {
            EXPECT_GT(info.frameCount, 0) << clip;
            EXPECT_EQ(test::probe(output).packets.size(), static_cast<std::size_t>(info.frameCount)) << clip;
            ++successes;
        } else {
            EXPECT_EQ(info.frameCount, 0) << clip;
            EXPECT_EQ(text, "The video has no frames to export.") << clip;
            EXPECT_FALSE(exists(output)) << clip;
        }
    }
    EXPECT_GE(successes, 8);
}

// --- Sources that change between the scan and the export

TEST_F(ExportWorkerSources, SourceThatHasGrownFailsAndNoFrameBeyondTheCountIsWritten) {
    auto info = prepare("truncated_5.mp4");
    ASSERT_GT(info.frameCount, 0);
    dir.write("growing.mp4", bytesOf(test::clipPath("truncated_9.mp4")));
    info.path = dir.file("growing.mp4");
    int64_t last = 0;
    auto* worker = makeWorker(info);
    worker->encoderFor = [&last](const video::EncoderSettings& settings) {
        struct Watched : Encoder_ffmpeg {
            Watched(const video::EncoderSettings& chosen, int64_t& number)
                : Encoder_ffmpeg(chosen), last(number) {}
            void encode(std::shared_ptr<video::Frame> frame) override {
                last = frame->frameIndex();
                Encoder_ffmpeg::encode(std::move(frame));
            }
            int64_t& last;
        };
        return std::make_shared<Watched>(settings, last);
    };
    const auto ended = run(worker);
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "The video has changed since it was opened.");
    EXPECT_EQ(last, info.frameCount);
    EXPECT_EQ(progress.calls().back(), "finish");
    EXPECT_FALSE(exists(output));
}

TEST_F(ExportWorkerSources, SourceThatHasShrunkFails) {
    auto info = prepare("truncated_9.mp4");
    dir.write("shrinking.mp4", bytesOf(test::clipPath("truncated_5.mp4")));
    info.path = dir.file("shrinking.mp4");
    const auto ended = run(makeWorker(info));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "The video has changed since it was opened.");
    EXPECT_FALSE(exists(output));
}

TEST_F(ExportWorkerSources, SourceThatIsCutWhileItIsReadFails) {
    auto info = prepare("sample.mp4");
    dir.write("shrinking.mp4", bytesOf(test::clipPath("sample.mp4")));
    info.path = dir.file("shrinking.mp4");
    progress.onUpdate = [&](int32_t) {
        std::filesystem::resize_file(std::filesystem::u8path(info.path.utf8_string()), 200000);
    };
    const auto ended = run(makeWorker(info));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "The video has changed since it was opened.");
    EXPECT_EQ(dir.listing(), "shrinking.mp4");
}

TEST_F(ExportWorkerSources, SourceThatIsDeletedWhileItIsReadIsReadToItsEnd) {
    auto info = prepare("plain.mp4");
    dir.write("vanishing.mp4", bytesOf(test::clipPath("plain.mp4")));
    info.path = dir.file("vanishing.mp4");
    progress.onUpdate = [&](int32_t value) {
        if (value == 0)
            wxRemoveFile(info.path);
    };
    EXPECT_EQ(run(makeWorker(info)).result, ExportResult::Success);
    EXPECT_EQ(test::probe(output).packets.size(), 250u);
}

TEST_F(ExportWorkerSources, UnknownFrameCountTakesTheFramesThatThereAre) {
    auto info = prepare("plain.mp4");
    info.frameCount = -1;
    EXPECT_EQ(run(makeWorker(info)).result, ExportResult::Success);
    EXPECT_EQ(test::probe(output).packets.size(), 250u);
}

// As of a file that was still being written when it was opened: no region could be kept for its frames.
TEST_F(ExportWorkerSources, FramesOfAVideoThatHadNoneAreNotWritten) {
    auto info = prepare("plain.mp4");
    info.frameCount = 0;
    const Ended ended = run(makeWorker(info));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "The video has changed since it was opened.");
    EXPECT_FALSE(exists(output));
}
