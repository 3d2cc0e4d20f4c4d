// prodsweep explain: why a product counts as installed, or why it does not.
#pragma once

#include <string>

#include "command.h"
#include "product.h"

namespace prodsweep {

class CLibrary;

class CExplainCommand : public ICommand
{
public:
    explicit CExplainCommand(CLI::App& parser);

    bool IsChosen() const override;
    bool WantsJson() const override { return json; }
    int Run(const COutput& out) override;

private:
    // Throws CFailure unless exactly one catalogue has it.
    Product FindProduct(const CLibrary& library) const;

    CLI::App* command;
    bool json = false;
    std::string name;
    std::string kind = "all";
    std::string libraryPath;
};

} // namespace prodsweep
