/// Measures an export against the ffmpeg program doing the same work, and shows where the time goes.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include <wx/init.h>
#include <wx/log.h>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

#include "blurtrack.h"
#include "exportworker.h"
#include "report.h"
#include "switches.h"
#include "video_backend_ffmpeg.h"
#include "video_backend_ffmpeg_encoder.h"
#include "workerend.h"

namespace {

namespace fs = std::filesystem;

constexpr blurtrack::RectF kRegion{720, 405, 480, 270};
constexpr int kFramesPerStage = 120;
constexpr double kWantedPeakMiB = 350;

class NoProgress : public ISafeProgress {
public:
    void start(const wxString&, const wxString&, int32_t) override {}
    void update(int32_t, const wxString&) override {}
    void finish() override {}
};

/// What `ffmpeg` is told to encode with: the same as the product.
const std::vector<std::string> kEncoding{"-c:v", "libx264", "-profile:v", "main",
                                         "-g",   "12",      "-pix_fmt",   "yuv420p"};

void addRegion(int64_t frameCount) {
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    blurtrack::initFrames(frameCount);
    for (int64_t frame = 1; frame <= frameCount; ++frame)
        blurtrack::addBlur(frame, kRegion, blurtrack::kBrushScore, 1);
}

video::VideoInfo describe(const std::string& clip) {
    Decoder_ffmpeg decoder;
    video::VideoInfo info;
    if (decoder.open(wxString::FromUTF8(clip)))
        decoder.info(info);
    return info;
}

bool exportFile(const std::string& clip, const std::string& output) {
    video::VideoInfo info = describe(clip);
    addRegion(info.frameCount);
    info.frameCount = -1; // Not scanned: what the file states is no promise.
    NoProgress progress;
    std::promise<ExportResult> result;
    ExportWorker* worker =
        createExportWorker(switches::kBlurMode, wxString::FromUTF8(output), info, &progress);
    worker->setDone([&result](ExportResult ended, const wxString&) { result.set_value(ended); });
    return worker->Run() == wxTHREAD_NO_ERROR && result.get_future().get() == ExportResult::Success;
}

std::vector<std::string> ffmpeg(std::vector<std::string> input, const std::vector<std::string>& output) {
    std::vector<std::string> arguments{"ffmpeg", "-nostdin", "-y", "-v", "error"};
    arguments.insert(arguments.end(), input.begin(), input.end());
    arguments.insert(arguments.end(), output.begin(), output.end());
    return arguments;
}

std::vector<std::string> sameWorkByFfmpeg(const std::string& clip, const std::string& output) {
    std::vector<std::string> rest{"-filter_complex",
                                  "[0:v]format=rgba,split[whole][part];"
                                  "[part]crop=480:270:720:405,pixelize=w=21:h=21[hidden];"
                                  "[whole][hidden]overlay=720:405:format=rgb,format=yuv420p"};
    rest.insert(rest.end(), kEncoding.begin(), kEncoding.end());
    rest.push_back(output);
    return ffmpeg({"-i", clip, "-an"}, rest);
}

std::vector<std::string> encodingByFfmpeg(const std::string& raw, const std::string& output) {
    std::vector<std::string> rest = kEncoding;
    rest.push_back(output);
    return ffmpeg({"-f", "rawvideo", "-pix_fmt", "yuv420p", "-s", "1920x1080", "-r", "30", "-i", raw}, rest);
}

/// In processes of their own on both sides, in turns.
bool measureExport(const bench::Options& options, const char* self, const std::string& clip,
                   const fs::path& folder) {
    const std::string ours = (folder / "ours.mp4").string();
    const std::string peer = (folder / "peer.mp4").string();
    const std::string raw = (folder / "frames.yuv").string();
    if (!bench::run({self, "--export-only", clip, ours}).succeeded ||
        !bench::run(ffmpeg({"-i", ours}, {"-f", "rawvideo", "-pix_fmt", "yuv420p", raw})).succeeded)
        return false;

    bench::Figure wall{"export of 10 s 1080p30 H.264",
                       "s",
                       {},
                       {},
                       "ffmpeg: RGBA, crop, pixelize, overlay, 4:2:0, libx264",
                       1.0,
                       {},
                       "480x270 hidden in every frame"};
    bench::Figure cpu{"export, processor time", "s", {}, {}, "the same", 1.0, {}, ""};
    bench::Figure limit{"export against encoding alone",   "s", {}, {},
                        "ffmpeg: libx264 from raw frames", {},  {}, ""};
    bench::Figure limitCpu{"the same, processor time", "s", {}, {}, limit.peerName, {}, {}, ""};
    bench::Figure peak{"export, peak memory", "MiB", {}, {}, "", {}, kWantedPeakMiB, ""};
    for (int i = 0; i < options.repeat; ++i) {
        const bench::Cost product = bench::run({self, "--export-only", clip, ours});
        const bench::Cost program = bench::run(sameWorkByFfmpeg(clip, peer));
        const bench::Cost encoding = bench::run(encodingByFfmpeg(raw, peer));
        if (!product.succeeded || !program.succeeded || !encoding.succeeded)
            return false;
        wall.ours.push_back(product.wallSeconds);
        wall.peer.push_back(program.wallSeconds);
        cpu.ours.push_back(product.cpuSeconds);
        cpu.peer.push_back(program.cpuSeconds);
        limit.peer.push_back(encoding.wallSeconds);
        limitCpu.peer.push_back(encoding.cpuSeconds);
        peak.ours.push_back(product.peakMiB);
    }
    limit.ours = wall.ours;
    limitCpu.ours = cpu.ours;
    for (const bench::Figure& figure : {wall, cpu, limit, limitCpu, peak})
        bench::print(figure);
    return true;
}

bool measureMemoryOfALongerClip(const bench::Options& options, const char* self, const std::string& clip,
                                const std::string& longer, const fs::path& folder) {
    bench::Figure flat{"peak memory, clip six times as long", "MiB", {}, {}, "the clip itself", 1.05, {}, ""};
    const std::string output = (folder / "ours.mp4").string();
    for (int i = 0; i < options.repeat; ++i) {
        const bench::Cost one = bench::run({self, "--export-only", clip, output});
        const bench::Cost six = bench::run({self, "--export-only", longer, output});
        if (!one.succeeded || !six.succeeded)
            return false;
        flat.ours.push_back(six.peakMiB);
        flat.peer.push_back(one.peakMiB);
    }
    bench::print(flat);
    return true;
}

/// The encoder's conversion by itself.
void toYuv(const pxl::Image& image, uint8_t* const planes[], const int strides[]) {
    SwsContext* scaler = sws_getContext(image.width, image.height, AV_PIX_FMT_RGBA, image.width, image.height,
                                        AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr);
    const uint8_t* const source[] = {reinterpret_cast<const uint8_t*>(image.pixels)};
    const int sourceStrides[] = {image.width * 4};
    sws_scale(scaler, source, sourceStrides, 0, image.height, planes, strides);
    sws_freeContext(scaler);
}

enum Stage { Decode, ToRgba, Mosaic, Copy, ToYuv, Encode, StageCount };
constexpr const char* kStageNames[] = {"stage: decode, per frame",   "stage: to RGBA, per frame",
                                       "stage: mosaic, per frame",   "stage: copy, per frame",
                                       "stage: to 4:2:0, per frame", "stage: encode and write, per frame"};

/// The stages one after the other; processor seconds of each for `kFramesPerStage` frames, empty on failure.
/// The encoder's threads are seen in what the process spends beside the other stages; it converts each
/// picture itself, once more.
std::vector<double> timeStages(const video::VideoInfo& info, const fs::path& output) {
    uint8_t* planes[4] = {};
    int strides[4] = {};
    if (av_image_alloc(planes, strides, info.width, info.height, AV_PIX_FMT_YUV420P, 32) < 0)
        return {};
    std::vector<double> spent(StageCount);
    bool complete = true;
    const double whole = bench::processSeconds([&] {
        Decoder_ffmpeg decoder;
        decoder.open(info.path);
        Encoder_ffmpeg encoder(
            encoderSettingsFor(info, wxString::FromUTF8(output.string()), video::kCodecH264));
        Frameblur processor(info.width, info.height);
        pxl::Image image(info.width, info.height);
        for (int frame = 0; frame < kFramesPerStage && complete; ++frame) {
            const Image* result = nullptr;
            pxl::Image copy;
            spent[Decode] += bench::threadSeconds([&] { complete = decoder.next(); });
            spent[ToRgba] += bench::threadSeconds([&] { complete = complete && decoder.convert(image); });
            spent[Mosaic] += bench::threadSeconds(
                [&] { result = processor.process(image, static_cast<int32_t>(decoder.frameIndex()), 50); });
            spent[Copy] += bench::threadSeconds([&] { copy = result->clone(); });
            spent[ToYuv] += bench::threadSeconds([&] { toYuv(copy, planes, strides); });
            encoder.encode(std::make_shared<Frame_ffmpeg>(std::move(copy), decoder.frameIndex()));
        }
        encoder.finish();
        complete = complete && !encoder.failed();
    });
    av_freep(&planes[0]);
    spent[Encode] = whole - std::accumulate(spent.begin(), spent.end(), spent[ToYuv]);
    return complete ? spent : std::vector<double>();
}

bool measureStages(const bench::Options& options, const std::string& clip, const fs::path& folder) {
    const video::VideoInfo info = describe(clip);
    addRegion(info.frameCount);
    std::vector<bench::Figure> figures;
    for (const char* name : kStageNames)
        figures.push_back({name, "ms", {}, {}, "", {}, {}, ""});
    for (int repeat = 0; repeat < options.repeat; ++repeat) {
        const std::vector<double> spent = timeStages(info, folder / "stages.mp4");
        if (spent.empty())
            return false;
        for (std::size_t stage = 0; stage < spent.size(); ++stage)
            figures[stage].ours.push_back(1e3 * spent[stage] / kFramesPerStage);
    }
    for (const bench::Figure& figure : figures)
        bench::print(figure);
    return true;
}

bool measure(const bench::Options& options, const char* self) {
    const std::string clip = options.mediaDir + "/bench_1080p30.mp4";
    const std::string longer = options.mediaDir + "/bench_1080p30_minute.mp4";
    std::string folderName = (fs::temp_directory_path() / "shroud-bench-export-XXXXXX").string();
    if (!mkdtemp(folderName.data()))
        return false;
    const fs::path folder = folderName;
    // The stages last: they make this process large.
    const bool complete = measureExport(options, self, clip, folder) &&
                          measureMemoryOfALongerClip(options, self, clip, longer, folder) &&
                          measureStages(options, clip, folder);
    fs::remove_all(folder);
    return complete;
}

} // namespace

int main(int argc, char** argv) {
    wxInitializer initializer;
    const wxLogNull quiet;
    const bench::Options options = bench::parseOptions(argc, argv);
    if (options.rest.size() == 3 && options.rest[0] == "--export-only") {
        const bool exported = exportFile(options.rest[1], options.rest[2]);
        workerend::wait(std::chrono::seconds(10));
        return exported ? 0 : 1;
    }
    if (measure(options, argv[0]))
        return 0;
    std::fputs("the export can't be measured\n", stderr);
    return 1;
}
