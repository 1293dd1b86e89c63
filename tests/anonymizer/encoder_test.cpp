#include "video_backend_ffmpeg_encoder.h"

extern "C" {
#include <libavutil/mem.h>
}

#include <algorithm>
#include <climits>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <set>
#include <vector>

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <gtest/gtest.h>
#include <wx/filefn.h>
#include <wx/filename.h>

#include "support/file_size_limit.h"
#include "support/log_capture.h"
#include "support/media_probe.h"
#include "support/temp_dir.h"

namespace {

using test::LogCapture;
using test::TempDir;

class Picture : public video::Frame {
public:
    explicit Picture(pxl::Image image) : image_(std::move(image)) {}
    const pxl::Image* image() const override { return &image_; }
    int64_t frameIndex() const override { return 1; }

private:
    pxl::Image image_;
};

std::shared_ptr<video::Frame> flat(int width, int height, uint8_t level) {
    pxl::Image image(width, height);
    std::fill_n(image.pixels, image.pixelCount(), 0xFF000000u | level * 0x010101u);
    return std::make_shared<Picture>(std::move(image));
}

/// A moving texture, so that frames differ and cost bits.
std::shared_ptr<video::Frame> textured(int width, int height, int step) {
    pxl::Image image(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const auto level = static_cast<uint32_t>(127.5 + 60 * std::sin((x + 2 * step) * 0.31) +
                                                     60 * std::cos((y - step) * 0.23));
            image.pixels[y * width + x] = 0xFF000000u | (level << 16) | ((255 - level) << 8) | level;
        }
    return std::make_shared<Picture>(std::move(image));
}

video::EncoderSettings settingsFor(const wxString& path, double fps = 25.0) {
    video::EncoderSettings settings;
    settings.width = 64;
    settings.height = 48;
    settings.fps = fps;
    settings.gopSize = 12;
    settings.path = path;
    return settings;
}

/// Encodes `count` textured frames of the settings' size.
void encodeClip(const video::EncoderSettings& settings, int count) {
    Encoder_ffmpeg encoder(settings);
    ASSERT_TRUE(encoder.isOpen());
    for (int index = 0; index < count; ++index)
        encoder.encode(textured(settings.width, settings.height, index));
    encoder.finish();
    EXPECT_FALSE(encoder.failed()) << encoder.failureText();
    EXPECT_EQ(encoder.encodedFrames(), count);
}

void expectConstructionFails(const video::EncoderSettings& settings, const std::string& line) {
    LogCapture log;
    Encoder_ffmpeg encoder(settings);
    EXPECT_FALSE(encoder.isOpen());
    EXPECT_TRUE(encoder.failed());
    EXPECT_EQ(log.lines(wxLOG_Error), std::vector<std::string>{line});
}

std::size_t openFiles() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

std::vector<uint8_t> meanOfEach(const std::vector<uint8_t>& pictures, std::size_t size) {
    std::vector<uint8_t> means;
    for (std::size_t start = 0; start + size <= pictures.size(); start += size) {
        uint64_t sum = 0;
        for (std::size_t at = start; at < start + size; ++at)
            sum += pictures[at];
        means.push_back(static_cast<uint8_t>(sum / size));
    }
    return means;
}

void writeText(const wxString& path, const std::string& text) {
    std::ofstream(path.utf8_string()) << text;
}

std::string readText(const wxString& path) {
    return test::readFile(path.utf8_string());
}

} // namespace

// --- Construction

TEST(Encoder, UnknownFileEndingFailsAtTheFormatGuess) {
    const TempDir dir;
    expectConstructionFails(settingsFor(dir.file("clip.nosuchending")),
                            "[video encoder] Could not guess format");
    EXPECT_FALSE(wxFileName::Exists(dir.file("clip.nosuchending")));
}

TEST(Encoder, OddSizeCannotBeOpenedAsH264ButAsMpeg4) {
    const TempDir dir;
    auto settings = settingsFor(dir.file("odd.mp4"));
    settings.width = 63;
    settings.height = 47;
    writeText(settings.path, "kept");
    expectConstructionFails(settings, "[video encoder] Could not open video codec");
    EXPECT_EQ(readText(settings.path), "kept");

    settings.codec = video::kCodecMpeg4;
    encodeClip(settings, 5);
    const auto report = test::probe(settings.path);
    EXPECT_EQ(report.number("width"), 63);
    EXPECT_EQ(report.number("height"), 47);
    EXPECT_EQ(report.packets.size(), 5u);
}

