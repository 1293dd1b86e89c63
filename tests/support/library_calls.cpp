#include "support/library_calls.h"

#include <atomic>

namespace {

std::atomic<std::size_t> watchedBytes{0};
std::atomic<int> timesAsked{0};

} // namespace

namespace test {

LibraryHooks& libraryHooks() {
    static LibraryHooks hooks;
    return hooks;
}

void watchZeroedMemory(std::size_t bytes) {
    timesAsked = 0;
    watchedBytes = bytes;
}

int zeroedMemoryAsked() {
    return timesAsked;
}

} // namespace test

#define WRAP(result, name, parameters, arguments)                                                            \
    result __real_##name parameters;                                                                         \
    result __wrap_##name parameters;                                                                         \
    result __wrap_##name parameters {                                                                        \
        const auto& hook = test::libraryHooks().name;                                                        \
        return hook ? hook arguments : __real_##name arguments;                                              \
    }

extern "C" {

WRAP(const AVCodec*, avcodec_find_decoder, (AVCodecID id), (id))
WRAP(const AVCodec*, avcodec_find_encoder, (AVCodecID id), (id))
WRAP(int, avcodec_open2, (AVCodecContext * context, const AVCodec* codec, AVDictionary** options),
     (context, codec, options))
WRAP(int, avcodec_parameters_to_context, (AVCodecContext * context, const AVCodecParameters* parameters),
     (context, parameters))
WRAP(int, avcodec_receive_frame, (AVCodecContext * context, AVFrame* frame), (context, frame))
WRAP(int, avcodec_send_frame, (AVCodecContext * context, const AVFrame* frame), (context, frame))
WRAP(int, avcodec_send_packet, (AVCodecContext * context, const AVPacket* packet), (context, packet))
WRAP(int, avformat_find_stream_info, (AVFormatContext * format, AVDictionary** options), (format, options))
WRAP(AVStream*, avformat_new_stream, (AVFormatContext * format, const AVCodec* codec), (format, codec))
WRAP(int, avformat_write_header, (AVFormatContext * format, AVDictionary** options), (format, options))
WRAP(int, av_read_frame, (AVFormatContext * format, AVPacket* packet), (format, packet))
WRAP(int, av_seek_frame, (AVFormatContext * format, int stream, int64_t timestamp, int flags),
     (format, stream, timestamp, flags))
WRAP(AVCodecContext*, avcodec_alloc_context3, (const AVCodec* codec), (codec))
WRAP(int, avcodec_receive_packet, (AVCodecContext * context, AVPacket* packet), (context, packet))
WRAP(AVFormatContext*, avformat_alloc_context, (void), ())
WRAP(int, avformat_alloc_output_context2,
     (AVFormatContext * *context, const AVOutputFormat* format, const char* name, const char* file),
     (context, format, name, file))
WRAP(AVBufferPool*, av_buffer_pool_init, (std::size_t size, AVBufferRef* (*allocate)(std::size_t size)),
     (size, allocate))
WRAP(AVFrame*, av_frame_alloc, (void), ())
WRAP(AVPacket*, av_packet_alloc, (void), ())
WRAP(int, av_write_trailer, (AVFormatContext * context), (context))
WRAP(void, sws_freeContext, (SwsContext * scaler), (scaler))
WRAP(SwsContext*, sws_getContext,
     (int srcW, int srcH, AVPixelFormat srcFormat, int dstW, int dstH, AVPixelFormat dstFormat, int flags,
      SwsFilter* srcFilter, SwsFilter* dstFilter, const double* parameters),
     (srcW, srcH, srcFormat, dstW, dstH, dstFormat, flags, srcFilter, dstFilter, parameters))
WRAP(int, sws_scale,
     (SwsContext * scaler, const uint8_t* const source[], const int sourceStride[], int firstRow, int rows,
      uint8_t* const target[], const int targetStride[]),
     (scaler, source, sourceStride, firstRow, rows, target, targetStride))

#undef WRAP

void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size) {
    if (count * size == watchedBytes)
        ++timesAsked;
    return __real_calloc(count, size);
}

} // extern "C"

namespace test::real {

decltype(&::avcodec_find_encoder) const avcodec_find_encoder = __real_avcodec_find_encoder;
decltype(&::avcodec_open2) const avcodec_open2 = __real_avcodec_open2;
decltype(&::avcodec_parameters_to_context) const avcodec_parameters_to_context =
    __real_avcodec_parameters_to_context;
decltype(&::avcodec_receive_frame) const avcodec_receive_frame = __real_avcodec_receive_frame;
decltype(&::avcodec_send_frame) const avcodec_send_frame = __real_avcodec_send_frame;
decltype(&::avcodec_send_packet) const avcodec_send_packet = __real_avcodec_send_packet;
decltype(&::avformat_find_stream_info) const avformat_find_stream_info = __real_avformat_find_stream_info;
decltype(&::avformat_write_header) const avformat_write_header = __real_avformat_write_header;
decltype(&::av_read_frame) const av_read_frame = __real_av_read_frame;
decltype(&::av_seek_frame) const av_seek_frame = __real_av_seek_frame;
decltype(&::avcodec_alloc_context3) const avcodec_alloc_context3 = __real_avcodec_alloc_context3;
decltype(&::avcodec_receive_packet) const avcodec_receive_packet = __real_avcodec_receive_packet;
decltype(&::avformat_alloc_context) const avformat_alloc_context = __real_avformat_alloc_context;
decltype(&::avformat_alloc_output_context2) const avformat_alloc_output_context2 =
    __real_avformat_alloc_output_context2;
decltype(&::av_buffer_pool_init) const av_buffer_pool_init = __real_av_buffer_pool_init;
decltype(&::av_frame_alloc) const av_frame_alloc = __real_av_frame_alloc;
decltype(&::av_packet_alloc) const av_packet_alloc = __real_av_packet_alloc;
decltype(&::av_write_trailer) const av_write_trailer = __real_av_write_trailer;
decltype(&::sws_freeContext) const sws_freeContext = __real_sws_freeContext;
decltype(&::sws_getContext) const sws_getContext = __real_sws_getContext;
decltype(&::sws_scale) const sws_scale = __real_sws_scale;

} // namespace test::real
