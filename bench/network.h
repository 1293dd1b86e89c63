#pragma once

#include <functional>
#include <string>

namespace bench {

/// Running a Darknet network once on a picture of its own size, with nothing around it. Empty when the build
/// has no OpenCV. Paths are UTF-8.
std::function<void()> bareNetwork(const std::string& cfgPath, const std::string& weightsPath, int side);

} // namespace bench
