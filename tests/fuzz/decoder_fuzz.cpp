// Any bytes as a video file: opened, scanned, positioned and converted.
#include <algorithm>

extern "C" {
#include <libavutil/log.h>
}

#include "fuzz/fuzz_target.h"
#include "support/temp_folder.h"
#include "video_backend_ffmpeg.h"

namespace {

constexpr int64_t kMostFrames = 60;
/// Larger pictures are converted into a small one, as time goes by their area.
constexpr int64_t kMostPixels = 512 * 512;

pxl::Image targetFor(const video::VideoInfo& info) {
    return int64_t{info.width} * info.height <= kMostPixels ? pxl::Image(info.width, info.height)
                                                            : pxl::Image(67, 35);
}

void exercise(Decoder_ffmpeg& decoder) {
    video::VideoInfo info;
    decoder.info(info);
    fuzz::require(info.width > 0 && info.height > 0, "an open decoder has a picture size");
    decoder.next();

    decoder.close();
    if (!decoder.open(info.path))
        return;
    video::Progress progress;
    progress.onProgress = [&] { progress.stop = progress.done >= kMostFrames; };
    decoder.scan(progress);
    fuzz::require(progress.done <= kMostFrames, "a stopped scan ends");
    decoder.info(info);
    fuzz::require(info.frameCount == progress.done, "the frame count is what the scan counted");
    fuzz::require(decoder.frameIndex() == 0, "a scan leaves frame number 0");

    fuzz::require(!decoder.seek(0), "there is no frame 0");
    fuzz::require(!decoder.seek(static_cast<int>(info.frameCount) + 1), "there is no frame after the last");
    pxl::Image image = targetFor(info);
    for (const int64_t frame : {info.frameCount, (info.frameCount + 1) / 2, int64_t{1}})
        if (decoder.seek(static_cast<int>(frame)) && decoder.next()) {
            fuzz::require(decoder.frameIndex() == frame, "a seek delivers the frame asked for");
            decoder.convert(image);
        }
    decoder.reset();
    decoder.convert(image);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const test::TempFolder folder;
    av_log_set_level(AV_LOG_QUIET);
    const wxString path = wxString::FromUTF8(folder.write("input", fuzz::text(data, size)));
    Decoder_ffmpeg decoder;
    if (decoder.open(path))
        exercise(decoder);
    return 0;
}
