#include "switches.h"

namespace switches {

std::atomic<int32_t> editingMode{kBlurMode};
std::atomic<int32_t> playbackSpeed{1};
std::atomic<int32_t> confidenceThreshold{50};
std::atomic<int32_t> brushSize{32};
std::atomic<int32_t> blurDivisor{50};
std::atomic<int32_t> hintState{0};
std::atomic<bool> hintOverride{false};

} // namespace switches
