#include <future>

#include <gmock/gmock.h>

#include "support/export_fixture.h"
#include "support/mp4_boxes.h"

using testing::IsEmpty;

namespace {

struct Kind {
    const char* name;
    const char* ending;
    int32_t codec;
    bool isUnblur;
};

class ExportPrivacy : public test::ExportFixture, public testing::WithParamInterface<Kind> {
protected:
    test::TestWorker* makeWorkerFor(const std::string& clip) {
        output = dir.file(std::string("out.") + GetParam().ending);
        const video::VideoInfo info = prepare(clip);
        addBlur(1, {100, 60, 100, 75});
        std::shared_ptr<IImageProcessor> processor;
        if (GetParam().isUnblur)
            processor = std::make_shared<Frameunblur>();
        else
            processor = std::make_shared<Frameblur>();
        test::TestWorker* worker = makeWorker(info, processor);
        worker->encoderFor = [](const video::EncoderSettings& settings) -> std::shared_ptr<Encoder_ffmpeg> {
            if (settings.codec != GetParam().codec)
                return nullptr;
            return std::make_shared<Encoder_ffmpeg>(settings);
        };
        return worker;
    }

    void expectNothingToHide(std::size_t frames) const {
        EXPECT_THAT(test::privacyFaults(output.utf8_string()), IsEmpty());
        EXPECT_EQ(test::probe(output).packets.size(), frames);
    }
};

} // namespace

TEST_P(ExportPrivacy, AFinishedFileHoldsTheAnonymisedPicturesOnly) {
    test::TestWorker* worker = makeWorkerFor("audio_first.mp4");
    EXPECT_EQ(run(worker).result, ExportResult::Success);
    expectNothingToHide(250);
}

TEST_P(ExportPrivacy, NoEditListOfTheSourceIsTakenOver) {
    test::TestWorker* worker = makeWorkerFor("edit_list.mp4");
    EXPECT_EQ(run(worker).result, ExportResult::Success);
    expectNothingToHide(165);
}

TEST_P(ExportPrivacy, ACancelledFileToo) {
    std::promise<void> reached;
    std::promise<void> goOn;
    progress.onUpdate = [&](int32_t value) {
        if (value == 100) {
            reached.set_value();
            test::waitFor(goOn.get_future());
        }
    };
    test::TestWorker* worker = makeWorkerFor("audio_first.mp4");
    start(worker);
    test::waitFor(reached.get_future());
    worker->Delete();
    goOn.set_value();
    EXPECT_EQ(await().result, ExportResult::Cancelled);
    expectNothingToHide(101);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ExportPrivacy,
                         testing::Values(Kind{"Mp4", "mp4", video::kCodecH264, false},
                                         Kind{"QuickTime", "mov", video::kCodecH264, true},
                                         Kind{"Mpeg4InMp4", "mp4", video::kCodecMpeg4, true},
                                         Kind{"Mpeg4InQuickTime", "mov", video::kCodecMpeg4, false}),
                         [](const auto& kind) { return kind.param.name; });
