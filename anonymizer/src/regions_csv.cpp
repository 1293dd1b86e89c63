#include "regions_csv.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string_view>

#include "pxl/file.h"
#include "pxl/stdio64.h"

namespace regions_csv {
namespace {

constexpr std::size_t kColumns = 7;
constexpr std::size_t kScoreColumn = 6;
constexpr std::array<const char*, kColumns> kNames = {"first_frame", "last_frame", "x",    "y",
                                                      "w",           "h",          "score"};
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\r";

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

/// Takes everything up to `separator` off the front of `rest`; the separator goes too.
std::string_view takeUntil(char separator, std::string_view& rest) {
    const std::size_t end = std::min(rest.find(separator), rest.size());
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return part;
}

std::vector<std::string_view> splitFields(std::string_view line) {
    const auto count = static_cast<std::size_t>(std::count(line.begin(), line.end(), ',')) + 1;
    std::vector<std::string_view> fields;
    for (std::size_t i = 0; i < count; ++i)
        fields.push_back(trimmed(takeUntil(',', line)));
    return fields;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
    return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                      [](char a, char b) { return a == b || (a >= 'A' && a <= 'Z' && a - 'A' + 'a' == b); });
}

bool isHeader(const std::vector<std::string_view>& fields) {
    return (fields.size() == kColumns || fields.size() == kScoreColumn) &&
           std::equal(fields.begin(), fields.end(), kNames.begin(), equalsIgnoringCase);
}

/// A field as it can be shown in a message.
wxString shown(std::string_view field) {
    constexpr std::size_t kLongest = 20;
    wxString text;
    for (char character : field.substr(0, kLongest))
        text += character >= ' ' && character <= '~' ? character : '?';
    return field.size() > kLongest ? text + "..." : text;
}

/// Reads the fields of one line; the first problem ends up in `problem`.
class LineReader {
public:
    explicit LineReader(const std::vector<std::string_view>& fields) : fields_(fields) {}

    int64_t number(std::size_t column, int64_t lowest, int64_t highest) {
        const std::string_view field = fields_[column];
        int64_t value = 0;
        const auto [end, code] = std::from_chars(field.data(), field.data() + field.size(), value);
        if (code == std::errc::invalid_argument || end != field.data() + field.size())
            complain(wxString::Format("%s '%s' is not a whole number", kNames[column], shown(field)));
        else if (code == std::errc::result_out_of_range || value < lowest || value > highest)
            complain(wxString::Format("%s %s is out of range, %lld to %lld are possible", kNames[column],
                                      shown(field), static_cast<long long>(lowest),
                                      static_cast<long long>(highest)));
        return value;
    }
    int32_t number32(std::size_t column, int32_t lowest, int32_t highest) {
        return static_cast<int32_t>(number(column, lowest, highest));
    }
    void complain(const wxString& text) {
        if (problem.empty())
            problem = text;
    }

    wxString problem;

private:
    const std::vector<std::string_view>& fields_;
};

Region parseRegion(const std::vector<std::string_view>& fields, wxString& problem) {
    if (fields.size() != kColumns && fields.size() != kScoreColumn) {
        problem = wxString::Format("6 or 7 fields separated by commas are expected, not %zu", fields.size());
        return {};
    }
    using Limits32 = std::numeric_limits<int32_t>;
    constexpr int64_t kMaxFrame = std::numeric_limits<int64_t>::max();
    LineReader line(fields);
    Region region;
    region.firstFrame = line.number(0, 1, kMaxFrame);
    region.lastFrame = line.number(1, 1, kMaxFrame);
    region.x = line.number32(2, Limits32::min(), Limits32::max());
    region.y = line.number32(3, Limits32::min(), Limits32::max());
    region.w = line.number32(4, 1, Limits32::max());
    region.h = line.number32(5, 1, Limits32::max());
    if (fields.size() == kColumns)
        region.score = line.number32(kScoreColumn, 0, 100);
    if (region.firstFrame > region.lastFrame)
        line.complain(wxString::Format("first_frame %lld lies after last_frame %lld",
                                       static_cast<long long>(region.firstFrame),
                                       static_cast<long long>(region.lastFrame)));
    problem = line.problem;
    return region;
}

std::nullopt_t failure(int code, wxString& error) {
    error = wxString::FromUTF8(std::strerror(code));
    return std::nullopt;
}

} // namespace

std::optional<std::vector<Region>> parse(const std::string& text, wxString& error) {
    std::string_view rest = text;
    if (rest.substr(0, kByteOrderMark.size()) == kByteOrderMark)
        rest.remove_prefix(kByteOrderMark.size());
    std::vector<Region> regions;
    bool headerMayFollow = true;
    for (std::size_t number = 1; !rest.empty(); ++number) {
        const std::string_view line = trimmed(takeUntil('\n', rest));
        if (line.empty() || line.front() == '#')
            continue;
        const std::vector<std::string_view> fields = splitFields(line);
        if (headerMayFollow && isHeader(fields)) {
            headerMayFollow = false;
            continue;
        }
        headerMayFollow = false;
        wxString problem;
        const Region region = parseRegion(fields, problem);
        if (!problem.empty()) {
            error = wxString::Format("line %zu: %s", number, problem);
            return std::nullopt;
        }
        regions.push_back(region);
    }
    return regions;
}

std::optional<std::vector<Region>> read(const wxString& path, wxString& error) {
    const std::string utf8 = path.utf8_string();
    std::error_code ignored;
    const bool isFolder = std::filesystem::is_directory(std::filesystem::u8path(utf8), ignored);
    if (isFolder)
        return failure(EISDIR, error);
    std::FILE* const handle = pxl::stdio64::openForReading(utf8);
    if (!handle)
        return failure(errno, error);
    pxl::STDIOFile file(handle);
    std::string text;
    std::array<uint8_t, 65536> buffer;
    while (const uint64_t count = file.read(buffer.data(), buffer.size()))
        text.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
    // A part of the regions would leave somebody in the clear.
    if (file.hasFailed())
        return failure(errno, error);
    return parse(text, error);
}

std::string write(const std::vector<Region>& regions) {
    std::string text;
    for (const char* name : kNames)
        text += (text.empty() ? "" : ",") + std::string(name);
    text += '\n';
    for (const Region& region : regions) {
        text += std::to_string(region.firstFrame) + ',' + std::to_string(region.lastFrame);
        for (int32_t value : {region.x, region.y, region.w, region.h, region.score})
            text += ',' + std::to_string(value);
        text += '\n';
    }
    return text;
}

} // namespace regions_csv
