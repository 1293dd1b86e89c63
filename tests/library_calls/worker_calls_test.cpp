/// Workers whose source the library cannot read on, and the memory they ask for.
#include "exportworker.h"

#include <gtest/gtest.h>

#include "aiworker.h"
#include "support/export_fixture.h"
#include "support/library_calls.h"
#include "switches.h"

namespace {

class WorkerCalls : public test::ExportFixture {
protected:
    /// The disk gives up at the 120th packet.
    void failReadingOnTheWay() {
        test::libraryHooks().av_read_frame = [this](AVFormatContext* format, AVPacket* packet) {
            if (++packetsRead_ < 120)
                return test::real::av_read_frame(format, packet);
            format->pb->error = AVERROR(EIO);
            return AVERROR(EIO);
        };
    }

    std::atomic<int> packetsRead_{0};
    test::LibraryHooksReset reset_;
};

} // namespace

TEST_F(WorkerCalls, ADiskThatGivesUpOnTheWayIsTheReasonOfTheFailure) {
    auto* worker = makeWorker(prepare("plain.mp4"));
    failReadingOnTheWay();
    const test::LogCapture log;
    const auto ended = run(worker);
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "Input/output error");
    EXPECT_EQ(log.lines(wxLOG_Error), std::vector<std::string>{"[VideoExportThread] Input/output error"})
        << "told once, by the export";
    EXPECT_FALSE(wxFileName::Exists(output));
}

TEST_F(WorkerCalls, AnEncoderThatTheLibraryLacksIsNotTried) {
    const auto info = prepare("two_frames.mp4");
    test::libraryHooks().avcodec_find_encoder = [](AVCodecID) -> const AVCodec* { return nullptr; };
    const test::LogCapture log;
    const auto ended = run(makeWorker(info));
    EXPECT_EQ(ended.result, ExportResult::Failed);
    EXPECT_EQ(ended.text, "There is no video encoder.");
    EXPECT_TRUE(log.contains("No h264 encoder. Fallback MPEG4"));
    EXPECT_FALSE(log.contains("[video encoder] Could not find encoder"));
    EXPECT_FALSE(wxFileName::Exists(output));
}

TEST_F(WorkerCalls, ALibraryWithoutAnH264EncoderMakesMpeg4) {
    const auto info = prepare("two_frames.mp4");
    test::libraryHooks().avcodec_find_encoder = [](AVCodecID id) -> const AVCodec* {
        return id == AV_CODEC_ID_H264 ? nullptr : test::real::avcodec_find_encoder(id);
    };
    const test::LogCapture log;
    EXPECT_EQ(run(makeWorker(info)).result, ExportResult::Success);
    EXPECT_TRUE(log.contains("No h264 encoder. Fallback MPEG4"));
    EXPECT_FALSE(log.contains("[video encoder] Could not find encoder"));
    EXPECT_EQ(test::probe(output).stream.at("codec_name"), "mpeg4");
}

TEST_F(WorkerCalls, ADetectionPassTellsTheReasonToo) {
    const auto info = prepare("plain.mp4");
    failReadingOnTheWay();
    const test::LogCapture log;
    const auto report = std::make_shared<AiReport>();
    const auto done = std::make_shared<std::promise<void>>();
    auto* worker = new AiWorker(info, &progress); // deletes itself
    worker->setReport(report);
    AiOverrides withoutSettings;
    withoutSettings.gpu = false;
    withoutSettings.preblurSeconds = 0;
    worker->setOverrides(withoutSettings);
    worker->setDone([done] { done->set_value(); });
    ASSERT_EQ(worker->Run(), wxTHREAD_NO_ERROR);
    test::waitFor(done->get_future());
    EXPECT_TRUE(report->brokeOff);
    EXPECT_EQ(log.lines(wxLOG_Error),
              (std::vector<std::string>{"[AI] The pass saw 119 of 250 frames", "[AI] Input/output error"}));
}

TEST_F(WorkerCalls, TheFactoryMakesTheBuffersOfAUsualVideoInAdvance) {
    const std::pair<int32_t, int> buffersOf[] = {{switches::kBlurMode, 2}, {switches::kUnblurMode, 1}};
    for (const auto& [mode, buffers] : buffersOf) {
        test::watchZeroedMemory(std::size_t{1920} * 1080 * 4);
        const std::unique_ptr<ExportWorker> neverRun(createExportWorker(mode, output, {}, &progress));
        EXPECT_EQ(test::zeroedMemoryAsked(), buffers) << mode;
        test::watchZeroedMemory(0);
    }
}
