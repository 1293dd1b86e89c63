#pragma once

#include <cstddef>
#include <functional>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/buffer.h>
#include <libavutil/log.h>
#include <libswscale/swscale.h>
}

/// Stands between the product and its libraries: a program linked with it sees every such call and may answer
/// in the library's place. The linker leads the calls here (-Wl,--wrap=NAME, see the list of programs).
namespace test {

/// Called instead of the library where set; the library's own function has the same name in `real`. Set
/// before any other thread calls.
struct LibraryHooks {
    std::function<decltype(::avcodec_find_decoder)> avcodec_find_decoder;
    std::function<decltype(::avcodec_find_encoder)> avcodec_find_encoder;
    std::function<decltype(::avcodec_open2)> avcodec_open2;
    std::function<decltype(::avcodec_parameters_to_context)> avcodec_parameters_to_context;
    std::function<decltype(::avcodec_receive_frame)> avcodec_receive_frame;
    std::function<decltype(::avcodec_send_frame)> avcodec_send_frame;
    std::function<decltype(::avcodec_send_packet)> avcodec_send_packet;
    std::function<decltype(::avformat_find_stream_info)> avformat_find_stream_info;
    std::function<decltype(::avformat_new_stream)> avformat_new_stream;
    std::function<int(AVFormatContext*, AVDictionary**)> avformat_write_header;
    std::function<decltype(::av_read_frame)> av_read_frame;
    std::function<decltype(::av_seek_frame)> av_seek_frame;
    std::function<decltype(::avcodec_alloc_context3)> avcodec_alloc_context3;
    std::function<decltype(::avcodec_receive_packet)> avcodec_receive_packet;
    std::function<decltype(::avformat_alloc_context)> avformat_alloc_context;
    std::function<decltype(::avformat_alloc_output_context2)> avformat_alloc_output_context2;
    std::function<decltype(::av_buffer_pool_init)> av_buffer_pool_init;
    std::function<decltype(::av_frame_alloc)> av_frame_alloc;
    std::function<decltype(::av_packet_alloc)> av_packet_alloc;
    std::function<decltype(::av_write_trailer)> av_write_trailer;
    std::function<decltype(::sws_freeContext)> sws_freeContext;
    std::function<decltype(::sws_getContext)> sws_getContext;
    std::function<decltype(::sws_scale)> sws_scale;
};
LibraryHooks& libraryHooks();

/// Takes the hooks away at the end of a test.
struct LibraryHooksReset {
    LibraryHooksReset() = default;
    ~LibraryHooksReset() { libraryHooks() = {}; }
    LibraryHooksReset(const LibraryHooksReset&) = delete;
    LibraryHooksReset& operator=(const LibraryHooksReset&) = delete;
};

/// From now on counts how often zero-filled memory of that many bytes is asked for.
void watchZeroedMemory(std::size_t bytes);
int zeroedMemoryAsked();

namespace real {
extern decltype(&::avcodec_find_encoder) const avcodec_find_encoder;
extern decltype(&::avcodec_open2) const avcodec_open2;
extern decltype(&::avcodec_parameters_to_context) const avcodec_parameters_to_context;
extern decltype(&::avcodec_receive_frame) const avcodec_receive_frame;
extern decltype(&::avcodec_send_frame) const avcodec_send_frame;
extern decltype(&::avcodec_send_packet) const avcodec_send_packet;
extern decltype(&::avformat_find_stream_info) const avformat_find_stream_info;
extern decltype(&::avformat_write_header) const avformat_write_header;
extern decltype(&::av_read_frame) const av_read_frame;
extern decltype(&::av_seek_frame) const av_seek_frame;
extern decltype(&::avcodec_alloc_context3) const avcodec_alloc_context3;
extern decltype(&::avcodec_receive_packet) const avcodec_receive_packet;
extern decltype(&::avformat_alloc_context) const avformat_alloc_context;
extern decltype(&::avformat_alloc_output_context2) const avformat_alloc_output_context2;
extern decltype(&::av_buffer_pool_init) const av_buffer_pool_init;
extern decltype(&::av_frame_alloc) const av_frame_alloc;
extern decltype(&::av_packet_alloc) const av_packet_alloc;
extern decltype(&::av_write_trailer) const av_write_trailer;
extern decltype(&::sws_freeContext) const sws_freeContext;
extern decltype(&::sws_getContext) const sws_getContext;
extern decltype(&::sws_scale) const sws_scale;
} // namespace real

} // namespace test
