#include "preblur.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace preblur {

namespace {

using blurtrack::BlurEntry;
using blurtrack::RectF;

RectF asFloats(const BlurEntry& entry) {
    return {static_cast<float>(entry.x), static_cast<float>(entry.y), static_cast<float>(entry.w),
            static_cast<float>(entry.h)};
}

/// True when the lengths differ by less than the share of the longer one, both cut to whole pixels.
bool similarLength(float first, float second, double share) {
    const double difference = std::trunc(std::fabs(first - second));
    return difference < std::trunc(share * std::max(first, second));
}

int32_t oneStepTowardZero(int32_t value) {
    if (value == 0)
        return 0;
    return value > 0 ? value - 1 : value + 1;
}

/// The rectangles of one frame, sorted by their left edge, so that a track looks only at the few whose
/// distance can be small enough.
class Candidates {
public:
    explicit Candidates(const std::vector<BlurEntry>& entries) {
        rects_.reserve(entries.size());
        for (const BlurEntry& entry : entries)
            rects_.push_back(asFloats(entry));
        std::sort(rects_.begin(), rects_.end(), [](const RectF& a, const RectF& b) { return a.x < b.x; });
    }

    bool holdMatchOf(const PreblurTrack& track) const {
        // A little wider than the rule, which then decides alone: its own arithmetic rounds.
        const double reach = std::fabs(track.w) / 6.0 * 1.001 + 1.0;
        const double last = track.x + reach;
        auto rect =
            std::lower_bound(rects_.begin(), rects_.end(), track.x - reach,
                             [](const RectF& candidate, double first) { return candidate.x < first; });
        for (; rect != rects_.end() && rect->x <= last; ++rect)
            if (matches(track, *rect))
                return true;
        return false;
    }

private:
    std::vector<RectF> rects_;
};

} // namespace

int32_t lifeInFrames(int32_t seconds, double fps) {
    const double frames = std::trunc(seconds * fps);
    if (std::isnan(frames))
        return 0;
    constexpr double lowest = std::numeric_limits<int32_t>::min();
    constexpr double highest = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::clamp(frames, lowest, highest));
}

bool matches(const PreblurTrack& track, const RectF& entry) {
    const bool overlap = track.x + track.w > entry.x && entry.x + entry.w > track.x &&
                         track.y + track.h > entry.y && entry.y + entry.h > track.y;
    return overlap && std::fabs(track.x - entry.x) <= track.w / 6 &&
           std::fabs(track.y - entry.y) <= track.h / 6 && similarLength(track.w, entry.w, 0.1) &&
           similarLength(track.h, entry.h, 0.2);
}

void step(const std::vector<BlurEntry>& current, int32_t life, std::vector<PreblurTrack>& tracks,
          std::vector<PreblurTrack>& pending) {
    const Candidates candidates(current);
    for (PreblurTrack& track : tracks) {
        if (candidates.holdMatchOf(track)) {
            track.remaining = 0;
        } else {
            pending.push_back(track);
            track.remaining = oneStepTowardZero(track.remaining);
        }
    }
    tracks.erase(std::remove_if(tracks.begin(), tracks.end(),
                                [](const PreblurTrack& track) { return track.remaining == 0; }),
                 tracks.end());
    for (const BlurEntry& entry : current) {
        const RectF rect = asFloats(entry);
        tracks.push_back({life, entry.score, rect.x, rect.y, rect.w, rect.h});
    }
}

void extendBackward(int64_t lastFrame, int32_t life) {
    std::vector<PreblurTrack> tracks;
    std::vector<PreblurTrack> pending;
    std::vector<BlurEntry> current;
    for (int64_t frame = lastFrame; frame >= 0; --frame) {
        current = blurtrack::entriesAt(frame);
        pending.clear();
        step(current, life, tracks, pending);
        for (const PreblurTrack& copy : pending)
            blurtrack::addBlur(frame, {copy.x, copy.y, copy.w, copy.h}, copy.score,
                               blurtrack::kAnonymousBlurId);
    }
}

} // namespace preblur
