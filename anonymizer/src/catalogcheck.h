#pragma once

#include <string>

/// True when the content of a compiled message catalog (.mo) can be handed to the library: it has its tables,
/// a header and every text within itself, each with its end. The library reads them without looking, so that
/// a file cut short by a full disk would end the program at start-up.
bool isSoundCatalog(const std::string& content);
