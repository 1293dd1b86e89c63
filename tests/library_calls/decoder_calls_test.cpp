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

    /// The next picture is that of this number and says so.
    void expectNext(int64_t number) {
        ASSERT_TRUE(decoder_.next()) << number;
        pxl::Image image = test::imageFor(decoder_);
        const test::FrameSeen seen = test::look(decoder_, image);
        EXPECT_EQ(seen.index, number);
        EXPECT_EQ(seen.drawn, number);
    }

    void expectExactly(int number) {
        ASSERT_TRUE(decoder_.seek(number)) << number;
        expectNext(number);
    }

    /// Neither by reading on nor after a seek that fails.
    void expectNothingUntilASeek() {
        EXPECT_FALSE(decoder_.next());
        libraryHooks().av_seek_frame = [](AVFormatContext*, int, int64_t, int) { return AVERROR(EIO); };
        EXPECT_FALSE(decoder_.seek(30));
        libraryHooks() = {};
        EXPECT_FALSE(decoder_.next());
        expectExactly(23);
        expectNext(24);
    }

    test::LibraryHooksReset reset_;
    Decoder_ffmpeg decoder_;
};

} // namespace

// --- Opening

TEST_F(DecoderCalls, OpensOneOfTwoContextsThatAreFilledAlike) {
    std::vector<std::pair<AVCodecContext*, const AVCodecParameters*>> filled;
    libraryHooks().avcodec_parameters_to_context = [&](AVCodecContext* context,
                                                       const AVCodecParameters* from) {
        filled.emplace_back(context, from);
        return test::real::avcodec_parameters_to_context(context, from);
    };
    int opened = 0;
    libraryHooks().avcodec_open2 = [&](AVCodecContext* context, const AVCodec* codec,
                                       AVDictionary** options) {
        ++opened;
        EXPECT_EQ(options, nullptr);
        EXPECT_EQ(context->thread_count, 1) << "the library's own choice";
        EXPECT_EQ(filled.size(), 2u);
        if (filled.size() != 2)
            return AVERROR(EINVAL);
        EXPECT_EQ(context, filled[1].first);
        const AVCodecContext& other = *filled[0].first;
        EXPECT_EQ(other.codec, context->codec);
        EXPECT_EQ(other.codec_id, AV_CODEC_ID_H264);
        EXPECT_EQ(other.width, 320);
        EXPECT_EQ(other.height, 180);
        EXPECT_EQ(context->width, 320);
        EXPECT_EQ(context->height, 180);
        EXPECT_GT(context->extradata_size, 0);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(other.extradata),
                              static_cast<std::size_t>(other.extradata_size)),
                  std::string(reinterpret_cast<const char*>(context->extradata),
                              static_cast<std::size_t>(context->extradata_size)));
        return test::real::avcodec_open2(context, codec, options);
    };
    // Audio streams are listed, no decoder is opened for them.
    open("audio_first.mp4");
    EXPECT_EQ(opened, 1);
    ASSERT_EQ(filled.size(), 2u);
    EXPECT_NE(filled[0].first, filled[1].first);
    EXPECT_EQ(filled[0].second, filled[1].second);
    EXPECT_FALSE(avcodec_is_open(filled[0].first));
    EXPECT_TRUE(avcodec_is_open(filled[1].first));
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
        EXPECT_FALSE(decoder_.refusedContent()) << "there was no memory";
        EXPECT_EQ(call, failing);
    }
}

TEST_F(DecoderCalls, WithoutMemoryForOneOfItsObjectsNothingOpensInSilence) {
    std::vector<std::function<void()>> shortages{
        [] { libraryHooks().av_frame_alloc = []() -> AVFrame* { return nullptr; }; },
        [] { libraryHooks().av_packet_alloc = []() -> AVPacket* { return nullptr; }; },
        [] { libraryHooks().avformat_alloc_context = []() -> AVFormatContext* { return nullptr; }; }};
    for (const int failing : {1, 2})
        shortages.emplace_back([failing] {
            libraryHooks().avcodec_alloc_context3 = [failing, call = 0](const AVCodec* codec) mutable {
                return ++call == failing ? nullptr : test::real::avcodec_alloc_context3(codec);
            };
        });
    for (const auto& shortage : shortages) {
        shortage();
        expectOpenFails("");
        EXPECT_FALSE(decoder_.refusedContent()) << "the file is not to blame";
        libraryHooks() = {};
        open("plain.mp4");
        expectNext(1);
    }
}

