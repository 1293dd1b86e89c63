#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

/// The one store of all blur rectangles of the open video. Every function expects its caller to hold
/// `store().mutex` for the whole composite step; none of them locks it. Lock order: the canvas-state mutex
/// before this one, never the other way round.
///
/// A frame's key is the decoder's frame number, 1 … N. Key 0 exists, for the lookups, and is no frame: what a
/// backward extension leaves there is never shown.
namespace blurtrack {

/// "No blur": what lookups that find nothing return.
constexpr int64_t kNoBlurId = -1;
/// Entries that belong to no blur the user can select: all detections.
constexpr int64_t kAnonymousBlurId = -100;
/// Score of everything painted by hand, percent.
constexpr int32_t kBrushScore = 100;

/// Rectangle in pixels of the video, origin top left.
struct RectF {
    float x = 0, y = 0, w = 0, h = 0;
};

/// One rectangle of one blur in one frame. Pixels of the video, origin top left.
struct BlurEntry {
    int64_t id = kNoBlurId;
    int32_t x = 0, y = 0, w = 0, h = 0;
    /// Percent. Applied only where it is at least the confidence threshold.
    int32_t score = 0;
};

/// The frames an id is taken to cover: startFrame … startFrame + frameCount − 1. Never shrinks.
struct BlurSpan {
    int64_t startFrame = 0;
    int64_t frameCount = 0;
};

struct BlurStore {
    /// Guards both containers.
    std::mutex mutex;
    /// Frame number to rectangles in insertion order; the last one is the topmost.
    std::map<int64_t, std::vector<BlurEntry>> frames;
    std::unordered_map<int64_t, BlurSpan> spans;
    /// How often `clear` has been called; may be read without the mutex.
    std::atomic<uint64_t> timesCleared{0};
};

BlurStore& store();

/// Forgets every frame and every span.
void clear();

/// Creates the keys 0 … lastFrame where missing and empties their lists. Leaves spans alone; does nothing
/// for a negative `lastFrame`.
void initFrames(int64_t lastFrame);

/// Adds one rectangle, truncated toward zero, and returns the entry that now stands for it. An id has at
/// most one rectangle per frame: the first one wins. `kAnonymousBlurId` is stored without that check and
/// without a span; `kNoBlurId` stores nothing. In a frame that `initFrames` did not create the rectangle is
/// lost, while the span still grows.
BlurEntry addBlur(int64_t frame, const RectF& rect, int32_t score, int64_t id);

/// Removes the id's rectangles from `fromFrame` to the end of its span, which stays as it is.
void delBlur(int64_t id, int64_t fromFrame);

/// Half-open test, in float: x <= px < x + w and y <= py < y + h.
bool contains(const BlurEntry& entry, float px, float py);

/// Topmost entry of the frame under the point, whatever its id; id `kNoBlurId` when there is none. The canvas
/// looks for itself, past the anonymous ones: they can't be selected.
BlurEntry hitTest(int64_t frame, float px, float py);

std::optional<BlurSpan> spanOf(int64_t id);

/// The frame's rectangles; an empty list for an unknown frame. Valid until the store changes.
const std::vector<BlurEntry>& entriesAt(int64_t frame);

} // namespace blurtrack
