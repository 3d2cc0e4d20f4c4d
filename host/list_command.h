// prodsweep list: the products of the catalogues, and which of them are installed.
#pragma once

#include <string>

#include "command.h"
#include "command_line.h"

namespace prodsweep {

class CListCommand : public ICommand
{
public:
    explicit CListCommand(CCommandLine& commandLine);

    bool IsChosen() const override { return options.IsChosen(); }
    bool WantsJson() const override { return json; }
    std::string LibraryPath() const override { return libraryPath; }
    int Run(const COutput& out) override;

private:
    COptions options;
    bool installedOnly = false;
    bool json = false;
    std::string kind = "all";
    std::string libraryPath;
};

} // namespace prodsweep
