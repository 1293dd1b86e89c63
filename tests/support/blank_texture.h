#pragma once

#include "pxl/render.h"

namespace test {

/// A texture that is on no graphics card, for tests that only care which one is used.
class BlankTexture : public pxl::Texture {
public:
    uint32_t width() const override { return 1; }
    uint32_t height() const override { return 1; }
    uint32_t nativeName() const override { return 0; }
    void upload(const void*) override {}
    uint8_t flipped() const override { return 0; }
    Mapping map() override { return {}; }
    bool unmap() override { return true; }
};

} // namespace test
