#include "backbuffer.h"

namespace {

uint64_t pack(pxl::Size size) {
    return static_cast<uint64_t>(static_cast<uint32_t>(size.width)) << 32 |
           static_cast<uint32_t>(size.height);
}

} // namespace

Backbuffer::Backbuffer(pxl::Size size) : packed_(pack(size)) {}

void Backbuffer::resize(pxl::Size size) {
    packed_ = pack(size);
}

pxl::Size Backbuffer::size() const {
    const uint64_t packed = packed_;
    return {static_cast<int32_t>(packed >> 32), static_cast<int32_t>(packed & 0xffffffffu)};
}

void Backbuffer::clear(pxl::Color color) {
    pxl::clearWindow(color);
}

std::shared_ptr<pxl::Texture> Backbuffer::texture() const {
    return nullptr;
}
