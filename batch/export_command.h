#pragma once

#include "options.h"

/// Writes the anonymised copy of the input. Returns the program's exit code; a failure has been told.
int runExport(const Options& options);
