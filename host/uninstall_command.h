// prodsweep uninstall: removes products, looks again, and tells what came of it.
#pragma once

#include <string>
#include <vector>

#include "command.h"
#include "product.h"
#include "removal_report.h"

namespace prodsweep {

class CLibrary;

class CUninstallCommand : public ICommand
{
public:
    explicit CUninstallCommand(CLI::App& parser);

    bool IsChosen() const override;
    bool WantsJson() const override { return json; }
    int Run(const COutput& out) override;

private:
    // What is wrong with the options as a whole. Throws CFailure.
    void CheckOptions() const;
    int Flags() const;
    // The catalogue's products that the command line names, in its order. Throws CFailure.
    std::vector<Product> Named(const CLibrary& library) const;
    // What would go, in the words of the question.
    std::vector<Product> Chosen(const CLibrary& library) const;
    void Ask(const std::vector<Product>& products, const COutput& out) const;
    void Remove(const CLibrary& library, const std::vector<Product>& products, const COutput& out,
                RemovalReport& report) const;

    CLI::App* command;
    std::vector<std::string> names;
    std::string kind = "all";
    std::string libraryPath;
    bool force = false;
    bool allInstalled = false;
    bool forceAll = false;
    bool yes = false;
    bool quiet = false;
    bool json = false;
};

} // namespace prodsweep
