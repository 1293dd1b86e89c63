#include "pxl/batch_geometry.h"

#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using pxl::BatchGeometry;
using pxl::Color;
using pxl::Vec2;
using testing::ElementsAre;

namespace {

const std::array<Vec2, 4> square = {{{0, 0}, {10, 0}, {10, 20}, {0, 20}}};
const std::array<Vec2, 4> unit = {{{0, 0}, {1, 0}, {1, 0.75f}, {0, 0.75f}}};
const std::array<Color, 4> fourColors = {{{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}}};

} // namespace

TEST(BatchGeometry, LayoutMatchesTheVertexShader) {
    const pxl::VertexLayout& layout = pxl::batchVertexLayout();
    ASSERT_EQ(layout.count, 4u);
    EXPECT_EQ(layout.stride, 28u);
    const uint32_t kinds[] = {2, 2, 7, 2};
    for (uint32_t i = 0; i < layout.count; ++i) {
        EXPECT_EQ(layout.attributes[i].location, i);
        EXPECT_EQ(static_cast<uint32_t>(layout.attributes[i].kind), kinds[i]);
        EXPECT_EQ(layout.attributes[i].normalised, i == 2 ? 1 : 0);
    }
}

TEST(BatchGeometry, QuadKeepsItsCornersColoursAndMask) {
    BatchGeometry geometry;
    geometry.addQuad(square, unit, fourColors, {0.5f, 0.25f});
    ASSERT_EQ(geometry.vertices().size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
        const pxl::BatchVertex& vertex = geometry.vertices()[i];
        EXPECT_EQ(vertex.position.x, square[i].x);
        EXPECT_EQ(vertex.position.y, square[i].y);
        EXPECT_EQ(vertex.tex.x, unit[i].x);
        EXPECT_EQ(vertex.tex.y, unit[i].y);
        EXPECT_EQ(vertex.color, fourColors[i]);
        EXPECT_EQ(vertex.mask.x, 0.5f);
        EXPECT_EQ(vertex.mask.y, 0.25f);
    }
    EXPECT_THAT(geometry.indices(), ElementsAre(0, 1, 2, 0, 2, 3));
}

TEST(BatchGeometry, IndicesOfLaterShapesStartAtTheirFirstVertex) {
    BatchGeometry geometry;
    geometry.addTriangle({{{0, 0}, {1, 0}, {0, 1}}}, {});
    geometry.addQuad(square, unit, fourColors, pxl::maskTextured);
    geometry.addTriangle({{{0, 0}, {1, 0}, {0, 1}}}, {});
    EXPECT_THAT(geometry.indices(), ElementsAre(0, 1, 2, 3, 4, 5, 3, 5, 6, 7, 8, 9));
}

TEST(BatchGeometry, TransformMovesPositionsOnly) {
    BatchGeometry geometry;
    geometry.transform = {2, 3, 5, 7, 11, 13};
    geometry.addQuad(square, unit, fourColors, pxl::maskTextured);
    const pxl::BatchVertex& vertex = geometry.vertices()[2];
    EXPECT_EQ(vertex.position.x, 2 * 10 + 5 * 20 + 11);
    EXPECT_EQ(vertex.position.y, 3 * 10 + 7 * 20 + 13);
    EXPECT_EQ(vertex.tex.x, 1);
    EXPECT_EQ(vertex.tex.y, 0.75f);
    geometry.clear();
    geometry.addTriangle({{{1, 0}, {0, 1}, {0, 0}}}, {});
    EXPECT_EQ(geometry.vertices()[0].position.x, 13);
    EXPECT_EQ(geometry.vertices()[0].position.y, 16);
    EXPECT_EQ(geometry.vertices()[1].position.x, 16);
    EXPECT_EQ(geometry.vertices()[1].position.y, 20);
}

TEST(BatchGeometry, FlippedTurnsVOfQuadsAround) {
    BatchGeometry geometry;
    geometry.flipped = true;
    geometry.addQuad(square, unit, fourColors, pxl::maskTextured);
    EXPECT_EQ(geometry.vertices()[0].tex.y, 1);
    EXPECT_EQ(geometry.vertices()[2].tex.y, 0.25f);
    EXPECT_EQ(geometry.vertices()[2].tex.x, 1);
}

TEST(BatchGeometry, TriangleIsFlatColour) {
    BatchGeometry geometry;
    geometry.flipped = true;
    geometry.addTriangle({{{1, 2}, {3, 4}, {5, 6}}}, {{{1, 1, 1, 1}, {2, 2, 2, 2}, {3, 3, 3, 3}}});
    ASSERT_EQ(geometry.vertices().size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        const pxl::BatchVertex& vertex = geometry.vertices()[i];
        EXPECT_EQ(vertex.tex.x, 0);
        EXPECT_EQ(vertex.tex.y, 0);
        EXPECT_EQ(vertex.mask.x, 0);
        EXPECT_EQ(vertex.mask.y, 1);
        EXPECT_EQ(vertex.color.r, i + 1);
    }
}

TEST(BatchGeometry, CircleIsAFanOf24TrianglesThatCloses) {
    const Color centre{10, 20, 30, 40};
    const Color rim{50, 60, 70, 80};
    BatchGeometry geometry;
    geometry.addCircle({100, 50}, 8, centre, rim);
    ASSERT_EQ(geometry.vertices().size(), 72u);
    ASSERT_EQ(geometry.indices().size(), 72u);
    EXPECT_EQ(geometry.vertices()[0].position.x, 108);
    EXPECT_EQ(geometry.vertices()[0].position.y, 50);
    for (std::size_t i = 0; i < 24; ++i) {
        const pxl::BatchVertex* triangle = &geometry.vertices()[i * 3];
        EXPECT_EQ(triangle[0].color, rim);
        EXPECT_EQ(triangle[1].color, rim);
        EXPECT_EQ(triangle[2].color, centre);
        EXPECT_EQ(triangle[2].position.x, 100);
        EXPECT_EQ(triangle[2].position.y, 50);
        const float angle = static_cast<float>(i + 1) / 24 * 6.2831855f;
        EXPECT_FLOAT_EQ(triangle[1].position.x, 100 + std::cos(angle) * 8);
        EXPECT_FLOAT_EQ(triangle[1].position.y, 50 + std::sin(angle) * 8);
        if (i > 0) {
            EXPECT_EQ(triangle[0].position.x, triangle[-2].position.x);
            EXPECT_EQ(triangle[0].position.y, triangle[-2].position.y);
        }
    }
    EXPECT_NEAR(geometry.vertices()[70].position.x, 108, 1e-4);
    EXPECT_NEAR(geometry.vertices()[70].position.y, 50, 1e-4);
}

TEST(BatchGeometry, ClearingKeepsTransformAndFlag) {
    BatchGeometry geometry;
    geometry.transform.tx = 5;
    geometry.flipped = true;
    geometry.addQuad(square, unit, fourColors, pxl::maskTextured);
    EXPECT_FALSE(geometry.empty());
    geometry.clear();
    EXPECT_TRUE(geometry.empty());
    EXPECT_TRUE(geometry.vertices().empty());
    EXPECT_EQ(geometry.transform.tx, 5);
    EXPECT_TRUE(geometry.flipped);
}
