#include "gl_test.h"

#include "pxl/gl_mesh.h"
#include "support/pxl_log_capture.h"

#include <gmock/gmock.h>

using pxl::VertexElement;
using test::Replaced;
using testing::ElementsAre;

namespace {

class GlMeshTest : public test::GlTest {};

struct Pointer {
    GLuint location;
    GLint components;
    GLenum type;
    GLboolean normalised;
    GLsizei stride;
    uintptr_t offset;
};
std::vector<Pointer> pointers;

void recordPointer(GLuint location, GLint components, GLenum type, GLboolean normalised, GLsizei stride,
                   const void* offset) {
    pointers.push_back({location, components, type, normalised, stride, reinterpret_cast<uintptr_t>(offset)});
}

GLint boundBufferSize(GLenum target, GLuint buffer) {
    GLint size = 0;
    glBindBuffer(target, buffer);
    glGetBufferParameteriv(target, GL_BUFFER_SIZE, &size);
    glBindBuffer(target, 0);
    return size;
}

} // namespace

TEST_F(GlMeshTest, CountsWhatItWasGiven) {
    const auto mesh = pxl::createMesh();
    ASSERT_TRUE(mesh);
    EXPECT_EQ(mesh->indexCount(), 0u);
    EXPECT_EQ(mesh->vertexCount(), 0u);
    pxl::VertexLayout layout;
    layout.add(0, VertexElement::Float2);
    const float vertices[] = {0, 0, 1, 0, 0, 1};
    const uint16_t indices[] = {0, 1, 2, 2, 1, 0};
    mesh->setVertices(layout, vertices, 3);
    mesh->setIndices(pxl::IndexFormat::UInt16, indices, 6);
    EXPECT_EQ(mesh->vertexCount(), 3u);
    EXPECT_EQ(mesh->indexCount(), 6u);
    mesh->setIndices(pxl::IndexFormat::UInt16, indices, 3);
    EXPECT_EQ(mesh->indexCount(), 3u);
}

TEST_F(GlMeshTest, AttributesFollowEachOtherWithTheirFormats) {
    const auto mesh = pxl::createMesh();
    pxl::VertexLayout layout;
    for (uint32_t kind = 1; kind <= 12; ++kind)
        layout.add(kind - 1, static_cast<VertexElement>(kind), kind == 7);
    const std::vector<uint8_t> vertex(layout.stride);
    pointers.clear();
    {
        const Replaced<PFNGLVERTEXATTRIBPOINTERPROC> spy(epoxy_glVertexAttribPointer, recordPointer);
        mesh->setVertices(layout, vertex.data(), 1);
    }
    ASSERT_EQ(pointers.size(), 12u);
    const GLint components[] = {1, 2, 3, 4, 2, 4, 4, 2, 2, 2, 4, 4};
    const GLenum types[] = {GL_FLOAT, GL_FLOAT,          GL_FLOAT,         GL_FLOAT,
                            GL_BYTE,  GL_BYTE,           GL_UNSIGNED_BYTE, GL_UNSIGNED_BYTE,
                            GL_SHORT, GL_UNSIGNED_SHORT, GL_SHORT,         GL_UNSIGNED_SHORT};
    const uintptr_t offsets[] = {0, 4, 12, 24, 40, 42, 46, 50, 52, 56, 60, 68};
    for (std::size_t i = 0; i < pointers.size(); ++i) {
        EXPECT_EQ(pointers[i].location, i);
        EXPECT_EQ(pointers[i].components, components[i]);
        EXPECT_EQ(pointers[i].type, types[i]);
        EXPECT_EQ(pointers[i].normalised, i == 6 ? GL_TRUE : GL_FALSE);
        EXPECT_EQ(pointers[i].stride, 76);
        EXPECT_EQ(pointers[i].offset, offsets[i]);
    }
}

TEST_F(GlMeshTest, UnknownElementKindTakesNoRoom) {
    const auto mesh = pxl::createMesh();
    pxl::VertexLayout layout;
    layout.add(0, static_cast<VertexElement>(99));
    layout.add(1, VertexElement::Float1);
    pointers.clear();
    const Replaced<PFNGLVERTEXATTRIBPOINTERPROC> spy(epoxy_glVertexAttribPointer, recordPointer);
    const float vertex = 1;
    mesh->setVertices(layout, &vertex, 1);
    ASSERT_EQ(pointers.size(), 2u);
    EXPECT_EQ(pointers[0].components, 1);
    EXPECT_EQ(pointers[0].type, static_cast<GLenum>(GL_UNSIGNED_BYTE));
    EXPECT_EQ(pointers[1].offset, 0u);
}

TEST_F(GlMeshTest, NoLayoutEntriesStillUploadTheVertices) {
    const auto mesh = pxl::createMesh();
    pxl::VertexLayout layout;
    layout.stride = 12;
    const std::vector<uint8_t> vertices(36, 7);
    mesh->setVertices(layout, vertices.data(), 3);
    const auto& glMesh = dynamic_cast<const pxl::GLMesh&>(*mesh);
    ASSERT_NE(glMesh.vertexBuffer(), 0u);
    EXPECT_EQ(glMesh.stride(), 12);
    EXPECT_EQ(boundBufferSize(GL_ARRAY_BUFFER, glMesh.vertexBuffer()), 36);
}

TEST_F(GlMeshTest, RefillingReplacesTheWholeBuffer) {
    const auto mesh = pxl::createMesh();
    pxl::VertexLayout layout;
    layout.add(0, VertexElement::Float1);
    const float vertices[] = {1, 2, 3, 4};
    mesh->setVertices(layout, vertices, 4);
    const GLuint buffer = dynamic_cast<const pxl::GLMesh&>(*mesh).vertexBuffer();
    mesh->setVertices(layout, vertices, 1);
    EXPECT_EQ(dynamic_cast<const pxl::GLMesh&>(*mesh).vertexBuffer(), buffer);
    EXPECT_EQ(boundBufferSize(GL_ARRAY_BUFFER, buffer), 4);
}

TEST_F(GlMeshTest, NoVertexArrayNameGivesAnEmptyPointer) {
    test::PxlLogCapture log;
    const Replaced<PFNGLGENVERTEXARRAYSPROC> none(epoxy_glGenVertexArrays,
                                                  [](GLsizei, GLuint* names) { *names = 0; });
    EXPECT_FALSE(pxl::createMesh());
    EXPECT_THAT(log.errors(), ElementsAre("[Error] Mesh creation failed"));
}

TEST_F(GlMeshTest, BuffersDieWithTheMesh) {
    auto mesh = pxl::createMesh();
    pxl::VertexLayout layout;
    layout.add(0, VertexElement::Float1);
    const float vertex = 1;
    mesh->setVertices(layout, &vertex, 1);
    const GLuint buffer = dynamic_cast<const pxl::GLMesh&>(*mesh).vertexBuffer();
    EXPECT_TRUE(glIsBuffer(buffer));
    mesh.reset();
    EXPECT_FALSE(glIsBuffer(buffer));
}
