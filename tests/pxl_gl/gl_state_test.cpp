#include "gl_test.h"

#include "pxl/gl_debug.h"
#include "pxl/gl_startup.h"
#include "pxl/gl_state.h"

#include <cstring>
#include <optional>
#include <utility>

using pxl::BlendEquation;
using pxl::BlendFactor;
using pxl::Filter;
using pxl::Wrap;

namespace {

class GlStateTest : public test::GlTest {};

} // namespace

TEST(GlState, BlendEquationsFollowTheCodeTable) {
    const GLenum expected[] = {GL_FUNC_ADD, GL_FUNC_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT, GL_MIN, GL_MAX};
    for (uint32_t code = 0; code < std::size(expected); ++code)
        EXPECT_EQ(pxl::gl::blendEquation(static_cast<BlendEquation>(code)), expected[code]);
}

TEST(GlState, BlendFactorsFollowTheCodeTable) {
    const GLenum expected[] = {GL_ZERO,
                               GL_ONE,
                               GL_SRC_COLOR,
                               GL_ONE_MINUS_SRC_COLOR,
                               GL_DST_COLOR,
                               GL_ONE_MINUS_DST_COLOR,
                               GL_SRC_ALPHA,
                               GL_ONE_MINUS_SRC_ALPHA,
                               GL_DST_ALPHA,
                               GL_ONE_MINUS_DST_ALPHA,
                               GL_CONSTANT_COLOR,
                               GL_ONE_MINUS_CONSTANT_COLOR,
                               GL_CONSTANT_ALPHA,
                               GL_ONE_MINUS_CONSTANT_ALPHA,
                               GL_SRC_ALPHA_SATURATE,
                               GL_SRC1_COLOR,
                               GL_ONE_MINUS_SRC1_COLOR,
                               GL_SRC1_ALPHA,
                               GL_ONE_MINUS_SRC1_ALPHA};
    for (uint32_t code = 0; code < std::size(expected); ++code)
        EXPECT_EQ(pxl::gl::blendFactor(static_cast<BlendFactor>(code)), expected[code]) << code;
    EXPECT_EQ(pxl::gl::blendFactor(static_cast<BlendFactor>(19)), static_cast<GLenum>(GL_ZERO));
    EXPECT_EQ(pxl::gl::blendFactor(static_cast<BlendFactor>(0xFFFFFFFF)), static_cast<GLenum>(GL_ZERO));
}

TEST(GlState, OnlyFilterTwoIsNearestAndOnlyWrapOneClamps) {
    for (uint32_t code = 0; code < 5; ++code) {
        EXPECT_EQ(pxl::gl::samplerFilter(static_cast<Filter>(code)), code == 2 ? GL_NEAREST : GL_LINEAR);
        EXPECT_EQ(pxl::gl::samplerWrap(static_cast<Wrap>(code)), code == 1 ? GL_CLAMP_TO_EDGE : GL_REPEAT);
    }
}

TEST(GlState, ScissorIsCountedFromTheBottom) {
    const pxl::gl::Scissor scissor = pxl::gl::scissorOf({10, 20, 30, 40}, 100);
    EXPECT_EQ(scissor.x, 10);
    EXPECT_EQ(scissor.y, 40);
    EXPECT_EQ(scissor.width, 30);
    EXPECT_EQ(scissor.height, 40);
}

TEST(GlState, NegativeClipSizesBecomeEmpty) {
    const pxl::gl::Scissor scissor = pxl::gl::scissorOf({10, 20, -30, -40}, 100);
    EXPECT_EQ(scissor.width, 0);
    EXPECT_EQ(scissor.height, 0);
    EXPECT_EQ(scissor.y, 120);
}

TEST(GlState, DebugNamesBelongToTheDriversValues) {
    const std::pair<GLenum, const char*> types[] = {
        {GL_DEBUG_TYPE_ERROR, "ERROR"},
        {GL_DEBUG_TYPE_DEPRECATED_BEHAVIOR, "DEPRECATED BEHAVIOR"},
        {GL_DEBUG_TYPE_UNDEFINED_BEHAVIOR, "UNDEFINED BEHAVIOR"},
        {GL_DEBUG_TYPE_PORTABILITY, "PORTABILITY"},
        {GL_DEBUG_TYPE_PERFORMANCE, "PEROFRMANCE"},
        {GL_DEBUG_TYPE_OTHER, "OTHER"},
        {GL_DEBUG_TYPE_MARKER, "MARKER"},
        {GL_DEBUG_TYPE_PUSH_GROUP, "PUSH GROUP"},
        {GL_DEBUG_TYPE_POP_GROUP, "POP GROUP"},
        {0, ""}};
    for (const auto& [value, name] : types)
        EXPECT_EQ(pxl::debugTypeName(value), name);
    const std::pair<GLenum, const char*> severities[] = {{GL_DEBUG_SEVERITY_HIGH, "HIGH"},
                                                         {GL_DEBUG_SEVERITY_MEDIUM, "MEDIUM"},
                                                         {GL_DEBUG_SEVERITY_LOW, "LOW"},
                                                         {GL_DEBUG_SEVERITY_NOTIFICATION, "NOTIFICATION"},
                                                         {0, ""}};
    for (const auto& [value, name] : severities)
        EXPECT_EQ(pxl::debugSeverityName(value), name);
}

