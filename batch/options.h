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
