#include "writer.h"

#include "debug_note.h"
#include "settings_file.h"

namespace prodsweep::logger {

void CWriter::ReadSettingsOnce()
{
    Set([](Settings&) {});
}

void CWriter::ReadSettingsAgain()
{
    Set([this](Settings& current) { current = ReadSettings(settingsPath); });
}

void CWriter::ReadSettingsFrom(const std::wstring& newPath)
{
    Set([&](Settings& current) {
        settingsPath = newPath;
        current = ReadSettings(settingsPath);
    });
}

void CWriter::ReadIfUnread()
{
    if (!isRead)
        settings = ReadSettings(settingsPath);
    isRead = true;
}

void CWriter::Apply()
{
    file.Use(settings);
    hasFailed = false;
    enabled = settings.enabled;
    wanted = settings.enabled && !settings.path.empty() ? settings.levels : 0;
    type = settings.type;
}

DWORD CWriter::Write(const std::string& line, int level)
{
    const CBoundedGuard guard(lock, patience);
    if (!guard.IsOurs())
        return ERROR_TIMEOUT;
    const DWORD error = file.Append(line, (level & LOG_LEVEL_ERROR) != 0);
    // Once, and not for each line that is lost.
    if (error != ERROR_SUCCESS && !hasFailed)
        Note(L"lines are lost: " + settings.path + L" can't be written", error);
    hasFailed = error != ERROR_SUCCESS;
    return error;
}

void CWriter::Close()
{
    // While a process ends, the thread that held the lock may be gone. The system closes the file then.
    constexpr DWORD shortPatience = 100;
    const CBoundedGuard guard(lock, shortPatience);
    if (guard.IsOurs())
        file.Close();
}

} // namespace prodsweep::logger
