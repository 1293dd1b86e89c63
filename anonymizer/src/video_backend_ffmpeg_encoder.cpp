#include "video_backend_ffmpeg_encoder.h"

#include <algorithm>
#include <array>
#include <new>

#include <wx/intl.h>
#include <wx/log.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/buffer.h>
#include <libavutil/dict.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/rational.h>
#include <libswscale/swscale.h>
}

namespace ffmpeg {
namespace {

/// Numerator and denominator of the fraction that stands for a frame rate; the larger limits are for rates
/// whose first fraction is too low. The MPEG-4 standard has 16 bits for a time scale.
constexpr std::array<int, 3> kLargestRateTerms{100, 1000, 10000};
constexpr int kLargestMpeg4Term = 65535;
constexpr int kLargestTerm = 1000000;

} // namespace

void BufferPoolDeleter::operator()(AVBufferPool* pool) const noexcept {
    av_buffer_pool_uninit(&pool);
}

TimeBase timeBaseFor(double fps) {
    for (const int limit : kLargestRateTerms)
        if (const AVRational rate = av_d2q(fps, limit); av_q2d(rate) >= fps)
            return {rate.den, rate.num};
    // Within the limits of every codec if possible; a hair's breadth too fast is no harm.
    for (const int limit : {kLargestMpeg4Term - 1, kLargestTerm}) {
        AVRational rate = av_d2q(fps, limit);
        if (av_q2d(rate) < fps)
            ++rate.num;
        if (av_q2d(rate) >= fps)
            return {rate.den, rate.num};
    }
    // Rates beyond the largest term, which no video has.
    return {1, kLargestTerm};
}

int64_t timestampOf(int64_t index, TimeBase base, double fps) {
    return static_cast<int64_t>(static_cast<double>(base.den) * static_cast<double>(index) /
                                (base.num * fps));
}

} // namespace ffmpeg

namespace {

constexpr double kLowestRate = 0.001;
constexpr double kHighestRate = 1000;
constexpr int kPlaneAlignment = 32;
/// The scaler writes whole vectors, past the last row's end too.
constexpr int kPlanePadding = 64;
/// The scaler reads the pixels of a row in blocks, and for the chroma planes in pairs.
constexpr int kSourceBlock = 32;
constexpr int kSmallestBlock = 8;

#ifdef AV_PROFILE_H264_MAIN
constexpr int kH264Main = AV_PROFILE_H264_MAIN;
constexpr int kMpeg4AdvancedSimple = AV_PROFILE_MPEG4_ADVANCED_SIMPLE;
#else
constexpr int kH264Main = FF_PROFILE_H264_MAIN;
constexpr int kMpeg4AdvancedSimple = FF_PROFILE_MPEG4_ADVANCED_SIMPLE;
#endif
static_assert(kH264Main == 77 && kMpeg4AdvancedSimple == 15);

const AVCodec* findEncoder(int32_t codec) {
    return avcodec_find_encoder(codec == video::kCodecH264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_MPEG4);
}

} // namespace

Encoder_ffmpeg::Encoder_ffmpeg(const video::EncoderSettings& settings)
    : settings_(settings), spareFrame_(av_frame_alloc()), sourceFrame_(av_frame_alloc()),
      yuvFrame_(av_frame_alloc()), packet_(av_packet_alloc()) {
    ffmpeg::initialiseOnce();
    try {
        open_ = construct();
    } catch (const std::bad_alloc&) {
        format_.reset(); // closes the file
        stop("[video encoder] Could not allocate context", AVERROR(ENOMEM));
    }
}

Encoder_ffmpeg::~Encoder_ffmpeg() = default;

bool Encoder_ffmpeg::isAvailable(int32_t codec) {
    return findEncoder(codec) != nullptr;
}

bool Encoder_ffmpeg::takesRate(double fps) {
    return fps >= kLowestRate && fps <= kHighestRate; // false for what is not a number
}

bool Encoder_ffmpeg::isOpen() const {
    return open_;
}