TEST_F(DecoderCalls, AStreamWithoutASizeIsRefusedInSilence) {
    for (const bool wide : {false, true}) {
        libraryHooks().avformat_find_stream_info = [wide](AVFormatContext* format, AVDictionary** options) {
            const int result = test::real::avformat_find_stream_info(format, options);
            (wide ? format->streams[0]->codecpar->height : format->streams[0]->codecpar->width) = 0;
            return result;
        };
        expectOpenFails("");
        EXPECT_TRUE(decoder_.refusedContent());
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

TEST_F(DecoderCalls, RgbHasNoMatrixToKeep) {
    const auto matrixOf = [](AVColorSpace stated) {
        return infoAfter(
                   [stated](AVFormatContext& format) { format.streams[0]->codecpar->color_space = stated; })
            .colorMatrix;
    };
    EXPECT_EQ(matrixOf(AVCOL_SPC_RGB), video::kColorMatrixUnspecified);
    EXPECT_EQ(matrixOf(AVCOL_SPC_BT709), 1);
}

TEST_F(DecoderCalls, FramesWithoutTimeStampsAreNotCalledUneven) {
    libraryHooks().avcodec_receive_frame = [](AVCodecContext* context, AVFrame* frame) {
        const int result = test::real::avcodec_receive_frame(context, frame);
        frame->pts = AV_NOPTS_VALUE;
        return result;
    };
    open("variable_rate.mp4");
    test::scanAll(decoder_);
    EXPECT_FALSE(decoder_.traits().variableRate);
    libraryHooks() = {};
    open("variable_rate.mp4");
    test::scanAll(decoder_);
    EXPECT_TRUE(decoder_.traits().variableRate);
}

// --- Positions

TEST_F(DecoderCalls, FramesWithoutAnyDecodeTimeAreFoundByTheirOrder) {
    libraryHooks().avcodec_receive_frame = [](AVCodecContext* context, AVFrame* frame) {
        const int result = test::real::avcodec_receive_frame(context, frame);
        frame->pkt_dts = AV_NOPTS_VALUE;
        return result;
    };
    open("plain.mp4");
    ASSERT_EQ(test::scanAll(decoder_), 250);
    for (const int frame : {23, 1, 250, 22}) {
        expectExactly(frame);
        if (frame < 250)
            expectNext(frame + 1);
    }
}

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

TEST_F(DecoderCalls, LandsAGroupOfPicturesAndTheDelayBeforeTheTarget) {
    AVCodecContext* opened = nullptr;
    libraryHooks().avcodec_open2 = [&](AVCodecContext* context, const AVCodec* codec,
                                       AVDictionary** options) {
        const int result = test::real::avcodec_open2(context, codec, options);
        EXPECT_EQ(context->gop_size, 12) << "the library's own choice";
        context->gop_size = 5;
        context->delay = 3;
        opened = context;
        return result;
    };
    open("bframes.mp4");
    std::vector<int64_t> dts{0};
    libraryHooks().avcodec_receive_frame = [&](AVCodecContext* context, AVFrame* frame) {
        const int result = test::real::avcodec_receive_frame(context, frame);
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
    for (const int frame : {1, 9, 10, 13, 100, 248}) {
        seeks.clear();
        ASSERT_EQ(opened->gop_size, 5);
        ASSERT_EQ(opened->delay, 3);
        ASSERT_TRUE(decoder_.seek(frame));
        const auto landing = static_cast<std::size_t>(std::max(0, frame - 9));
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

TEST_F(DecoderCalls, AFailedSeekToOneOfSeveralFramesAlikeDeliversNone) {
    open("same_time.mp4");
    ASSERT_EQ(test::scanAll(decoder_), 100);
    // The file stands in the middle of those that share their time stamp, before a key frame.
    expectExactly(55);
    libraryHooks().av_seek_frame = [](AVFormatContext*, int, int64_t, int) { return AVERROR(EIO); };
    EXPECT_FALSE(decoder_.seek(52));
    EXPECT_FALSE(decoder_.next());
    libraryHooks() = {};
    expectExactly(52);
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
    EXPECT_TRUE(decoder_.next());
}

TEST_F(DecoderCalls, AfterALostPacketNothingComesUntilASeekSucceeds) {
    using Read = std::function<int(AVFormatContext*, AVPacket*)>;
    const auto lose = [](AVFormatContext* format, AVPacket* packet) {
        EXPECT_GE(test::real::av_read_frame(format, packet), 0);
        av_packet_unref(packet);
    };
    const std::pair<Read, std::string> failures[] = {
        {[&](AVFormatContext* format, AVPacket* packet) {
             lose(format, packet);
             format->pb->error = AVERROR(EIO);
             return AVERROR(EIO);
         },
         "Input/output error"},
        // Told as the end of the file.
        {[&](AVFormatContext* format, AVPacket* packet) {
             lose(format, packet);
             format->pb->error = AVERROR(EIO);
             return AVERROR_EOF;
         },
         "Input/output error"},
        // Told as a packet, which is cut short.
        {[&](AVFormatContext* format, AVPacket* packet) {
             const int result = test::real::av_read_frame(format, packet);
             av_shrink_packet(packet, packet->size / 2);
             format->pb->error = AVERROR(EIO);
             return result;
         },
         "Input/output error"},
        {[&](AVFormatContext* format, AVPacket* packet) {
             lose(format, packet);
             return AVERROR(ENOMEM);
         },
         "Cannot allocate memory"},
        {[&](AVFormatContext* format, AVPacket* packet) {
             lose(format, packet);
             return AVERROR_EXIT;
         },
         ""},
        // Asked to end, which is nobody's fault.
        {[&](AVFormatContext* format, AVPacket* packet) {
             lose(format, packet);
             return format->pb->error = AVERROR_EXIT;
         },
         ""},
        // The end of a file that is longer when it is read again.
        {[&](AVFormatContext* format, AVPacket* packet) {
             lose(format, packet);
             return AVERROR_EOF;
         },
         ""},
    };
    for (const auto& [failure, text] : failures) {
        libraryHooks() = {};
        open("plain.mp4");
        ASSERT_EQ(test::scanAll(decoder_), 250);
        expectExactly(20);
        libraryHooks().av_read_frame = failure;
        EXPECT_FALSE(decoder_.next());
        EXPECT_EQ(decoder_.readError(), text);
        libraryHooks() = {};
        expectNothingUntilASeek();
    }
}

TEST_F(DecoderCalls, AnEndBeforeTheTargetIsTheEndUntilASeekSucceeds) {
    open("plain.mp4");
    ASSERT_EQ(test::scanAll(decoder_), 250);
    ASSERT_TRUE(decoder_.seek(200));
    libraryHooks().av_read_frame = [](AVFormatContext*, AVPacket*) { return AVERROR_EOF; };
    EXPECT_FALSE(decoder_.next());
    libraryHooks() = {};
    expectNothingUntilASeek();
}

TEST_F(DecoderCalls, TheEndOfTheFileIsNoError) {
    open("two_frames.mp4");
    test::scanAll(decoder_);
    EXPECT_EQ(decoder_.readError(), "");
    // As some versions of the library note it.
    ASSERT_TRUE(decoder_.seek(1));
    libraryHooks().av_read_frame = [](AVFormatContext* format, AVPacket*) {
        format->pb->error = AVERROR_EOF;
        return AVERROR_EOF;
    };
    EXPECT_FALSE(decoder_.next());
    EXPECT_EQ(decoder_.readError(), "");
}

TEST_F(DecoderCalls, TheFirstReadErrorIsTheOneThatIsRemembered) {
    open("plain.mp4");
    ASSERT_EQ(test::scanAll(decoder_), 250);
    for (const int code : {AVERROR(EIO), AVERROR(ENXIO)}) {
        ASSERT_TRUE(decoder_.seek(20));
        libraryHooks().av_read_frame = [code](AVFormatContext* format, AVPacket*) {
            return format->pb->error = code;
        };
        EXPECT_FALSE(decoder_.next());
        EXPECT_EQ(decoder_.readError(), "Input/output error");
        libraryHooks() = {};
    }
}

TEST_F(DecoderCalls, AFrameWithoutMemoryEndsTheFramesUntilASeekAndIsRemembered) {
    for (const bool whenSent : {true, false}) {
        open("plain.mp4");
        ASSERT_EQ(test::scanAll(decoder_), 250);
        expectExactly(20);
        int packets = 0;
        libraryHooks().avcodec_send_packet = [&](AVCodecContext* context, const AVPacket* packet) {
            return ++packets == 3 && whenSent ? AVERROR(ENOMEM)
                                              : test::real::avcodec_send_packet(context, packet);
        };
        libraryHooks().avcodec_receive_frame = [&](AVCodecContext* context, AVFrame* frame) {
            const int result = test::real::avcodec_receive_frame(context, frame);
            if (packets != 3 || result < 0)
                return result;
            av_frame_unref(frame);
            return AVERROR(ENOMEM);
        };
        const test::LogCapture log;
        expectNext(21);
        expectNext(22);
        EXPECT_FALSE(decoder_.next());
        EXPECT_EQ(decoder_.readError(), "Cannot allocate memory");
        EXPECT_EQ(packets, 3);
        libraryHooks() = {};
        expectNothingUntilASeek();
        EXPECT_EQ(log.lines(), Lines{});
    }
}

TEST_F(DecoderCalls, AFrameWithoutMemoryOnTheWayToATargetEndsThatToo) {
    open("same_time.mp4");
    ASSERT_EQ(test::scanAll(decoder_), 100);
    ASSERT_TRUE(decoder_.seek(60));
    int packets = 0;
    libraryHooks().avcodec_send_packet = [&](AVCodecContext* context, const AVPacket* packet) {
        return ++packets == 8 ? AVERROR(ENOMEM) : test::real::avcodec_send_packet(context, packet);
    };
    EXPECT_FALSE(decoder_.next());
    libraryHooks() = {};
    expectNothingUntilASeek();
}

TEST_F(DecoderCalls, ADamagedPacketIsPassedOverByEveryReading) {
    libraryHooks().avcodec_send_packet = [](AVCodecContext* context, const AVPacket* packet) {
        return packet && packet->pts == 0 ? AVERROR_INVALIDDATA
                                          : test::real::avcodec_send_packet(context, packet);
    };
    open("prores.mov");
    ASSERT_EQ(test::scanAll(decoder_), 39);
    pxl::Image image = test::imageFor(decoder_);
    for (const int frame : {1, 20, 39}) {
        ASSERT_TRUE(decoder_.seek(frame));
        ASSERT_TRUE(decoder_.next());
        EXPECT_EQ(test::look(decoder_, image).index, frame);
        EXPECT_EQ(test::look(decoder_, image).drawn, frame + 1);
    }
    EXPECT_EQ(decoder_.readError(), "");
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

TEST_F(DecoderCalls, APictureThatIsNotScaledWholeIsNoPicture) {
    // With rows of the target's own length, and with longer ones.
    for (const char* clip : {"plain.mp4", "odd_321x181.mp4"}) {
        open(clip);
        ASSERT_TRUE(decoder_.next());
        pxl::Image image = test::imageFor(decoder_);
        for (const int missing : {1, image.height}) {
            libraryHooks().sws_scale = [missing](SwsContext* scaler, const uint8_t* const source[],
                                                 const int sourceStride[], int firstRow, int rows,
                                                 uint8_t* const target[], const int targetStride[]) {
                return test::real::sws_scale(scaler, source, sourceStride, firstRow, rows, target,
                                             targetStride) -
                       missing;
            };
            EXPECT_FALSE(decoder_.convert(image)) << clip;
            libraryHooks() = {};
            EXPECT_TRUE(decoder_.convert(image)) << clip;
        }
    }
}
