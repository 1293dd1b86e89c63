#pragma once

#include <cstdint>

#include "pxl/image.h"
#include "regioncopier.h"

using Image = pxl::Image;

/// Divisor of the exported mosaic; the on-screen one is adjustable, this one is not.
constexpr int32_t kExportBlurDivisor = 50;

/// Side of a mosaic cell in pixels: the frame's shorter side divided by `divisor`, at least 1.
int32_t mosaicBlockSize(int32_t width, int32_t height, int32_t divisor);

/// Fills every cell of `block` × `block` pixels, aligned to the frame's top-left corner and cut off at the
/// right and bottom edges, with the cell's top-left pixel. `target` has the source's size, packed rows, and
/// must not overlap the source. `block` is at least 1. Allocates nothing.
void pixelate(const Image& source, uint32_t* target, int32_t block);

/// Turns a decoded frame and the blur store's rectangles of that frame into the anonymised frame. Used by
/// one thread at a time. Takes the blur store's mutex while it reads the rectangles: never call it with that
/// mutex held.
class IImageProcessor {
public:
    virtual ~IImageProcessor() = default;
    /// `frame` is the store's key of this picture; rectangles whose score is below `threshold` percent are
    /// not applied. The result belongs to the processor and is valid until the next call.
    virtual const Image* process(const Image& input, int32_t frame, int32_t threshold) = 0;
};

/// Hides the rectangles, leaves the rest clear.
class Frameblur : public IImageProcessor {
public:
    Frameblur() = default;
    /// Zero-filled buffers made in advance; a frame of another size replaces them.
    Frameblur(int32_t width, int32_t height);
    const Image* process(const Image& input, int32_t frame, int32_t threshold) override;

private:
    Image output_;
    Image mosaic_;
    RegionCopier regions_;
};

/// Hides everything but the rectangles.
class Frameunblur : public IImageProcessor {
public:
    Frameunblur() = default;
    /// Zero-filled buffers made in advance; a frame of another size replaces them.
    Frameunblur(int32_t width, int32_t height);
    const Image* process(const Image& input, int32_t frame, int32_t threshold) override;

private:
    Image output_;
    RegionCopier regions_;
};
