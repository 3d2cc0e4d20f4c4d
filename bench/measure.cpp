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
    LARGE_INTEGER frequency{}, start{}, end{};
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);
    work();
    QueryPerformanceCounter(&end);
    return static_cast<double>(end.QuadPart - start.QuadPart) * 1e9 / static_cast<double>(frequency.QuadPart);
}

Pair SideBySide(int rounds, const std::function<void()>& ours, const std::function<void()>& peer,
                const std::function<void()>& prepare)
{
    std::vector<double> samples[2];
    const std::function<void()>* work[2] = {&ours, &peer};
    const auto run = [&](std::size_t which) {
        if (prepare)
            prepare();
        return Nanoseconds(*work[which]);
    };
    run(0);
    run(1);
    for (int round = 0; round < rounds; ++round)
    {
        const std::size_t first = round % 2 == 0 ? 0 : 1;
        samples[first].push_back(run(first));
        samples[1 - first].push_back(run(1 - first));
    }
    return {Median(samples[0]), Median(samples[1])};
}

} // namespace prodsweep::bench