TEST(Encoder, EveryOtherCodecValueIsMpeg4) {
    const TempDir dir;
    for (const int32_t codec : {-1, 2, 1000}) {
        auto settings = settingsFor(dir.file("clip.mp4"));
        settings.codec = codec;
        encodeClip(settings, 2);
        EXPECT_EQ(test::probe(settings.path).stream["codec_name"], "mpeg4") << codec;
    }
}

TEST(Encoder, UnusableFrameRatesAndSizesFailAtTheCodec) {
    const TempDir dir;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const double fps : {0.0, -25.0, std::nan(""), kInfinity, -kInfinity, 1e-9, 1e-300, 1e300, 1e7})
        for (const int32_t codec : {video::kCodecH264, video::kCodecMpeg4}) {
            auto settings = settingsFor(dir.file("rate.mp4"), fps);
            settings.codec = codec;
            expectConstructionFails(settings, "[video encoder] Could not open video codec");
        }
    for (const int32_t side : {0, -2, 1000000}) {
        auto settings = settingsFor(dir.file("size.mp4"));
        settings.width = side;
        settings.height = side;
        expectConstructionFails(settings, "[video encoder] Could not open video codec");
    }
    EXPECT_FALSE(wxFileName::Exists(dir.file("rate.mp4")));
    EXPECT_FALSE(wxFileName::Exists(dir.file("size.mp4")));
}

TEST(Encoder, TooLittleMemoryFailsTheConstruction) {
    const TempDir dir;
    const auto settings = settingsFor(dir.file("clip.mp4"));
    av_max_alloc(1);
    expectConstructionFails(settings, "[video encoder] Could not allocate context");
    av_max_alloc(INT_MAX);
    EXPECT_FALSE(wxFileName::Exists(settings.path));
}

TEST(Encoder, MissingFolderFailsAtTheFile) {
    const TempDir dir;
    expectConstructionFails(settingsFor(dir.file("nowhere") + "/clip.mp4"),
                            "[video encoder] Could not open output context");
}

TEST(Encoder, HeaderThatCannotBeWrittenClosesTheFile) {
    const TempDir dir;
    const auto settings = settingsFor(dir.file("clip.webm")); // takes no H.264
    const std::size_t before = openFiles();
    LogCapture log;
    Encoder_ffmpeg encoder(settings);
    EXPECT_FALSE(encoder.isOpen());
    EXPECT_TRUE(encoder.touchedFile());
    EXPECT_EQ(openFiles(), before);
    EXPECT_EQ(log.lines(wxLOG_Error), std::vector<std::string>{"[video encoder] Could not write header"});
}

TEST(Encoder, AfterFailedConstructionEncodeAndFinishOnlyLog) {
    const TempDir dir;
    for (const char* name : {"clip.nosuchending", "clip.webm", "nowhere/clip.mp4"}) {
        Encoder_ffmpeg encoder(settingsFor(dir.file(name)));
        LogCapture log;
        encoder.encode(flat(64, 48, 10));
        encoder.finish();
        EXPECT_EQ(log.lines(wxLOG_Error).size(), 2u) << name;
        EXPECT_FALSE(encoder.isOpen());
        EXPECT_EQ(encoder.encodedFrames(), 0);
    }
}

TEST(Encoder, NothingIsEncodedAfterFinish) {
    const TempDir dir;
    const auto settings = settingsFor(dir.file("clip.mp4"));
    Encoder_ffmpeg encoder(settings);
    encoder.encode(flat(64, 48, 10));
    encoder.finish();
    const std::string written = readText(settings.path);
    LogCapture log;
    encoder.encode(flat(64, 48, 10));
    encoder.finish();
    EXPECT_EQ(log.lines(wxLOG_Error).size(), 2u);
    EXPECT_EQ(readText(settings.path), written);
}

TEST(Encoder, DroppedWithoutFinishLeavesNoOpenFile) {
    const TempDir dir;
    const std::size_t before = openFiles();
    {
        Encoder_ffmpeg encoder(settingsFor(dir.file("clip.mp4")));
        for (int index = 0; index < 60; ++index)
            encoder.encode(textured(64, 48, index));
        EXPECT_GT(openFiles(), before);
    }
    EXPECT_EQ(openFiles(), before);
}

// --- What is written

TEST(Encoder, H264StreamHasTheStatedShape) {
    const TempDir dir;
    const auto settings = settingsFor(dir.file("clip.mp4"));
    encodeClip(settings, 50);
    auto report = test::probe(settings.path);
    EXPECT_EQ(report.stream["codec_name"], "h264");
    EXPECT_EQ(report.stream["profile"], "Main");
    EXPECT_EQ(report.stream["pix_fmt"], "yuv420p");
    EXPECT_EQ(report.stream["codec_tag_string"], "avc1");
    EXPECT_EQ(report.format["format_name"], "mov,mp4,m4a,3gp,3g2,mj2");
    ASSERT_EQ(report.packets.size(), 50u);
    EXPECT_TRUE(report.packets.front().key);
    std::size_t sinceKey = 0;
    for (const test::Packet& packet : report.packets) {
        sinceKey = packet.key ? 0 : sinceKey + 1;
        EXPECT_LT(sinceKey, 12u);
    }
}

