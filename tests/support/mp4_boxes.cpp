#include "support/mp4_boxes.h"

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>

#include "support/temp_folder.h"

namespace test {
namespace {

const std::set<std::string> kContainers = {"moov",
                                           "moov/trak",
                                           "moov/trak/edts",
                                           "moov/trak/mdia",
                                           "moov/trak/mdia/minf",
                                           "moov/trak/mdia/minf/dinf",
                                           "moov/trak/mdia/minf/stbl",
                                           "moov/udta",
                                           "moov/udta/meta",
                                           "moov/udta/meta/ilst"};

/// Each at most once, and in no other place.
const std::set<std::string> kKnown = {
    "ftyp", "wide", "free", "mdat", "moov/mvhd", "moov/trak/tkhd", "moov/trak/edts/elst",
    "moov/trak/mdia/mdhd", "moov/trak/mdia/hdlr", "moov/trak/mdia/minf/vmhd", "moov/trak/mdia/minf/hdlr",
    "moov/trak/mdia/minf/dinf/dref", "moov/trak/mdia/minf/stbl/stsd", "moov/trak/mdia/minf/stbl/stts",
    "moov/trak/mdia/minf/stbl/stss", "moov/trak/mdia/minf/stbl/sdtp", "moov/trak/mdia/minf/stbl/ctts",
    "moov/trak/mdia/minf/stbl/stsc", "moov/trak/mdia/minf/stbl/stsz", "moov/trak/mdia/minf/stbl/stco",
    "moov/trak/mdia/minf/stbl/sgpd", "moov/trak/mdia/minf/stbl/sbgp", "moov/udta/meta/hdlr",
    "moov/udta/meta/ilst/\xA9too",
    "moov/udta/meta/ilst/\xA9"
    "cmt",
    // QuickTime's
    "moov/udta/\xA9swr",
    "moov/udta/\xA9"
    "cmt",
    "moov/udta/\xA9"
    "des"};

uint64_t number(const std::string& bytes, std::size_t at, int length = 4) {
    if (at + static_cast<std::size_t>(length) > bytes.size())
        throw std::runtime_error("a box ends too early");
    uint64_t value = 0;
    for (int i = 0; i < length; ++i)
        value = value << 8 | static_cast<uint8_t>(bytes[at + static_cast<std::size_t>(i)]);
    return value;
}

void walk(const std::string& bytes, const std::string& path, std::vector<Box>& boxes) {
    std::size_t at = 0;
    while (at < bytes.size()) {
        uint64_t size = number(bytes, at);
        std::size_t header = 8;
        Box box;
        box.type = bytes.substr(at + 4, 4);
        // QuickTime's user data may end with a zero instead of a box.
        if (size == 0 && bytes.size() - at == 4 && path == "moov/udta")
            return;
        if (size == 1) {
            size = number(bytes, at + 8, 8);
            header = 16;
        }
        box.path = path.empty() ? box.type : path + "/" + box.type;
        if (size < header || size > bytes.size() - at)
            throw std::runtime_error(box.path + " has " + std::to_string(size) + " bytes of " +
                                     std::to_string(bytes.size() - at));
        box.content = bytes.substr(at + header, size - header);
        box.isContainer = kContainers.count(box.path) > 0;
        boxes.push_back(box);
        if (box.isContainer)
            walk(box.type == "meta" ? box.content.substr(4) : box.content, box.path, boxes);
        at += size;
    }
}

/// Fails for dates other than none; creation and modification follow version and flags.
bool hasDate(const std::string& content) {
    const int length = number(content, 0, 1) == 1 ? 8 : 4;
    return number(content, 4, length) != 0 ||
           number(content, 4 + static_cast<std::size_t>(length), length) != 0;
}

class Checker {
public:
    explicit Checker(const std::string& file) : boxes_(boxesOf(file)) {}

