#include "darknet_cfg.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace darknet {

namespace {

/// Above this no dimension, filter count or class count is believed; keeps every product below in 64 bits.
constexpr int32_t kLargestValue = 65536;
/// A single layer with more numbers than this would not fit into memory anyway.
constexpr int64_t kLargestWeightCount = int64_t{1} << 32;

struct Unusable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Section {
    std::string name;
    int line = 0;
    std::map<std::string, std::string> options;
};

struct Shape {
    int32_t width = 0;
    int32_t height = 0;
    int32_t channels = 0;
};

std::string withoutBlanks(const std::string& text) {
    std::string result;
    std::copy_if(text.begin(), text.end(), std::back_inserter(result),
                 [](char c) { return c != ' ' && c != '\t' && c != '\r'; });
    return result;
}

std::vector<Section> readSections(const std::string& cfg) {
    std::vector<Section> sections;
    std::istringstream lines(cfg);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        line = withoutBlanks(line);
        if (line.empty() || line[0] == '#' || line[0] == ';')
            continue;
        if (line[0] == '[') {
            sections.push_back({line, number, {}});
            continue;
        }
        const auto equals = line.find('=');
        if (equals == std::string::npos || sections.empty())
            throw Unusable("line " + std::to_string(number) + " is neither a section nor an option");
        sections.back().options[line.substr(0, equals)] = line.substr(equals + 1);
    }
    return sections;
}

[[noreturn]] void refuse(const Section& section, const std::string& what) {
    throw Unusable(section.name + " at line " + std::to_string(section.line) + ": " + what);
}

int32_t number(const Section& section, const std::string& text) {
    int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end == text.data() || std::abs(int64_t{value}) > kLargestValue)
        refuse(section, "\"" + text + "\" is not a usable number");
    return value;
}

int32_t option(const Section& section, const std::string& key, int32_t fallback) {
    const auto found = section.options.find(key);
    return found == section.options.end() ? fallback : number(section, found->second);
}

int32_t positive(const Section& section, const std::string& key, int32_t fallback) {
    const int32_t value = option(section, key, fallback);
    if (value < 1)
        refuse(section, key + " has to be at least 1");
    return value;
}

std::vector<int32_t> numberList(const Section& section, const std::string& key) {
    const auto found = section.options.find(key);
    std::vector<int32_t> values;
    if (found == section.options.end())
        return values;
    std::istringstream items(found->second);
    for (std::string item; std::getline(items, item, ',');)
        values.push_back(number(section, item));
    return values;
}

/// Walks the layers once, adding up shapes and weights.
class Walk {
public:
    Network run(const std::vector<Section>& sections) {
        if (sections.empty() || (sections[0].name != "[net]" && sections[0].name != "[network]"))
            throw Unusable("it does not begin with a [net] section");
        const Section& net = sections[0];
        shape_ = {positive(net, "width", 0), positive(net, "height", 0), positive(net, "channels", 3)};
        network_.width = shape_.width;
        network_.height = shape_.height;
        network_.channels = shape_.channels;
        if (shape_.channels != 3)
            refuse(net, "channels has to be 3");
        for (size_t index = 1; index < sections.size(); ++index) {
            layer(sections[index]);
            outputs_.push_back(shape_);
        }
        if (network_.classes == 0)
            throw Unusable("it has no [yolo] layer");
        return network_;
    }

private:
    void layer(const Section& section) {
        const std::string& name = section.name;
        if (name == "[convolutional]" || name == "[conv]")
            convolution(section);
        else if (name == "[maxpool]" || name == "[max]")
            pool(section);
        else if (name == "[upsample]")
            enlarge(section);
        else if (name == "[route]")
            route(section);
        else if (name == "[shortcut]")
            earlier(section, option(section, "from", 0));
        else if (name == "[yolo]")
            output(section);
        else if (name != "[dropout]")
            refuse(section, "this kind of layer is not supported");
    }

    void convolution(const Section& section) {
        const int32_t filters = positive(section, "filters", 1);
        const int32_t size = positive(section, "size", 1);
        const int32_t groups = positive(section, "groups", 1);
        if (shape_.channels % groups != 0)
            refuse(section, "groups does not divide the channels");
        const bool normalized = option(section, "batch_normalize", 0) != 0;
        const int64_t kernel = int64_t{filters} * (shape_.channels / groups);
        if (kernel > kLargestWeightCount / (int64_t{size} * size))
            refuse(section, "too many weights");
        add(section, int64_t{filters} * (normalized ? 4 : 1) + kernel * size * size);

        const int32_t stride = positive(section, "stride", 1);
        const int32_t padding = option(section, "pad", 0) != 0 ? size / 2 : option(section, "padding", 0);
        shape_ = {reduced(section, shape_.width, size, stride, 2 * padding),
                  reduced(section, shape_.height, size, stride, 2 * padding), filters};
    }

