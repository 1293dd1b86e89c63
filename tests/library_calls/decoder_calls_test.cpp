/// What the decoder asks of the library, and what it makes of answers that no test clip leads to.
#include "video_backend_ffmpeg.h"

#include <cmath>
#include <limits>
#include <set>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "support/clip_decoding.h"
#include "support/library_calls.h"
#include "support/log_capture.h"

namespace {

using test::libraryHooks;
using Lines = std::vector<std::string>;

class DecoderCalls : public testing::Test {
protected:
    void open(const std::string& clip) { ASSERT_TRUE(decoder_.open(test::clipPath(clip))); }

    /// What is told of a file whose header says what `change` makes of it.
    static video::VideoInfo infoAfter(const std::function<void(AVFormatContext&)>& change) {
        libraryHooks().avformat_find_stream_info = [change](AVFormatContext* format, AVDictionary** options) {
            const int result = test::real::avformat_find_stream_info(format, options);
            change(*format);
            return result;
        };
        Decoder_ffmpeg decoder;
        EXPECT_TRUE(decoder.open(test::clipPath("plain.mp4")));
        video::VideoInfo info;
        return decoder.info(info);
    }

    /// Opening fails, and logs and keeps that text, nothing if it is empty.
    void expectOpenFails(const std::string& text) {
        const test::LogCapture log;
        EXPECT_FALSE(decoder_.open(test::clipPath("plain.mp4")));
        EXPECT_EQ(decoder_.lastError(), text);
        EXPECT_EQ(log.lines(), text.empty() ? Lines{} : Lines{"[DecoderFFMPEG] " + text});
        EXPECT_EQ(log.lines(wxLOG_Error), log.lines());
    }

    test::LibraryHooksReset reset_;
    Decoder_ffmpeg decoder_;
};

} // namespace

// --- Opening

TEST_F(DecoderCalls, OpensOneOfTwoContextsThatAreFilledAlike) {
    int filled = 0;
    std::vector<AVCodecContext*> opened;
    libraryHooks().avcodec_parameters_to_context = [&](AVCodecContext* context,
                                                       const AVCodecParameters* from) {
        ++filled;
        return test::real::avcodec_parameters_to_context(context, from);
    };
    libraryHooks().avcodec_open2 = [&](AVCodecContext* context, const AVCodec* codec,
                                       AVDictionary** options) {
        opened.push_back(context);
        EXPECT_EQ(options, nullptr);
        EXPECT_EQ(context->thread_count, 1) << "the library's own choice";
        return test::real::avcodec_open2(context, codec, options);
    };
    Decoder_ffmpeg decoder;
    // Audio streams are listed, no decoder is opened for them; the library itself may try one.
    ASSERT_TRUE(decoder.open(test::clipPath("plain.mp4")));
    const auto last = std::count(opened.begin(), opened.end(), opened.back());
    EXPECT_EQ(last, 1);
    EXPECT_GE(filled, 2);
}

TEST_F(DecoderCalls, StreamsThatCannotBeFoundFailWithTheLibrarysWords) {
    libraryHooks().avformat_find_stream_info = [](AVFormatContext*, AVDictionary**) { return AVERROR(EIO); };
    expectOpenFails("Input/output error");
}

TEST_F(DecoderCalls, CodecThatCannotBeOpenedFailsWithTheLibrarysWords) {
    // Not while the library looks at the streams itself.
    libraryHooks().avformat_find_stream_info = [](AVFormatContext* format, AVDictionary** options) {
        const int result = test::real::avformat_find_stream_info(format, options);
        libraryHooks().avcodec_open2 = [](AVCodecContext*, const AVCodec*, AVDictionary**) {
            return AVERROR(EINVAL);
        };
        return result;
    };
    expectOpenFails("Invalid argument");
}

TEST_F(DecoderCalls, CodecThatNobodyDecodesFailsInSilence) {
    libraryHooks().avcodec_find_decoder = [](AVCodecID) -> const AVCodec* { return nullptr; };
    expectOpenFails("");
}

TEST_F(DecoderCalls, ParametersThatCannotBeCopiedFailInSilence) {
    for (const int failing : {1, 2}) {
        int call = 0;
        libraryHooks().avcodec_parameters_to_context = [&](AVCodecContext* context,
                                                           const AVCodecParameters* from) {
            return ++call == failing ? AVERROR(ENOMEM)
                                     : test::real::avcodec_parameters_to_context(context, from);
        };
        expectOpenFails("");
        EXPECT_EQ(call, failing);
    }
}

TEST_F(DecoderCalls, TheLibraryItselfNeverPrints) {
    // Decoders exist, and the library's own level is another.
    EXPECT_EQ(av_log_get_level(), -8);
}

// --- The description

TEST_F(DecoderCalls, UnknownDurationIsNoSecond) {
    EXPECT_EQ(infoAfter([](AVFormatContext& format) { format.duration = AV_NOPTS_VALUE; }).durationSec, 0);
    EXPECT_EQ(infoAfter([](AVFormatContext& format) { format.duration = 12999999; }).durationSec, 12);
}

