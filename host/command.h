// One subcommand of the host. It declares its options when it is made and runs if it was chosen.
#pragma once

#include <memory>
#include <vector>

namespace prodsweep {

class CCommandLine;
class COutput;

class ICommand
{
public:
    ICommand() = default;
    ICommand(const ICommand&) = delete;
    ICommand& operator=(const ICommand&) = delete;
    virtual ~ICommand() = default;

    virtual bool IsChosen() const = 0;

    // Standard output is to hold one JSON object, also after a failure.
    virtual bool WantsJson() const = 0;

    // Returns the exit code. Throws CFailure.
    virtual int Run(const COutput& out) = 0;
};

// All commands, each known to the command line, which must outlive them.
std::vector<std::unique_ptr<ICommand>> MakeCommands(CCommandLine& commandLine);

} // namespace prodsweep
