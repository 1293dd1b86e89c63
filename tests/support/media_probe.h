#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <wx/string.h>

/// Looks at video files with the FFmpeg command-line tools, which share no code path with the product's back
/// end. Failures of the tools show as empty results.
namespace test {

struct Packet {
    int64_t pts = 0;
    int64_t dts = 0;
    /// 0 when the container states none.
    int64_t duration = 0;
    bool key = false;
};

struct StreamReport {
    /// Entries of the first video stream: codec_name, profile, time_base, nb_frames, duration, start_time, …
    std::map<std::string, std::string> stream;
    /// Entries of the container: nb_streams, duration, … Tags, here and above, as "tag:comment".
    std::map<std::string, std::string> format;
    /// In the order of presentation.
    std::vector<Packet> packets;

    int64_t number(const std::string& key) const;
    double seconds(const std::string& key) const;
};

StreamReport probe(const wxString& file);

/// Every picture of the file in the order of presentation, one after the other, in a pixel format of the
/// tool: "rgba", "gray", "yuv420p".
std::vector<uint8_t> decodeAll(const wxString& file, const std::string& pixelFormat);

/// Standard output of a shell command, standard error dropped.
std::string outputOf(const std::string& command);
/// `text` as one word of a shell command.
std::string quoted(const wxString& text);

} // namespace test
