#pragma once

#include <cstdint>
#include <vector>

#include <wx/string.h>

/// What the command line asks for.
struct Options {
    enum class Command { Export, Info, Help, Version };

    Command command = Command::Export;
    /// A switches::EditingMode.
    int32_t mode = 0;
    /// Percent, 0 … 100.
    int32_t threshold = 50;
    /// Look for persons and faces before the export.
    bool detect = false;
    /// Seconds by which everything is hidden before it first appears; 0 for none.
    int32_t preblurSeconds = 1;
    /// Let the detection library use the graphics processor.
    bool gpu = false;
    /// CSV file to write the store's rectangles to; empty when none was given.
    wxString detectionsPath;
    /// No progress line.
    bool quiet = false;
    /// CSV file; empty when none was given.
    wxString regionsPath;
    wxString inputPath;
    wxString outputPath;
};

/// Reads the arguments (without the program's name). False on wrong usage; a line on standard error then says
/// what is wrong.
bool parseOptions(const std::vector<wxString>& arguments, Options& options);

/// Text for --help.
wxString usageText();
