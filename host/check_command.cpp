#include "check_command.h"

#include <windows.h>

#include "check/check_report.h"
#include "check/checker.h"
#include "exit_codes.h"
#include "failure.h"
#include "output.h"

namespace prodsweep {

namespace {

constexpr const char* footer = R"(
Nothing is changed, and what the files name is not looked for. Of a folder, the catalogues in it (products.xml,
detection.xml) are checked and the descriptors that they name, and what these say of each other.

Each finding has a rule and a severity:
  error    it is not read, does nothing, or does harm
  warning  it does something else than it says
  note     odd, and may be meant

Exit codes: 0 nothing to complain of, 1 warnings with --strict, 2 errors. 2 is also, as everywhere in this program, a
file that is missing or cannot be read; a sentence on standard error says so, and nothing is reported then.

--format json prints one object, in UTF-8:
  format    number; 1. It is raised when a script would have to change.
  files     how many were checked; errors, warnings, notes: how many were found
  findings  file, line, column, rule, severity, message, consequence, remedy
Lines and columns count from 1, a column for each character. After a failure the object holds format and error (code,
message) instead. --format sarif prints SARIF 2.1.0, for code review tools; files are relative to the current folder.
)";

std::wstring CurrentFolder()
{
    std::wstring folder(GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    return folder;
}

std::string AsFormat(const CheckReport& report, const std::string& format)
{
    if (format == "json")
        return CheckAsJson(report);
    return format == "sarif" ? CheckAsSarif(report, CurrentFolder()) : CheckAsText(report);
}

std::string RulesAsFormat(const std::string& format)
{
    if (format == "json")
        return RulesAsJson();
    // A run without results: its tool has the rules.
    return format == "sarif" ? CheckAsSarif({}, CurrentFolder()) : RulesAsText();
}

} // namespace

CCheckCommand::CCheckCommand(CCommandLine& commandLine)
    : options(commandLine.AddCommand("check", "Tell what is wrong or odd in catalogues and descriptors", footer))
{
    options.AddOperands("PATH", paths, "Files, or folders with catalogues");
    options.AddChoice("--format", format, {"text", "json", "sarif"}, "FORMAT", "text (default), json or sarif");
    options.AddFlag("--strict", strict, "Warnings, too, make the exit code another one than 0");
    options.AddFlag("--rules", rules, "List what is looked for, and check nothing");
}

int CCheckCommand::Run(const COutput& out)
{
    if (rules)
        return out.Write(RulesAsFormat(format)) ? exitDone : exitNotWritten;
    if (paths.empty())
        throw CFailure(exitBadArguments, "check needs a PATH: a file, or a folder with catalogues.");
    CChecker checker;
    for (const std::string& path : paths)
        checker.Check(path);
    const CheckReport report{checker.Findings().Sorted(), checker.FileCount()};
    if (!out.Write(AsFormat(report, format)))
        return exitNotWritten;
    if (report.Count(Severity::Error) != 0)
        return exitCheckErrors;
    return strict && report.Count(Severity::Warning) != 0 ? exitCheckWarnings : exitDone;
}

} // namespace prodsweep
