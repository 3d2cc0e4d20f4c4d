// prodsweep check: what is wrong or odd in catalogues and descriptors.
#pragma once

#include <string>
#include <vector>

#include "command.h"
#include "command_line.h"

namespace prodsweep {

class CCheckCommand : public ICommand
{
public:
    explicit CCheckCommand(CCommandLine& commandLine);

    bool IsChosen() const override { return options.IsChosen(); }
    bool WantsJson() const override { return format == "json"; }
    int Run(const COutput& out) override;

private:
    COptions options;
    std::vector<std::string> paths;
    std::string format = "text";
    bool strict = false;
    bool rules = false;
};

} // namespace prodsweep
