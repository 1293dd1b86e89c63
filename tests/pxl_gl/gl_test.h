#pragma once

#include "pxl/render.h"

#include <epoxy/gl.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace test {

/// Why there is no context; empty when there is one. Set by the program's main.
extern std::string noContextReason;

/// Test with the context current. Every test ends without an OpenGL error.
class GlTest : public testing::Test {
protected:
    void SetUp() override {
        if (!noContextReason.empty())
            GTEST_SKIP() << noContextReason;
    }
    void TearDown() override {
        if (noContextReason.empty()) {
            EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        }
    }
};

/// Pixel of the bound framebuffer, counted from its bottom left corner.
inline pxl::Color readPixel(int x, int yFromBottom) {
    pxl::Color color;
    glReadPixels(x, yFromBottom, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &color);
    return color;
}

/// The whole texture in the order of its memory.
inline std::vector<pxl::Color> readTexture(const pxl::Texture& texture) {
    std::vector<pxl::Color> pixels(std::size_t{texture.width()} * texture.height());
    glBindTexture(GL_TEXTURE_2D, texture.nativeName());
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    glBindTexture(GL_TEXTURE_2D, 0);
    return pixels;
}

/// Puts another function in the place of an entry point while it lives.
template <typename Function>
class Replaced {
public:
    Replaced(Function& entryPoint, Function replacement) : entryPoint_(entryPoint), original_(entryPoint) {
        entryPoint_ = replacement;
    }
    ~Replaced() { entryPoint_ = original_; }
    Replaced(const Replaced&) = delete;
    Replaced& operator=(const Replaced&) = delete;
    Function original() const { return original_; }

private:
    Function& entryPoint_;
    Function original_;
};

/// Orthographic projection, column order: x from 0 to width onto −1 … 1, y from 0 to height onto 1 … −1.
struct Projection {
    float values[16];
    Projection(float width, float height)
        : values{2 / width, 0, 0, 0, 0, -2 / height, 0, 0, 0, 0, -1, 0, -1, 1, 0, 1} {}
};

inline std::ostream& printColor(std::ostream& out, pxl::Color color) {
    return out << '(' << int{color.r} << ", " << int{color.g} << ", " << int{color.b} << ", " << int{color.a}
               << ')';
}

} // namespace test

namespace pxl {
inline void PrintTo(Color color, std::ostream* out) {
    test::printColor(*out, color);
}
} // namespace pxl
