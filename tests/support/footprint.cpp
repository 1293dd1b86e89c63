#include "support/footprint.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

namespace test {
namespace {

constexpr int kLooks = 10;
/// Libraries have threads and pipes that come and go.
constexpr long kPassing = 2;

long entriesIn(const char* folder) {
    long count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        (void)entry;
        ++count;
    }
    return count;
}

} // namespace

Footprint Footprint::now() {
    malloc_trim(0);
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return {resident * (sysconf(_SC_PAGESIZE) / 1024), entriesIn("/proc/self/fd"),
            entriesIn("/proc/self/task")};
}

bool isEndurance() {
    return std::getenv("SHROUD_ENDURANCE") != nullptr;
}

FootprintWatch::FootprintWatch(std::string name, int rounds, int shortRounds)
    : name_(std::move(name)), rounds_(isEndurance() ? rounds : shortRounds) {}

void FootprintWatch::look(int round) {
    const int step = std::max(rounds_ / kLooks, 1);
    if ((round + 1) % step != 0)
        return;
    looks_.push_back(Footprint::now());
    const Footprint& look = looks_.back();
    std::printf("%-10s %6d: %7ld KiB, %3ld handles, %3ld threads\n", name_.c_str(), round + 1, look.memory,
                look.handles, look.threads);
    std::fflush(stdout);
}

void FootprintWatch::expectFlat(long slack) const {
    ASSERT_GE(looks_.size(), 2u);
    const Footprint& last = looks_.back();
    Footprint early;
    for (std::size_t i = 0; i < looks_.size() / 2; ++i) {
        early.handles = std::max(early.handles, looks_[i].handles);
        early.threads = std::max(early.threads, looks_[i].threads);
    }
    EXPECT_LE(last.handles, early.handles + kPassing) << name_;
    EXPECT_LE(last.threads, early.threads + kPassing) << name_;
    if (isEndurance()) {
        EXPECT_LE(last.memory, looks_.front().memory + slack) << name_;
    }
}

} // namespace test
