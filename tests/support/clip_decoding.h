#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "support/counter_clip.h"
#include "support/paths.h"
#include "video_backend_ffmpeg.h"

/// Decoding of the synthesised clips, for tests.
namespace test {

inline wxString clipPath(const std::string& name) {
    return wxString::FromUTF8(mediaDir() + "/" + name);
}

/// What a picture showed, short enough to keep one for every frame of a clip.
struct FrameSeen {
    /// The decoder's number.
    int64_t index = 0;
    /// The number drawn into the picture.
    int64_t drawn = counter_clip::kUnreadable;
    /// FNV-1a of all pixels.
    uint64_t hash = 0;

    bool operator==(const FrameSeen& other) const {
        return index == other.index && drawn == other.drawn && hash == other.hash;
    }
};

inline std::ostream& operator<<(std::ostream& out, const FrameSeen& seen) {
    return out << "frame " << seen.index << " showing " << seen.drawn << " (" << std::hex << seen.hash
               << std::dec << ")";
}

/// Converts the decoder's frame into `image` and looks at it; an empty record when it can't be converted.
inline FrameSeen look(video::Decoder& decoder, pxl::Image& image) {
    if (!decoder.convert(image))
        return {};
    uint64_t hash = 14695981039346656037u;
    for (std::size_t i = 0; i < image.pixelCount(); ++i)
        hash = (hash ^ image.pixels[i]) * 1099511628211u;
    return {decoder.frameIndex(), counter_clip::readNumber(image), hash};
}

inline pxl::Image imageFor(video::Decoder& decoder) {
    video::VideoInfo info;
    decoder.info(info);
    return {info.width, info.height};
}

/// Every frame from the decoder's position to the end.
inline std::vector<FrameSeen> playToEnd(video::Decoder& decoder) {
    pxl::Image image = imageFor(decoder);
    std::vector<FrameSeen> frames;
    while (decoder.next())
        frames.push_back(look(decoder, image));
    return frames;
}

inline int64_t scanAll(video::Decoder& decoder) {
    video::Progress progress;
    decoder.scan(progress);
    return progress.done;
}

inline int64_t frameCount(video::Decoder& decoder) {
    video::VideoInfo info;
    return decoder.info(info).frameCount;
}

} // namespace test
