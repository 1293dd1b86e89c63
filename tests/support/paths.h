#pragma once

#include <string>

/// Where the tests find things; absolute, UTF-8, fixed when the build was configured.
namespace test {

/// Synthesised videos.
std::string mediaDir();
/// Built programs.
std::string binDir();
/// Top of the source tree.
std::string sourceDir();
/// The open detection library; empty when it was not built.
std::string detectorLibrary();

} // namespace test
