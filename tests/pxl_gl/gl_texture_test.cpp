#include "gl_test.h"

#include "pxl/gl_startup.h"
#include "pxl/gl_texture.h"
#include "support/pxl_log_capture.h"

#include <algorithm>
#include <cstring>

#include <gmock/gmock.h>

using pxl::Color;
using test::Replaced;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

class GlTextureTest : public test::GlTest {};

std::vector<Color> gradient(uint32_t width, uint32_t height) {
    std::vector<Color> pixels(std::size_t{width} * height);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = {static_cast<uint8_t>(i), static_cast<uint8_t>(i * 7), static_cast<uint8_t>(255 - i),
                     static_cast<uint8_t>(i * 3)};
    return pixels;
}

GLsizeiptr lastBufferSize = 0;
int deletions = 0;

} // namespace

TEST_F(GlTextureTest, KnowsItsSizeNameAndFlag) {
    const auto texture = pxl::createTexture(7, 3);
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->width(), 7u);
    EXPECT_EQ(texture->height(), 3u);
    EXPECT_TRUE(glIsTexture(texture->nativeName()));
    EXPECT_EQ(texture->flipped(), 0);
}

TEST_F(GlTextureTest, UploadKeepsOddSizedRowsPacked) {
    const auto texture = pxl::createTexture(7, 3);
    const auto pixels = gradient(7, 3);
    texture->upload(pixels.data());
    EXPECT_EQ(test::readTexture(*texture), pixels);
}

TEST_F(GlTextureTest, UploadOfNoPixelsIsLoggedAndChangesNothing) {
    const auto texture = pxl::createTexture(2, 2);
    const auto pixels = gradient(2, 2);
    texture->upload(pixels.data());
    test::PxlLogCapture log;
    texture->upload(nullptr);
    EXPECT_THAT(log.errors(), SizeIs(1));
    EXPECT_EQ(test::readTexture(*texture), pixels);
}

TEST_F(GlTextureTest, MappedPixelsBecomeTheContentWhenUnmapped) {
    const auto texture = pxl::createTexture(5, 4);
    const auto first = gradient(5, 4);
    texture->upload(first.data());
    const pxl::Texture::Mapping mapping = texture->map();
    ASSERT_TRUE(mapping);
    EXPECT_EQ(mapping.pitch, 20u);
    std::vector<Color> second(20, Color{9, 8, 7, 6});
    second[19] = {1, 2, 3, 4};
    std::memcpy(mapping.pixels, second.data(), second.size() * sizeof(Color));
    texture->unmap();
    EXPECT_EQ(test::readTexture(*texture), second);
}

TEST_F(GlTextureTest, MapsAgainAndAgain) {
    const auto texture = pxl::createTexture(16, 16);
    for (uint8_t round = 0; round < 5; ++round) {
        const auto mapping = texture->map();
        ASSERT_TRUE(mapping);
        std::memset(mapping.pixels, round, 16 * 16 * 4);
        texture->unmap();
        EXPECT_EQ(test::readTexture(*texture)[255], (Color{round, round, round, round}));
    }
}

TEST_F(GlTextureTest, AnotherTextureMayBeUploadedWhileOneIsMapped) {
    const auto mapped = pxl::createTexture(4, 4);
    const auto other = pxl::createTexture(4, 4);
    const auto pixels = gradient(4, 4);
    const auto mapping = mapped->map();
    ASSERT_TRUE(mapping);
    other->upload(pixels.data());
    std::memset(mapping.pixels, 5, 64);
    mapped->unmap();
    EXPECT_EQ(test::readTexture(*other), pixels);
    EXPECT_EQ(test::readTexture(*mapped)[15], (Color{5, 5, 5, 5}));
}

TEST_F(GlTextureTest, UnpackBufferHoldsFourBytesPerPixel) {
    const auto original = epoxy_glBufferData;
    static PFNGLBUFFERDATAPROC forward;
    forward = original;
    const Replaced<PFNGLBUFFERDATAPROC> spy(
        epoxy_glBufferData, [](GLenum target, GLsizeiptr size, const void* data, GLenum usage) {
            EXPECT_EQ(target, static_cast<GLenum>(GL_PIXEL_UNPACK_BUFFER));
            EXPECT_EQ(usage, static_cast<GLenum>(GL_STREAM_DRAW));
            lastBufferSize = size;
            forward(target, size, data, usage);
        });
    pxl::createTexture(33, 21);
    EXPECT_EQ(lastBufferSize, 33 * 21 * 4);
}