bool Encoder_ffmpeg::construct() {
    if (!spareFrame_ || !sourceFrame_ || !yuvFrame_ || !packet_)
        return stop("[video encoder] Could not allocate context", AVERROR(ENOMEM));
    const std::string path = ffmpeg::filePath(settings_.path);
    const AVOutputFormat* outputFormat = av_guess_format(nullptr, path.c_str(), nullptr);
    if (!outputFormat)
        return stop("[video encoder] Could not guess format", AVERROR_MUXER_NOT_FOUND);

    AVFormatContext* format = nullptr;
    int code = avformat_alloc_output_context2(&format, outputFormat, nullptr, path.c_str());
    if (code < 0)
        return stop("[video encoder] Could not allocate context", code);
    format_.reset(format);

    const AVCodec* codec = findEncoder(settings_.codec);
    // The export worker asks before; others may not.
    if (!codec)
        return stop("[video encoder] Could not find encoder", AVERROR_ENCODER_NOT_FOUND);

    stream_ = avformat_new_stream(format, codec);
    codecContext_.reset(avcodec_alloc_context3(codec));
    if (!stream_ || !codecContext_)
        return stop("[video encoder] Could not open stream", AVERROR(ENOMEM));

    if (!takesRate(settings_.fps))
        return stop("[video encoder] Could not open video codec", AVERROR(EDOM));
    configure(codec);
    code = avcodec_open2(codecContext_.get(), codec, nullptr);
    if (code >= 0)
        code = avcodec_parameters_from_context(stream_->codecpar, codecContext_.get());
    if (code < 0)
        return stop("[video encoder] Could not open video codec", code);

    const int size = av_image_get_buffer_size(codecContext_->pix_fmt, codecContext_->width,
                                              codecContext_->height, kPlaneAlignment);
    yuvBuffers_.reset(av_buffer_pool_init(static_cast<std::size_t>(size) + kPlanePadding, nullptr));
    // Like the context and the stream above, some hundred bytes.
    if (!yuvBuffers_)
        return stop("[video encoder] Could not allocate context", AVERROR(ENOMEM));

    if (!(format->oformat->flags & AVFMT_NOFILE)) {
        code = avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE);
        fileFailed_ = code < 0;
        if (fileFailed_)
            return stop("[video encoder] Could not open output context", code);
        touchedFile_ = true;
    }

    av_dict_set(&format->metadata, "comment", "Tarvex Shroud", 0);
    // The MP4 and MOV muxers would raise the stream's time scale (1/25 becomes 1/12800), and codec and stream
    // would no longer count time alike. They cannot keep a numerator, and other muxers don't know the option.
    if (timeBase_.num == 1)
        av_opt_set_int(format->priv_data, "video_track_timescale", timeBase_.den, 0);
    code = avformat_write_header(format, nullptr);
    if (code < 0) {
        fileFailed_ = true;
        if (!(format->oformat->flags & AVFMT_NOFILE))
            avio_closep(&format->pb);
        return stop("[video encoder] Could not write header", code);
    }

    return true;
}

bool Encoder_ffmpeg::stop(const char* line, int code) {
    wxLogError("%s", line);
    failureText_ =
        code == AVERROR(EDOM) ? _("The frame rate of the video is not usable.") : ffmpeg::errorText(code);
    return false;
}

void Encoder_ffmpeg::configure(const AVCodec* codec) {
    timeBase_ = ffmpeg::timeBaseFor(settings_.fps);
    stream_->time_base = {timeBase_.num, timeBase_.den};

    AVCodecContext& context = *codecContext_;
    context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    context.pix_fmt = AV_PIX_FMT_YUV420P;
    context.width = settings_.width;
    context.height = settings_.height;
    context.time_base = stream_->time_base;
    context.thread_count = 0;
    if (codec->id == AV_CODEC_ID_H264) {
        context.profile = kH264Main;
    } else {
        context.profile = kMpeg4AdvancedSimple;
        context.mb_decision = FF_MB_DECISION_RD;
        context.flags |= AV_CODEC_FLAG_4MV;
        context.flags |= AV_CODEC_FLAG_PASS1;
        context.trellis = 2;
        context.mv0_threshold = 2;
        context.me_subpel_quality = 2;
    }
    context.gop_size = settings_.gopSize;
    if (settings_.colorMatrix != video::kColorMatrixUnspecified)
        context.colorspace = static_cast<AVColorSpace>(settings_.colorMatrix);
}

void Encoder_ffmpeg::encode(std::shared_ptr<video::Frame> frame) {
    if (!open_ || finished_) {
        wxLogError("[video encoder] Frame refused: the encoder is not open");
        return;
    }
    const int64_t index = frameCount_++;
    const pxl::Image* image = frame ? frame->image() : nullptr;
    if (const int converted = image && !image->empty() ? convert(*image) : AVERROR(EINVAL); converted < 0) {
        note(converted);
        return;
    }

    // Truncation may put two frames on one unit where a unit is hardly shorter than a frame, and double
    // arithmetic where it is just as long.
    const int64_t pts = std::max(ffmpeg::timestampOf(index, timeBase_, settings_.fps), lastPts_ + 1);
    const int64_t following = ffmpeg::timestampOf(index + 1, timeBase_, settings_.fps);
    durations_[pts] = std::max<int64_t>(following - pts, 1);
    lastPts_ = pts;
    yuvFrame_->pts = pts;

    const int code = avcodec_send_frame(codecContext_.get(), yuvFrame_.get());
    av_frame_unref(yuvFrame_.get());
    if (code < 0) {
        durations_.erase(pts);
        note(code);
        return;
    }
    ++encodedFrames_;
    drain();
}

