// prodsweep plan: what a removal would do, without doing it.
#pragma once

#include <string>

#include "command.h"
#include "product_choice.h"

namespace prodsweep {

class CPlanCommand : public ICommand
{
public:
    explicit CPlanCommand(CLI::App& parser);

    bool IsChosen() const override;
    bool WantsJson() const override { return json; }
    int Run(const COutput& out) override;

private:
    CLI::App* command;
    CProductChoice choice;
    std::string pagePath;
    std::string savePath;
    bool json = false;
};

} // namespace prodsweep