TEST_F(GlTextureTest, RefusedMappingIsLoggedAndNull) {
    const auto texture = pxl::createTexture(2, 2);
    const auto pixels = gradient(2, 2);
    texture->upload(pixels.data());
    test::PxlLogCapture log;
    {
        const Replaced<PFNGLMAPBUFFERPROC> refuse(epoxy_glMapBuffer,
                                                  [](GLenum, GLenum) -> void* { return nullptr; });
        EXPECT_FALSE(texture->map());
    }
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Could not map texture"));
    texture->unmap();
    EXPECT_EQ(test::readTexture(*texture), pixels);
    EXPECT_TRUE(texture->map());
    texture->unmap();
}

TEST_F(GlTextureTest, MappingTwiceIsRefusedOnce) {
    const auto texture = pxl::createTexture(2, 2);
    ASSERT_TRUE(texture->map());
    test::PxlLogCapture log;
    EXPECT_FALSE(texture->map());
    EXPECT_THAT(log.errors(), SizeIs(1));
    texture->unmap();
}

TEST_F(GlTextureTest, MappedMemoryThatGotLostIsNotUploaded) {
    const auto texture = pxl::createTexture(2, 2);
    const auto pixels = gradient(2, 2);
    texture->upload(pixels.data());
    std::memset(texture->map().pixels, 1, 16);
    test::PxlLogCapture log;
    {
        static PFNGLUNMAPBUFFERPROC forward;
        forward = epoxy_glUnmapBuffer;
        const Replaced<PFNGLUNMAPBUFFERPROC> lose(epoxy_glUnmapBuffer, [](GLenum target) -> GLboolean {
            forward(target);
            return GL_FALSE;
        });
        EXPECT_FALSE(texture->unmap());
    }
    EXPECT_THAT(log.errors(), SizeIs(1));
    EXPECT_EQ(test::readTexture(*texture), pixels);
}

TEST_F(GlTextureTest, MappingAllocatesNothing) {
    const auto texture = pxl::createTexture(4, 4);
    static int allocations;
    allocations = 0;
    const Replaced<PFNGLBUFFERDATAPROC> count(epoxy_glBufferData,
                                              [](GLenum, GLsizeiptr, const void*, GLenum) { ++allocations; });
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(texture->map());
        EXPECT_TRUE(texture->unmap());
    }
    EXPECT_EQ(allocations, 0);
}

TEST_F(GlTextureTest, AbandonedTexturesAreNotGivenBack) {
    auto texture = pxl::createTexture(4, 4);
    const GLuint name = texture->nativeName();
    pxl::abandonGraphics();
    texture.reset();
    EXPECT_TRUE(glIsTexture(name));
    glDeleteTextures(1, &name);
    ASSERT_TRUE(pxl::startGraphics());
}

TEST_F(GlTextureTest, MayBeDestroyedWhileMapped) {
    auto texture = pxl::createTexture(64, 64);
    ASSERT_TRUE(texture->map());
    texture.reset();
}

TEST_F(GlTextureTest, SizesTheDriverCannotHoldGiveAnEmptyPointer) {
    const auto limit = static_cast<uint32_t>(pxl::graphicsLimits().maxTextureSize);
    const std::pair<uint32_t, uint32_t> sizes[] = {
        {0, 4}, {4, 0}, {limit + 1, 1}, {1, limit + 1}, {0xFFFFFFFF, 0xFFFFFFFF}};
    for (const auto& [width, height] : sizes) {
        test::PxlLogCapture log;
        EXPECT_FALSE(pxl::createTexture(width, height));
        EXPECT_THAT(log.errors(), ElementsAre(StartsWith("[Error] Texture creation failed")));
    }
}

TEST_F(GlTextureTest, TheLargestWidthWorks) {
    const auto limit = static_cast<uint32_t>(pxl::graphicsLimits().maxTextureSize);
    test::PxlLogCapture log;
    EXPECT_TRUE(pxl::createTexture(limit, 1));
    EXPECT_THAT(log.errors(), IsEmpty());
}

