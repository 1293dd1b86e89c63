#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// What the measuring programs share. See README.md for the lines they print.
namespace bench {

struct Options {
    /// UTF-8; `--media`.
    std::string mediaDir;
    /// At least 1; `--repeat`.
    int repeat = 3;
    /// What else was given.
    std::vector<std::string> rest;
};

/// Ends the program with its usage when the options can't be read.
Options parseOptions(int argc, char** argv);

struct Figure {
    std::string name;
    std::string unit;
    std::vector<double> ours;
    std::vector<double> peer;
    std::string peerName;
    std::optional<double> wantedRatio;
    std::optional<double> wantedValue;
    std::string note;
};

/// One line on standard output.
void print(const Figure& figure);

double seconds(const std::function<void()>& work);

/// Processor time that the calling thread spends in `work`: of use where other programs disturb the clock.
double threadSeconds(const std::function<void()>& work);

/// The same of all threads of this process.
double processSeconds(const std::function<void()>& work);

/// What running a program cost.
struct Cost {
    double wallSeconds = 0;
    /// User and system time of the program and its threads.
    double cpuSeconds = 0;
    /// Largest resident size, MiB; at least that of the process that started the program, which the system
    /// counts until the program takes its place.
    double peakMiB = 0;
    bool succeeded = false;
};

/// Runs a program to its end, its output thrown away. `arguments[0]` is the program, looked up in PATH.
Cost run(const std::vector<std::string>& arguments);

} // namespace bench