TEST_F(GlStateTest, SamplersAreMadeOncePerSettings) {
    std::optional<pxl::gl::SamplerCache> cache(std::in_place);
    const GLuint nearest = cache->get({});
    const GLuint linear = cache->get({Filter::Linear, Wrap::Repeat, Wrap::ClampToEdge});
    EXPECT_NE(nearest, linear);
    EXPECT_EQ(cache->get({Filter::Nearest, Wrap::ClampToEdge, Wrap::ClampToEdge}), nearest);
    EXPECT_EQ(cache->get({Filter::Linear, Wrap::Repeat, Wrap::ClampToEdge}), linear);
    const auto parameter = [](GLuint sampler, GLenum name) {
        GLint value = 0;
        glGetSamplerParameteriv(sampler, name, &value);
        return value;
    };
    EXPECT_EQ(parameter(nearest, GL_TEXTURE_MIN_FILTER), GL_NEAREST);
    EXPECT_EQ(parameter(nearest, GL_TEXTURE_MAG_FILTER), GL_NEAREST);
    EXPECT_EQ(parameter(nearest, GL_TEXTURE_WRAP_S), GL_CLAMP_TO_EDGE);
    EXPECT_EQ(parameter(linear, GL_TEXTURE_MIN_FILTER), GL_LINEAR);
    EXPECT_EQ(parameter(linear, GL_TEXTURE_WRAP_S), GL_REPEAT);
    EXPECT_EQ(parameter(linear, GL_TEXTURE_WRAP_T), GL_CLAMP_TO_EDGE);
    pxl::gl::SamplerCache other;
    EXPECT_NE(other.get({}), nearest) << "another context's";
    cache.reset();
    EXPECT_FALSE(glIsSampler(nearest));
    EXPECT_FALSE(glIsSampler(linear));
}

TEST_F(GlStateTest, StartKeepsLimitsAndAlignments) {
    const pxl::GraphicsLimits& limits = pxl::graphicsLimits();
    EXPECT_GE(limits.majorVersion * 10 + limits.minorVersion, 33);
    EXPECT_GE(limits.maxColorAttachments, 8);
    EXPECT_GE(limits.maxTextureSize, 1024);
    EXPECT_GE(limits.maxRenderbufferSize, 1024);
    EXPECT_GE(limits.maxSamples, 1);
    EXPECT_GE(limits.maxTextureImageUnits, 16);
    EXPECT_GT(limits.maxElementsIndices, 0);
    EXPECT_GT(limits.maxElementsVertices, 0);
    GLint pack = 0;
    GLint unpack = 0;
    glGetIntegerv(GL_PACK_ALIGNMENT, &pack);
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &unpack);
    EXPECT_EQ(pack, 1);
    EXPECT_EQ(unpack, 1);
}

TEST_F(GlStateTest, StartAsksForOneRefreshPerSwapAndOutlivesARefusal) {
    int interval = 0;
    EXPECT_TRUE(pxl::startGraphics([&](int value) {
        interval = value;
        return false;
    }));
    EXPECT_EQ(interval, 1);
}

TEST_F(GlStateTest, DriverMessagesReachStandardOutputWithoutALineBreak) {
    if (epoxy_gl_version() < 43 && !epoxy_has_gl_extension("GL_KHR_debug"))
        GTEST_SKIP() << "this driver has no debug output";
    testing::internal::CaptureStdout();
    const auto insert = [](GLenum type, GLenum severity, const char* text) {
        glDebugMessageInsert(GL_DEBUG_SOURCE_APPLICATION, type, 1, severity, -1, text);
    };
    insert(GL_DEBUG_TYPE_ERROR, GL_DEBUG_SEVERITY_HIGH, "one");
    insert(GL_DEBUG_TYPE_OTHER, GL_DEBUG_SEVERITY_HIGH, "dropped");
    insert(GL_DEBUG_TYPE_PERFORMANCE, GL_DEBUG_SEVERITY_NOTIFICATION, "two");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "GL (ERROR:HIGH) oneGL (PEROFRMANCE) two");
}

TEST_F(GlStateTest, DriverMessagesWithoutALengthEndWithTheirTerminator) {
    if (epoxy_gl_version() < 43 && !epoxy_has_gl_extension("GL_KHR_debug"))
        GTEST_SKIP() << "this driver has no debug output";
    void* callback = nullptr;
    glGetPointerv(GL_DEBUG_CALLBACK_FUNCTION, &callback);
    ASSERT_NE(callback, nullptr);
    const auto tell = reinterpret_cast<GLDEBUGPROC>(callback);
    testing::internal::CaptureStdout();
    for (const GLsizei length : {-1, 3})
        tell(GL_DEBUG_SOURCE_API, GL_DEBUG_TYPE_ERROR, 1, GL_DEBUG_SEVERITY_LOW, length, "one two", nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "GL (ERROR:LOW) one twoGL (ERROR:LOW) one");
}
