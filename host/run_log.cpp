#include "run_log.h"

#include <algorithm>
#include <iterator>

#include "common/unique_handle.h"
#include "environment/log.h"
#include "exit_codes.h"
#include "failure.h"
#include "module_path.h"
#include "on_disk.h"
#include "prodsweep/log.h"
#include "text.h"

namespace prodsweep {

namespace {

struct Level
{
    const char* name;
    int number;
};

constexpr Level levelNames[] = {
    {"error", LOG_LEVEL_ERROR}, {"tolerated", LOG_LEVEL_TOLERATED},
    {"trace", LOG_LEVEL_TRACE}, {"skipped", LOG_LEVEL_SKIPPED},
    {"all", LOG_LEVEL_ALL},
};

// As in the settings of the log.
std::string_view WithoutBlanks(std::string_view word)
{
    constexpr std::string_view blanks = " \t";
    const std::size_t first = word.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : word.substr(first, word.find_last_not_of(blanks) + 1 - first);
}

std::string Quoted(const std::wstring& path) { return '"' + ToUtf8(path) + '"'; }

std::string ErrorText(DWORD error) { return " (Windows error " + std::to_string(error) + ")."; }

HMODULE LoadLogger(const std::wstring& path)
{
    if (!PathExists(path))
        throw CFailure(exitNoLibrary, "--log needs the logger " + Quoted(path) + ", which is missing.");
    const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    const DWORD error = GetLastError();
    if (module == nullptr)
        throw CFailure(static_cast<int>(error), "the logger " + Quoted(path) + " cannot be loaded" + ErrorText(error));
    return module;
}

template <class Function>
Function* Bind(HMODULE logger, const char* name)
{
    auto* const address = reinterpret_cast<void*>(GetProcAddress(logger, name));
    if (address == nullptr)
        throw CFailure(exitNoExport,
                       Quoted(ModulePath(logger)) + " cannot be set up: it has no function " + name + ".");
    return reinterpret_cast<Function*>(address);
}

// The logger itself would lose all lines without a word.
void CheckFile(const std::wstring& file)
{
    const UniqueHandle handle = OwnHandle(CreateFileW(file.c_str(), FILE_APPEND_DATA | GENERIC_READ,
                                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                      OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    const DWORD error = GetLastError();
    if (handle == nullptr)
        throw CFailure(exitNotWritten, "the log " + Quoted(file) + " cannot be written" + ErrorText(error));
    if (GetFileType(handle.get()) != FILE_TYPE_DISK)
        throw CFailure(exitNotWritten, "the log " + Quoted(file) + " cannot be written: it is no file.");
}

} // namespace

CLogOptions::CLogOptions(const COptions& programOptions) : options(programOptions)
{
    options.AddText("--log", file, "FILE",
                    "Write what is done, and why it failed, to a file, at its end (needs log.dll beside this program)");
    options.AddText("--log-level", levels, "LEVELS",
                    "What of it: all (default), or some of error, tolerated, trace, skipped, with commas");
    options.Require("--log-level", "--log");
}

int CLogOptions::Levels() const
{
    int sum = 0;
    std::string_view rest = levels;
    for (bool more = true; more;)
    {
        const std::size_t comma = rest.find(',');
        const std::string_view word = WithoutBlanks(rest.substr(0, comma));
        const auto* const level = std::find_if(std::begin(levelNames), std::end(levelNames),
                                               [&](const Level& known) { return word == known.name; });
        if (level == std::end(levelNames))
            throw CFailure(exitBadArguments, "--log-level knows no \"" + std::string(word) +
                                                 "\": say all, or some of error, tolerated, trace, skipped.");
        sum |= level->number;
        more = comma != std::string_view::npos;
        rest.remove_prefix(more ? comma + 1 : rest.size());
    }
    return sum;
}

CRunLog::CRunLog(const CLogOptions& options)
{
    if (options.IsWanted())
        TurnOn(FullPath(ToWide(options.File())), options.Levels());
    // By its bare name, which finds the logger that is loaded already.
    LogAcquire();
}

CRunLog::~CRunLog() { LogRelease(); }

void CRunLog::TurnOn(const std::wstring& file, int levels)
{
    logger.reset(LoadLogger(FolderOf(ModulePath(nullptr)) + L"log.dll"));
    auto* const setPath = Bind<decltype(::LogSetPath)>(logger.get(), "LogSetPath");
    auto* const setLevel = Bind<decltype(::LogSetLevel)>(logger.get(), "LogSetLevel");
    auto* const setMode = Bind<decltype(::LogSetMode)>(logger.get(), "LogSetMode");
    auto* const setMaxSize = Bind<decltype(::LogSetMaxSize)>(logger.get(), "LogSetMaxSize");
    auto* const enable = Bind<decltype(::LogEnable)>(logger.get(), "LogEnable");
    CheckFile(file);
    setPath(file.c_str());
    setLevel(levels);
    // What the settings say of emptying and putting aside is meant for their own file. This one was typed, and what is
    // in it stays.
    setMode(LOG_MODE_APPEND);
    setMaxSize(0);
    enable(TRUE);
}

} // namespace prodsweep
