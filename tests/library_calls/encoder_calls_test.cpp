/// What the encoder asks of the library, and what it makes of failures that no settings lead to.
#include "video_backend_ffmpeg_encoder.h"

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <wx/filename.h>

#include "support/library_calls.h"
#include "support/log_capture.h"
#include "support/media_probe.h"
#include "support/temp_dir.h"

namespace {

using test::libraryHooks;
using Lines = std::vector<std::string>;
using Options = std::map<std::string, std::string>;

class Picture : public video::Frame {
public:
    Picture(int width, int height) : image_(width, height) {}
    const pxl::Image* image() const override { return &image_; }
    int64_t frameIndex() const override { return 1; }

private:
    pxl::Image image_;
};

/// Every option of the object by its name; those that have no text are left out.
Options optionsOf(void* object) {
    Options options;
    const AVOption* option = nullptr;
    while (object && (option = av_opt_next(object, option)) != nullptr) {
        uint8_t* text = nullptr;
        if (option->type != AV_OPT_TYPE_CONST && av_opt_get(object, option->name, 0, &text) >= 0)
            options[option->name] = reinterpret_cast<char*>(text);
        av_free(text);
    }
    return options;
}

/// The options that have another value than in `untouched`.
Options changed(const Options& options, const Options& untouched) {
    Options differences;
    for (const auto& [name, value] : options)
        if (untouched.at(name) != value)
            differences[name] = value;
    return differences;
}

/// The encoder's context at the moment it is opened.
struct Opened {
    int times = 0;
    bool hadDictionary = false;
    AVCodecID codec = AV_CODEC_ID_NONE;
    int flags = 0;
    int untouchedFlags = 0;
    AVPixelFormat pixelFormat = AV_PIX_FMT_NONE;
    int width = 0;
    int height = 0;
    AVRational timeBase{};
    int threadCount = -1;
    int profile = 0;
    int gopSize = 0;
    int mbDecision = -1;
    int trellis = -1;
    int mv0Threshold = -1;
    int subpelQuality = -1;
    int64_t bitRate = -1;
    int64_t untouchedBitRate = -2;
    int bFrames = -1;
    int untouchedBFrames = -2;
    AVColorSpace matrix = AVCOL_SPC_NB;
    /// Against a context fresh from the library, the codec's own options too.
    Options differences;
    Options codecDifferences;
};

Opened look(AVCodecContext& context, const AVCodec* codec, bool hasDictionary) {
    AVCodecContext* fresh = avcodec_alloc_context3(codec);
    Opened seen;
    seen.hadDictionary = hasDictionary;
    seen.codec = codec->id;
    seen.flags = context.flags;
    seen.untouchedFlags = fresh->flags;
    seen.pixelFormat = context.pix_fmt;
    seen.width = context.width;
    seen.height = context.height;
    seen.timeBase = context.time_base;
    seen.threadCount = context.thread_count;
    seen.profile = context.profile;
    seen.gopSize = context.gop_size;
    seen.mbDecision = context.mb_decision;
    seen.trellis = context.trellis;
    seen.mv0Threshold = context.mv0_threshold;
    seen.subpelQuality = context.me_subpel_quality;
    seen.bitRate = context.bit_rate;
    seen.untouchedBitRate = fresh->bit_rate;
    seen.bFrames = context.max_b_frames;
    seen.untouchedBFrames = fresh->max_b_frames;
    seen.matrix = context.colorspace;
    seen.differences = changed(optionsOf(&context), optionsOf(fresh));
    seen.codecDifferences = changed(optionsOf(context.priv_data), optionsOf(fresh->priv_data));
    avcodec_free_context(&fresh);
    return seen;
}

/// Without those that are looked at as what they are, which not every version of the library has.
std::vector<std::string> namesOf(const Options& options) {
    std::vector<std::string> names;
    for (const auto& option : options)
        if (option.first != "pixel_format" && option.first != "video_size" && option.first != "threads")
            names.push_back(option.first);
    return names;
}

class EncoderCalls : public testing::Test {
protected:
    video::EncoderSettings settings(const wxString& name, int32_t codec) const {
        video::EncoderSettings chosen;
        chosen.width = 64;
        chosen.height = 48;
        chosen.fps = 25.0;
        chosen.bitRate = 123456;
        chosen.gopSize = 7;
        chosen.passes = 1;
        chosen.path = dir_.file(name);
        chosen.codec = codec;
        return chosen;
    }

