#include "bench/report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace prodsweep::bench {
namespace {

std::string Time(double nanoseconds)
{
    char text[32];
    if (nanoseconds < 1e4)
        std::snprintf(text, sizeof(text), "%.1f ns", nanoseconds);
    else if (nanoseconds < 1e7)
        std::snprintf(text, sizeof(text), "%.1f us", nanoseconds / 1e3);
    else
        std::snprintf(text, sizeof(text), "%.1f ms", nanoseconds / 1e6);
    return text;
}

} // namespace

void Report::Compare(const std::string& group, const std::string& name, const Pair& pair, const std::string& peer,
                     double limit)
{
    rows.push_back({group, name, peer, pair.ours, pair.peer, pair.Ratio(), "x", limit});
}

void Report::Figure(const std::string& group, const std::string& name, double value, const std::string& unit,
                    double limit)
{
    rows.push_back({group, name, "", value, 0, value, unit, limit});
}

void Report::OutsideSystemCalls(const std::string& group, const Pair& pair)
{
    // Below zero where the difference drowns in the noise of the machine; told as it was measured.
    Figure(group, "share of time outside system calls", 100 * (1 - pair.peer / pair.ours), "%");
}

void Report::Print() const
{
    std::string group;
    for (const Row& row : rows)
    {
        if (row.group != group)
            std::printf("\n%s\n", (group = row.group).c_str());
        const std::string limit = row.limit > 0 ? (row.value <= row.limit ? "ok, limit " : "OVER limit ") : "";
        char bound[32] = "";
        if (row.limit > 0)
            std::snprintf(bound, sizeof(bound), "%g", row.limit);
        if (row.peer.empty())
            std::printf("  %-44s %10.2f %-5s %s%s\n", row.name.c_str(), row.value, row.unit.c_str(), limit.c_str(),
                        bound);
        else
            std::printf("  %-44s %10s  %5.2f x %-24s (%s) %s%s\n", row.name.c_str(), Time(row.ours).c_str(), row.value,
                        row.peer.c_str(), Time(row.other).c_str(), limit.c_str(), bound);
    }
}

void Report::Write(const std::string& path) const
{
    nlohmann::ordered_json figures = nlohmann::ordered_json::array();
    for (const Row& row : rows)
    {
        nlohmann::ordered_json figure = {
            {"group", row.group}, {"name", row.name}, {"value", row.value}, {"unit", row.unit}};
        if (!row.peer.empty())
            figure.update({{"peer", row.peer}, {"nanoseconds", row.ours}, {"peerNanoseconds", row.other}});
        if (row.limit > 0)
            figure.update({{"limit", row.limit}, {"withinLimit", row.value <= row.limit}});
        figures.push_back(std::move(figure));
    }
    std::ofstream(path) << figures.dump(2) << "\n";
}

bool Report::WithinLimits() const
{
    return std::all_of(rows.begin(), rows.end(),
                       [](const Row& row) { return row.limit <= 0 || row.value <= row.limit; });
}

} // namespace prodsweep::bench
