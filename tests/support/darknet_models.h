#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// Darknet models made by the tests themselves; no trained weights are used anywhere.
namespace test {

struct DarknetModel {
    /// Contents of the three files.
    std::string names;
    std::string cfg;
    std::string weights;
};

/// A network that finds saturated colours exactly. It looks at a picture of 160 × 160 in cells of 8 × 8, so
/// the frame has 20 × 20 cells. A cell with a saturated red core is reported as a "person" of 1 × 2 cells
/// (probability 0.9), with a green one as a "face" of 2 × 1 cells (0.7), with a blue one as a "car" of one
/// cell (0.8), each centred on that cell. Classes and probabilities in the order person, face, car.
DarknetModel colourModel(const std::array<float, 3>& probability = {0.9f, 0.7f, 0.8f});

constexpr int32_t kColourModelCells = 20;

/// The layers of YOLOv4-tiny with random weights: it finds nothing, at full cost. `size` in pixels, a
/// multiple of 32.
DarknetModel yolov4Tiny(int32_t size, int32_t classes);

/// Every class of `count`, "person" first and "face" last.
std::string classNames(int32_t count);

} // namespace test
