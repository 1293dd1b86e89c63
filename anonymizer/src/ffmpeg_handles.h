#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <wx/string.h>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct SwsContext;

/// What the FFmpeg back end's sources share: owning handles, and the few conversions at the library's border.
/// Needs no FFmpeg header to be included.
namespace ffmpeg {

/// For memory of the library's own allocator.
struct BufferDeleter {
    void operator()(uint8_t* memory) const noexcept;
};
/// Frees the context and what it holds; an open decoder or encoder is closed.
struct CodecContextDeleter {
    void operator()(AVCodecContext* context) const noexcept;
};
/// Closes the file too, also one that was opened before the context.
struct InputDeleter {
    void operator()(AVFormatContext* context) const noexcept;
};
/// Closes a file that is still open, without a trailer.
struct OutputDeleter {
    void operator()(AVFormatContext* context) const noexcept;
};
struct FrameDeleter {
    void operator()(AVFrame* frame) const noexcept;
};
struct PacketDeleter {
    void operator()(AVPacket* packet) const noexcept;
};
struct ScalerDeleter {
    void operator()(SwsContext* context) const noexcept;
};

using Buffer = std::unique_ptr<uint8_t, BufferDeleter>;
using CodecContext = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using Input = std::unique_ptr<AVFormatContext, InputDeleter>;
using Output = std::unique_ptr<AVFormatContext, OutputDeleter>;
using FrameHandle = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketHandle = std::unique_ptr<AVPacket, PacketDeleter>;
using Scaler = std::unique_ptr<SwsContext, ScalerDeleter>;

/// Sets the library up and silences its own log. Done once per process however often it is called, from any
/// thread; every decoder and encoder calls it first.
void initialiseOnce();

/// The library's words for one of its negative result codes.
wxString errorText(int code);

/// `path` as the library wants it: UTF-8 in every locale, and absolute, since "a:b.mp4" would be taken for
/// a protocol. An empty path stays empty.
std::string filePath(const wxString& path);

/// Tells a scaler how the numbers of both pictures are meant. Without this call the library takes YUV for
/// BT.601 with limited range (full range for its deprecated "J" formats). `matrix` is an ITU-T H.273 matrix
/// code (`video::VideoInfo::colorMatrix`); codes without a table of their own, 2 (unspecified) among them,
/// count as BT.601. The RGB side is always full range.
void setYuvToRgb(SwsContext* scaler, int32_t matrix, bool fullRange);
void setRgbToYuv(SwsContext* scaler, int32_t matrix, bool fullRange);

} // namespace ffmpeg
