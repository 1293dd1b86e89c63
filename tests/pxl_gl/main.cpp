#include "gl_test.h"

#include <clocale>

#include "pxl/gl_startup.h"
#include "support/gl_context.h"

std::string test::noContextReason;

namespace {

/// The loader looks an entry point up at its first call and puts it in its own place. Tests that replace one
/// and pass the call on must find it looked up already, or the call would come back to them.
void lookUpReplacedEntryPoints() {
    GLuint buffer = 0;
    GLuint vertexArray = 0;
    glGenBuffers(1, &buffer);
    glGenVertexArrays(1, &vertexArray);
    glBindVertexArray(vertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glBufferData(GL_ARRAY_BUFFER, 16, nullptr, GL_STREAM_DRAW);
    glMapBuffer(GL_ARRAY_BUFFER, GL_WRITE_ONLY);
    glUnmapBuffer(GL_ARRAY_BUFFER);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 8, nullptr);
    glBindVertexArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glDeleteVertexArrays(1, &vertexArray);
    glDeleteBuffers(1, &buffer);
    const GLuint shader = glCreateShader(GL_VERTEX_SHADER);
    glGetShaderInfoLog(shader, 0, nullptr, nullptr);
    glDeleteShader(shader);
    glGetError();
}

} // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    testing::InitGoogleTest(&argc, argv);
    test::noContextReason = test::makeOffscreenContextCurrent();
    if (test::noContextReason.empty() && !pxl::startGraphics())
        test::noContextReason = "the driver is older than OpenGL 3.3";
    if (test::noContextReason.empty())
        lookUpReplacedEntryPoints();
    const int result = RUN_ALL_TESTS();
    if (test::noContextReason.empty())
        pxl::stopGraphics();
    test::destroyOffscreenContext();
    return result;
}