TEST(Encoder, Mpeg4StreamHasTheStatedShape) {
    const TempDir dir;
    auto settings = settingsFor(dir.file("clip.mp4"));
    settings.codec = video::kCodecMpeg4;
    encodeClip(settings, 50);
    auto report = test::probe(settings.path);
    EXPECT_EQ(report.stream["codec_name"], "mpeg4");
    EXPECT_EQ(report.stream["profile"], "Advanced Simple Profile");
    EXPECT_EQ(report.stream["pix_fmt"], "yuv420p");
    ASSERT_EQ(report.packets.size(), 50u);
    EXPECT_TRUE(report.packets[0].key);
    EXPECT_TRUE(report.packets[12].key);
}

TEST(Encoder, MovEndingGivesQuickTime) {
    const TempDir dir;
    const auto settings = settingsFor(dir.file("clip.mov"));
    encodeClip(settings, 30);
    auto report = test::probe(settings.path);
    EXPECT_EQ(report.format["tag:major_brand"], "qt  ");
    EXPECT_EQ(report.stream["time_base"], "1/25");
    EXPECT_EQ(report.packets.size(), 30u);
}

TEST(Encoder, OneVideoStreamAndNoMetadataButTheComment) {
    const TempDir dir;
    const auto settings = settingsFor(dir.file("clip.mp4"));
    encodeClip(settings, 10);
    auto report = test::probe(settings.path);
    EXPECT_EQ(report.format["nb_streams"], "1");
    EXPECT_EQ(report.format["tag:comment"], "Tarvex Shroud");

    // What the muxer needs, or adds itself.
    const std::set<std::string> expected{"tag:comment",           "tag:major_brand", "tag:minor_version",
                                         "tag:compatible_brands", "tag:encoder",     "tag:handler_name",
                                         "tag:language",          "tag:vendor_id"};
    for (const auto& entries : {report.format, report.stream})
        for (const auto& [key, value] : entries)
            if (key.compare(0, 4, "tag:") == 0) {
                EXPECT_TRUE(expected.count(key)) << key << " = " << value;
            }
}

TEST(Encoder, FramesOfAnotherSizeAreScaledToTheSettings) {
    const TempDir dir;
    const auto settings = settingsFor(dir.file("clip.mp4"));
    Encoder_ffmpeg encoder(settings);
    encoder.encode(flat(200, 300, 200));
    encoder.encode(flat(10, 6, 200));
    encoder.encode(flat(64, 48, 200));
    encoder.finish();
    const auto pictures = test::decodeAll(settings.path, "gray");
    ASSERT_EQ(pictures.size(), 3u * 64 * 48);
    for (const uint8_t level : pictures)
        EXPECT_NEAR(level, 200, 3);
}

TEST(Encoder, APictureOfAnotherSizeIsScaledAndNotCut) {
    const TempDir dir;
    const auto settings = settingsFor(dir.file("clip.mp4"));
    Encoder_ffmpeg encoder(settings);
    for (const int factor : {1, 2, 5}) {
        pxl::Image image(factor * settings.width, factor * settings.height);
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x) {
                const uint32_t level =
                    60u + (2 * x >= image.width ? 40 : 0) + (2 * y >= image.height ? 80 : 0);
                image.pixels[y * image.width + x] = 0xFF000000u | level * 0x010101u;
            }
        encoder.encode(std::make_shared<Picture>(std::move(image)));
    }
    encoder.finish();
    const auto pictures = test::decodeAll(settings.path, "gray");
    const auto width = static_cast<std::size_t>(settings.width);
    const auto height = static_cast<std::size_t>(settings.height);
    ASSERT_EQ(pictures.size(), 3 * width * height);
    for (std::size_t frame = 0; frame < 3; ++frame)
        for (const std::size_t right : {0u, 1u})
            for (const std::size_t lower : {0u, 1u}) {
                const std::size_t row = frame * height + height / 4 + lower * height / 2;
                EXPECT_NEAR(pictures[row * width + width / 4 + right * width / 2],
                            60 + 40 * right + 80 * lower, 4)
                    << frame;
            }
}

