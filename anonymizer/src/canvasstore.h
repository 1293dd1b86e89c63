#pragma once

#include <mutex>

#include "blurtrack.h"
#include "viewmapping.h"

/// How the canvas deals with the blur store.

/// The store's mutex, waited for no longer than a moment; check `owns_lock`. Whoever holds the canvas-state
/// mutex takes it this way: detection holds the store for its whole pass, and the window and the playback
/// thread would freeze with it.
std::unique_lock<std::mutex> lockStoreSoon();

inline blurtrack::RectF toFloats(const view::Rect& rect) {
    return {static_cast<float>(rect.x), static_cast<float>(rect.y), static_cast<float>(rect.w),
            static_cast<float>(rect.h)};
}

/// For "%lld".
inline long long number(int64_t value) {
    return value;
}