    Opened openedWith(const video::EncoderSettings& chosen) {
        Opened seen;
        libraryHooks().avcodec_open2 = [&seen](AVCodecContext* context, const AVCodec* codec,
                                               AVDictionary** options) {
            const int times = seen.times;
            seen = look(*context, codec, options != nullptr);
            seen.times = times + 1;
            return test::real::avcodec_open2(context, codec, options);
        };
        Encoder_ffmpeg encoder(chosen);
        EXPECT_TRUE(encoder.isOpen());
        encoder.finish();
        libraryHooks() = {};
        EXPECT_EQ(seen.times, 1);
        return seen;
    }

    /// What `settings` asks of either codec.
    static void expectShapeOfTheSettings(const Opened& seen) {
        EXPECT_FALSE(seen.hadDictionary);
        EXPECT_EQ(seen.pixelFormat, AV_PIX_FMT_YUV420P);
        EXPECT_EQ(seen.width, 64);
        EXPECT_EQ(seen.height, 48);
        EXPECT_EQ(seen.timeBase.num, 1);
        EXPECT_EQ(seen.timeBase.den, 25);
        EXPECT_EQ(seen.threadCount, 0);
        EXPECT_EQ(seen.gopSize, 7);
        EXPECT_EQ(seen.bitRate, seen.untouchedBitRate);
        EXPECT_EQ(seen.bFrames, seen.untouchedBFrames);
        EXPECT_EQ(seen.matrix, AVCOL_SPC_UNSPECIFIED);
        EXPECT_EQ(seen.codecDifferences, Options{});
    }

    void expectConstructionFails(int32_t codec, const std::string& line) {
        expectConstructionFails("clip.mp4", codec, line);
    }
    void expectConstructionFails(const wxString& name, int32_t codec, const std::string& line) {
        const auto chosen = settings(name, codec);
        const test::LogCapture log;
        Encoder_ffmpeg encoder(chosen);
        EXPECT_FALSE(encoder.isOpen());
        EXPECT_EQ(log.lines(), Lines{line});
        EXPECT_EQ(log.lines(wxLOG_Error), Lines{line});
        EXPECT_FALSE(wxFileName::Exists(chosen.path)) << "nothing is written";
    }

    test::TempDir dir_;
    test::LibraryHooksReset reset_;
};

} // namespace

// --- Settings of the codec

TEST_F(EncoderCalls, H264IsSetUpAsStatedAndNothingElse) {
    for (const char* name : {"clip.mp4", "clip.mov", "clip.avi"}) {
        const Opened seen = openedWith(settings(name, video::kCodecH264));
        EXPECT_EQ(seen.codec, AV_CODEC_ID_H264);
        EXPECT_EQ(seen.flags, seen.untouchedFlags | AV_CODEC_FLAG_GLOBAL_HEADER) << name;
        expectShapeOfTheSettings(seen);
        EXPECT_EQ(seen.profile, 77);
        EXPECT_EQ(namesOf(seen.differences), (Lines{"flags", "g", "profile", "time_base"}));
    }
}

TEST_F(EncoderCalls, Mpeg4IsSetUpAsStatedAndNothingElse) {
    for (const char* name : {"clip.mp4", "clip.mov", "clip.avi"}) {
        const Opened seen = openedWith(settings(name, video::kCodecMpeg4));
        EXPECT_EQ(seen.codec, AV_CODEC_ID_MPEG4);
        EXPECT_EQ(seen.flags,
                  seen.untouchedFlags | AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_4MV | AV_CODEC_FLAG_PASS1)
            << name;
        expectShapeOfTheSettings(seen);
        EXPECT_EQ(seen.profile, 15);
        EXPECT_EQ(seen.mbDecision, 2);
        EXPECT_EQ(seen.trellis, 2);
        EXPECT_EQ(seen.mv0Threshold, 2);
        EXPECT_EQ(seen.subpelQuality, 2);
        EXPECT_EQ(namesOf(seen.differences),
                  (Lines{"flags", "g", "mbd", "mv0_threshold", "profile", "subq", "time_base", "trellis"}));
    }
}

TEST_F(EncoderCalls, AStatedMatrixIsPassedOn) {
    auto chosen = settings("clip.mp4", video::kCodecH264);
    chosen.colorMatrix = 1;
    const Opened seen = openedWith(chosen);
    EXPECT_EQ(seen.matrix, AVCOL_SPC_BT709);
}

