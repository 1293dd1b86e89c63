#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What every fuzz target calls once per input. libFuzzer's contract: `data` is valid during the call only;
/// returns 0.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

/// Ends the process as a crash unless `holds`; libFuzzer then keeps the input. `what` names the broken
/// promise.
void require(bool holds, const char* what);

inline std::string text(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// The parts of an input between lines that hold "--" and nothing else, so that seeds are written by hand.
/// Exactly `count` parts: absent ones are empty, the last takes the rest.
std::vector<std::string> parts(const std::string& input, size_t count);

} // namespace fuzz
