#include "info_command.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <new>

#include "console.h"
#include "source_video.h"

namespace {

wxString jsonText(const wxString& text) {
    wxString quoted = "\"";
    for (const wxUniChar& character : text) {
        if (character == '"' || character == '\\')
            quoted += wxString("\\") + character;
        else if (character < 0x20)
            quoted += wxString::Format("\\u%04x", static_cast<unsigned>(character.GetValue()));
        else
            quoted += character;
    }
    return quoted + "\"";
}

/// The shortest text that is exactly this number; null for what JSON has no number for.
wxString jsonNumber(double number) {
    if (!std::isfinite(number))
        return "null";
    char buffer[64];
    const std::to_chars_result result = std::to_chars(buffer, buffer + sizeof(buffer), number);
    return wxString(buffer, static_cast<std::size_t>(result.ptr - buffer));
}

wxString jsonNumber(int64_t number) {
    return wxString::Format("%lld", static_cast<long long>(number));
}

} // namespace

int runInfo(const Options& options) {
    console::ProgressLine progress(options.quiet);
    SourceVideo source;
    wxString error;
    try {
        if (!readSource(options.inputPath, progress, source, error)) {
            console::error(options.inputPath + ": " + error);
            return 1;
        }
    } catch (const std::bad_alloc&) {
        console::error(options.inputPath + ": " + wxString::FromUTF8(std::strerror(ENOMEM)));
        return 1;
    }
    const video::VideoInfo& info = source.info;
    const bool isTold = console::print(
        "{\"path\": " + jsonText(options.inputPath) + ", \"width\": " + jsonNumber(int64_t{info.width}) +
        ", \"height\": " + jsonNumber(int64_t{info.height}) + ", \"fps\": " + jsonNumber(info.fps) +
        ", \"frameCount\": " + jsonNumber(info.frameCount) + ", \"statedFrameCount\": " +
        jsonNumber(source.statedFrameCount) + ", \"durationSec\": " + jsonNumber(info.durationSec) +
        ", \"isH264\": " + (info.isH264 ? "true" : "false") + ", \"codec\": " + jsonText(source.codec) +
        "}\n");
    return isTold ? 0 : 1;
}
