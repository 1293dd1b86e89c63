#pragma once

#include <cstddef>

namespace test {

/// How often this thread has asked `operator new` for memory so far.
std::size_t allocationsOfThisThread();

} // namespace test