TEST_F(DecoderCalls, BitRateIsCutTo32Bits) {
    const auto bitRateOf = [](int64_t stated) {
        return infoAfter(
                   [stated](AVFormatContext& format) { format.streams[0]->codecpar->bit_rate = stated; })
            .bitRate;
    };
    EXPECT_EQ(bitRateOf(4000000), 4000000);
    EXPECT_EQ(bitRateOf((int64_t{1} << 32) + 5), 5);
    EXPECT_EQ(bitRateOf(int64_t{1} << 31), std::numeric_limits<int32_t>::min());
}

TEST_F(DecoderCalls, RateIsTheStreamsRealBaseRateNotTheAverage) {
    const auto fpsOf = [](AVRational real, AVRational average) {
        return infoAfter([=](AVFormatContext& format) {
                   format.streams[0]->r_frame_rate = real;
                   format.streams[0]->avg_frame_rate = average;
               })
            .fps;
    };
    EXPECT_EQ(fpsOf({30000, 1001}, {25, 1}), 30000.0 / 1001.0);
    EXPECT_TRUE(std::isnan(fpsOf({0, 0}, {25, 1})));
    EXPECT_TRUE(std::isinf(fpsOf({25, 0}, {25, 1})));
}

// --- Positions

TEST_F(DecoderCalls, TimeStampOfMinusOneIsATargetLikeAnyOther) {
    open("plain.mp4");
    std::vector<int64_t> dts;
    const auto shiftBy = [&dts](int64_t shift) {
        libraryHooks().avcodec_receive_frame = [&dts, shift](AVCodecContext* context, AVFrame* frame) {
            const int result = test::real::avcodec_receive_frame(context, frame);
            if (result >= 0) {
                frame->pkt_dts -= shift;
                dts.push_back(frame->pkt_dts);
            }
            return result;
        };
    };
    shiftBy(0);
    test::scanAll(decoder_);
    ASSERT_EQ(dts.size(), 250u);
    const int64_t seventh = dts[6];

    open("plain.mp4");
    shiftBy(seventh + 1);
    test::scanAll(decoder_);
    ASSERT_EQ(dts[250 + 6], -1);
    pxl::Image image = test::imageFor(decoder_);
    ASSERT_TRUE(decoder_.seek(7));
    ASSERT_TRUE(decoder_.next());
    EXPECT_EQ(test::look(decoder_, image).index, 7);
    EXPECT_EQ(test::look(decoder_, image).drawn, 7);
    ASSERT_TRUE(decoder_.next());
    EXPECT_EQ(test::look(decoder_, image).index, 8);
    EXPECT_EQ(test::look(decoder_, image).drawn, 8);
}

TEST_F(DecoderCalls, LandsAGroupOfPicturesBeforeTheTarget) {
    open("bframes.mp4");
    int64_t delay = -1;
    libraryHooks().avcodec_receive_frame = [&](AVCodecContext* context, AVFrame* frame) {
        EXPECT_EQ(context->gop_size, 12);
        delay = context->delay;
        return test::real::avcodec_receive_frame(context, frame);
    };
    std::vector<int64_t> dts{0};
    libraryHooks().avcodec_receive_frame = [&](AVCodecContext* context, AVFrame* frame) {
        const int result = test::real::avcodec_receive_frame(context, frame);
        delay = context->delay;
        EXPECT_EQ(context->gop_size, 12);
        if (result >= 0)
            dts.push_back(frame->pkt_dts);
        return result;
    };
    ASSERT_EQ(test::scanAll(decoder_), 248);
    dts.resize(249); // the reset at the end of the scan fetches what the codec has kept back

    std::vector<std::tuple<int, int64_t, int>> seeks;
    libraryHooks().av_seek_frame = [&](AVFormatContext* format, int stream, int64_t timestamp, int flags) {
        seeks.emplace_back(stream, timestamp, flags);
        return test::real::av_seek_frame(format, stream, timestamp, flags);
    };
    for (const int frame : {1, 13, 14, 100, 248}) {
        seeks.clear();
        ASSERT_TRUE(decoder_.seek(frame));
        const auto landing = static_cast<std::size_t>(std::max<int64_t>(0, frame - 12 - delay - 1));
        EXPECT_EQ(seeks, (decltype(seeks){{0, dts[landing], AVSEEK_FLAG_BACKWARD}})) << frame;
    }
}

TEST_F(DecoderCalls, AFailedSeekLeavesTheCodecEmptyAndItsTargetAhead) {
    open("plain.mp4");
    test::scanAll(decoder_);
    ASSERT_TRUE(decoder_.seek(1));
    ASSERT_TRUE(decoder_.next());
    libraryHooks().av_seek_frame = [](AVFormatContext*, int, int64_t, int) { return AVERROR(EIO); };
    const test::LogCapture log;
    EXPECT_FALSE(decoder_.seek(200));
    EXPECT_EQ(decoder_.frameIndex(), 0);
    EXPECT_TRUE(decoder_.next());
    EXPECT_EQ(decoder_.frameIndex(), 200) << "not the second picture under the first one's number";
    EXPECT_EQ(log.lines(), Lines{});
}

