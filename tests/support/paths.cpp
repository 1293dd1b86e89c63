#include "support/paths.h"

namespace test {

std::string mediaDir() { return SHROUD_MEDIA_DIR; }
std::string binDir() { return SHROUD_BIN_DIR; }
std::string sourceDir() { return SHROUD_SOURCE_DIR; }
std::string detectorLibrary() { return SHROUD_DORIQ_PATH; }

} // namespace test
