// prodsweep list: the products of the catalogues, and which of them are installed.
#pragma once

#include <string>

#include "command.h"

namespace prodsweep {

class CListCommand : public ICommand
{
public:
    explicit CListCommand(CLI::App& parser);

    bool IsChosen() const override;
    bool WantsJson() const override { return json; }
    int Run(const COutput& out) override;

private:
    CLI::App* command;
    bool installedOnly = false;
    bool json = false;
    std::string kind = "all";
    std::string libraryPath;
};

} // namespace prodsweep
