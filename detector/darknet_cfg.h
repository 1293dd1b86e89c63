#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What a Darknet network description (.cfg) says about the files beside it, without running anything.
namespace darknet {

/// Bytes at the start of a .weights file that are enough for `weightsProblem`.
constexpr int64_t kWeightsHeaderBytes = 20;

struct Network {
    /// Size that pictures are scaled to, pixels.
    int32_t width = 0;
    int32_t height = 0;
    int32_t channels = 0;
    /// Object classes, the same in every output layer; 0 when there is no output layer.
    int32_t classes = 0;
    /// 32-bit floating point numbers that the .weights file holds after its header.
    int64_t weightCount = 0;
    /// What is wrong with the description, in words for the user; empty when it is usable. The other fields
    /// are complete only then.
    std::string problem;
};

/// Reads the text of a .cfg file. Any text is survived.
Network readNetwork(const std::string& cfg);

/// The text with every [yolo] section told to report all boxes, however improbable or alike. Without that the
/// section's own threshold, a fifth when it names none, comes before the caller's.
std::string withAllBoxes(const std::string& cfg);

/// Why a .weights file can't belong to the network, in words for the user; empty when it fits.
/// `start` is the beginning of the file, kWeightsHeaderBytes or the whole of a shorter file; `fileBytes` its
/// size.
std::string weightsProblem(const Network& network, const std::string& start, int64_t fileBytes);

} // namespace darknet
