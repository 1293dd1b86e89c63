#pragma once

#include <cstdint>

/// What the playback thread is doing.
enum PlayState : int { Stopped = 0, Seeking = 1, Playing = 2 };
