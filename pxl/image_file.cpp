#include "pxl/image_file.h"

#include "pxl/file.h"
#include "pxl/log.h"
#include "pxl/render.h"
#include "pxl/stream.h"

#include <cstring>
#include <new>
#include <optional>
#include <vector>

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#include <stb_image.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace pxl {

namespace {

using Bytes = std::vector<uint8_t>;

constexpr const char* pngFailure = "Could not load png image";
constexpr const char* rgbFailure = "Could not load rgb image";

/// A folder opens as a file of absurd size on some systems; no picture of ours comes near this.
constexpr uint64_t maxFileSize = 256u << 20;

std::optional<Bytes> readRest(Stream& stream) {
    if (!stream.valid())
        return std::nullopt;
    const uint64_t size = stream.size();
    const auto position = static_cast<uint64_t>(stream.tell());
    if (size < position || size - position > maxFileSize)
        return std::nullopt;
    Bytes bytes(static_cast<std::size_t>(size - position));
    // The file has become shorter since, or its disk fails.
    if (stream.read(bytes.data(), bytes.size()) != bytes.size())
        return std::nullopt;
    return bytes;
}

std::optional<Bytes> readFile(const std::string& path) {
    std::optional<Bytes> bytes;
    if (auto file = openFile(path)) {
        FileStream stream(std::move(file));
        bytes = readRest(stream);
    }
    if (!bytes)
        log::error("Could not read image file: " + path);
    return bytes;
}

struct FreePixels {
    void operator()(stbi_uc* pixels) const { stbi_image_free(pixels); }
};

Image decode(const Bytes& bytes, const char* failure) {
    int width = 0;
    int height = 0;
    const std::unique_ptr<stbi_uc, FreePixels> pixels(stbi_load_from_memory(
        bytes.data(), static_cast<int>(bytes.size()), &width, &height, nullptr, STBI_rgb_alpha));
    if (pixels) {
        try {
            Image image(width, height);
            std::memcpy(image.pixels, pixels.get(), image.byteCount());
            return image;
        } catch (const std::bad_alloc&) {
        }
    }
    log::error(failure);
    return {};
}

void makeOpaque(Image& image) {
    auto* bytes = reinterpret_cast<uint8_t*>(image.pixels);
    for (std::size_t i = 3; i < image.byteCount(); i += 4)
        bytes[i] = 255;
}

Image decodeOpaque(const Bytes& bytes) {
    Image image = decode(bytes, rgbFailure);
    makeOpaque(image);
    return image;
}

} // namespace

Image decodePng(Stream& stream) {
    return decode(readRest(stream).value_or(Bytes{}), pngFailure);
}

Image decodePngRgb(Stream& stream) {
    return decodeOpaque(readRest(stream).value_or(Bytes{}));
}

Image readPngFile(const std::string& path) {
    const std::optional<Bytes> bytes = readFile(path);
    return bytes ? decode(*bytes, pngFailure) : Image{};
}

Image readPngFileRgb(const std::string& path) {
    const std::optional<Bytes> bytes = readFile(path);
    return bytes ? decodeOpaque(*bytes) : Image{};
}

std::shared_ptr<Texture> createTexture(const Image& image) {
    if (image.empty())
        return nullptr;
    auto texture = createTexture(static_cast<uint32_t>(image.width), static_cast<uint32_t>(image.height));
    if (texture)
        texture->upload(image.pixels);
    return texture;
}

std::shared_ptr<Texture> loadTexture(const std::string& path) {
    return createTexture(readPngFile(path));
}

} // namespace pxl