TEST(Encoder, OddPicturesOfOneWidthAndSeveralHeightsAreScaledWhole) {
    const TempDir dir;
    const auto settings = settingsFor(dir.file("clip.mp4"));
    Encoder_ffmpeg encoder(settings);
    for (const int height : {47, 9, 200})
        encoder.encode(flat(63, height, static_cast<uint8_t>(60 + height / 2)));
    encoder.finish();
    const auto means = meanOfEach(test::decodeAll(settings.path, "gray"), 64 * 48);
    ASSERT_EQ(means.size(), 3u);
    EXPECT_NEAR(means[0], 83, 3);
    EXPECT_NEAR(means[1], 64, 3);
    EXPECT_NEAR(means[2], 160, 3);
}

TEST(Encoder, EachFrameKeepsItsOwnContent) {
    // A codec that still holds a frame must not see the next one's pixels in it.
    const TempDir dir;
    for (const int32_t codec : {video::kCodecH264, video::kCodecMpeg4}) {
        auto settings = settingsFor(dir.file(codec == video::kCodecH264 ? "h264.mp4" : "mpeg4.mp4"));
        settings.codec = codec;
        Encoder_ffmpeg encoder(settings);
        for (int index = 0; index < 40; ++index)
            encoder.encode(flat(64, 48, static_cast<uint8_t>(index % 2 ? 30 + index : 220 - index)));
        encoder.finish();
        const auto means = meanOfEach(test::decodeAll(settings.path, "gray"), 64 * 48);
        ASSERT_EQ(means.size(), 40u);
        for (int index = 0; index < 40; ++index)
            EXPECT_NEAR(means[static_cast<std::size_t>(index)], index % 2 ? 30 + index : 220 - index, 4)
                << "frame " << index << " codec " << codec;
    }
}

TEST(Encoder, EveryColumnIsWrittenWhateverTheWidth) {
    const TempDir dir;
    for (const int width : {16, 18, 34, 46, 62, 66, 130, 426, 854, 1080, 1366, 1922, 1998}) {
        auto settings = settingsFor(dir.file("clip.mp4"));
        settings.width = width;
        settings.height = 16;
        Encoder_ffmpeg encoder(settings);
        ASSERT_TRUE(encoder.isOpen()) << width;
        encoder.encode(flat(width, 16, 0));
        encoder.encode(flat(width, 16, 255));
        encoder.finish();
        const auto pictures = test::decodeAll(settings.path, "gray");
        const auto size = static_cast<std::size_t>(width) * 16;
        ASSERT_EQ(pictures.size(), 2 * size) << width;
        for (std::size_t at = 0; at < size; ++at) {
            ASSERT_LT(pictures[at], 20)
                << "width " << width << " column " << at % static_cast<std::size_t>(width);
            ASSERT_GT(pictures[size + at], 235)
                << "width " << width << " column " << at % static_cast<std::size_t>(width);
        }
    }
}

#ifdef __linux__
namespace {

/// A picture whose first or last pixel lies next to memory that can't be read.
class FencedPicture : public video::Frame {
public:
    FencedPicture(int width, int height, bool atTheEnd) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t bytes = 4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
        const std::size_t inner = (bytes + page - 1) / page * page;
        size_ = inner + 2 * page;
        memory_ = static_cast<char*>(mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(memory_ + page, inner, PROT_READ | PROT_WRITE);
        image_ = pxl::Image::view(
            width, height, reinterpret_cast<uint32_t*>(memory_ + page + (atTheEnd ? inner - bytes : 0)));
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                image_.pixels[y * width + x] = x == width - 1 ? kRed : x == 0 ? kBlue : kRed;
    }
    ~FencedPicture() override { munmap(memory_, size_); }
    FencedPicture(const FencedPicture&) = delete;
    FencedPicture& operator=(const FencedPicture&) = delete;
    const pxl::Image* image() const override { return &image_; }
    int64_t frameIndex() const override { return 1; }

private:
    static constexpr uint32_t kRed = 0xFF0000C0;
    static constexpr uint32_t kBlue = 0xFFC00000;

    char* memory_ = nullptr;
    std::size_t size_ = 0;
    pxl::Image image_;
};

} // namespace

