#include "gl_test.h"

#include "pxl/gl_startup.h"
#include "pxl/image_file.h"
#include "pxl/stream.h"
#include "support/paths.h"
#include "support/pxl_log_capture.h"

#include <algorithm>
#include <cstring>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ImageFileOnCardTest : public test::GlTest {};

class MemoryStream : public pxl::Stream {
public:
    explicit MemoryStream(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}
    int64_t tell() override { return static_cast<int64_t>(position_); }
    int64_t seek(int64_t offset) override {
        position_ = static_cast<std::size_t>(offset);
        return offset;
    }
    uint64_t read(uint8_t* buffer, uint64_t count) override {
        const std::size_t available = std::min<std::size_t>(count, bytes_.size() - position_);
        if (available > 0)
            std::memcpy(buffer, bytes_.data() + position_, available);
        position_ += available;
        return available;
    }
    uint64_t size() override { return bytes_.size() + missing; }
    bool valid() const override { return true; }

    /// Bytes that are promised, but not there.
    uint64_t missing = 0;

private:
    std::vector<uint8_t> bytes_;
    std::size_t position_ = 0;
};

/// 2 × 1 pixels: (255, 128, 0, 255) and (10, 20, 30, 64).
const std::vector<uint8_t> twoPixels = {
    0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a, 0x00, 0x00, 0x00, 0x0d, 0x49, 0x48, 0x44,
    0x52, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x01, 0x08, 0x06, 0x00, 0x00, 0x00, 0xf4,
    0x22, 0x7f, 0x8a, 0x00, 0x00, 0x00, 0x11, 0x49, 0x44, 0x41, 0x54, 0x78, 0x9c, 0x63, 0xf8,
    0xdf, 0xc0, 0xf0, 0x9f, 0x4b, 0x44, 0xce, 0x01, 0x00, 0x11, 0x5c, 0x02, 0xfb, 0xb3, 0x8d,
    0x51, 0x5a, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4e, 0x44, 0xae, 0x42, 0x60, 0x82};

std::string buttonImage(const std::string& name) {
    return test::sourceDir() + "/resources/images/" + name;
}

} // namespace

TEST(ImageFile, DecodesPixelsAsBytesRedGreenBlueAlpha) {
    MemoryStream stream(twoPixels);
    const pxl::Image image = pxl::decodePng(stream);
    ASSERT_EQ(image.width, 2);
    ASSERT_EQ(image.height, 1);
    const auto* bytes = reinterpret_cast<const uint8_t*>(image.pixels);
    EXPECT_THAT(std::vector<uint8_t>(bytes, bytes + 8), ElementsAre(255, 128, 0, 255, 10, 20, 30, 64));
}

TEST(ImageFile, RgbVariantThrowsTheTransparencyAway) {
    MemoryStream stream(twoPixels);
    const pxl::Image image = pxl::decodePngRgb(stream);
    const auto* bytes = reinterpret_cast<const uint8_t*>(image.pixels);
    ASSERT_NE(bytes, nullptr);
    EXPECT_THAT(std::vector<uint8_t>(bytes, bytes + 8), ElementsAre(255, 128, 0, 255, 10, 20, 30, 255));
}

TEST(ImageFile, DecodesFromTheStreamsPosition) {
    std::vector<uint8_t> bytes = {1, 2, 3};
    bytes.insert(bytes.end(), twoPixels.begin(), twoPixels.end());
    MemoryStream stream(bytes);
    stream.seek(3);
    EXPECT_EQ(pxl::decodePng(stream).width, 2);
}

TEST(ImageFile, PositionBehindTheEndIsNoPicture) {
    test::PxlLogCapture log;
    MemoryStream stream(twoPixels);
    stream.seek(static_cast<int64_t>(twoPixels.size()) + 1);
    EXPECT_TRUE(pxl::decodePng(stream).empty());
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Could not load png image"));
}

TEST(ImageFile, FileThatHasBecomeShorterIsNoPicture) {
    test::PxlLogCapture log;
    MemoryStream stream(twoPixels);
    stream.missing = 1;
    EXPECT_TRUE(pxl::decodePng(stream).empty());
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Could not load png image"));
}