    void pool(const Section& section) {
        const int32_t stride = positive(section, "stride", 1);
        const int32_t size = positive(section, "size", stride);
        const int32_t padding = option(section, "padding", size - 1);
        shape_.width = reduced(section, shape_.width, size, stride, padding);
        shape_.height = reduced(section, shape_.height, size, stride, padding);
    }

    void enlarge(const Section& section) {
        const int32_t stride = positive(section, "stride", 2);
        if (int64_t{std::max(shape_.width, shape_.height)} * stride > kLargestValue)
            refuse(section, "the picture becomes too large");
        shape_.width *= stride;
        shape_.height *= stride;
    }

    void route(const Section& section) {
        const auto layers = numberList(section, "layers");
        if (layers.empty())
            refuse(section, "it names no layers");
        const int32_t groups = positive(section, "groups", 1);
        int64_t channels = 0;
        Shape first;
        for (size_t index = 0; index < layers.size(); ++index) {
            const Shape& input = earlier(section, layers[index]);
            if (index == 0)
                first = input;
            else if (input.width != first.width || input.height != first.height)
                refuse(section, "its inputs differ in size");
            if (input.channels % groups != 0)
                refuse(section, "groups does not divide the channels");
            channels += input.channels / groups;
        }
        if (channels > kLargestValue)
            refuse(section, "too many channels");
        shape_ = {first.width, first.height, static_cast<int32_t>(channels)};
    }

    void output(const Section& section) {
        const int32_t classes = positive(section, "classes", 20);
        const auto mask = numberList(section, "mask");
        const int64_t boxes = mask.empty() ? positive(section, "num", 1) : static_cast<int64_t>(mask.size());
        if (shape_.channels != boxes * (int64_t{classes} + 5))
            refuse(section, "the layer before it has " + std::to_string(shape_.channels) + " filters, but " +
                                std::to_string(classes) + " classes and " + std::to_string(boxes) +
                                " boxes need " + std::to_string(boxes * (int64_t{classes} + 5)));
        if (network_.classes != 0 && network_.classes != classes)
            refuse(section, "its number of classes differs from that of an earlier one");
        network_.classes = classes;
    }

    /// Output of another layer: counted from the first when `index` is not negative, back from here
    /// otherwise.
    const Shape& earlier(const Section& section, int32_t index) const {
        const int64_t count = static_cast<int64_t>(outputs_.size());
        const int64_t place = index < 0 ? count + index : index;
        if (place < 0 || place >= count)
            refuse(section, "it refers to a layer that does not exist");
        return outputs_[static_cast<size_t>(place)];
    }

    static int32_t reduced(const Section& section, int32_t length, int32_t size, int32_t stride,
                           int32_t padding) {
        const int32_t rest = length + padding - size;
        if (padding < 0 || rest < 0)
            refuse(section, "it leaves nothing of the picture");
        const int32_t result = rest / stride + 1;
        if (result > kLargestValue)
            refuse(section, "the picture becomes too large");
        return result;
    }

    void add(const Section& section, int64_t count) {
        network_.weightCount += count;
        if (network_.weightCount > kLargestWeightCount)
            refuse(section, "too many weights");
    }

    Network network_;
    Shape shape_;
    std::vector<Shape> outputs_;
};

} // namespace

Network readNetwork(const std::string& cfg) {
    try {
        return Walk().run(readSections(cfg));
    } catch (const Unusable& error) {
        Network network;
        network.problem = error.what();
        return network;
    }
}

std::string withAllBoxes(const std::string& cfg) {
    std::string result;
    std::istringstream lines(cfg);
    bool inYolo = false;
    for (std::string line; std::getline(lines, line);) {
        const std::string compact = withoutBlanks(line);
        const std::string key = compact.substr(0, compact.find('='));
        if (!compact.empty() && compact[0] == '[')
            inYolo = compact == "[yolo]";
        else if (inYolo && (key == "thresh" || key == "nms_threshold"))
            continue;
        result += line + '\n';
        if (compact == "[yolo]")
            result += "thresh=0\nnms_threshold=0\n";
    }
    return result;
}

std::string weightsProblem(const Network& network, const std::string& start, int64_t fileBytes) {
    // Three 32-bit version numbers, then the count of training pictures, 32 bits wide in old files.
    int32_t version[2] = {0, 0};
    if (start.size() < 16 || fileBytes < 16)
        return "it is too short to be a weights file";
    std::memcpy(version, start.data(), sizeof version);
    const bool wideCount = int64_t{version[0]} * 10 + version[1] >= 2;
    const int64_t stored = fileBytes - (wideCount ? 20 : 16);
    const int64_t wanted = network.weightCount * 4;
    if (stored == wanted)
        return {};
    return "it holds " + std::to_string(stored) + " bytes of weights, the network has " +
           std::to_string(wanted);
}

} // namespace darknet