TEST_F(GlTextureTest, DriverWithoutMemoryGivesAnEmptyPointer) {
    static PFNGLGETERRORPROC forward;
    static int calls;
    calls = 0;
    forward = epoxy_glGetError;
    test::PxlLogCapture log;
    const Replaced<PFNGLGETERRORPROC> outOfMemory(epoxy_glGetError, []() -> GLenum {
        return calls++ == 1 ? static_cast<GLenum>(GL_OUT_OF_MEMORY) : forward();
    });
    EXPECT_FALSE(pxl::createTexture(4, 4));
    EXPECT_THAT(log.errors(), SizeIs(1));
}

TEST_F(GlTextureTest, ErrorsOfEarlierCallsAreNotTakenForALackOfMemory) {
    test::PxlLogCapture log;
    // Nothing that could be enabled.
    glEnable(0);
    EXPECT_TRUE(pxl::createTexture(4, 4));
    EXPECT_THAT(log.errors(), IsEmpty());
}

TEST_F(GlTextureTest, ErrorsWithoutEndGiveAnEmptyPointer) {
    test::PxlLogCapture log;
    const Replaced<PFNGLGETERRORPROC> lost(epoxy_glGetError, []() -> GLenum { return GL_INVALID_OPERATION; });
    EXPECT_FALSE(pxl::createTexture(4, 4));
    EXPECT_THAT(log.errors(), SizeIs(1));
}

TEST_F(GlTextureTest, ContextWithoutNamesGivesAnEmptyPointer) {
    test::PxlLogCapture log;
    const Replaced<PFNGLGENTEXTURESPROC> nameless(
        epoxy_glGenTextures, [](GLsizei count, GLuint* names) { std::fill_n(names, count, 0u); });
    EXPECT_FALSE(pxl::createTexture(4, 4));
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Texture creation failed: 4x4, no name"));
}

TEST_F(GlTextureTest, NameDiesWithTheTexture) {
    auto texture = pxl::createTexture(4, 4);
    const GLuint name = texture->nativeName();
    texture.reset();
    EXPECT_FALSE(glIsTexture(name));
}

TEST_F(GlTextureTest, NameZeroIsNeverDeleted) {
    deletions = 0;
    const Replaced<PFNGLDELETETEXTURESPROC> countTextures(epoxy_glDeleteTextures,
                                                          [](GLsizei, const GLuint*) { ++deletions; });
    const Replaced<PFNGLDELETEBUFFERSPROC> countBuffers(epoxy_glDeleteBuffers,
                                                        [](GLsizei, const GLuint*) { ++deletions; });
    { const pxl::GLTexture nameless({}, {}, 4, 4, 0); }
    EXPECT_EQ(deletions, 0);
}

TEST_F(GlTextureTest, RenderTargetsTextureIsFlipped) {
    const auto target = pxl::createRenderTarget(8, 4);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->size(), (pxl::Size{8, 4}));
    EXPECT_EQ(target->width(), 8);
    EXPECT_EQ(target->height(), 4);
    EXPECT_EQ(target->texture()->flipped(), 1);
    target->clear({10, 20, 30, 40});
    for (const Color color : test::readTexture(*target->texture()))
        EXPECT_EQ(color, (Color{10, 20, 30, 40}));
}

TEST_F(GlTextureTest, RenderTargetOfAnImpossibleSizeIsEmpty) {
    test::PxlLogCapture log;
    EXPECT_FALSE(pxl::createRenderTarget(0, 4));
    EXPECT_THAT(log.errors(), SizeIs(1));
}

TEST_F(GlTextureTest, IncompleteFramebufferGivesNoRenderTarget) {
    test::PxlLogCapture log;
    const Replaced<PFNGLCHECKFRAMEBUFFERSTATUSPROC> incomplete(
        epoxy_glCheckFramebufferStatus, [](GLenum) -> GLenum { return GL_FRAMEBUFFER_UNSUPPORTED; });
    EXPECT_FALSE(pxl::createRenderTarget(4, 4));
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Render target creation failed"));
}
