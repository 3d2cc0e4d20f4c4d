// prodsweep plan: what a removal would do, without doing it.
#pragma once

#include <string>
#include <vector>

#include "command.h"
#include "command_line.h"
#include "product_choice.h"

namespace prodsweep {

class CPlanCommand : public ICommand
{
public:
    explicit CPlanCommand(CCommandLine& commandLine);

    bool IsChosen() const override { return options.IsChosen(); }
    bool WantsJson() const override { return json; }
    std::vector<NamedFile> Files() const override;
    std::string LibraryPath() const override { return choice.LibraryPath(); }
    int Run(const COutput& out) override;

private:
    COptions options;
    CProductChoice choice;
    std::string pagePath;
    std::string savePath;
    bool json = false;
};

} // namespace prodsweep
