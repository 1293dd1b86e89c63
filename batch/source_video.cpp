#include "source_video.h"

#include <filesystem>

#include "stop_request.h"
#include "video_backend_ffmpeg.h"

namespace {

constexpr int64_t kFramesPerUpdate = 100;

wxString absolutePath(const wxString& path) {
    std::error_code failed;
    const auto absolute = std::filesystem::absolute(std::filesystem::u8path(path.utf8_string()), failed);
    return failed ? path : wxString::FromUTF8(absolute.u8string());
}

void scan(Decoder_ffmpeg& decoder, ISafeProgress& line) {
    video::Progress progress;
    line.start("Reading", wxString(), 0);
    progress.onProgress = [&] {
        progress.stop = stop_request::flag();
        if (progress.done % kFramesPerUpdate == 0)
            line.update(static_cast<int32_t>(progress.done), wxString());
    };
    decoder.scan(progress);
    line.finish();
}

} // namespace

bool readSource(const wxString& path, ISafeProgress& progress, SourceVideo& source, wxString& error) {
    Decoder_ffmpeg decoder;
    decoder.setInterrupt(&stop_request::flag());
    if (!decoder.open(absolutePath(path))) {
        error = decoder.lastError();
        if (error.empty())
            error = "the file holds no video that can be decoded";
        return false;
    }
    decoder.info(source.info);
    source.statedFrameCount = source.info.frameCount;
    scan(decoder, progress);
    if (stop_request::flag()) {
        error = "stopped";
        return false;
    }
    decoder.info(source.info);
    source.codec = decoder.traits().codec;
    source.variableRate = decoder.traits().variableRate;
    return true;
}
