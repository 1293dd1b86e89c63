#pragma once

#include "options.h"

/// Prints one JSON object that describes the input. Returns the program's exit code.
int runInfo(const Options& options);