    std::vector<std::string> faults() {
        checkKinds();
        for (const char* path : {"moov/mvhd", "moov/trak/tkhd", "moov/trak/mdia/mdhd"})
            if (hasDate(find(path)))
                fault(std::string(path) + " holds a date");
        const std::string free = find("free");
        if (free.find_first_not_of('\0') != std::string::npos)
            fault("free space is not empty");
        const std::string handler = find("moov/trak/mdia/hdlr");
        if (handler.size() < 12 || handler.substr(8, 4) != "vide")
            fault("the track is no video");
        if (handler.substr(std::min<std::size_t>(handler.size(), 24)).find("VideoHandler") ==
            std::string::npos)
            fault("the track has a name");
        checkSamples();
        checkEdits();
        checkTexts();
        return faults_;
    }

private:
    void fault(const std::string& text) { faults_.push_back(text); }

    void checkKinds() {
        std::map<std::string, int> count;
        for (const Box& box : boxes_) {
            if (!box.isContainer && kKnown.count(box.path) == 0)
                fault("unknown box " + box.path);
            if (++count[box.path] == 2)
                fault("more than one " + box.path);
        }
        for (const char* path : {"ftyp", "mdat", "moov", "moov/trak"})
            if (count[path] == 0)
                fault(std::string("no ") + path);
    }

    std::string find(const std::string& path) const {
        const auto box =
            std::find_if(boxes_.begin(), boxes_.end(), [&](const Box& b) { return b.path == path; });
        return box == boxes_.end() ? std::string() : box->content;
    }

    void checkSamples() {
        const std::string sizes = find("moov/trak/mdia/minf/stbl/stsz");
        if (sizes.empty())
            return fault("no samples");
        const uint64_t common = number(sizes, 4);
        const uint64_t count = number(sizes, 8);
        uint64_t sum = common * count;
        for (uint64_t i = 0; common == 0 && i < count; ++i)
            sum += number(sizes, 12 + 4 * static_cast<std::size_t>(i));
        if (sum != find("mdat").size())
            fault("mdat has " + std::to_string(find("mdat").size()) + " bytes, its samples have " +
                  std::to_string(sum));
    }

    /// The only edit there may be starts with the first picture and lasts to the end.
    void checkEdits() {
        const std::string edits = find("moov/trak/edts/elst");
        if (edits.empty())
            return;
        if (number(edits, 4) != 1)
            return fault("more than one edit");
        const bool isWide = number(edits, 0, 1) == 1;
        const uint64_t duration = number(edits, 8, isWide ? 8 : 4);
        const uint64_t start = number(edits, isWide ? 16 : 12, isWide ? 8 : 4);
        const std::string offsets = find("moov/trak/mdia/minf/stbl/ctts");
        const uint64_t first = offsets.empty() ? 0 : number(offsets, 12);
        if (start > first)
            fault("an edit skips the first frames");
        const std::string times = find("moov/trak/mdia/minf/stbl/stts");
        uint64_t length = 0;
        for (uint64_t i = 0; i < number(times, 4); ++i) {
            const std::size_t at = 8 + 8 * static_cast<std::size_t>(i);
            length += number(times, at) * number(times, at + 4);
        }
        const double movieScale = static_cast<double>(number(find("moov/mvhd"), 12));
        const double mediaScale = static_cast<double>(number(find("moov/trak/mdia/mdhd"), 12));
        // Rounded to the movie's units.
        if ((static_cast<double>(duration) + 1) / movieScale < static_cast<double>(length) / mediaScale)
            fault("an edit cuts off the last frames");
    }

    void checkTexts() {
        for (const Box& box : boxes_)
            if (box.path.compare(0, 10, "moov/udta/") == 0 && !box.isContainer && box.type != "hdlr" &&
                box.content.find("Tarvex Shroud") == std::string::npos &&
                box.content.find("Lavf") == std::string::npos)
                fault(box.path + " says something of its own");
    }

    std::vector<Box> boxes_;
    std::vector<std::string> faults_;
};

} // namespace

std::vector<Box> boxesOf(const std::string& file) {
    std::vector<Box> boxes;
    walk(readFile(file), "", boxes);
    return boxes;
}

std::vector<std::string> privacyFaults(const std::string& file) {
    try {
        return Checker(file).faults();
    } catch (const std::exception& error) {
        return {error.what()};
    }
}

} // namespace test
