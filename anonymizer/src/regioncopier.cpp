#include "regioncopier.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <mutex>

#include "blurtrack.h"

void RegionCopier::collect(int64_t frame, int32_t threshold, int32_t width, int32_t height) {
    rectangles_.clear();
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    for (const blurtrack::BlurEntry& entry : blurtrack::entriesAt(frame)) {
        if (entry.score < threshold)
            continue;
        // The far sides may lie beyond 32 bits.
        const auto right = static_cast<int32_t>(std::clamp<int64_t>(int64_t{entry.x} + entry.w, 0, width));
        const auto bottom = static_cast<int32_t>(std::clamp<int64_t>(int64_t{entry.y} + entry.h, 0, height));
        const Rectangle clipped{std::max(entry.x, 0), std::max(entry.y, 0), right, bottom};
        if (clipped.left < clipped.right && clipped.top < clipped.bottom)
            rectangles_.push_back(clipped);
    }
}

void RegionCopier::copy(const pxl::Image& from, pxl::Image& to, int32_t equalRows) {
    std::sort(rectangles_.begin(), rectangles_.end(),
              [](const Rectangle& a, const Rectangle& b) { return a.left < b.left; });
    findEdges();
    const auto width = static_cast<std::size_t>(to.width);
    for (std::size_t i = 0; i + 1 < edges_.size(); ++i) {
        findRuns(edges_[i]);
        for (int32_t row = edges_[i]; row < edges_[i + 1]; ++row) {
            const uint32_t* source = from.pixels + static_cast<std::size_t>(row - row % equalRows) * width;
            uint32_t* target = to.pixels + static_cast<std::size_t>(row) * width;
            for (const Run& run : runs_)
                std::memcpy(target + run.left, source + run.left,
                            static_cast<std::size_t>(run.right - run.left) * sizeof(uint32_t));
        }
    }
}

void RegionCopier::findEdges() {
    edges_.clear();
    for (const Rectangle& rectangle : rectangles_) {
        edges_.push_back(rectangle.top);
        edges_.push_back(rectangle.bottom);
    }
    std::sort(edges_.begin(), edges_.end());
    edges_.erase(std::unique(edges_.begin(), edges_.end()), edges_.end());
}

void RegionCopier::findRuns(int32_t row) {
    runs_.clear();
    for (const Rectangle& rectangle : rectangles_) {
        if (row < rectangle.top || row >= rectangle.bottom)
            continue;
        if (runs_.empty() || rectangle.left > runs_.back().right)
            runs_.push_back({rectangle.left, rectangle.right});
        else
            runs_.back().right = std::max(runs_.back().right, rectangle.right);
    }
}
