#include "blurtrack.h"

#include <algorithm>

#include <wx/log.h>

namespace blurtrack {
namespace {

using Entries = std::vector<BlurEntry>;

/// Never destroyed, like the store.
const Entries& kNoEntries = *new Entries;
constexpr BlurEntry kNoEntry{};

/// A whole number that `value` truncates to; the nearest one that 32 bits hold when it is out of range.
int32_t truncate(float value) {
    constexpr float kTwoTo31 = 2147483648.0f;
    if (!(value > -kTwoTo31))
        return value <= -kTwoTo31 ? INT32_MIN : 0;
    return value < kTwoTo31 ? static_cast<int32_t>(value) : INT32_MAX;
}

BlurEntry entryFrom(const RectF& rect, int32_t score, int64_t id) {
    return {id, truncate(rect.x), truncate(rect.y), truncate(rect.w), truncate(rect.h), score};
}

void growSpan(int64_t id, int64_t frame) {
    const auto [position, isNew] = store().spans.try_emplace(id, BlurSpan{frame, 1});
    if (isNew)
        return;
    BlurSpan& span = position->second;
    if (span.startFrame <= frame && span.startFrame + span.frameCount <= frame)
        ++span.frameCount;
}

} // namespace

BlurStore& store() {
    // Never destroyed: a detection or an export may be later than the program's static objects.
    static BlurStore& instance = *new BlurStore;
    return instance;
}

void clear() {
    store().frames.clear();
    store().spans.clear();
    ++store().timesCleared;
}

void initFrames(int64_t lastFrame) {
    auto& frames = store().frames;
    auto position = frames.lower_bound(0);
    for (int64_t frame = 0; frame <= lastFrame; ++frame) {
        if (position != frames.end() && position->first == frame)
            Entries().swap(position->second);
        else
            position = frames.emplace_hint(position, frame, Entries());
        ++position;
    }
}

BlurEntry addBlur(int64_t frame, const RectF& rect, int32_t score, int64_t id) {
    const auto position = store().frames.find(frame);
    Entries* entries = position == store().frames.end() ? nullptr : &position->second;
    const BlurEntry entry = entryFrom(rect, score, id);

    if (id == kAnonymousBlurId) {
        if (entries)
            entries->push_back(entry);
        return entry;
    }
    if (id == kNoBlurId)
        return kNoEntry;
    if (entries) {
        const auto first = std::find_if(entries->begin(), entries->end(),
                                        [id](const BlurEntry& other) { return other.id == id; });
        if (first != entries->end())
            return *first;
        entries->push_back(entry);
    }
    growSpan(id, frame);
    return entry;
}

void delBlur(int64_t id, int64_t fromFrame) {
    const auto span = store().spans.find(id);
    if (span == store().spans.end())
        return;
    const BlurSpan& live = span->second;
    const long long shownId = id;
    const long long shownFrame = fromFrame;
    if (fromFrame < live.startFrame) {
        wxLogMessage("[BlurTrack] Cannot delete id:%lld starting from frame : % lld", shownId, shownFrame);
        return;
    }
    if (fromFrame >= live.startFrame + live.frameCount) {
        wxLogMessage("[BlurTrack] Nothing to destroy id:%lld from frame : % lld", shownId, shownFrame);
        return;
    }
    auto& frames = store().frames;
    for (auto position = frames.lower_bound(fromFrame);
         position != frames.end() && position->first < live.startFrame + live.frameCount; ++position) {
        Entries& entries = position->second;
        entries.erase(std::remove_if(entries.begin(), entries.end(),
                                     [id](const BlurEntry& entry) { return entry.id == id; }),
                      entries.end());
    }
    wxLogMessage("[BlurTrack] Destroyed blurs with id:%lld from frame: %lld ->", shownId, shownFrame);
}

bool contains(const BlurEntry& entry, float px, float py) {
    const auto x = static_cast<float>(entry.x);
    const auto y = static_cast<float>(entry.y);
    return x <= px && px < x + static_cast<float>(entry.w) && y <= py && py < y + static_cast<float>(entry.h);
}

BlurEntry hitTest(int64_t frame, float px, float py) {
    const Entries& entries = entriesAt(frame);
    const auto hit = std::find_if(entries.rbegin(), entries.rend(),
                                  [px, py](const BlurEntry& entry) { return contains(entry, px, py); });
    return hit == entries.rend() ? kNoEntry : *hit;
}

std::optional<BlurSpan> spanOf(int64_t id) {
    const auto position = store().spans.find(id);
    if (position == store().spans.end())
        return std::nullopt;
    return position->second;
}

const std::vector<BlurEntry>& entriesAt(int64_t frame) {
    const auto position = store().frames.find(frame);
    return position == store().frames.end() ? kNoEntries : position->second;
}

} // namespace blurtrack
