// Any text as a network description and any bytes as the start of its weights file. An input has two parts.
#include <cstring>

#include "darknet_cfg.h"
#include "fuzz/fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto input = fuzz::parts(fuzz::text(data, size), 2);
    const darknet::Network network = darknet::readNetwork(input[0]);
    darknet::weightsProblem(network, input[1], static_cast<int64_t>(input[1].size()));
    if (!network.problem.empty())
        return 0;
    fuzz::require(network.width > 0 && network.height > 0 && network.channels == 3 && network.classes > 0,
                  "a usable network has a size and classes");
    fuzz::require(network.weightCount >= 0, "weights are counted without overflow");

    const int32_t version[5] = {0, 2, 0, 0, 0};
    std::string start(sizeof version, '\0');
    std::memcpy(start.data(), version, sizeof version);
    const int64_t fitting = darknet::kWeightsHeaderBytes + 4 * network.weightCount;
    fuzz::require(darknet::weightsProblem(network, start, fitting).empty(), "a file of the right size fits");
    fuzz::require(!darknet::weightsProblem(network, start, fitting + 1).empty(), "any other does not");
    return 0;
}
