#include "host.h"

#include <algorithm>
#include <new>

#include "command.h"
#include "command_line.h"
#include "exit_codes.h"
#include "failure.h"
#include "json.h"
#include "output.h"
#include "own_files.h"
#include "run_log.h"
#include "text.h"

namespace prodsweep {

namespace {

constexpr const char* description = "Finds and removes installed software products, told what by XML catalogues.";

constexpr const char* exitCodeHelp = R"(
Exit codes:
  0    done
  1    pending --check: a file at the path would be lost at the restart; check --strict: warnings
  2    the library is missing, or the log.dll for --log, or what is to be checked; check: errors
  13   a catalogue is missing or cannot be read, or a saved plan is none
  14   memory is short
  29   the output, the log or a plan cannot be written (a removal that failed or needs a restart keeps its own code)
  87   the command line is wrong
  127  the file given as library is another one
  740  an administrator's rights are needed
  1602 the removal was declined
  1603 a removal failed, or something remains; or it was refused by a guard rail, a limit or a saved plan
  1605 a product is in no catalogue
  1618 a removal by this program is running
  3010 done, and a restart is needed to finish
Any other code is that of the Windows error that is told on standard error, such as 193 for a library that is not
64-bit.
)";

int Fail(const COutput& err, int code, const std::string& sentence)
{
    // The sentence may quote what was typed, and must stay one line. Nothing is left to be told by, if standard error
    // fails as well; the exit code still stands.
    static_cast<void>(err.Write("prodsweep: " + Printable(sentence) + '\n'));
    return code;
}

int FailNotWritten(const COutput& err) { return Fail(err, exitNotWritten, "the output cannot be written."); }

// json: standard output gets the failure as well.
int Fail(const COutput& out, const COutput& err, const CFailure& failure, bool json)
{
    if (json)
        static_cast<void>(out.Write(FailureAsJson(failure.ExitCode(), failure.what())));
    return Fail(err, failure.ExitCode(), failure.what());
}

void CheckFiles(const ICommand& command, const CLogOptions& logOptions)
{
    std::vector<NamedFile> files = command.Files();
    if (logOptions.IsWanted())
        files.push_back({"--log", logOptions.File(), true});
    CheckNamedFiles(files, command.LibraryPath());
}

int RunCommand(ICommand& command, const CLogOptions& logOptions, const COutput& out, const COutput& err)
{
    try
    {
        CheckFiles(command, logOptions);
        const CRunLog log(logOptions);
        const int code = command.Run(out);
        return code == exitNotWritten ? FailNotWritten(err) : code;
    }
    catch (const COutputFailure& failure)
    {
        return Fail(err, failure.ExitCode(), failure.what());
    }
    catch (const CFailure& failure)
    {
        return Fail(out, err, failure, command.WantsJson());
    }
    catch (const std::bad_alloc&)
    {
        return Fail(err, exitNoMemory, "memory is short.");
    }
}

} // namespace

int RunHost(std::vector<std::string> arguments, const COutput& out, const COutput& err)
{
    CCommandLine commandLine(description, exitCodeHelp);
    const CLogOptions logOptions(commandLine.Options());
    const auto commands = MakeCommands(commandLine);
    try
    {
        if (const auto asked = commandLine.Read(std::move(arguments)))
            return out.Write(*asked) ? exitDone : FailNotWritten(err);
    }
    catch (const CFailure& failure)
    {
        return Fail(out, err, failure, commandLine.AsksForJson());
    }
    const auto chosen =
        std::find_if(commands.begin(), commands.end(), [](const auto& command) { return command->IsChosen(); });
    return RunCommand(**chosen, logOptions, out, err);
}

} // namespace prodsweep
