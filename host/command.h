// One subcommand of the host. It declares its options when it is made and runs if it was chosen.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace prodsweep {

class CCommandLine;
class COutput;

// A file that an option names.
struct NamedFile
{
    const char* option; // as typed: "--save"
    std::string path;   // UTF-8, as typed
    bool isWritten;
};

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

    // Those that would spoil each other, or the log of the run, if they were the same.
    virtual std::vector<NamedFile> Files() const { return {}; }

    // UTF-8, as typed; empty: the one beside this program, or none at all.
    virtual std::string LibraryPath() const { return {}; }

    // Returns the exit code. Throws CFailure.
    virtual int Run(const COutput& out) = 0;
};

// All commands, each known to the command line, which must outlive them.
std::vector<std::unique_ptr<ICommand>> MakeCommands(CCommandLine& commandLine);

} // namespace prodsweep
