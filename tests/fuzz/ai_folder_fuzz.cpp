// Any model folder, any class names and any behaviour of the detection library, with the library of the tests
// that obeys its weights file. An input has three parts: file names, one per line; the content of the .names
// files; the content of the others (instructions as in fake_doriq.cpp).
#include <filesystem>
#include <fstream>
#include <sstream>

#include "ai_doriq.h"
#include "fuzz/fuzz_target.h"
#include "support/ai_folder.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kLongestName = 200;
constexpr int kMostFiles = 8;
constexpr int kFrames = 3;

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool isFileName(const std::string& name) {
    return !name.empty() && name.size() <= kLongestName && name != "." && name != ".." &&
           name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

void fillFolder(const std::string& folder, const std::vector<std::string>& input) {
    fs::remove_all(folder);
    fs::create_directories(folder);
    std::istringstream names(input[0]);
    std::string name;
    for (int count = 0; count < kMostFiles && std::getline(names, name); ++count)
        if (isFileName(name))
            std::ofstream(fs::path(folder) / name, std::ios::binary)
                << (endsWith(name, ".names") ? input[1] : input[2]);
}

void checkDetection(const ai::Detection& detection, const pxl::Image& image) {
    fuzz::require(detection.score >= 0 && detection.score <= 100, "a score is a percentage");
    fuzz::require(detection.w > 0 && detection.h > 0, "a box has an area");
    const auto width = static_cast<float>(image.width);
    const auto height = static_cast<float>(image.height);
    fuzz::require(detection.x < width && detection.x + detection.w > 0 && detection.y < height &&
                      detection.y + detection.h > 0,
                  "a box touches the frame");
    fuzz::require(detection.x >= -width && detection.x + detection.w <= 2 * width && detection.y >= -height &&
                      detection.y + detection.h <= 2 * height,
                  "a box reaches one frame beyond the frame at most");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static test::AiFolder folder;
    static const bool loaded = [] {
        folder.installLibrary("fake_doriq");
        ai::init();
        return ai::available();
    }();
    fuzz::require(loaded, "the library of the tests can be loaded");

    const std::vector<std::string> input = fuzz::parts(fuzz::text(data, size), 3);
    if (input[2].find("wait") != std::string::npos)
        return 0; // an instruction that nobody here ends
    fillFolder(folder.modelDir(), input);
    const pxl::Image image(37, 23);
    ai::buildDetectors(false);
    for (int frame = 0; frame < kFrames; ++frame)
        for (const ai::Detection& detection : ai::detectFrame(image))
            checkDetection(detection, image);
    fuzz::require(ai::failedFrames() <= kFrames, "a frame fails once");
    ai::destroyDetectors();
    fuzz::require(!ai::ready() && ai::detectFrame(image).empty(), "without a detector nothing is found");
    return 0;
}
