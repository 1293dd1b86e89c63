#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <vector>

#include "blurtrack.h"

namespace test {

using StoredFrames = std::map<int64_t, std::vector<blurtrack::BlurEntry>>;

/// The backward pass told in the plainest words, on plain containers: what preblur::extendBackward has to
/// leave in the store.
inline StoredFrames plainPreblur(StoredFrames frames, int64_t lastFrame, int32_t life) {
    using blurtrack::BlurEntry;
    struct Track {
        int32_t remaining, score;
        float x, y, w, h;
    };
    std::vector<Track> tracks;
    for (int64_t frame = lastFrame; frame >= 0; --frame) {
        const std::vector<BlurEntry> current = frames[frame];
        std::vector<BlurEntry> pending;
        for (Track& t : tracks) {
            bool found = false;
            for (const BlurEntry& entry : current) {
                const float ex = static_cast<float>(entry.x), ey = static_cast<float>(entry.y);
                const float ew = static_cast<float>(entry.w), eh = static_cast<float>(entry.h);
                if (!(t.x + t.w > ex && ex + ew > t.x && t.y + t.h > ey && ey + eh > t.y))
                    continue;
                if (!(std::fabs(t.x - ex) <= t.w / 6 && std::fabs(t.y - ey) <= t.h / 6))
                    continue;
                if (static_cast<int64_t>(std::fabs(t.w - ew)) <
                        static_cast<int64_t>(0.1 * std::max(t.w, ew)) &&
                    static_cast<int64_t>(std::fabs(t.h - eh)) < static_cast<int64_t>(0.2 * std::max(t.h, eh)))
                    found = true;
            }
            if (found) {
                t.remaining = 0;
            } else {
                pending.push_back({blurtrack::kAnonymousBlurId, static_cast<int32_t>(t.x),
                                   static_cast<int32_t>(t.y), static_cast<int32_t>(t.w),
                                   static_cast<int32_t>(t.h), t.score});
                if (t.remaining > 0)
                    --t.remaining;
            }
        }
        std::vector<Track> alive;
        for (const Track& t : tracks)
            if (t.remaining != 0)
                alive.push_back(t);
        tracks = alive;
        for (const BlurEntry& entry : current)
            tracks.push_back({life, entry.score, static_cast<float>(entry.x), static_cast<float>(entry.y),
                              static_cast<float>(entry.w), static_cast<float>(entry.h)});
        frames[frame].insert(frames[frame].end(), pending.begin(), pending.end());
    }
    return frames;
}

} // namespace test
