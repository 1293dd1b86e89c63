/// Measures the detection pass: how much of it is not the network, the backward extension, loading the model.

#include <algorithm>
#include <cstdlib>
#include <future>
#include <memory>
#include <mutex>
#include <random>

#include <wx/init.h>
#include <wx/log.h>

#include "ai_doriq.h"
#include "aiworker.h"
#include "blurtrack.h"
#include "network.h"
#include "preblur.h"
#include "report.h"
#include "safeprogress.h"
#include "support/ai_folder.h"
#include "support/darknet_models.h"
#include "video_backend_ffmpeg.h"

namespace {

constexpr int32_t kNetworkSide = 416;
/// Makes the program a process to be measured; the number of frames follows.
constexpr const char* kExtendOnly = "--extend-only";

struct Silent : ISafeProgress {
    void start(const wxString&, const wxString&, int32_t) override {}
    void update(int32_t, const wxString&) override {}
    void finish() override {}
};

video::VideoInfo describe(const std::string& path) {
    Decoder_ffmpeg decoder;
    video::VideoInfo info;
    if (!decoder.open(wxString::FromUTF8(path)))
        return info;
    video::Progress progress;
    decoder.scan(progress);
    return decoder.info(info);
}

void makeFrames(int64_t lastFrame) {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    blurtrack::clear();
    blurtrack::initFrames(lastFrame);
}

void runPass(const video::VideoInfo& info) {
    Silent progress;
    const auto done = std::make_shared<std::promise<void>>();
    AiOverrides overrides;
    overrides.gpu = false;
    overrides.preblurSeconds = 1;
    auto* worker = new AiWorker(info, &progress); // deletes itself
    worker->setOverrides(overrides);
    worker->setDone([done] { done->set_value(); });
    if (worker->Run() == wxTHREAD_NO_ERROR)
        done->get_future().wait();
}

/// The pass over a clip against the bare network, run as often.
bool measurePass(const bench::Options& options, const test::AiFolder& folder, const std::string& clip) {
    const video::VideoInfo info = describe(clip);
    const auto network = bench::bareNetwork(folder.modelDir() + "/model.cfg",
                                            folder.modelDir() + "/model.weights", kNetworkSide);
    if (info.frameCount < 1 || !network)
        return false;
    bench::Figure pass;
    pass.name = "detection, 10 s 1080p30, YOLOv4-tiny 416";
    pass.unit = "s";
    pass.peerName = "the network alone, as often";
    pass.wantedRatio = 1 / 0.85; // at most 15 % of the pass may go elsewhere
    bench::Figure perFrame;
    perFrame.name = "detection, per frame";
    perFrame.unit = "ms";
    network();
    for (int i = 0; i < options.repeat; ++i) {
        makeFrames(info.frameCount);
        pass.peer.push_back(bench::seconds([&] {
            for (int64_t frame = 0; frame < info.frameCount; ++frame)
                network();
        }));
        pass.ours.push_back(bench::seconds([&] { runPass(info); }));
        perFrame.ours.push_back(pass.ours.back() / static_cast<double>(info.frameCount) * 1000);
    }
    perFrame.note = std::to_string(1000 / *std::min_element(perFrame.ours.begin(), perFrame.ours.end())) +
                    " frames per second at best";
    bench::print(pass);
    bench::print(perFrame);
    return true;
}

void measureLoading(const bench::Options& options) {
    bench::Figure figure;
    figure.name = "loading YOLOv4-tiny, before the first frame";
    figure.unit = "s";
    for (int i = 0; i < options.repeat; ++i) {
        figure.ours.push_back(bench::seconds([] { ai::buildDetectors(false); }));
        ai::destroyDetectors();
    }
    figure.note = "on the pass's own thread, the window goes on";
    bench::print(figure);
}

constexpr int32_t kPeople = 10;
/// One second, in frames.
constexpr int32_t kLife = 30;

/// People walking about: each keeps its place from frame to frame within a few pixels, some come and go.
void fillWithWalkers(int64_t frames, int32_t people) {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    blurtrack::clear();
    blurtrack::initFrames(frames);
    std::mt19937 random(1);
    std::uniform_real_distribution<float> anywhere(0, 1000);
    std::uniform_real_distribution<float> nearby(-3, 3);
    std::vector<blurtrack::RectF> places(static_cast<size_t>(people));
    for (auto& place : places)
        place = {anywhere(random) * 1.7f, anywhere(random), 80, 80};
    for (int64_t frame = 1; frame <= frames; ++frame)
        for (auto& place : places) {
            if (random() % 200 == 0)
                place = {anywhere(random) * 1.7f, anywhere(random), 80, 80};
            blurtrack::addBlur(frame, {place.x + nearby(random), place.y + nearby(random), 80, 80}, 70,
                               blurtrack::kAnonymousBlurId);
        }
}

void extendFrames(int64_t frames) {
    fillWithWalkers(frames, kPeople);
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    preblur::extendBackward(frames, kLife);
}

size_t storedRectangles() {
    size_t count = 0;
    for (const auto& frame : blurtrack::store().frames)
        count += frame.second.size();
    return count;
}

/// Peak size of a process of its own that extends so many frames and nothing else, MiB.
double extensionPeak(int64_t frames) {
    return bench::run({"/proc/self/exe", kExtendOnly, std::to_string(frames)}).peakMiB;
}

/// What the extension and the store it fills take, against half as many frames. Goes before everything else:
/// a new process is credited with the peak of the one that made it.
void measurePostProcessingMemory(const bench::Options& options) {
    constexpr int64_t kFrames = 100000;
    bench::Figure figure;
    figure.name = "post-processing memory, " + std::to_string(kFrames) + " frames x 10";
    figure.unit = "MiB";
    figure.peerName = "half as many frames";
    figure.wantedRatio = 2.1;
    for (int i = 0; i < options.repeat; ++i) {
        const double empty = extensionPeak(1);
        figure.ours.push_back(extensionPeak(kFrames) - empty);
        figure.peer.push_back(extensionPeak(kFrames / 2) - empty);
    }
    bench::print(figure);
}

void measurePostProcessing(const bench::Options& options) {
    constexpr int64_t kFrames = 100000;
    for (const int64_t frames : {kFrames, kFrames / 2}) {
        bench::Figure figure;
        figure.name = "post-processing, " + std::to_string(frames) + " frames x 10";
        figure.unit = "s";
        if (frames == kFrames)
            figure.wantedValue = 2.0;
        for (int i = 0; i < options.repeat; ++i) {
            fillWithWalkers(frames, kPeople);
            const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
            figure.ours.push_back(bench::seconds([&] { preblur::extendBackward(frames, kLife); }));
            figure.note = std::to_string(storedRectangles()) + " rectangles afterwards";
        }
        bench::print(figure);
    }
    makeFrames(-1);
}

} // namespace

int main(int argc, char** argv) {
    const bench::Options options = bench::parseOptions(argc, argv);
    const wxInitializer library;
    if (!library.IsOk())
        return 1;
    wxLog::SetLogLevel(wxLOG_FatalError);
    if (options.rest.size() == 2 && options.rest[0] == kExtendOnly) {
        extendFrames(std::atoll(options.rest[1].c_str()));
        return 0;
    }
    measurePostProcessingMemory(options);
    measurePostProcessing(options);

    const std::string detector = SHROUD_DORIQ_PATH;
    if (detector.empty())
        return 0;
    test::AiFolder folder;
    folder.installLibrary(detector);
    const auto model = test::yolov4Tiny(kNetworkSide, 80);
    folder.installModel(model.names, model.cfg, model.weights);
    ai::init();
    measureLoading(options);
    return measurePass(options, folder, options.mediaDir + "/bench_1080p30.mp4") ? 0 : 1;
}
