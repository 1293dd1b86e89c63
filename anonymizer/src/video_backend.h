#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <wx/string.h>

#include "pxl/image.h"

/// Video input and output without a word about the library behind it. Frames are numbered from 1; 0 is
/// the position before the first frame.
namespace video {

/// Matrix coefficients code of a stream that does not state its matrix.
constexpr int32_t kColorMatrixUnspecified = 2;

/// Description of an opened video stream.
struct VideoInfo {
    /// Whole seconds, truncated; 0 when the container does not state it.
    int64_t durationSec = 0;
    /// Number of frames that `Decoder::next` delivers from the start, once `Decoder::scan` has run; before
    /// that the count stated by the container, which may be 0.
    int64_t frameCount = 0;
    /// Pixels.
    int32_t width = 0;
    /// Pixels.
    int32_t height = 0;
    /// Frames per second. Not a number when the stream states 0/0: callers must cope.
    double fps = 0.0;
    /// Bits per second; 0 when unknown.
    int32_t bitRate = 0;
    /// Frames in a group of pictures as the codec context states it.
    int32_t gopSize = 0;
    /// As given to `Decoder::open`.
    wxString path;
    bool isH264 = false;
    bool seeksToPts = false;
    /// How the stream's YUV numbers stand for colours: matrix coefficients code of ITU-T H.273, 1 for BT.709,
    /// 5 and 6 for BT.601, 2 when the stream does not say.
    int32_t colorMatrix = kColorMatrixUnspecified;
};

/// Report of a running `Decoder::scan`.
struct Progress {
    /// Frame count stated by the container, set before the first frame; may be 0.
    int64_t total = 0;
    /// Frames scanned so far.
    int64_t done = 0;
    /// Called on the scanning thread after each frame; may be empty.
    std::function<void()> onProgress;
    /// Set by `onProgress` to end the scan after the frame at hand.
    bool stop = false;
};

/// One finished picture with its number.
class Frame {
public:
    virtual ~Frame() = default;
    /// Valid as long as the frame.
    virtual const pxl::Image* image() const = 0;
    /// Counted from 1.
    virtual int64_t frameIndex() const = 0;
};

/// Reads the first video stream of one file. Used by one thread only, the one that owns it; several
/// decoders may have the same file open.
class Decoder {
public:
    virtual ~Decoder() = default;
    /// False on failure; `lastError` then has the text, or is empty for files without a usable video stream.
    virtual bool open(const wxString& path) = 0;
    virtual void close() = 0;
    /// Reads the whole video once and indexes every frame; needed before exact seeks. Expects the decoder at
    /// the start of the file and leaves it at the end, at frame number 0.
    virtual void scan(Progress& progress) = 0;
    /// Writes the frame decoded last into `target`, scaled to its size. False when that is impossible; the
    /// target's pixels are undefined then.
    virtual bool convert(pxl::Image& target) = 0;
    /// Number of the frame decoded last, from 1; 0 before the first.
    virtual int64_t frameIndex() const = 0;
    /// Empties the codec and sets the frame number to 0. The position in the file stays.
    virtual void reset() = 0;
    /// Prepares `next` to deliver exactly frame `frame`, 1 … frameCount. False when out of range, and when
    /// the file can't be positioned: `next` then reads on from where it stands until that frame comes.
    virtual bool seek(int frame) = 0;
    /// Decodes the next frame. False at the end of the file and on read errors.
    virtual bool next() = 0;
    /// Fills `out` and returns it.
    virtual VideoInfo& info(VideoInfo& out) = 0;
    /// Text of the last failed `open`.
    virtual wxString lastError() const = 0;
};

/// Writes one video file. Used by one thread only.
class Encoder {
public:
    virtual ~Encoder() = default;
    /// True only if construction got through every step.
    virtual bool isOpen() const = 0;
    /// Converts, encodes and writes one frame, scaling it to the output size.
    virtual void encode(std::shared_ptr<Frame> frame) = 0;
    /// Drains the codec, writes the trailer and closes the file.
    virtual void finish() = 0;
};

enum Codec : int32_t { kCodecMpeg4 = 0, kCodecH264 = 1 };

/// What an encoder is built from.
struct EncoderSettings {
    /// Pixels.
    int32_t width = 0;
    /// Pixels.
    int32_t height = 0;
    /// Frames per second.
    double fps = 0.0;
    /// Bits per second of the source. Carried along, not used for encoding.
    int32_t bitRate = 0;
    /// Frames in a group of pictures.
    int32_t gopSize = 0;
    /// Number of passes. Carried along, not used for encoding.
    int32_t passes = 1;
    /// Output file; its ending chooses the container.
    wxString path;
    /// `kCodecH264`; any other value selects MPEG-4 Part 2.
    int32_t codec = kCodecH264;
    /// `VideoInfo::colorMatrix` of the source: RGBA is turned into YUV by the matrix it was made with, so
    /// that the planes come out as they went in. Unspecified means BT.601.
    int32_t colorMatrix = kColorMatrixUnspecified;
};

} // namespace video
