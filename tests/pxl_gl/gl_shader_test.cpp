#include "gl_test.h"

#include "pxl/gl_shader.h"
#include "support/pxl_log_capture.h"

#include <gmock/gmock.h>

#include <utility>

using pxl::Uniform;
using pxl::UniformKind;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

class GlShaderTest : public test::GlTest {};

const std::string plainVertex = "#version 330\nlayout(location=0) in vec2 a_position;\n"
                                "void main(void)\n{\n\tgl_Position = vec4(a_position, 0, 1);\n}";

std::string fragmentReturning(const std::string& uniforms, const std::string& expression) {
    return "#version 330\n" + uniforms + "out vec4 o_color;\nvoid main(void)\n{\n\to_color = " + expression +
           ";\n}";
}

const Uniform* find(const pxl::Shader& shader, const std::string& name) {
    for (const Uniform& uniform : shader.uniforms()) {
        if (uniform.name == name)
            return &uniform;
    }
    return nullptr;
}

} // namespace

TEST_F(GlShaderTest, TheProgramsShaderHasItsThreeEntries) {
    test::PxlLogCapture log;
    const auto shader = pxl::createShader();
    ASSERT_TRUE(shader);
    EXPECT_THAT(log.errors(), IsEmpty());
    std::vector<std::string> names;
    for (const Uniform& uniform : shader->uniforms())
        names.push_back(uniform.name);
    EXPECT_THAT(names, UnorderedElementsAre("u_matrix", "u_texture", "u_texture_sampler"));
    const Uniform* matrix = find(*shader, "u_matrix");
    EXPECT_EQ(matrix->kind, UniformKind::Mat4);
    EXPECT_EQ(matrix->arraySize, 1u);
    EXPECT_GE(matrix->location, 0);
    const Uniform* texture = find(*shader, "u_texture");
    EXPECT_EQ(texture->kind, UniformKind::Sampler2D);
    EXPECT_EQ(texture->unit, 0u);
    EXPECT_EQ(texture + 1, find(*shader, "u_texture_sampler"));
    EXPECT_EQ(texture[1].kind, UniformKind::SamplerSettings);
    EXPECT_EQ(texture[1].unit, 0u);
}

TEST_F(GlShaderTest, EveryKindIsRecognised) {
    const auto shader = pxl::createShader(
        plainVertex,
        fragmentReturning("uniform float u_f;\nuniform vec2 u_v2;\nuniform vec3 u_v3;\nuniform vec4 u_v4;\n"
                          "uniform mat2x3 u_m23;\nuniform mat4 u_m4;\n",
                          "u_m4 * u_v4 + vec4(u_m23 * u_v2 + u_v3, u_f)"));
    ASSERT_TRUE(shader);
    ASSERT_EQ(shader->uniforms().size(), 6u);
    EXPECT_EQ(find(*shader, "u_f")->kind, UniformKind::Float);
    EXPECT_EQ(find(*shader, "u_v2")->kind, UniformKind::Vec2);
    EXPECT_EQ(find(*shader, "u_v3")->kind, UniformKind::Vec3);
    EXPECT_EQ(find(*shader, "u_v4")->kind, UniformKind::Vec4);
    EXPECT_EQ(find(*shader, "u_m23")->kind, UniformKind::Mat2x3);
    EXPECT_EQ(find(*shader, "u_m4")->kind, UniformKind::Mat4);
}

TEST_F(GlShaderTest, ArraysLoseTheSuffixOfTheirName) {
    const auto shader = pxl::createShader(
        plainVertex, fragmentReturning("uniform vec4 u_list[3];\n", "u_list[0] + u_list[1] * u_list[2]"));
    ASSERT_TRUE(shader);
    ASSERT_EQ(shader->uniforms().size(), 1u);
    EXPECT_EQ(shader->uniforms()[0].name, "u_list");
    EXPECT_EQ(shader->uniforms()[0].arraySize, 3u);
    EXPECT_GE(shader->uniforms()[0].location, 0);
}

