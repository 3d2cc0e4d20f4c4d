#pragma once

#include <functional>
#include <vector>

namespace prodsweep::bench {

// Nanoseconds, the median of the rounds.
struct Pair
{
    double ours;
    double peer;
    [[nodiscard]] double Ratio() const { return ours / peer; }
};

double Nanoseconds(const std::function<void()>& work);

// Runs all in turns, beginning with another one in each round, after one unmeasured run of each unless
// there is just one round.
// prepare, when given, runs unmeasured in front of every run. The medians, in the order of works.
std::vector<double> InTurns(int rounds, const std::vector<std::function<void()>>& works,
                            const std::function<void()>& prepare = {});

Pair SideBySide(int rounds, const std::function<void()>& ours, const std::function<void()>& peer,
                const std::function<void()>& prepare = {});

} // namespace prodsweep::bench