/// Negative when there is no memory or no scaler for the picture.
int Encoder_ffmpeg::convert(const pxl::Image& image) {
    AVFrame& target = *yuvFrame_;
    target.format = codecContext_->pix_fmt;
    target.width = codecContext_->width;
    target.height = codecContext_->height;
    target.buf[0] = av_buffer_pool_get(yuvBuffers_.get());
    if (!target.buf[0])
        return AVERROR(ENOMEM);
    av_image_fill_arrays(target.data, target.linesize, target.buf[0]->data, codecContext_->pix_fmt,
                         target.width, target.height, kPlaneAlignment);
    // A row that is left out would keep what an earlier frame had there.
    if (scale(image) == target.height)
        return 0;
    av_frame_unref(&target);
    return AVERROR(EINVAL);
}

/// Number of rows written into the planes.
int Encoder_ffmpeg::scale(const pxl::Image& image) {
    AVFrame& target = *yuvFrame_;
    const pxl::Image& rows = readable(image);
    AVFrame& source = *sourceFrame_;
    source.format = AV_PIX_FMT_RGBA;
    source.width = image.width;
    source.height = image.height;
    source.data[0] = reinterpret_cast<uint8_t*>(rows.pixels);
    source.linesize[0] = rows.width * 4;

    const ffmpeg::Scaler scaler(sws_getContext(image.width, image.height, AV_PIX_FMT_RGBA, target.width,
                                               target.height, codecContext_->pix_fmt, SWS_BILINEAR, nullptr,
                                               nullptr, nullptr));
    int written = 0;
    if (scaler) {
        if (settings_.colorMatrix != video::kColorMatrixUnspecified)
            ffmpeg::setRgbToYuv(scaler.get(), settings_.colorMatrix, false);
        // All of the picture's own rows, whose number may differ from the codec's.
        written = sws_scale(scaler.get(), source.data, source.linesize, 0, image.height, target.data,
                            target.linesize);
    }
    source.data[0] = nullptr;
    return written;
}

/// The picture itself, or where the scaler would read past its rows, a copy in longer ones: their last pixel
/// goes on to the end, for it is averaged with the one that follows it.
const pxl::Image& Encoder_ffmpeg::readable(const pxl::Image& image) {
    if (image.width % 2 == 0 && image.width >= kSmallestBlock)
        return image;
    const int32_t width = (image.width + 2 * kSourceBlock - 1) / kSourceBlock * kSourceBlock;
    if (paddedSource_.width != width || paddedSource_.height != image.height)
        paddedSource_ = pxl::Image(width, image.height);
    for (int32_t row = 0; row < image.height; ++row) {
        const uint32_t* from =
            image.pixels + static_cast<std::size_t>(row) * static_cast<std::size_t>(image.width);
        uint32_t* to = paddedSource_.pixels + static_cast<std::size_t>(row) * static_cast<std::size_t>(width);
        std::fill(std::copy_n(from, image.width, to), to + width, from[image.width - 1]);
    }
    return paddedSource_;
}

void Encoder_ffmpeg::drain() {
    for (;;) {
        const int code = avcodec_receive_packet(codecContext_.get(), packet_.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return;
        if (code < 0) {
            note(code);
            return;
        }
        write();
    }
}

void Encoder_ffmpeg::write() {
    AVPacket& packet = *packet_;
    if (const auto duration = durations_.find(packet.pts); duration != durations_.end()) {
        packet.duration = duration->second;
        durations_.erase(duration);
    }
    packet.stream_index = stream_->index;
    // Changes nothing where the stream has kept the codec's time base.
    av_packet_rescale_ts(&packet, codecContext_->time_base, stream_->time_base);
    const int code = av_interleaved_write_frame(format_.get(), &packet);
    av_packet_unref(&packet);
    noteOfFile(code);
}

void Encoder_ffmpeg::finish() {
    if (!open_ || finished_) {
        wxLogError("[video encoder] Nothing to finish: the encoder is not open");
        return;
    }
    finished_ = true;
    const int sent = avcodec_send_frame(codecContext_.get(), nullptr);
    // An encoder that fails says so when its last packets are fetched; this is for one that says it at once.
    if (sent < 0)
        note(sent);
    drain();
    noteOfFile(av_write_trailer(format_.get()));
    if (format_->oformat->flags & AVFMT_NOFILE)
        return;
    avio_flush(format_->pb);
    noteOfFile(format_->pb->error);
    noteOfFile(avio_closep(&format_->pb));
}

void Encoder_ffmpeg::noteOfFile(int code) {
    if (code >= 0)
        return;
    fileFailed_ = fileFailed_ || !failed();
    note(code);
}

void Encoder_ffmpeg::note(int code) {
    if (failed())
        return;
    failureText_ = ffmpeg::errorText(code);
    wxLogError("[video encoder] %s", failureText_);
}
