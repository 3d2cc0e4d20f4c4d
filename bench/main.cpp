// prodsweep_bench [GROUP...]: runs the groups named, or all, prints a table and writes bench.json
// beside the program. Needs ../bin/prodsweep.dll. Ends with 1 when a figure is over its limit, with 2 and no table when
// what is measured does not do its work or a name is that of no group.
#include "bench/benches.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iterator>

namespace {

using namespace prodsweep::bench;

struct Group
{
    const char* name;
    void (*run)(Report&);
};

constexpr Group groups[] = {
    {"log", BenchLog},
    {"load", BenchLoad},
    {"listing", BenchListing},
    {"detection", BenchDetection},
    {"folders", BenchFolders},
    {"registry", BenchRegistry},
    {"interpreter", BenchInterpreter},
    {"removal", BenchRemoval},
};

// Null: all names are those of groups.
const char* FindUnknown(int argc, char** argv)
{
    const char* const* const unknown = std::find_if(argv + 1, argv + argc, [](const char* name) {
        return std::none_of(std::begin(groups), std::end(groups),
                            [name](const Group& group) { return std::strcmp(group.name, name) == 0; });
    });
    return unknown == argv + argc ? nullptr : *unknown;
}

int Refuse(const char* unknown)
{
    std::fprintf(stderr, "\"%s\" is no group; there are:", unknown);
    for (const Group& group : groups)
        std::fprintf(stderr, " %s", group.name);
    std::fputc('\n', stderr);
    return 2;
}

bool Wanted(const char* name, int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
    {
        if (std::strcmp(argv[i], name) == 0)
            return true;
    }
    return argc == 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (const char* const unknown = FindUnknown(argc, argv); unknown != nullptr)
        return Refuse(unknown);
    Report report;
    try
    {
        for (const Group& group : groups)
        {
            if (!Wanted(group.name, argc, argv))
                continue;
            std::fprintf(stderr, "measuring: %s\n", group.name);
            group.run(report);
        }
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "no figures: %s\n", failure.what());
        return 2;
    }
    report.Print();
    report.Write("bench.json");
    return report.WithinLimits() ? 0 : 1;
}
