#include "video_backend_ffmpeg.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <string>
#include <utility>

#include <wx/log.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace {

/// True when the pictures do not follow each other evenly. Time stamps of a constant rate lie within a tick
/// of a straight line, whatever the container's units. `timestamps` in display order.
bool isUneven(const std::vector<int64_t>& timestamps) {
    if (timestamps.size() < 3)
        return false;
    const auto first = static_cast<double>(timestamps.front());
    const double interval =
        (static_cast<double>(timestamps.back()) - first) / static_cast<double>(timestamps.size() - 1);
    const double allowed = std::max(1.5, interval / 10);
    for (std::size_t i = 0; i < timestamps.size(); ++i)
        if (std::abs(static_cast<double>(timestamps[i]) - first - static_cast<double>(i) * interval) >
            allowed)
            return true;
    return false;
}

/// "No such file or directory", "Permission denied", … The library's own codes are made of four letters, but
/// for an invalid argument, which it also says of contents.
bool isSystemError(int code) {
    constexpr int kLargestErrno = 4095;
    return AVUNERROR(code) <= kLargestErrno && code != AVERROR(EINVAL);
}

/// Of a reading function's results.
bool isFailure(int code) {
    return code < 0 && code != AVERROR_EOF;
}

} // namespace

Frame_ffmpeg::Frame_ffmpeg(pxl::Image image, int64_t frameIndex)
    : image_(std::move(image)), frameIndex_(frameIndex) {}

const pxl::Image* Frame_ffmpeg::image() const {
    return &image_;
}

int64_t Frame_ffmpeg::frameIndex() const {
    return frameIndex_;
}

Decoder_ffmpeg::Decoder_ffmpeg() {
    ffmpeg::initialiseOnce();
}

Decoder_ffmpeg::~Decoder_ffmpeg() = default;

int Decoder_ffmpeg::interrupted(void* decoder) {
    const auto* flag = static_cast<const Decoder_ffmpeg*>(decoder)->interrupt_;
    return flag && flag->load() ? 1 : 0;
}

void Decoder_ffmpeg::setInterrupt(const std::atomic<bool>* flag) {
    interrupt_ = flag;
}

void Decoder_ffmpeg::setAbandonSeek(const std::atomic<bool>* flag) {
    abandonSeek_ = flag;
}

bool Decoder_ffmpeg::seekIsAbandoned() const {
    return seekPending_ && abandonSeek_ && abandonSeek_->load();
}

bool Decoder_ffmpeg::open(const wxString& path) {
    close();
    path_ = path;
    error_.clear();
    refusedContent_ = true;
    readError_.clear();
    frame_.reset(av_frame_alloc());
    packet_.reset(av_packet_alloc());
    if (frame_ && packet_ ? openFile(path) && openCodec() : outOfMemory()) {
        refusedContent_ = false;
        return true;
    }
    close();
    return false;
}

bool Decoder_ffmpeg::openFile(const wxString& path) {
    AVFormatContext* format = avformat_alloc_context();
    if (!format)
        return outOfMemory();
    format->interrupt_callback = {&Decoder_ffmpeg::interrupted, this};
    const std::string name = ffmpeg::filePath(path);
    // Not left to the library: when its parser fails, it closes the file and forgets that the disk was to
    // blame.
    AVIOContext* file = nullptr;
    int result = avio_open2(&file, name.c_str(), AVIO_FLAG_READ, &format->interrupt_callback, nullptr);
    if (result < 0) {
        avformat_free_context(format);
        return fail(result);
    }
    format->pb = file;
    // Frees the context when it fails.
    result = avformat_open_input(&format, name.c_str(), nullptr, nullptr);
    if (result < 0) {
        const int readError = file->error;
        avio_closep(&file);
        return fail(isFailure(readError) ? readError : result);
    }
    format_.reset(format);
    result = avformat_find_stream_info(format, nullptr);
    // Only without memory: of damaged streams it says what it can.
    if (result < 0)
        return fail(result);
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        const AVMediaType type = format->streams[i]->codecpar->codec_type;
        if (type == AVMEDIA_TYPE_VIDEO)
            videoStreams_.push_back(static_cast<int>(i));
        else if (type == AVMEDIA_TYPE_AUDIO)
            audioStreams_.push_back(static_cast<int>(i));
    }
    if (videoStreams_.empty())
        return false;
    streamIndex_ = videoStreams_.front();
    return true;
}

