#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <wx/string.h>

/// Regions to hide as comma-separated text, one rectangle on a run of frames per line:
///
///     first_frame,last_frame,x,y,w,h,score
///     12,40,100,80,64,64
///
/// Frames count from 1, both ends belong to the run. Pixels of the video, origin top left; a rectangle may
/// reach beyond the picture. The score in percent may be left out (100). Whole numbers only. A header line,
/// empty lines, lines that begin with '#', blanks around fields, either line ending and a byte order mark are
/// accepted.
namespace regions_csv {

struct Region {
    int64_t firstFrame = 1;
    int64_t lastFrame = 1;
    int32_t x = 0, y = 0;
    /// At least 1.
    int32_t w = 1, h = 1;
    /// Percent, 0 … 100.
    int32_t score = 100;
};

/// Nothing at the first line that can't be understood; `error` then names the line and says why, without a
/// full stop or a file name.
std::optional<std::vector<Region>> parse(const std::string& text, wxString& error);

/// Reads and parses a file. `error` as above; also when the file can't be read.
std::optional<std::vector<Region>> read(const wxString& path, wxString& error);

/// Text that `parse` turns back into the same regions, with a header line.
std::string write(const std::vector<Region>& regions);

} // namespace regions_csv
