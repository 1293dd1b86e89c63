#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include <wx/string.h>

#include "ffmpeg_handles.h"
#include "pxl/image.h"
#include "video_backend.h"

struct AVBufferPool;
struct AVCodec;
struct AVStream;

namespace ffmpeg {

struct BufferPoolDeleter {
    void operator()(AVBufferPool* pool) const noexcept;
};
using BufferPool = std::unique_ptr<AVBufferPool, BufferPoolDeleter>;

/// Units in which an encoder counts time: `num` / `den` seconds each.
struct TimeBase {
    int num = 1;
    int den = 1;
};

/// The time base for `fps` frames per second: the inverse of the nearest fraction with numerator and
/// denominator up to 100, 1/25 for 25 and 1/30 for 29.97. Where that fraction is below `fps`, so that frames
/// would share a time stamp, the inverse of a finer one: 1/120 for 120, not 1/100. `fps` is positive and at
/// most a million.
TimeBase timeBaseFor(double fps);

/// Time stamp of the `index`-th frame, from 0, in units of `base`, truncated to a whole number. In double
/// arithmetic: one that would be a whole number may come out as the one before.
int64_t timestampOf(int64_t index, TimeBase base, double fps);

} // namespace ffmpeg

/// Encoder by FFmpeg. The file gets one video stream, no audio, and no metadata but the comment tag with the
/// product's name and what the muxer adds itself.
///
/// Construction goes step by step; the first step that fails logs its line at error level and leaves the
/// encoder closed for good: `encode` and `finish` then only log. A frame rate that is not a number, not
/// positive or absurd fails like a codec that can't be opened. Too little memory is a failed step too: only
/// `encode` may throw, and nothing but std::bad_alloc.
///
/// The planes are made by the settings' colour matrix, limited range; a matrix that is stated is stated in
/// the output too, and nothing else is set than the codec's choice of profile and the length of a group of
/// pictures.
class Encoder_ffmpeg : public video::Encoder {
public:
    explicit Encoder_ffmpeg(const video::EncoderSettings& settings);
    /// Without `finish` before, a file is left that nobody can read.
    ~Encoder_ffmpeg() override;
    Encoder_ffmpeg(const Encoder_ffmpeg&) = delete;
    Encoder_ffmpeg& operator=(const Encoder_ffmpeg&) = delete;

    /// True when the library has an encoder for a `video::Codec`.
    static bool isAvailable(int32_t codec);
    /// True for the rates that are encoded, 0.001 … 1000 frames per second: no other video is meant to be
    /// seen. Construction fails with any other.
    static bool takesRate(double fps);

    bool isOpen() const override;
    /// The frame is not kept. A failure does not end the encoding; see `failed`.
    void encode(std::shared_ptr<video::Frame> frame) override;
    /// Once; the file is closed then, and nothing more can be encoded.
    void finish() override;

    /// True once construction has opened the output file, which empties a file that was there.
    bool touchedFile() const { return touchedFile_; }
    /// True once a frame could not be converted, encoded or written: the file is not what it should be. The
    /// first failure is logged, later ones are not.
    bool failed() const { return !failureText_.empty(); }
    /// The library's words for the first failure, or for the failed construction; empty when all went well.
    wxString failureText() const { return failureText_; }
    /// True when that failure came from opening or writing the file.
    bool fileFailed() const { return fileFailed_; }
    /// Pictures that have been handed to the codec.
    int64_t encodedFrames() const { return encodedFrames_; }

private:
    bool construct();
    bool stop(const char* line, int code);
    void configure(const AVCodec* codec);
    int convert(const pxl::Image& image);
    int scale(const pxl::Image& image);
    const pxl::Image& readable(const pxl::Image& image);
    void drain();
    void write();
    void note(int code);
    void noteOfFile(int code);

    bool open_ = false;
    bool finished_ = false;
    bool touchedFile_ = false;
    bool fileFailed_ = false;
    video::EncoderSettings settings_;
    ffmpeg::TimeBase timeBase_;
    ffmpeg::CodecContext codecContext_;
    ffmpeg::FrameHandle spareFrame_;
    ffmpeg::FrameHandle sourceFrame_;
    ffmpeg::FrameHandle yuvFrame_;
    ffmpeg::PacketHandle packet_;
    ffmpeg::Output format_;
    AVStream* stream_ = nullptr;
    /// The planes: a buffer that the codec still holds is never written again, a returned one is reused.
    ffmpeg::BufferPool yuvBuffers_;
    /// Copy of a picture that the scaler would read past the end of.
    pxl::Image paddedSource_;
    /// Frames passed to `encode`, those that failed too: a lost one leaves a gap in time.
    int64_t frameCount_ = 0;
    int64_t encodedFrames_ = 0;
    /// Time stamp of the last frame; the next one's is higher.
    int64_t lastPts_ = -1;
    /// Durations of the frames inside the codec, by time stamp.
    std::map<int64_t, int64_t> durations_;
    wxString failureText_;
};
