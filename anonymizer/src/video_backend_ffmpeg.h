#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include <wx/string.h>

#include "ffmpeg_handles.h"
#include "ffmpeg_rgba.h"
#include "video_backend.h"

/// A finished picture that owns its pixels.
class Frame_ffmpeg : public video::Frame {
public:
    /// `image` should own its pixels, by malloc; they are freed with the frame. `frameIndex` from 1.
    Frame_ffmpeg(pxl::Image image, int64_t frameIndex);

    const pxl::Image* image() const override;
    int64_t frameIndex() const override;

private:
    pxl::Image image_;
    int64_t frameIndex_;
};

/// What a companion program tells about a stream beyond `video::VideoInfo`.
struct StreamTraits {
    /// Short name of the codec, such as "h264"; empty when no file is open.
    wxString codec;
    /// True when the scan found frames that are not evenly spaced in time. False before the scan.
    bool variableRate = false;
};

/// Decoder by FFmpeg, on one thread (threads would swallow further frames at the end of the file). Exact:
/// after `scan`, `seek(n)` and `next` deliver the very picture that is the n-th one when played from the
/// start. The frames that a codec still holds back when the file ends (mostly two, with B-frames) are
/// delivered by nobody: not by playback, not by the scan, so they don't count either.
///
/// A packet that can't be decoded yields no frame and is no error: it never does, so the numbers stay those
/// of the index. Once a frame may be missing that another reading delivers (the disk fails, there is no
/// memory, reading was interrupted, a file that grows had its end too early) `next` returns false until the
/// next `seek` that succeeds, or `open`: no picture comes under another one's number. Frames that share their
/// decode timestamp are told apart by their order.
///
/// A stream that changes its picture size on the way is delivered in the size of its header: `convert` scales
/// every frame from the size and pixel format it really has to the target's.
///
/// Colours: `convert` reads the planes with the matrix the stream states (BT.601 when it states none) and the
/// range each frame states. An encoder that uses `VideoInfo::colorMatrix` for the way back gets the
/// planes as they were, limited range; a full-range source keeps its colours and becomes limited range.
/// Rotation tags are not applied.
class Decoder_ffmpeg : public video::Decoder {
public:
    Decoder_ffmpeg();
    ~Decoder_ffmpeg() override;
    Decoder_ffmpeg(const Decoder_ffmpeg&) = delete;
    Decoder_ffmpeg& operator=(const Decoder_ffmpeg&) = delete;

    /// Failures of the library are logged at error level as "[DecoderFFMPEG] %s" and kept for `lastError`. A
    /// file without a video stream, with a codec nobody decodes or without a picture size fails with an empty
    /// `lastError` and no log line. An open decoder is closed first.
    bool open(const wxString& path) override;
    void close() override;
    /// A scan ended early, by `video::Progress::stop` or the interrupt flag, leaves an index of the frames
    /// read so far, and `frameCount` counts those.
    void scan(video::Progress& progress) override;
    bool convert(pxl::Image& target) override;
    int64_t frameIndex() const override;
    void reset() override;
    bool seek(int frame) override;
    bool next() override;
    video::VideoInfo& info(video::VideoInfo& out) override;
    wxString lastError() const override;
    /// The last `open` failed because of what is in the file; false when it failed because the system would
    /// not let the file be read, and after a success.
    bool refusedContent() const { return refusedContent_; }

    StreamTraits traits() const;

    /// Why frames are missing, when that has happened since `open`; empty otherwise. Where the file could not
    /// be read on, or one found no memory, they end as at the end of the file. Not logged: to be told by
    /// whoever needs every frame.
    wxString readError() const { return readError_; }

    /// While `*flag` is true a running `open` or `scan` ends at the next read, and `next` returns false. May
    /// be set by any thread. Not owned; stays valid until the decoder is gone or another flag, or null, is
    /// given.
    void setInterrupt(const std::atomic<bool>* flag);

    /// While `*flag` is true, a `next` on its way to a seek's target gives up between two packets and returns
    /// false, and a later one goes on to that target; any other `next` is not interrupted. The same rules as
    /// for `setInterrupt`.
    void setAbandonSeek(const std::atomic<bool>* flag);

private:
    struct FrameDetails {
        int64_t packetDts = 0;
        int64_t packetPts = 0;
        int64_t framePts = 0;
        int64_t framePacketDts = 0;
        bool keyFrame = false;
    };

    static int interrupted(void* decoder);
    bool seekIsAbandoned() const;
    bool openFile(const wxString& path);
    bool outOfMemory();
    bool openCodec();
    bool fail(int code);
    /// Keeps what is no end of the file, the first time.
    void noteError(int code);
    bool decodeNext(FrameDetails* details);
    bool decodePacket(FrameDetails* details);
    bool isWanted(const AVFrame& frame);
    void findSharedDts(int64_t frameCount);
    int32_t colorMatrix() const;

    /// Decode timestamp of the frame a pending seek must reach; any value is a valid one.
    int64_t seekTargetDts_ = -1;
    int64_t seekTargetFrame_ = -1;
    /// Frames with that timestamp that come before the target.
    int64_t sameDtsToPass_ = 0;
    bool seekPending_ = false;
    /// A frame may have been missed since the last positioning, or the file has ended.
    bool framesLost_ = false;
    ffmpeg::Input format_;
    /// Filled like the working one and never opened.
    ffmpeg::CodecContext unusedCodecContext_;
    ffmpeg::CodecContext codecContext_;
    /// Pixels, as the stream's header has them; the codec context's change with the pictures.
    int32_t width_ = 0;
    int32_t height_ = 0;
    ffmpeg::FrameHandle frame_;
    ffmpeg::PacketHandle packet_;
    std::vector<int> videoStreams_;
    std::vector<int> audioStreams_;
    int streamIndex_ = -1;
    int64_t currentFrame_ = 0;
    /// Frame number to the decode timestamp of its packet; entry 0 stands for the start of the file.
    std::unordered_map<int64_t, int64_t> frameDts_;
    /// For each frame whose timestamp another one has too: how many of those have a lower number.
    std::unordered_map<int64_t, int64_t> sameDtsBefore_;
    /// True once a scan has filled the index; until then it may hold entries that seeks have added.
    bool scanned_ = false;
    bool variableRate_ = false;
    ffmpeg::RgbaConverter converter_;
    const std::atomic<bool>* interrupt_ = nullptr;
    const std::atomic<bool>* abandonSeek_ = nullptr;
    wxString path_;
    wxString error_;
    bool refusedContent_ = false;
    wxString readError_;
};
