#include "support/media_probe.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>

namespace test {
namespace {

struct PipeCloser {
    void operator()(std::FILE* pipe) const { pclose(pipe); }
};

int64_t toNumber(const std::string& text) {
    return std::strtoll(text.c_str(), nullptr, 10);
}

/// Reads "section|key=value|key=value"; backslashes stand before the separators inside values.
std::map<std::string, std::string> readEntries(const std::string& line) {
    std::map<std::string, std::string> entries;
    std::istringstream stream(line);
    for (std::string entry; std::getline(stream, entry, '|');)
        if (const auto equals = entry.find('='); equals != std::string::npos)
            entries[entry.substr(0, equals)] = entry.substr(equals + 1);
    return entries;
}

} // namespace

int64_t StreamReport::number(const std::string& key) const {
    const auto entry = stream.find(key);
    return entry == stream.end() ? -1 : toNumber(entry->second);
}

double StreamReport::seconds(const std::string& key) const {
    const auto entry = stream.find(key);
    return entry == stream.end() ? -1.0 : std::strtod(entry->second.c_str(), nullptr);
}

std::string outputOf(const std::string& command) {
    const std::unique_ptr<std::FILE, PipeCloser> pipe(popen((command + " 2>/dev/null").c_str(), "r"));
    std::string output;
    std::array<char, 65536> buffer;
    while (pipe) {
        const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), pipe.get());
        if (size == 0)
            break;
        output.append(buffer.data(), size);
    }
    return output;
}

std::string quoted(const wxString& text) {
    wxString escaped = text;
    escaped.Replace("'", "'\\''");
    return "'" + escaped.utf8_string() + "'";
}

StreamReport probe(const wxString& file) {
    StreamReport report;
    std::istringstream lines(outputOf(
        "ffprobe -v error -select_streams v:0 -show_streams -show_format -show_packets -of compact " +
        quoted(file)));
    for (std::string line; std::getline(lines, line);) {
        auto entries = readEntries(line);
        const std::string section = line.substr(0, line.find('|'));
        if (section == "packet")
            report.packets.push_back({toNumber(entries["pts"]), toNumber(entries["dts"]),
                                      toNumber(entries["duration"]),
                                      entries["flags"].find('K') != std::string::npos});
        else if (section == "stream")
            report.stream = std::move(entries);
        else if (section == "format")
            report.format = std::move(entries);
    }
    std::sort(report.packets.begin(), report.packets.end(),
              [](const Packet& first, const Packet& second) { return first.pts < second.pts; });
    return report;
}

std::vector<uint8_t> decodeAll(const wxString& file, const std::string& pixelFormat) {
    const std::string bytes =
        outputOf("ffmpeg -v error -i " + quoted(file) +
                 " -map 0:v:0 -fps_mode passthrough -f rawvideo -pix_fmt " + pixelFormat + " -");
    return {bytes.begin(), bytes.end()};
}

} // namespace test
