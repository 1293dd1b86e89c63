#pragma once

#include <cstdint>
#include <vector>

#include "blurtrack.h"

/// The backward pass that hides a region some time before the frame in which it first appears.
namespace preblur {

/// A region on its way back in time.
struct PreblurTrack {
    /// Frames still to extend.
    int32_t remaining = 0;
    /// Percent.
    int32_t score = 0;
    /// Pixels of the frame.
    float x = 0, y = 0, w = 0, h = 0;
};

/// Frames that `seconds` cover: the product truncated, 0 for a frame rate that is not a number, and at most
/// the largest 32-bit value.
int32_t lifeInFrames(int32_t seconds, double fps);

/// True when `entry` is the same region as `track`, so that the entry takes the track's place: they overlap,
/// lie within a sixth of the track's size of each other and differ little in size.
bool matches(const PreblurTrack& track, const blurtrack::RectF& entry);

/// One frame of the pass. `current` are the frame's entries; `tracks` come from the frame after it and
/// become those for the frame before it. Appends to `pending` the tracks whose rectangles have to be added to
/// this frame.
void step(const std::vector<blurtrack::BlurEntry>& current, int32_t life, std::vector<PreblurTrack>& tracks,
          std::vector<PreblurTrack>& pending);

/// Extends every entry of the store's frames `lastFrame` … 0 onto up to `life` frames before it (at least
/// one), until an entry there takes its place. The copies carry the id of detections. Expects the caller to
/// hold the store's mutex.
void extendBackward(int64_t lastFrame, int32_t life);

} // namespace preblur
