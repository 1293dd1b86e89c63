#pragma once

#include <cstddef>

namespace test {

/// How often this thread has asked `operator new` for memory so far; always 0 in a build with sanitizers.
std::size_t allocationsOfThisThread();

} // namespace test
