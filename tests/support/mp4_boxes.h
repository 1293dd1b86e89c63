#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Walks MP4 and QuickTime files box by box, without a video library.
namespace test {

struct Box {
    std::string type;
    /// Path of types from the file's top, "moov/trak/tkhd".
    std::string path;
    /// Bytes between header and end.
    std::string content;
    /// Of the boxes that hold boxes; nested ones follow their parent in `boxesOf`.
    bool isContainer = false;
};

/// Every box of the file, depth first. Throws std::runtime_error when a box is longer than what it lies in,
/// or bytes are left over.
std::vector<Box> boxesOf(const std::string& file);

/// What an exported file must not have, one line for each fault; empty when there is none. The file has one
/// video track and nothing else: known boxes only, no date, no edit that hides a frame, no byte of media that
/// belongs to no frame, and no metadata but the encoder's name and the product's comment.
std::vector<std::string> privacyFaults(const std::string& file);

} // namespace test
