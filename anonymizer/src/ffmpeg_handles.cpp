#include "ffmpeg_handles.h"

#include <array>
#include <mutex>

#include <wx/filename.h>

#include "platform.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

namespace ffmpeg {
namespace {

constexpr int kUnityGain = 1 << 16;

void setRanges(SwsContext* scaler, int32_t matrix, bool sourceFull, bool targetFull) {
    // The library answers codes it has no table for with BT.601.
    const int* table = sws_getCoefficients(matrix);
    sws_setColorspaceDetails(scaler, table, sourceFull, table, targetFull, 0, kUnityGain, kUnityGain);
}

} // namespace

void BufferDeleter::operator()(uint8_t* memory) const noexcept {
    av_free(memory);
}

void CodecContextDeleter::operator()(AVCodecContext* context) const noexcept {
    avcodec_free_context(&context);
}

void InputDeleter::operator()(AVFormatContext* context) const noexcept {
    AVIOContext* ownFile = context->flags & AVFMT_FLAG_CUSTOM_IO ? context->pb : nullptr;
    avformat_close_input(&context);
    avio_closep(&ownFile);
}

void OutputDeleter::operator()(AVFormatContext* context) const noexcept {
    if (context->oformat && !(context->oformat->flags & AVFMT_NOFILE))
        avio_closep(&context->pb);
    avformat_free_context(context);
}

void FrameDeleter::operator()(AVFrame* frame) const noexcept {
    av_frame_free(&frame);
}

void PacketDeleter::operator()(AVPacket* packet) const noexcept {
    av_packet_free(&packet);
}

void ScalerDeleter::operator()(SwsContext* context) const noexcept {
    sws_freeContext(context);
}

void initialiseOnce() {
    static std::once_flag done;
    std::call_once(done, [] {
#if LIBAVFORMAT_VERSION_INT < AV_VERSION_INT(58, 9, 100)
        av_register_all();
        avcodec_register_all();
#endif
        av_log_set_level(AV_LOG_QUIET);
    });
}

wxString errorText(int code) {
    std::array<char, 512> text{};
    av_strerror(code, text.data(), text.size());
    return wxString::FromUTF8(text.data());
}

std::string filePath(const wxString& path) {
    wxFileName name(path);
    if (path.empty() || name.IsAbsolute())
        return platform::fileName(path);
    // No other normalisation: ".." behind a link is not the folder before it.
    name.Normalize(wxPATH_NORM_ABSOLUTE);
    return platform::fileName(name.GetFullPath());
}

void setYuvToRgb(SwsContext* scaler, int32_t matrix, bool fullRange) {
    setRanges(scaler, matrix, fullRange, true);
}

void setRgbToYuv(SwsContext* scaler, int32_t matrix, bool fullRange) {
    setRanges(scaler, matrix, true, fullRange);
}

} // namespace ffmpeg
