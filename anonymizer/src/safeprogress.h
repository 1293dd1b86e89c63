#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include <wx/string.h>

/// Progress sink of the workers. Every operation may be called from any thread, returns at once and
/// keeps the order of the calls of one thread. The receiver outlives the worker's last call.
class ISafeProgress {
public:
    virtual ~ISafeProgress() = default;

    /// Begins a piece of work. `total` is the value at which it is complete; 0 when unknown.
    virtual void start(const wxString& title, const wxString& message, int32_t total) = 0;
    /// An empty `message` keeps the one shown.
    virtual void update(int32_t value, const wxString& message) = 0;
    virtual void finish() = 0;
};

/// So many frames as a total or value of progress; 0 for less than none, and at most the largest number.
inline int32_t progressValue(int64_t frames) {
    return static_cast<int32_t>(std::clamp<int64_t>(frames, 0, std::numeric_limits<int32_t>::max()));
}
