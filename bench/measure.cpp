#include "bench/measure.h"

#include <windows.h>

#include <algorithm>
#include <vector>

namespace prodsweep::bench {
namespace {

double Median(std::vector<double> samples)
{
    std::sort(samples.begin(), samples.end());
    const std::size_t middle = samples.size() / 2;
    return samples.size() % 2 != 0 ? samples[middle] : (samples[middle - 1] + samples[middle]) / 2;
}

} // namespace

double Nanoseconds(const std::function<void()>& work)
{
    LARGE_INTEGER frequency{};
    LARGE_INTEGER start{};
    LARGE_INTEGER end{};
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);
    work();
    QueryPerformanceCounter(&end);
    return static_cast<double>(end.QuadPart - start.QuadPart) * 1e9 / static_cast<double>(frequency.QuadPart);
}

std::vector<double> InTurns(int rounds, const std::vector<std::function<void()>>& works,
                            const std::function<void()>& prepare)
{
    std::vector<std::vector<double>> samples(works.size());
    const auto run = [&](std::size_t which) {
        if (prepare)
            prepare();
        return Nanoseconds(works[which]);
    };
    for (std::size_t which = 0; which < works.size() && rounds > 1; ++which)
        run(which);
    for (std::size_t round = 0; round < static_cast<std::size_t>(rounds); ++round)
    {
        for (std::size_t i = 0; i < works.size(); ++i)
        {
            const std::size_t which = (i + round) % works.size();
            samples[which].push_back(run(which));
        }
    }
    std::vector<double> medians;
    medians.reserve(samples.size());
    for (std::vector<double>& times : samples)
        medians.push_back(Median(std::move(times)));
    return medians;
}

Pair SideBySide(int rounds, const std::function<void()>& ours, const std::function<void()>& peer,
                const std::function<void()>& prepare)
{
    const std::vector<double> medians = InTurns(rounds, {ours, peer}, prepare);
    return {medians[0], medians[1]};
}

} // namespace prodsweep::bench