bool Decoder_ffmpeg::openCodec() {
    const AVCodecParameters* parameters = format_->streams[streamIndex_]->codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
    if (!codec || parameters->width < 1 || parameters->height < 1)
        return false;
    unusedCodecContext_.reset(avcodec_alloc_context3(codec));
    codecContext_.reset(avcodec_alloc_context3(codec));
    for (AVCodecContext* context : {unusedCodecContext_.get(), codecContext_.get()})
        if (!context || avcodec_parameters_to_context(context, parameters) != 0)
            return outOfMemory();
    const int result = avcodec_open2(codecContext_.get(), codec, nullptr);
    // Without memory, or parameters that this codec rejects; damage mostly shows in the first picture.
    if (result < 0)
        return fail(result);
    width_ = codecContext_->width;
    height_ = codecContext_->height;
    return true;
}

bool Decoder_ffmpeg::fail(int code) {
    error_ = ffmpeg::errorText(code);
    refusedContent_ = !isSystemError(code);
    wxLogError("[DecoderFFMPEG] %s", error_);
    return false;
}

/// Fails in silence; the file is not to blame.
bool Decoder_ffmpeg::outOfMemory() {
    refusedContent_ = false;
    return false;
}

void Decoder_ffmpeg::close() {
    frame_.reset();
    packet_.reset();
    codecContext_.reset();
    unusedCodecContext_.reset();
    format_.reset();
    videoStreams_.clear();
    audioStreams_.clear();
    streamIndex_ = -1;
    currentFrame_ = 0;
    seekPending_ = false;
    framesLost_ = false;
    frameDts_.clear();
    sameDtsBefore_.clear();
    scanned_ = false;
    variableRate_ = false;
    converter_.clear();
}

bool Decoder_ffmpeg::next() {
    return decodeNext(nullptr);
}

bool Decoder_ffmpeg::decodeNext(FrameDetails* details) {
    if (!codecContext_)
        return false;
    av_frame_unref(frame_.get());
    while (!framesLost_ && !interrupted(this) && !seekIsAbandoned()) {
        const int result = av_read_frame(format_.get(), packet_.get());
        // A packet may come all the same, cut short.
        const int diskError = format_->pb->error;
        if (result < 0 || isFailure(diskError)) {
            framesLost_ = true;
            noteError(diskError);
            if (result == AVERROR(ENOMEM))
                noteError(result);
            av_packet_unref(packet_.get());
            break;
        }
        bool delivered = false;
        if (packet_->stream_index == streamIndex_)
            delivered = decodePacket(details);
        av_packet_unref(packet_.get());
        if (delivered)
            return true;
    }
    return false;
}

/// Reading ends alike with the file and with an error of the disk; only what lies below knows which it was.
void Decoder_ffmpeg::noteError(int code) {
    if (!isFailure(code) || code == AVERROR_EXIT || !readError_.empty())
        return;
    readError_ = ffmpeg::errorText(code);
}

/// True when the packet gave a frame to deliver.
bool Decoder_ffmpeg::decodePacket(FrameDetails* details) {
    int result = avcodec_send_packet(codecContext_.get(), packet_.get());
    while (result >= 0) {
        result = avcodec_receive_frame(codecContext_.get(), frame_.get());
        if (result < 0)
            break;
        if (!isWanted(*frame_))
            continue;
        if (details)
            *details = {
                packet_->dts,
                packet_->pts,
                frame_->pts,
                frame_->pkt_dts,
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 29, 100)
                (frame_->flags & AV_FRAME_FLAG_KEY) != 0
#else
                frame_->key_frame != 0
#endif
            };
        return true;
    }
    // Damaged pictures are passed over in silence by everyone who reads the file; one that only found no room
    // is missing from a sound file this time.
    if (result == AVERROR(ENOMEM)) {
        framesLost_ = true;
        noteError(result);
    }
    return false;
}

/// Numbers the frame, unless it lies before the target of a pending seek.
bool Decoder_ffmpeg::isWanted(const AVFrame& frame) {
    if (!seekPending_) {
        ++currentFrame_;
        return true;
    }
    if (frame.pkt_dts != seekTargetDts_ || sameDtsToPass_-- > 0)
        return false;
    currentFrame_ = seekTargetFrame_;
    seekPending_ = false;
    seekTargetDts_ = -1;
    seekTargetFrame_ = -1;
    return true;
}

void Decoder_ffmpeg::scan(video::Progress& progress) {
    if (!codecContext_)
        return;
    progress.total = format_->streams[streamIndex_]->nb_frames;
    progress.done = 0;
    seekPending_ = false;
    frameDts_.clear();
    frameDts_[0] = 0;
    std::vector<int64_t> timestamps;
    FrameDetails details;
    while (!progress.stop && decodeNext(&details)) {
        ++progress.done;
        frameDts_[progress.done] = details.framePacketDts;
        if (details.framePts != AV_NOPTS_VALUE)
            timestamps.push_back(details.framePts);
        if (progress.onProgress)
            progress.onProgress();
    }
    scanned_ = true;
    variableRate_ = isUneven(timestamps);
    findSharedDts(progress.done);
    reset();
}

