#pragma once

#include <functional>

namespace prodsweep::bench {

// Nanoseconds, the median of the rounds.
struct Pair
{
    double ours;
    double peer;
    [[nodiscard]] double Ratio() const { return ours / peer; }
};

double Nanoseconds(const std::function<void()>& work);

// Runs the two in turns, each first in half of the rounds, after one unmeasured run of each. prepare,
// when given, runs unmeasured in front of every run.
Pair SideBySide(int rounds, const std::function<void()>& ours, const std::function<void()>& peer,
                const std::function<void()>& prepare = {});

} // namespace prodsweep::bench
