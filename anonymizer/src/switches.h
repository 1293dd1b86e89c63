#pragma once

#include <atomic>
#include <cstdint>

/// Process-wide choices of the user. Set on the user-interface thread, read from any thread.
/// None of them is persisted.
namespace switches {

enum EditingMode : int32_t { kBlurMode = 0, kUnblurMode = 1 };

constexpr int32_t kMinBlurDivisor = 25;
constexpr int32_t kMaxBlurDivisor = 400;

/// An EditingMode.
extern std::atomic<int32_t> editingMode;
/// Factor on the video's frame rate when playing: 1 or 4.
extern std::atomic<int32_t> playbackSpeed;
/// Percent, 10 … 90: rectangles with a lower score are not applied.
extern std::atomic<int32_t> confidenceThreshold;
/// Side of the brush square in pixels of the video.
extern std::atomic<int32_t> brushSize;
/// Cells of the on-screen mosaic along the frame's shorter side, kMinBlurDivisor … kMaxBlurDivisor.
/// The export always divides by 50.
extern std::atomic<int32_t> blurDivisor;

/// Which guidance the hint line shows: 0 no video, 1 blur mode, 2 unblur mode.
extern std::atomic<int32_t> hintState;
/// True while the canvas shows a message of its own in the hint line.
extern std::atomic<bool> hintOverride;

} // namespace switches