/// Fills `sameDtsBefore_` for the frames 1 … `frameCount`.
void Decoder_ffmpeg::findSharedDts(int64_t frameCount) {
    sameDtsBefore_.clear();
    std::vector<std::pair<int64_t, int64_t>> frames;
    frames.reserve(static_cast<std::size_t>(frameCount));
    for (int64_t frame = 1; frame <= frameCount; ++frame)
        frames.emplace_back(frameDts_[frame], frame);
    std::sort(frames.begin(), frames.end());
    int64_t before = 0;
    for (std::size_t at = 1; at < frames.size(); ++at) {
        before = frames[at].first == frames[at - 1].first ? before + 1 : 0;
        if (before == 1)
            sameDtsBefore_[frames[at - 1].second] = 0;
        if (before > 0)
            sameDtsBefore_[frames[at].second] = before;
    }
}

bool Decoder_ffmpeg::convert(pxl::Image& target) {
    return frame_ && converter_.convert(*frame_, colorMatrix(), target);
}

int32_t Decoder_ffmpeg::colorMatrix() const {
    const AVColorSpace matrix = format_->streams[streamIndex_]->codecpar->color_space;
    // A stream of RGB pictures has none.
    return matrix == AVCOL_SPC_RGB ? video::kColorMatrixUnspecified : static_cast<int32_t>(matrix);
}

int64_t Decoder_ffmpeg::frameIndex() const {
    return currentFrame_;
}

void Decoder_ffmpeg::reset() {
    if (!codecContext_)
        return;
    int result = avcodec_send_packet(codecContext_.get(), nullptr);
    while (result >= 0)
        result = avcodec_receive_frame(codecContext_.get(), frame_.get());
    avcodec_flush_buffers(codecContext_.get());
    currentFrame_ = 0;
}

bool Decoder_ffmpeg::seek(int frame) {
    if (frame < 1 || !codecContext_)
        return false;
    video::VideoInfo stated;
    if (frame > info(stated).frameCount)
        return false;
    reset();
    // Also when the file can't be positioned: read on from anywhere else, frames would be counted from 1.
    seekTargetDts_ = frameDts_[frame];
    seekTargetFrame_ = frame;
    seekPending_ = true;
    const int64_t landing = std::max<int64_t>(0, static_cast<int64_t>(frame) - codecContext_->gop_size -
                                                     codecContext_->delay - 1);
    int64_t landingDts = frameDts_[landing];
    const auto shared = sameDtsBefore_.find(frame);
    const bool isShared = shared != sameDtsBefore_.end();
    sameDtsToPass_ = isShared ? shared->second : 0;
    // From before the first of those that share it: all of them are met, and the target is known by its
    // place.
    if (isShared)
        landingDts =
            seekTargetDts_ == AV_NOPTS_VALUE ? frameDts_[0] : std::min(landingDts, seekTargetDts_ - 1);
    format_->pb->error = 0;
    const bool positioned = av_seek_frame(format_.get(), streamIndex_, landingDts, AVSEEK_FLAG_BACKWARD) >= 0;
    // Met from anywhere else, one of several frames alike could be any of them.
    framesLost_ = positioned ? false : framesLost_ || isShared;
    return positioned;
}

video::VideoInfo& Decoder_ffmpeg::info(video::VideoInfo& out) {
    out = {};
    out.path = path_;
    if (!codecContext_)
        return out;
    const AVStream* stream = format_->streams[streamIndex_];
    if (format_->duration != AV_NOPTS_VALUE)
        out.durationSec = format_->duration / AV_TIME_BASE;
    out.frameCount = scanned_ ? static_cast<int64_t>(frameDts_.size()) - 1 : stream->nb_frames;
    out.width = width_;
    out.height = height_;
    out.fps = static_cast<double>(stream->r_frame_rate.num) / static_cast<double>(stream->r_frame_rate.den);
    out.bitRate = static_cast<int32_t>(codecContext_->bit_rate);
    out.gopSize = codecContext_->gop_size;
    out.isH264 = stream->codecpar->codec_id == AV_CODEC_ID_H264;
    out.seeksToPts = (format_->iformat->flags & AVFMT_SEEK_TO_PTS) != 0;
    out.colorMatrix = colorMatrix();
    return out;
}

wxString Decoder_ffmpeg::lastError() const {
    return error_;
}

StreamTraits Decoder_ffmpeg::traits() const {
    StreamTraits traits;
    if (codecContext_)
        traits.codec = wxString::FromUTF8(avcodec_get_name(codecContext_->codec_id));
    traits.variableRate = variableRate_;
    return traits;
}