TEST(ImageFile, EveryTruncationIsLoggedAndEmpty) {
    // The last chunk only says that the picture ends; without it the decoder has everything or refuses.
    for (std::size_t length = 0; length + 12 < twoPixels.size(); ++length) {
        test::PxlLogCapture log;
        MemoryStream stream({twoPixels.begin(), twoPixels.begin() + static_cast<std::ptrdiff_t>(length)});
        EXPECT_TRUE(pxl::decodePng(stream).empty()) << length;
        EXPECT_THAT(log.errors(), ElementsAre("[Error] Could not load png image"));
    }
}

TEST(ImageFile, RgbFailureHasItsOwnText) {
    test::PxlLogCapture log;
    MemoryStream stream({'n', 'o'});
    EXPECT_TRUE(pxl::decodePngRgb(stream).empty());
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Could not load rgb image"));
}

TEST(ImageFile, StreamOverNoFileIsNoPicture) {
    test::PxlLogCapture log;
    pxl::FileStream stream(nullptr);
    EXPECT_TRUE(pxl::decodePng(stream).empty());
    EXPECT_THAT(log.errors(),
                ElementsAre("[Error] Invalid fileref for filestream", "[Error] Could not load png image"));
}

TEST(ImageFile, MissingFileIsLoggedWithItsPath) {
    test::PxlLogCapture log;
    EXPECT_TRUE(pxl::readPngFile("no/such/picture.png").empty());
    EXPECT_TRUE(pxl::readPngFileRgb("no/such/picture.png").empty());
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Could not read image file: no/such/picture.png",
                                          "[Error] Could not read image file: no/such/picture.png"));
}

TEST(ImageFile, FolderIsNoReadableFile) {
    test::PxlLogCapture log;
    EXPECT_TRUE(pxl::readPngFile(test::sourceDir()).empty());
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Could not read image file: " + test::sourceDir()));
}

TEST(ImageFile, FileThatIsNoPictureIsLogged) {
    test::PxlLogCapture log;
    EXPECT_TRUE(pxl::readPngFile(test::sourceDir() + "/CMakeLists.txt").empty());
    EXPECT_TRUE(pxl::readPngFileRgb(test::sourceDir() + "/CMakeLists.txt").empty());
    EXPECT_THAT(log.errors(),
                ElementsAre("[Error] Could not load png image", "[Error] Could not load rgb image"));
}

TEST(ImageFile, ButtonImagesAreWhiteDrawingsOnTransparentGround) {
    for (const char* name : {"ano_play.png", "ano_pause.png", "ano_del.png", "ano_ai.png"}) {
        test::PxlLogCapture log;
        const pxl::Image image = pxl::readPngFile(buttonImage(name));
        EXPECT_THAT(log.errors(), IsEmpty());
        ASSERT_EQ(image.width, 64) << name;
        ASSERT_EQ(image.height, 64) << name;
        const auto alpha = [&](std::size_t i) { return image.pixels[i] >> 24; };
        EXPECT_EQ(alpha(0), 0u) << name;
        std::size_t solid = 0;
        for (std::size_t i = 0; i < image.pixelCount(); ++i)
            solid += alpha(i) > 200 ? 1 : 0;
        EXPECT_GT(solid, 300u) << name;
    }
}

TEST_F(ImageFileOnCardTest, LoadedTextureHoldsThePicture) {
    const pxl::Image image = pxl::readPngFile(buttonImage("ano_play.png"));
    const auto texture = pxl::loadTexture(buttonImage("ano_play.png"));
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->width(), 64u);
    const std::vector<pxl::Color> content = test::readTexture(*texture);
    EXPECT_EQ(std::memcmp(content.data(), image.pixels, image.byteCount()), 0);
}

TEST_F(ImageFileOnCardTest, PictureThatTheDriverRefusesGivesNoTexture) {
    test::PxlLogCapture log;
    const int32_t width = pxl::graphicsLimits().maxTextureSize + 1;
    EXPECT_FALSE(pxl::createTexture(pxl::Image(width, 1)));
    EXPECT_THAT(log.errors(), ElementsAre(testing::StartsWith("[Error] Texture creation failed")));
}

TEST_F(ImageFileOnCardTest, PictureThatCannotBeReadGivesNoTexture) {
    test::PxlLogCapture log;
    EXPECT_FALSE(pxl::loadTexture("no/such/picture.png"));
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Could not read image file: no/such/picture.png"));
}
