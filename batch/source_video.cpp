#include "source_video.h"

#include <filesystem>

#include "platform.h"
#include "stop_request.h"
#include "video_backend_ffmpeg.h"

namespace {

namespace fs = std::filesystem;

constexpr int64_t kFramesPerUpdate = 100;

wxString absolutePath(const wxString& path) {
    std::error_code failed;
    const auto absolute = fs::absolute(fs::u8path(platform::fileName(path)), failed);
    return failed ? path : platform::fileNameText(absolute.u8string());
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

bool canBeReadToItsEnd(const wxString& path, wxString& error) {
    std::error_code ignored;
    const fs::file_status status = fs::status(fs::u8path(platform::fileName(path)), ignored);
    // What is missing or a folder is told by whoever opens it.
    if (!fs::exists(status) || fs::is_regular_file(status) || fs::is_directory(status))
        return true;
    error = "is not a regular file";
    return false;
}

bool readSource(const wxString& path, ISafeProgress& progress, SourceVideo& source, wxString& error) {
    if (!canBeReadToItsEnd(path, error))
        return false;
    Decoder_ffmpeg decoder;
    decoder.setInterrupt(&stop_request::flag());
    if (!decoder.open(absolutePath(path))) {
        error = stop_request::flag() ? wxString("stopped") : decoder.lastError();
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
    // The copy would end where the disk does, and nobody would know.
    if (!decoder.readError().empty()) {
        error = decoder.readError();
        return false;
    }
    decoder.info(source.info);
    source.codec = decoder.traits().codec;
    source.variableRate = decoder.traits().variableRate;
    return true;
}
