#pragma once

#include <cstdint>
#include <optional>

/// The menu's fixed command numbers and what the radio items among them choose. Pure functions.
namespace commands {

enum Id : int {
    kOpen = 6000,
    kExport = 6001,
    kBlurHumans = 6002,
    kResetAll = 6005,
    kUseGpu = 6006,
    kFirstPreblur = 6010,
    kLastPreblur = 6014,
    kFirstThreshold = 6026,
    kLastThreshold = 6106,
    kBlurMode = 6107,
    kUnblurMode = 6108,
    kSpeed1x = 6109,
    kSpeed4x = 6110,
    kLanguage = 6112,
};

constexpr int32_t kMinPreblurSeconds = 1;
constexpr int32_t kMaxPreblurSeconds = 5;
constexpr int32_t kMinThreshold = 10;
constexpr int32_t kMaxThreshold = 90;
constexpr int32_t kThresholdStep = 10;

enum class Setting { None, PreblurSeconds, Threshold, EditingMode, PlaybackSpeed };

struct Choice {
    Setting setting = Setting::None;
    int32_t value = 0;
};

/// What a radio item chooses; `Setting::None` for every other id.
Choice choiceOf(int id);

/// The radio item of a number of seconds; nothing outside 1 … 5.
std::optional<int> preblurItem(int32_t seconds);
/// The radio item of a percentage; nothing unless it is 10, 20, … 90.
std::optional<int> thresholdItem(int32_t percent);
int modeItem(int32_t editingMode);
/// The radio item of a playback factor; nothing unless it is 1 or 4.
std::optional<int> speedItem(int32_t factor);

} // namespace commands