TEST_F(GlShaderTest, NamesShorterThanTheSuffixStay) {
    const auto shader = pxl::createShader(plainVertex, fragmentReturning("uniform float f;\n", "vec4(f)"));
    ASSERT_TRUE(shader);
    ASSERT_EQ(shader->uniforms().size(), 1u);
    EXPECT_EQ(shader->uniforms()[0].name, "f");
}

TEST_F(GlShaderTest, EachSamplerTakesTheNextUnit) {
    const auto shader = pxl::createShader(
        plainVertex, fragmentReturning("uniform sampler2D u_one;\nuniform sampler2D u_two;\n",
                                       "texture(u_one, vec2(0)) + texture(u_two, vec2(0))"));
    ASSERT_TRUE(shader);
    ASSERT_EQ(shader->uniforms().size(), 4u);
    for (uint32_t i = 0; i < 2; ++i) {
        const Uniform& sampler = shader->uniforms()[i * 2];
        const Uniform& settings = shader->uniforms()[i * 2 + 1];
        EXPECT_EQ(sampler.unit, i);
        EXPECT_EQ(settings.unit, i);
        EXPECT_EQ(settings.name, sampler.name + "_sampler");
        GLint bound = -1;
        glGetUniformiv(dynamic_cast<const pxl::GLShader&>(*shader).program(), sampler.location, &bound);
        EXPECT_EQ(bound, static_cast<GLint>(i));
    }
}

TEST_F(GlShaderTest, BrokenVertexShaderFails) {
    test::PxlLogCapture log;
    EXPECT_FALSE(pxl::createShader("#version 330\nnonsense", pxl::batchFragmentSource));
    EXPECT_THAT(log.errors(),
                ElementsAre("[Error] Vertex shader compilation failed", "[Error] Shader creation failed"));
}

TEST_F(GlShaderTest, BrokenFragmentShaderFails) {
    test::PxlLogCapture log;
    EXPECT_FALSE(pxl::createShader(pxl::batchVertexSource, "#version 330\nnonsense"));
    EXPECT_THAT(log.errors(),
                ElementsAre("[Error] Fragment shader compilation failed", "[Error] Shader creation failed"));
}

TEST_F(GlShaderTest, ShadersThatDoNotFitFailToLink) {
    test::PxlLogCapture log;
    EXPECT_FALSE(pxl::createShader(plainVertex, "#version 330\nin vec3 v_missing;\nout vec4 o_color;\n"
                                                "void main(void)\n{\n\to_color = vec4(v_missing, 1);\n}"));
    EXPECT_THAT(log.errors(),
                ElementsAre("[Error] Shader program link failed", "[Error] Shader creation failed"));
}

TEST_F(GlShaderTest, AWarningInTheCompilationLogFails) {
    const std::string warned = "#version 330\n#extension GL_XYZ_unheard_of : warn\n";
    const std::string vertex = warned + "layout(location=0) in vec2 a_position;\nvoid main(void)\n{\n"
                                        "\tgl_Position = vec4(a_position, 0, 1);\n}";
    const std::string fragment = warned + "out vec4 o_color;\nvoid main(void)\n{\n\to_color = vec4(1);\n}";
    const std::pair<GLenum, std::string> stages[] = {{GL_VERTEX_SHADER, vertex},
                                                     {GL_FRAGMENT_SHADER, fragment}};
    for (const auto& [stage, source] : stages) {
        const GLuint probe = glCreateShader(stage);
        const char* text = source.c_str();
        glShaderSource(probe, 1, &text, nullptr);
        glCompileShader(probe);
        GLint compiled = GL_FALSE;
        GLint logLength = 0;
        glGetShaderiv(probe, GL_COMPILE_STATUS, &compiled);
        glGetShaderiv(probe, GL_INFO_LOG_LENGTH, &logLength);
        glDeleteShader(probe);
        if (compiled != GL_TRUE || logLength < 2)
            GTEST_SKIP() << "this driver does not warn of unknown extensions";

        const bool isVertex = stage == GL_VERTEX_SHADER;
        test::PxlLogCapture log;
        EXPECT_FALSE(pxl::createShader(isVertex ? source : plainVertex,
                                       isVertex ? fragmentReturning("", "vec4(1)") : source));
        EXPECT_THAT(log.errors(), ElementsAre(isVertex ? "[Error] Vertex shader compilation failed"
                                                       : "[Error] Fragment shader compilation failed",
                                              "[Error] Shader creation failed"));
    }
}

