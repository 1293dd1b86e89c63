#pragma once

#include <cstddef>
#include <cstdint>

#include "ffmpeg_handles.h"
#include "pxl/image.h"

namespace ffmpeg {

/// Turns decoded pictures of any pixel format into RGBA pictures of any size. Keeps no scaler: one is made
/// and freed for every picture. Used by one thread.
class RgbaConverter {
public:
    /// Writes every pixel of `target` and not a byte more. The picture's own size, pixel format and range
    /// count; `matrix` as in `setYuvToRgb`. False when there is no picture or no scaler for it; the target's
    /// pixels are undefined then.
    bool convert(const AVFrame& picture, int32_t matrix, pxl::Image& target);

    /// Gives the memory back.
    void clear();

private:
    uint8_t* paddedRows(std::size_t bytes);

    Buffer rows_;
    std::size_t rowsSize_ = 0;
};

} // namespace ffmpeg
