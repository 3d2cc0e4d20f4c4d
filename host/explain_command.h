// prodsweep explain: why a product counts as installed, or why it does not.
#pragma once

#include <string>

#include "command.h"
#include "command_line.h"
#include "product.h"

namespace prodsweep {

class CLibrary;

class CExplainCommand : public ICommand
{
public:
    explicit CExplainCommand(CCommandLine& commandLine);

    bool IsChosen() const override { return options.IsChosen(); }
    bool WantsJson() const override { return json; }
    std::string LibraryPath() const override { return libraryPath; }
    int Run(const COutput& out) override;

private:
    // Throws CFailure unless exactly one catalogue has it.
    Product FindProduct(const CLibrary& library) const;

    COptions options;
    bool json = false;
    std::string name;
    std::string kind = "all";
    std::string libraryPath;
};

} // namespace prodsweep