// --- Reading

TEST_F(DecoderCalls, AReadErrorEndsTheFramesInSilenceAndIsRemembered) {
    open("plain.mp4");
    EXPECT_EQ(decoder_.readError(), "");
    for (int frame = 1; frame <= 20; ++frame)
        ASSERT_TRUE(decoder_.next());
    libraryHooks().av_read_frame = [](AVFormatContext* format, AVPacket*) {
        format->pb->error = AVERROR(EIO);
        return AVERROR(EIO);
    };
    const test::LogCapture log;
    EXPECT_FALSE(decoder_.next());
    EXPECT_FALSE(decoder_.next());
    EXPECT_EQ(decoder_.readError(), "Input/output error");
    EXPECT_EQ(log.lines(), Lines{});
    libraryHooks() = {};
    open("plain.mp4");
    EXPECT_EQ(decoder_.readError(), "");
}

TEST_F(DecoderCalls, TheEndOfTheFileIsNoError) {
    open("two_frames.mp4");
    test::scanAll(decoder_);
    EXPECT_EQ(decoder_.readError(), "");
}

TEST_F(DecoderCalls, AFrameWithoutMemoryIsPassedOverInSilenceAndIsRemembered) {
    open("plain.mp4");
    int sent = 0;
    libraryHooks().avcodec_send_packet = [&sent](AVCodecContext* context, const AVPacket* packet) {
        return ++sent == 3 ? AVERROR(ENOMEM) : test::real::avcodec_send_packet(context, packet);
    };
    const test::LogCapture log;
    for (int frame = 1; frame <= 3; ++frame)
        EXPECT_TRUE(decoder_.next());
    EXPECT_EQ(sent, 4);
    EXPECT_EQ(decoder_.readError(), "Cannot allocate memory");
    EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(DecoderCalls, PacketsOfOtherStreamsAreNeverDecoded) {
    open("audio_first.mp4");
    std::set<int> streams;
    libraryHooks().avcodec_send_packet = [&streams](AVCodecContext* context, const AVPacket* packet) {
        if (packet)
            streams.insert(packet->stream_index);
        return test::real::avcodec_send_packet(context, packet);
    };
    EXPECT_EQ(test::scanAll(decoder_), 250);
    EXPECT_EQ(streams, std::set<int>{1});
}

// --- Converting

TEST_F(DecoderCalls, EveryConversionHasAScalerOfItsOwn) {
    open("plain.mp4");
    std::set<SwsContext*> living;
    int made = 0;
    int targetWidth = 0;
    int targetHeight = 0;
    libraryHooks().sws_getContext = [&](int srcW, int srcH, AVPixelFormat srcFormat, int dstW, int dstH,
                                        AVPixelFormat dstFormat, int flags, SwsFilter* srcFilter,
                                        SwsFilter* dstFilter, const double* parameters) {
        EXPECT_EQ(std::make_pair(srcW, srcH), std::make_pair(320, 180));
        EXPECT_EQ(srcFormat, AV_PIX_FMT_YUV420P);
        EXPECT_EQ(std::make_pair(dstW, dstH), std::make_pair(targetWidth, targetHeight));
        EXPECT_EQ(dstFormat, AV_PIX_FMT_RGBA);
        EXPECT_EQ(flags, SWS_FAST_BILINEAR);
        EXPECT_EQ(srcFilter, nullptr);
        EXPECT_EQ(dstFilter, nullptr);
        EXPECT_EQ(parameters, nullptr);
        ++made;
        return *living
                    .insert(test::real::sws_getContext(srcW, srcH, srcFormat, dstW, dstH, dstFormat, flags,
                                                       srcFilter, dstFilter, parameters))
                    .first;
    };
    libraryHooks().sws_freeContext = [&living](SwsContext* scaler) {
        living.erase(scaler);
        test::real::sws_freeContext(scaler);
    };
    for (const auto& [width, height] : {std::pair{320, 180}, {320, 180}, {640, 360}, {100, 77}}) {
        targetWidth = width;
        targetHeight = height;
        pxl::Image image(width, height);
        ASSERT_TRUE(decoder_.next());
        ASSERT_TRUE(decoder_.convert(image));
        EXPECT_TRUE(living.empty());
    }
    EXPECT_EQ(made, 4);
}

TEST_F(DecoderCalls, WithoutAScalerNothingIsConverted) {
    open("plain.mp4");
    ASSERT_TRUE(decoder_.next());
    libraryHooks().sws_getContext = [](int, int, AVPixelFormat, int, int, AVPixelFormat, int, SwsFilter*,
                                       SwsFilter*, const double*) -> SwsContext* { return nullptr; };
    pxl::Image image(320, 180);
    EXPECT_FALSE(decoder_.convert(image));
    libraryHooks() = {};
    EXPECT_TRUE(decoder_.convert(image));
}
