#include "pxl/render.h"

#include <gtest/gtest.h>

using pxl::UniformKind;
using pxl::VertexElement;
using pxl::VertexLayout;

TEST(VertexLayout, SizesFollowTheKindTable) {
    const uint32_t sizes[] = {0, 4, 8, 12, 16, 2, 4, 4, 2, 4, 4, 8, 8, 0, 0};
    for (uint32_t kind = 0; kind < std::size(sizes); ++kind)
        EXPECT_EQ(pxl::vertexElementSize(static_cast<VertexElement>(kind)), sizes[kind]) << "kind " << kind;
}

TEST(VertexLayout, StrideIsTheSumOfTheSizes) {
    VertexLayout layout;
    EXPECT_EQ(layout.stride, 0u);
    EXPECT_TRUE(layout.add(0, VertexElement::Float3));
    EXPECT_TRUE(layout.add(5, VertexElement::UShort4, true));
    EXPECT_EQ(layout.stride, 20u);
    EXPECT_EQ(layout.attributes[1].location, 5u);
    EXPECT_EQ(layout.attributes[1].normalised, 1);
}

TEST(VertexLayout, TakesSixteenAttributes) {
    VertexLayout layout;
    for (uint32_t i = 0; i < 16; ++i)
        EXPECT_TRUE(layout.add(i, VertexElement::Float1));
    EXPECT_FALSE(layout.add(16, VertexElement::Float1));
    EXPECT_EQ(layout.count, 16u);
    EXPECT_EQ(layout.stride, 64u);
}

TEST(Uniform, FloatsFollowTheKindTable) {
    const uint32_t floats[] = {0, 1, 2, 3, 4, 6, 16, 0, 0, 0};
    for (uint32_t kind = 0; kind < std::size(floats); ++kind)
        EXPECT_EQ(pxl::uniformFloats(static_cast<UniformKind>(kind)), floats[kind]) << "kind " << kind;
}
