#pragma once

#include "bench/measure.h"

#include <string>
#include <vector>

namespace prodsweep::bench {

// The figures of a run: a table for people, JSON for scripts.
class Report
{
public:
    // limit: the ratio that is aimed at; 0 for a figure that is only reported.
    void Compare(const std::string& group, const std::string& name, const Pair& pair, const std::string& peer,
                 double limit = 0);
    void Figure(const std::string& group, const std::string& name, double value, const std::string& unit,
                double limit = 0);
    // The share of our time that the bare system calls do not take.
    void OutsideSystemCalls(const std::string& group, const Pair& pair);

    void Print() const;
    void Write(const std::string& path) const;
    // Are all figures within their limits?
    [[nodiscard]] bool WithinLimits() const;

private:
    struct Row
    {
        std::string group;
        std::string name;
        std::string peer; // empty: a plain figure
        double ours;      // nanoseconds, or the figure
        double other;
        double value; // the ratio, or the figure
        std::string unit;
        double limit;
    };
    std::vector<Row> rows;
};

} // namespace prodsweep::bench
