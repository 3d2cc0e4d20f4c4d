// prodsweep check: what is wrong or odd in catalogues and descriptors.
#pragma once

#include <string>
#include <vector>

#include "command.h"

namespace prodsweep {

class CCheckCommand : public ICommand
{
public:
    explicit CCheckCommand(CLI::App& parser);

    bool IsChosen() const override;
    bool WantsJson() const override { return format == "json"; }
    int Run(const COutput& out) override;

private:
    CLI::App* command;
    std::vector<std::string> paths;
    std::string format = "text";
    bool strict = false;
    bool rules = false;
};

} // namespace prodsweep
