#pragma once

#include "prodsweep/log.h"
#include "support/temp_tree.h"

#include <windows.h>

#include <string>
#include <vector>

namespace prodsweep::test {

// The built log.dll in a folder of its own, where "log.ini" and by default the log lie beside it.
class BuiltLog : public TempTree
{
public:
    // Copies the DLL, but does not load it yet.
    BuiltLog();
    ~BuiltLog();

    // Writes the settings file.
    void Settings(const std::string& text);
    // Loads the DLL and calls LogInit, as prodsweep.dll does.
    void Load();
    // What prodsweep.dll does at its end.
    void Unload();

    // As prodsweep.dll writes a line, from a function of the name CTest::Write.
    int Write(int level, const wchar_t* format, ...) const;

    [[nodiscard]] HMODULE Module() const { return module; }
    [[nodiscard]] std::wstring Dll() const { return Path(L"log.dll"); }
    [[nodiscard]] std::wstring File() const { return Path(L"a.log"); }

    decltype(&::LogApplySettings) LogApplySettings = nullptr;
    decltype(&::LogSetSettingsFile) LogSetSettingsFile = nullptr;
    decltype(&::LogEnable) LogEnable = nullptr;
    decltype(&::LogSetLevel) LogSetLevel = nullptr;
    decltype(&::LogSetPath) LogSetPath = nullptr;
    decltype(&::LogSetType) LogSetType = nullptr;
    decltype(&::LogSetMode) LogSetMode = nullptr;
    decltype(&::LogSetMaxSize) LogSetMaxSize = nullptr;
    decltype(&::LogSetDepth) LogSetDepth = nullptr;
    decltype(&::LogWrite) LogWrite = nullptr;
    decltype(&::LogIsEnabled) LogIsEnabled = nullptr;
    decltype(&::LogDeinit) LogDeinit = nullptr;
    decltype(&::LogInit) LogInit = nullptr;
    decltype(&::LogUninitDeskMetrics) LogUninitDeskMetrics = nullptr;
    decltype(&::LogTrackEvent) LogTrackEvent = nullptr;
    decltype(&::LogTrackEventData) LogTrackEventData = nullptr;

private:
    HMODULE module = nullptr;
};

[[nodiscard]] std::string ReadAllOf(const std::wstring& path);

// The lines of a file without their ends. A file that does not end in one has its rest as a line of its own, which
// begins with "torn: ".
[[nodiscard]] std::vector<std::string> LinesOf(const std::wstring& path);

// What the lines say: what stands behind the function's name.
[[nodiscard]] std::vector<std::string> TextsOf(const std::wstring& path);

} // namespace prodsweep::test
