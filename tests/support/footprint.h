#pragma once

#include <string>
#include <vector>

namespace test {

/// What this process holds of the system.
struct Footprint {
    /// Resident memory in KiB after everything unused has been given back.
    long memory = 0;
    long handles = 0;
    long threads = 0;

    static Footprint now();
};

/// True when the tests run at full length, as tests/endurance/run wants them.
bool isEndurance();

/// Looks at the footprint while something is repeated, prints it, and judges whether it stays. What the first
/// rounds take is the price of starting.
class FootprintWatch {
public:
    /// `rounds` as the endurance run has them, else `shortRounds`.
    FootprintWatch(std::string name, int rounds, int shortRounds);

    int rounds() const { return rounds_; }
    /// After each round, when nothing of it is meant to be left.
    void look(int round);
    /// Fails the test when handles or threads have grown in the second half, and at full length when memory
    /// has grown by more than `slack` KiB since the first look.
    void expectFlat(long slack) const;

private:
    std::string name_;
    int rounds_;
    std::vector<Footprint> looks_;
};

} // namespace test
