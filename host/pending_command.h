// prodsweep pending: what the system does at the next restart, and taking a deletion out of it.
#pragma once

#include <string>

#include "command.h"
#include "command_line.h"

namespace prodsweep {

class CPendingCommand : public ICommand
{
public:
    explicit CPendingCommand(CCommandLine& commandLine);

    bool IsChosen() const override { return options.IsChosen(); }
    bool WantsJson() const override { return json; }
    std::string LibraryPath() const override { return libraryPath; }
    int Run(const COutput& out) override;

private:
    int List(const COutput& out) const;
    int Check(const COutput& out) const;
    int Cancel(const COutput& out) const;

    COptions options;
    bool json = false;
    std::string checkedPath;
    std::string cancelledPath;
    std::string libraryPath;
};

} // namespace prodsweep