TEST_F(EncoderCalls, TheHeaderIsWrittenWithoutOptionsButWithTheTimeScale) {
    for (const auto& [fps, scale] : std::map<double, std::string>{{25, "25"}, {29.97, "30"}, {120, "120"}}) {
        int times = 0;
        Options tags;
        std::string base;
        Options fresh;
        Options muxer;
        libraryHooks().avformat_write_header = [&](AVFormatContext* format, AVDictionary** options) {
            ++times;
            EXPECT_EQ(options, nullptr);
            const AVDictionaryEntry* tag = nullptr;
            while ((tag = av_dict_get(format->metadata, "", tag, AV_DICT_IGNORE_SUFFIX)) != nullptr)
                tags[tag->key] = tag->value;
            const AVRational& timeBase = format->streams[0]->time_base;
            base = std::to_string(timeBase.num) + "/" + std::to_string(timeBase.den);
            muxer = optionsOf(format->priv_data);
            AVFormatContext* other = nullptr;
            avformat_alloc_output_context2(&other, format->oformat, nullptr, nullptr);
            fresh = optionsOf(other->priv_data);
            avformat_free_context(other);
            return test::real::avformat_write_header(format, options);
        };
        auto chosen = settings("clip.mp4", video::kCodecMpeg4);
        chosen.fps = fps;
        Encoder_ffmpeg encoder(chosen);
        encoder.finish();
        EXPECT_EQ(times, 1);
        EXPECT_EQ(tags, (Options{{"comment", "Tarvex Shroud"}}));
        EXPECT_EQ(base, "1/" + scale);
        EXPECT_EQ(changed(muxer, fresh), (Options{{"video_track_timescale", scale}}));
    }
}

// --- Failed construction

TEST_F(EncoderCalls, MissingEncoderFails) {
    libraryHooks().avcodec_find_encoder = [](AVCodecID) -> const AVCodec* { return nullptr; };
    for (const int32_t codec : {video::kCodecH264, video::kCodecMpeg4})
        expectConstructionFails(codec, "[video encoder] Could not find encoder");
    EXPECT_FALSE(Encoder_ffmpeg::isAvailable(video::kCodecH264));
}

TEST_F(EncoderCalls, EachCodecIsLookedUpByItsOwnId) {
    std::vector<AVCodecID> asked;
    libraryHooks().avcodec_find_encoder = [&asked](AVCodecID id) -> const AVCodec* {
        asked.push_back(id);
        return nullptr;
    };
    for (const int32_t codec : {1, 0, 2, -1})
        Encoder_ffmpeg::isAvailable(codec);
    EXPECT_EQ(asked, (std::vector<AVCodecID>{AV_CODEC_ID_H264, AV_CODEC_ID_MPEG4, AV_CODEC_ID_MPEG4,
                                             AV_CODEC_ID_MPEG4}));
}

TEST_F(EncoderCalls, MissingStreamFails) {
    libraryHooks().avformat_new_stream = [](AVFormatContext*, const AVCodec*) -> AVStream* {
        return nullptr;
    };
    expectConstructionFails(video::kCodecH264, "[video encoder] Could not open stream");
}

TEST_F(EncoderCalls, RefusedCodecFails) {
    libraryHooks().avcodec_open2 = [](AVCodecContext*, const AVCodec*, AVDictionary**) {
        return AVERROR(ENOSYS);
    };
    expectConstructionFails(video::kCodecMpeg4, "[video encoder] Could not open video codec");
}

TEST_F(EncoderCalls, WithoutMemoryForOneOfItsObjectsConstructionFails) {
    const std::string line = "[video encoder] Could not allocate context";
    // Frames: one to spare, the source's, the encoder's.
    for (const int failing : {1, 2, 3}) {
        libraryHooks().av_frame_alloc = [failing, call = 0]() mutable {
            return ++call == failing ? nullptr : test::real::av_frame_alloc();
        };
        expectConstructionFails(video::kCodecH264, line);
    }
    libraryHooks() = {};
    libraryHooks().av_packet_alloc = []() -> AVPacket* { return nullptr; };
    expectConstructionFails(video::kCodecH264, line);
    libraryHooks() = {};
    libraryHooks().avformat_alloc_output_context2 = [](AVFormatContext**, const AVOutputFormat*, const char*,
                                                       const char*) { return AVERROR(ENOMEM); };
    expectConstructionFails(video::kCodecH264, line);
    libraryHooks() = {};
    libraryHooks().av_buffer_pool_init = [](std::size_t, AVBufferRef* (*)(std::size_t)) -> AVBufferPool* {
        return nullptr;
    };
    expectConstructionFails(video::kCodecH264, line);
    libraryHooks() = {};
    libraryHooks().avcodec_alloc_context3 = [](const AVCodec*) -> AVCodecContext* { return nullptr; };
    expectConstructionFails(video::kCodecH264, "[video encoder] Could not open stream");
}

