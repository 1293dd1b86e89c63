#include "support/darknet_models.h"

#include <cmath>
#include <functional>
#include <random>

namespace test {

namespace {

/// Writes a description and, layer by layer, the weights that belong to it.
class Writer {
public:
    Writer(int32_t width, int32_t height, const std::string& anchors, int32_t anchorCount, int32_t classes)
        : anchors_(anchors), anchorCount_(anchorCount), classes_(classes) {
        text("[net]\nbatch=1\nwidth=" + std::to_string(width) + "\nheight=" + std::to_string(height) +
             "\nchannels=3\n");
        // Version 0.2, so that the count of seen pictures has 64 bits.
        append(int32_t{0});
        append(int32_t{2});
        append(int32_t{5});
        append(uint64_t{0});
    }

    void text(const std::string& lines) { model_.cfg += lines; }

    void floats(const std::vector<float>& values) {
        for (const float value : values)
            append(value);
    }

    /// A convolution with random weights that keep the values at about the size they come in with.
    void convolution(int32_t inputs, int32_t filters, int32_t size, int32_t stride) {
        convolutionText(filters, size, stride, "leaky", true);
        const auto count = static_cast<size_t>(filters);
        floats(std::vector<float>(count, 0.0f)); // biases
        floats(std::vector<float>(count, 1.0f)); // scales
        floats(std::vector<float>(count, 0.0f)); // means
        floats(std::vector<float>(count, 1.0f)); // variances
        randomWeights(count * static_cast<size_t>(inputs * size * size),
                      std::sqrt(2.0f / static_cast<float>(inputs * size * size)));
    }

    /// The convolution before an output layer; its objectness stays far below every threshold.
    void quietOutput(int32_t inputs, const std::string& mask) {
        const int32_t filters = 3 * (classes_ + 5);
        convolutionText(filters, 1, 1, "linear", false);
        for (int32_t filter = 0; filter < filters; ++filter)
            append(filter % (classes_ + 5) == 4 ? -12.0f : 0.0f);
        randomWeights(static_cast<size_t>(filters) * static_cast<size_t>(inputs),
                      0.1f / std::sqrt(static_cast<float>(inputs)));
        yolo(mask);
    }

    void convolutionText(int32_t filters, int32_t size, int32_t stride, const char* activation,
                         bool normalized) {
        text("\n[convolutional]\n" + std::string(normalized ? "batch_normalize=1\n" : "") +
             "filters=" + std::to_string(filters) + "\nsize=" + std::to_string(size) +
             "\nstride=" + std::to_string(stride) + "\npad=1\nactivation=" + activation + "\n");
    }

    void yolo(const std::string& mask) {
        text("\n[yolo]\nmask = " + mask + "\nanchors = " + anchors_ + "\nclasses=" +
             std::to_string(classes_) + "\nnum=" + std::to_string(anchorCount_) + "\nscale_x_y = 1.0\n");
    }

    DarknetModel finish() {
        model_.names = classNames(classes_);
        return model_;
    }

private:
    template <typename Value>
    void append(Value value) {
        model_.weights.append(reinterpret_cast<const char*>(&value), sizeof value);
    }

    void randomWeights(size_t count, float deviation) {
        std::normal_distribution<float> normal(0.0f, deviation);
        for (size_t index = 0; index < count; ++index)
            append(normal(random_));
    }

    std::string anchors_;
    int32_t anchorCount_;
    int32_t classes_;
    std::mt19937 random_{4};
    DarknetModel model_;
};

float logit(float probability) {
    return std::log(probability / (1 - probability));
}

} // namespace

std::string classNames(int32_t count) {
    std::string names;
    for (int32_t index = 0; index < count; ++index)
        names += index == 0           ? "person\n"
                 : index == count - 1 ? "face\n"
                                      : "class " + std::to_string(index) + "\n";
    return names;
}

DarknetModel colourModel(const std::array<float, 3>& probability) {
    constexpr int32_t kClasses = 3;
    Writer writer(8 * kColourModelCells, 8 * kColourModelCells, "8,16, 16,8, 8,8", kClasses, kClasses);
    writer.text("\n[maxpool]\nsize=8\nstride=8\npadding=0\n");
    writer.convolutionText(kClasses * (5 + kClasses), 1, 1, "linear", false);

    // Box n belongs to class n and looks at colour channel n: x, y, w, h at rest, the objectness from the
    // colour, certain of its class with the stated probability and of no other.
    std::vector<float> biases;
    std::vector<float> weights;
    const auto filter = [&](float bias, int32_t channel, float gain) {
        biases.push_back(bias);
        for (int32_t input = 0; input < 3; ++input)
            weights.push_back(input == channel ? gain : -gain);
    };
    for (int32_t box = 0; box < kClasses; ++box) {
        for (int32_t coordinate = 0; coordinate < 4; ++coordinate)
            filter(0, box, 0);
        filter(-30, box, 100);
        for (int32_t classId = 0; classId < kClasses; ++classId)
            filter(classId == box ? logit(probability[static_cast<size_t>(box)]) : -30.0f, box, 0);
    }
    writer.floats(biases);
    writer.floats(weights);
    writer.yolo("0,1,2");
    DarknetModel model = writer.finish();
    model.names = "person\nface\ncar\n";
    return model;
}

DarknetModel yolov4Tiny(int32_t size, int32_t classes) {
    Writer writer(size, size, "10,14,  23,27,  37,58,  81,82,  135,169,  344,319", 6, classes);
    writer.convolution(3, 32, 3, 2);
    writer.convolution(32, 64, 3, 2);
    for (const int32_t width : {64, 128, 256}) {
        // Half of the channels pass through two more convolutions, then all come together again.
        writer.convolution(width, width, 3, 1);
        writer.text("\n[route]\nlayers=-1\ngroups=2\ngroup_id=1\n");
        writer.convolution(width / 2, width / 2, 3, 1);
        writer.convolution(width / 2, width / 2, 3, 1);
        writer.text("\n[route]\nlayers = -1,-2\n");
        writer.convolution(width, width, 1, 1);
        writer.text("\n[route]\nlayers = -6,-1\n");
        writer.text("\n[maxpool]\nsize=2\nstride=2\n");
    }
    writer.convolution(512, 512, 3, 1);
    writer.convolution(512, 256, 1, 1);
    writer.convolution(256, 512, 3, 1);
    writer.quietOutput(512, "3,4,5");
    writer.text("\n[route]\nlayers = -4\n");
    writer.convolution(256, 128, 1, 1);
    writer.text("\n[upsample]\nstride=2\n");
    writer.text("\n[route]\nlayers = -1, 23\n");
    writer.convolution(384, 256, 3, 1);
    writer.quietOutput(256, "1,2,3");
    return writer.finish();
}

} // namespace test
