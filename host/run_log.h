// --log and --log-level: what is logged of this one run, and where.
#pragma once

#include <memory>
#include <string>

#include <windows.h>

#include "command_line.h"

namespace prodsweep {

class CLogOptions
{
public:
    // Read into this object, which must stay where it is.
    explicit CLogOptions(const COptions& programOptions);

    bool IsWanted() const { return options.IsGiven("--log"); }
    // UTF-8, as typed.
    const std::string& File() const noexcept { return file; }
    // LOG_LEVEL_..., added up. Throws CFailure for a word that is no level.
    int Levels() const;

private:
    COptions options;
    std::string file;
    std::string levels = "all";
};

// As long as it lives, log.dll is bound, if there is one: to the library, which looks for it by name, and to what of
// its code is linked in here.
class CRunLog
{
public:
    // Turns the log on if that is wanted; else the settings beside log.dll decide. Throws CFailure.
    explicit CRunLog(const CLogOptions& options);
    ~CRunLog();
    CRunLog(const CRunLog&) = delete;
    CRunLog& operator=(const CRunLog&) = delete;

private:
    struct ModuleCloser
    {
        using pointer = HMODULE;
        void operator()(HMODULE module) const noexcept { FreeLibrary(module); }
    };

    void TurnOn(const std::wstring& file, int levels);

    std::unique_ptr<HMODULE, ModuleCloser> logger;
};

} // namespace prodsweep
