// prodsweep uninstall: removes products, looks again, and tells what came of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "command.h"
#include "command_line.h"
#include "plan.h"
#include "product.h"
#include "product_choice.h"
#include "removal_report.h"
#include "saved_plan.h"

namespace prodsweep {

class CLibrary;

class CUninstallCommand : public ICommand
{
public:
    explicit CUninstallCommand(CCommandLine& commandLine);

    bool IsChosen() const override { return options.IsChosen(); }
    bool WantsJson() const override { return json; }
    std::vector<NamedFile> Files() const override;
    std::string LibraryPath() const override { return choice.LibraryPath(); }
    int Run(const COutput& out) override;

private:
    void CheckOptions() const;
    // From the saved plan when there is one. Throws CFailure.
    PlanSelection Selection();
    // Plans, and throws CFailure when something keeps the removal from being started. lifted: what would have, and is
    // allowed.
    Plan Prepare(const CLibrary& library, std::vector<std::string>& lifted) const;
    void TellOf(const Plan& plan, const std::vector<std::string>& lifted) const;
    // The same after a question, which may have waited for hours. Throws CFailure also for what it did not tell of.
    Plan PrepareAgain(const CLibrary& library, const Plan& asked, const std::vector<std::string>& liftedBefore) const;
    // From the lock to the second look. Throws CFailure.
    RemovalReport Remove(const CLibrary& library, std::vector<Product> products, const COutput& out) const;
    // One result for a whole catalogue, or one for each product.
    std::vector<RemovalResult> Sweep(const CLibrary& library, const std::vector<Product>& products,
                                     const COutput& out) const;

    COptions options;
    CProductChoice choice;
    PlanSelection selection; // what is removed, from the moment on when Run knows it
    std::string planPath;
    SavedPlan saved;
    std::uint64_t maxFiles = 0;
    std::uint64_t maxKeys = 0;
    bool allowDangerous = false;
    bool yes = false;
    bool quiet = false;
    bool json = false;
};

} // namespace prodsweep