TEST_F(EncoderCalls, AFormatThatOpensItsOwnFilesIsLeftToIt) {
    Encoder_ffmpeg encoder(settings("picture%03d.jpg", video::kCodecMpeg4));
    ASSERT_TRUE(encoder.isOpen());
    EXPECT_FALSE(encoder.touchedFile());
    for (int index = 0; index < 2; ++index)
        encoder.encode(std::make_shared<Picture>(64, 48));
    encoder.finish();
    EXPECT_FALSE(encoder.failed()) << encoder.failureText();
    EXPECT_TRUE(wxFileName::Exists(dir_.file("picture002.jpg")));
    libraryHooks().avformat_write_header = [](AVFormatContext*, AVDictionary**) { return AVERROR(EIO); };
    expectConstructionFails("never%03d.jpg", video::kCodecMpeg4, "[video encoder] Could not write header");
}

// --- Encoding

TEST_F(EncoderCalls, APacketThatCannotBeFetchedIsTold) {
    const auto chosen = settings("clip.mp4", video::kCodecMpeg4);
    Encoder_ffmpeg encoder(chosen);
    libraryHooks().avcodec_receive_packet = [call = 0](AVCodecContext* context, AVPacket* packet) mutable {
        return ++call == 3 ? AVERROR(ENOMEM) : test::real::avcodec_receive_packet(context, packet);
    };
    const test::LogCapture log;
    for (int index = 0; index < 5; ++index)
        encoder.encode(std::make_shared<Picture>(64, 48));
    encoder.finish();
    EXPECT_EQ(encoder.failureText(), "Cannot allocate memory");
    EXPECT_FALSE(encoder.fileFailed());
    EXPECT_EQ(log.lines(), Lines{"[video encoder] Cannot allocate memory"});
}

TEST_F(EncoderCalls, APacketWithAnotherTimeThanItsFramesKeepsItsOwnDuration) {
    const auto chosen = settings("clip.mp4", video::kCodecMpeg4);
    Encoder_ffmpeg encoder(chosen);
    libraryHooks().avcodec_receive_packet = [](AVCodecContext* context, AVPacket* packet) {
        const int result = test::real::avcodec_receive_packet(context, packet);
        if (result >= 0) {
            packet->pts += 1000;
            packet->dts += 1000;
            packet->duration = 1;
        }
        return result;
    };
    for (int index = 0; index < 5; ++index)
        encoder.encode(std::make_shared<Picture>(64, 48));
    encoder.finish();
    EXPECT_FALSE(encoder.failed());
    const auto packets = test::probe(chosen.path).packets;
    ASSERT_EQ(packets.size(), 5u);
    for (const auto& packet : packets)
        EXPECT_EQ(packet.duration, 1);
}

TEST_F(EncoderCalls, AnEncoderThatCannotBeEndedIsTold) {
    Encoder_ffmpeg encoder(settings("clip.mp4", video::kCodecMpeg4));
    libraryHooks().avcodec_send_frame = [](AVCodecContext* context, const AVFrame* frame) {
        return frame ? test::real::avcodec_send_frame(context, frame) : AVERROR(ENOMEM);
    };
    encoder.encode(std::make_shared<Picture>(64, 48));
    EXPECT_FALSE(encoder.failed());
    encoder.finish();
    EXPECT_EQ(encoder.failureText(), "Cannot allocate memory");
}

TEST_F(EncoderCalls, TheFileIsToBlameOnlyForTheFirstFailure) {
    for (const bool encoderFailsFirst : {false, true}) {
        Encoder_ffmpeg encoder(settings("clip.mp4", video::kCodecMpeg4));
        libraryHooks().avcodec_send_frame = [encoderFailsFirst](AVCodecContext* context,
                                                                const AVFrame* frame) {
            return frame && encoderFailsFirst ? AVERROR(ENOMEM)
                                              : test::real::avcodec_send_frame(context, frame);
        };
        libraryHooks().av_write_trailer = [](AVFormatContext* context) {
            test::real::av_write_trailer(context);
            return AVERROR(ENOSPC);
        };
        encoder.encode(std::make_shared<Picture>(64, 48));
        encoder.finish();
        EXPECT_EQ(encoder.failureText(),
                  encoderFailsFirst ? "Cannot allocate memory" : "No space left on device");
        EXPECT_EQ(encoder.fileFailed(), !encoderFailsFirst);
    }
}

