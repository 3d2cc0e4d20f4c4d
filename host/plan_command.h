// prodsweep plan: what a removal would do, without doing it.
#pragma once

#include <string>

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
    int Run(const COutput& out) override;

private:
    // That neither --html nor --save would cost another file that is needed. Throws CFailure.
    void CheckFiles(const std::wstring& libraryFolder) const;

    COptions options;
    CProductChoice choice;
    std::string pagePath;
    std::string savePath;
    bool json = false;
};

} // namespace prodsweep