/// A log that the driver would write, though it is content.
class GlShaderLog : public GlShaderTest {
protected:
    static inline GLenum warnedStage = 0;
    static inline PFNGLGETSHADERINFOLOGPROC shaderLog = nullptr;

    static void warn(GLsizei* length, GLchar* text) {
        const std::string warning = "0:1: warning: unlikely";
        *length = static_cast<GLsizei>(warning.copy(text, warning.size()));
    }
    static void GLAPIENTRY warnOfStage(GLuint shader, GLsizei room, GLsizei* length, GLchar* text) {
        GLint stage = 0;
        glGetShaderiv(shader, GL_SHADER_TYPE, &stage);
        if (static_cast<GLenum>(stage) == warnedStage)
            warn(length, text);
        else
            shaderLog(shader, room, length, text);
    }
    static void GLAPIENTRY warnOfProgram(GLuint, GLsizei, GLsizei* length, GLchar* text) {
        warn(length, text);
    }
};

TEST_F(GlShaderLog, AnyTextInItFailsWithTheLineBeforeTheDriversWords) {
    ASSERT_TRUE(pxl::createShader());
    struct Case {
        GLenum stage;
        const char* line;
    };
    for (const Case& expected : {Case{GL_VERTEX_SHADER, "[Error] Vertex shader compilation failed"},
                                 Case{GL_FRAGMENT_SHADER, "[Error] Fragment shader compilation failed"},
                                 Case{0, "[Error] Shader program link failed"}}) {
        warnedStage = expected.stage;
        test::Replaced<PFNGLGETSHADERINFOLOGPROC> shaders(epoxy_glGetShaderInfoLog, &warnOfStage);
        shaderLog = shaders.original();
        test::PxlLogCapture log;
        if (expected.stage != 0) {
            EXPECT_FALSE(pxl::createShader());
        } else {
            test::Replaced<PFNGLGETPROGRAMINFOLOGPROC> programs(epoxy_glGetProgramInfoLog, &warnOfProgram);
            EXPECT_FALSE(pxl::createShader());
        }
        EXPECT_THAT(log.all(), ElementsAre(expected.line, "[Message] 0:1: warning: unlikely",
                                           "[Error] Shader creation failed"));
    }
}

TEST_F(GlShaderTest, AUniformOfAnotherTypeFails) {
    test::PxlLogCapture log;
    EXPECT_FALSE(pxl::createShader(
        plainVertex, fragmentReturning("uniform int u_one;\nuniform int u_two;\n", "vec4(u_one + u_two)")));
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Invalid uniform type", "[Error] Shader creation failed"));
}

TEST_F(GlShaderTest, ProgramDiesWithTheShader) {
    auto shader = pxl::createShader();
    const GLuint program = dynamic_cast<const pxl::GLShader&>(*shader).program();
    EXPECT_TRUE(glIsProgram(program));
    shader.reset();
    EXPECT_FALSE(glIsProgram(program));
}

TEST_F(GlShaderTest, SourcesEndWithoutALineBreakAndIndentWithOneTab) {
    for (const std::string source : {pxl::batchVertexSource, pxl::batchFragmentSource}) {
        EXPECT_EQ(source.rfind("#version 330\n", 0), 0u);
        EXPECT_EQ(source.back(), '}');
        EXPECT_NE(source.find("{\n\t"), std::string::npos);
        EXPECT_EQ(source.find('\r'), std::string::npos);
    }
}