TEST_F(EncoderCalls, AFrameThatCannotBeSentCountsAllTheSame) {
    auto chosen = settings("clip.mp4", video::kCodecMpeg4);
    chosen.fps = 29.97;
    Encoder_ffmpeg encoder(chosen);
    ASSERT_TRUE(encoder.isOpen());
    std::vector<int64_t> sent;
    libraryHooks().avcodec_send_frame = [&sent](AVCodecContext* context, const AVFrame* frame) {
        if (!frame)
            return test::real::avcodec_send_frame(context, frame);
        sent.push_back(frame->pts);
        return sent.size() == 3 ? AVERROR(ENOMEM) : test::real::avcodec_send_frame(context, frame);
    };
    const test::LogCapture log;
    for (int index = 0; index < 1000; ++index)
        encoder.encode(std::make_shared<Picture>(64, 48));
    encoder.finish();
    ASSERT_EQ(sent.size(), 1000u);
    // Frame 999 is the first that is one unit later than its number; had the lost one not been counted, the
    // next would be.
    for (std::size_t index = 0; index < 999; ++index)
        ASSERT_EQ(sent[index], static_cast<int64_t>(index));
    EXPECT_EQ(sent[999], 1000);
    EXPECT_EQ(encoder.encodedFrames(), 999);
    EXPECT_TRUE(encoder.failed());
    EXPECT_EQ(log.lines(), Lines{"[video encoder] Cannot allocate memory"});
    const auto packets = test::probe(chosen.path).packets;
    ASSERT_EQ(packets.size(), 999u);
    EXPECT_EQ(packets[1].pts, 1);
    EXPECT_EQ(packets[2].pts, 3);
}

TEST_F(EncoderCalls, EveryFrameHasAScalerOfItsOwn) {
    Encoder_ffmpeg encoder(settings("clip.mp4", video::kCodecMpeg4));
    std::vector<SwsContext*> living;
    std::vector<std::pair<int, int>> sizes;
    libraryHooks().sws_getContext = [&](int srcW, int srcH, AVPixelFormat srcFormat, int dstW, int dstH,
                                        AVPixelFormat dstFormat, int flags, SwsFilter* srcFilter,
                                        SwsFilter* dstFilter, const double* parameters) {
        sizes.emplace_back(srcW, srcH);
        EXPECT_EQ(srcFormat, AV_PIX_FMT_RGBA);
        EXPECT_EQ(std::make_pair(dstW, dstH), std::make_pair(64, 48));
        EXPECT_EQ(dstFormat, AV_PIX_FMT_YUV420P);
        EXPECT_EQ(flags, SWS_BILINEAR);
        EXPECT_EQ(srcFilter, nullptr);
        EXPECT_EQ(dstFilter, nullptr);
        EXPECT_EQ(parameters, nullptr);
        living.push_back(test::real::sws_getContext(srcW, srcH, srcFormat, dstW, dstH, dstFormat, flags,
                                                    srcFilter, dstFilter, parameters));
        return living.back();
    };
    libraryHooks().sws_freeContext = [&living](SwsContext* scaler) {
        living.erase(std::remove(living.begin(), living.end(), scaler), living.end());
        test::real::sws_freeContext(scaler);
    };
    const std::vector<std::pair<int, int>> pictures{{64, 48}, {64, 48}, {128, 96}};
    for (const auto& [width, height] : pictures) {
        encoder.encode(std::make_shared<Picture>(width, height));
        EXPECT_TRUE(living.empty());
    }
    EXPECT_EQ(sizes, pictures);
    encoder.finish();
    EXPECT_FALSE(encoder.failed());
}

TEST_F(EncoderCalls, WithoutAScalerTheFrameIsMissingAndToldOnce) {
    Encoder_ffmpeg encoder(settings("clip.mp4", video::kCodecMpeg4));
    libraryHooks().sws_getContext = [](int, int, AVPixelFormat, int, int, AVPixelFormat, int, SwsFilter*,
                                       SwsFilter*, const double*) -> SwsContext* { return nullptr; };
    const test::LogCapture log;
    for (int index = 0; index < 3; ++index)
        encoder.encode(std::make_shared<Picture>(64, 48));
    encoder.finish();
    EXPECT_EQ(encoder.encodedFrames(), 0);
    EXPECT_EQ(encoder.failureText(), "Invalid argument");
    EXPECT_EQ(log.lines(), Lines{"[video encoder] Invalid argument"});
    EXPECT_EQ(log.lines(wxLOG_Error), log.lines());
}
