#include "pxl/image.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace pxl {
namespace {

constexpr uint32_t kOpaqueBlack = 0xFF000000u;

} // namespace

void Image::Free::operator()(uint32_t* memory) const noexcept {
    std::free(memory);
}

Image::Image(int32_t imageWidth, int32_t imageHeight)
    : Image(allocated(imageWidth, imageHeight, Content::Undefined)) {
    std::fill_n(pixels, pixelCount(), kOpaqueBlack);
}

Image Image::zeroed(int32_t width, int32_t height) {
    return allocated(width, height, Content::Zero);
}

Image Image::allocated(int32_t imageWidth, int32_t imageHeight, Content content) {
    Image image;
    if (imageWidth < 1 || imageHeight < 1)
        return image;
    const auto columns = static_cast<std::size_t>(imageWidth);
    const auto rows = static_cast<std::size_t>(imageHeight);
    // Never with sizes of 64 bits.
    if (columns > std::numeric_limits<std::size_t>::max() / sizeof(uint32_t) / rows)
        throw std::bad_alloc();
    const std::size_t count = columns * rows;
    void* const memory = content == Content::Zero ? std::calloc(count, sizeof(uint32_t))
                                                  : std::malloc(count * sizeof(uint32_t));
    image.owned_.reset(static_cast<uint32_t*>(memory));
    if (!image.owned_)
        throw std::bad_alloc();
    image.width = imageWidth;
    image.height = imageHeight;
    image.pixels = image.owned_.get();
    return image;
}

Image::Image(Image&& other) noexcept
    : width(std::exchange(other.width, 0)), height(std::exchange(other.height, 0)),
      pixels(std::exchange(other.pixels, nullptr)), owned_(std::move(other.owned_)) {}

Image& Image::operator=(Image&& other) noexcept {
    if (this == &other)
        return *this;
    width = std::exchange(other.width, 0);
    height = std::exchange(other.height, 0);
    pixels = std::exchange(other.pixels, nullptr);
    owned_ = std::move(other.owned_);
    return *this;
}

Image Image::view(int32_t width, int32_t height, uint32_t* pixels) {
    Image image;
    image.width = width;
    image.height = height;
    image.pixels = pixels;
    return image;
}

Image Image::clone() const {
    Image copy = allocated(width, height, Content::Undefined);
    if (!copy.empty())
        std::memcpy(copy.pixels, pixels, byteCount());
    return copy;
}

} // namespace pxl
