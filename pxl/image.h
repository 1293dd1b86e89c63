#pragma once

#include <cstdint>
#include <memory>

namespace pxl {

/// RGBA picture, 8 bits per channel, 4 bytes per pixel (bytes R, G, B, A in memory), rows packed
/// (stride width × 4 bytes), top row first. Either owns its pixels or views somebody else's.
/// Movable, not copyable: a copy of a frame is always asked for by name.
struct Image {
    /// Pixels.
    int32_t width = 0;
    /// Pixels.
    int32_t height = 0;
    /// width × height pixels; null when the picture is empty. Valid as long as this object, or, for a
    /// view, as long as the viewed memory.
    uint32_t* pixels = nullptr;

    Image() = default;

    /// Allocates width × height pixels (by malloc) filled with opaque black (0xFF000000 each).
    /// A width or height below 1 gives an empty picture. Throws std::bad_alloc when there is no memory.
    Image(int32_t width, int32_t height);

    Image(Image&& other) noexcept;
    Image& operator=(Image&& other) noexcept;

    /// The same with all bytes 0.
    static Image zeroed(int32_t width, int32_t height);

    /// A picture over memory that the caller keeps alive; nothing is copied or freed.
    static Image view(int32_t width, int32_t height, uint32_t* pixels);

    /// Deep copy that owns its pixels. Throws std::bad_alloc when there is no memory.
    Image clone() const;

    /// Number of pixels.
    std::size_t pixelCount() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
    /// Size of the pixels in bytes.
    std::size_t byteCount() const { return pixelCount() * sizeof(uint32_t); }
    bool empty() const { return pixels == nullptr; }

private:
    enum class Content { Undefined, Zero };
    static Image allocated(int32_t width, int32_t height, Content content);

    struct Free {
        void operator()(uint32_t* memory) const noexcept;
    };
    std::unique_ptr<uint32_t, Free> owned_;
};

} // namespace pxl