TEST(Encoder, ReadsNothingBeyondThePictureWhateverItsWidth) {
    const TempDir dir;
    std::vector<int> widths;
    for (int width = 1; width <= 130; ++width)
        widths.push_back(width);
    for (const int width : {319, 321, 322, 426, 639, 853, 854, 855, 1079, 1080, 1366, 1919, 1921, 1922, 1999})
        widths.push_back(width);
    for (const int width : widths)
        for (const bool scaled : {false, true}) {
            auto settings = settingsFor(dir.file("clip.mp4"));
            settings.width = scaled ? 64 : width;
            settings.height = scaled ? 48 : 1 + width % 5;
            settings.codec = video::kCodecMpeg4;
            Encoder_ffmpeg encoder(settings);
            ASSERT_TRUE(encoder.isOpen()) << width;
            for (const bool atTheEnd : {true, false})
                encoder.encode(std::make_shared<FencedPicture>(width, 1 + width % 5, atTheEnd));
            encoder.finish();
            EXPECT_EQ(encoder.encodedFrames(), 2) << width;
        }
}

TEST(Encoder, LastColumnOfAnOddWidthIsNotMixedWithTheNextRow) {
    const TempDir dir;
    for (const int width : {33, 65, 321}) {
        auto settings = settingsFor(dir.file("clip.mp4"));
        settings.width = width;
        settings.height = 32;
        settings.codec = video::kCodecMpeg4;
        Encoder_ffmpeg encoder(settings);
        encoder.encode(std::make_shared<FencedPicture>(width, 32, true));
        encoder.finish();
        const auto planes = test::decodeAll(settings.path, "yuv420p");
        const auto columns = static_cast<std::size_t>(width + 1) / 2;
        const std::size_t luma = static_cast<std::size_t>(width) * 32;
        ASSERT_EQ(planes.size(), luma + 2 * columns * 16);
        for (std::size_t row = 0; row < 32; ++row) // of both chroma planes
            EXPECT_NEAR(planes[luma + row * columns + columns - 1],
                        planes[luma + row * columns + columns - 6], 8)
                << width << " row " << row;
    }
}
#endif

TEST(Encoder, MissingPictureLeavesAGapAndIsReportedOnce) {
    const TempDir dir;
    const auto settings = settingsFor(dir.file("clip.mp4"));
    LogCapture log;
    Encoder_ffmpeg encoder(settings);
    encoder.encode(flat(64, 48, 100));
    encoder.encode(nullptr);
    encoder.encode(std::make_shared<Picture>(pxl::Image()));
    encoder.encode(flat(64, 48, 100));
    encoder.finish();
    EXPECT_TRUE(encoder.failed());
    EXPECT_EQ(log.lines(wxLOG_Error).size(), 1u);
    const auto report = test::probe(settings.path);
    ASSERT_EQ(report.packets.size(), 2u);
    EXPECT_EQ(report.packets[1].pts, 3);
}

// --- Paths

TEST(Encoder, WritesToNamesOutsideAscii) {
    const TempDir dir;
    const auto settings = settingsFor(dir.file(wxString::FromUTF8("Клип 🎬 100%.mp4")));
    encodeClip(settings, 3);
    EXPECT_EQ(test::probe(settings.path).packets.size(), 3u);
}

TEST(Encoder, RelativeNameWithAColonIsAFileName) {
    const TempDir dir;
    const wxString before = wxGetCwd();
    wxSetWorkingDirectory(dir.path());
    {
        const auto settings = settingsFor("a:b.mp4");
        encodeClip(settings, 3);
    }
    wxSetWorkingDirectory(before);
    EXPECT_EQ(test::probe(dir.file("a:b.mp4")).packets.size(), 3u);
}

// --- Failures while writing

TEST(Encoder, FullDiskAtTheHeaderFailsTheConstruction) {
    if (!wxFileName::Exists("/dev/full"))
        GTEST_SKIP() << "no /dev/full here";
    const TempDir dir;
    const auto settings = settingsFor(dir.file("clip.mp4"));
    std::filesystem::create_symlink("/dev/full", settings.path.utf8_string());
    expectConstructionFails(settings, "[video encoder] Could not write header");
}

TEST(Encoder, WriteFailureIsRememberedAndLoggedOnceWhileEncodingGoesOn) {
    const TempDir dir;
    auto settings = settingsFor(dir.file("clip.mp4"));
    settings.width = 320;
    settings.height = 240;
    LogCapture log;
    Encoder_ffmpeg encoder(settings);
    ASSERT_TRUE(encoder.isOpen());
    {
        const test::FileSizeLimit limit(20000);
        for (int index = 0; index < 120; ++index)
            encoder.encode(textured(320, 240, index * 7));
        encoder.finish();
    }
    EXPECT_TRUE(encoder.failed());
    EXPECT_EQ(encoder.encodedFrames(), 120);
    ASSERT_EQ(log.lines(wxLOG_Error).size(), 1u);
    EXPECT_EQ(log.lines(wxLOG_Error).front(), "[video encoder] " + encoder.failureText().utf8_string());
    EXPECT_LE(readText(settings.path).size(), 20000u);
}
