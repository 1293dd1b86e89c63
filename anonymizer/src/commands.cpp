#include "commands.h"

#include "switches.h"

namespace commands {

namespace {

constexpr int kPreblurBase = kFirstPreblur - kMinPreblurSeconds;
constexpr int kThresholdBase = kFirstThreshold - kMinThreshold;

} // namespace

Choice choiceOf(int id) {
    if (id >= kFirstPreblur && id <= kLastPreblur)
        return {Setting::PreblurSeconds, id - kPreblurBase};
    if (id >= kFirstThreshold && id <= kLastThreshold && (id - kThresholdBase) % kThresholdStep == 0)
        return {Setting::Threshold, id - kThresholdBase};
    switch (id) {
    case kBlurMode:
        return {Setting::EditingMode, switches::kBlurMode};
    case kUnblurMode:
        return {Setting::EditingMode, switches::kUnblurMode};
    case kSpeed1x:
        return {Setting::PlaybackSpeed, 1};
    case kSpeed4x:
        return {Setting::PlaybackSpeed, 4};
    default:
        return {};
    }
}

std::optional<int> preblurItem(int32_t seconds) {
    if (seconds < kMinPreblurSeconds || seconds > kMaxPreblurSeconds)
        return std::nullopt;
    return kPreblurBase + seconds;
}

std::optional<int> thresholdItem(int32_t percent) {
    if (percent < kMinThreshold || percent > kMaxThreshold || percent % kThresholdStep != 0)
        return std::nullopt;
    return kThresholdBase + percent;
}

int modeItem(int32_t editingMode) {
    return editingMode == switches::kUnblurMode ? kUnblurMode : kBlurMode;
}

std::optional<int> speedItem(int32_t factor) {
    if (factor == 1)
        return kSpeed1x;
    if (factor == 4)
        return kSpeed4x;
    return std::nullopt;
}

} // namespace commands
