// The logger of this process: its settings and its file, safe with many threads.
#pragma once

#include <atomic>
#include <string>

#include <windows.h>

#include "bounded_lock.h"
#include "log_file.h"
#include "settings.h"

namespace prodsweep::logger {

class CWriter
{
public:
    // settingsFile: full path; it need not exist.
    explicit CWriter(std::wstring settingsFile) : settingsPath(std::move(settingsFile)) {}

    // Once, by whoever comes first.
    void ReadSettingsOnce();
    void ReadSettingsAgain();
    void ReadSettingsFrom(const std::wstring& newPath);

    // change(Settings&), after the settings file was read if it was not yet.
    template <class Change>
    void Set(const Change& change)
    {
        const CBoundedGuard guard(lock, patience);
        if (!guard.IsOurs())
            return;
        ReadIfUnread();
        change(settings);
        Apply();
    }

    [[nodiscard]] bool IsEnabled() const noexcept { return enabled.load(); }
    // The cheap test in front of every line.
    [[nodiscard]] bool Wants(int level) const noexcept { return (wanted.load(std::memory_order_relaxed) & level) != 0; }
    [[nodiscard]] int Type() const noexcept { return type.load(std::memory_order_relaxed); }

    // 0, or the Windows error by which the line was lost.
    DWORD Write(const std::string& line, int level);
    void Close();

private:
    static constexpr DWORD patience = 5000; // milliseconds

    void ReadIfUnread();
    void Apply();

    CBoundedLock lock;
    std::wstring settingsPath;
    bool isRead = false;
    bool hasFailed = false;
    Settings settings;
    CLogFile file;
    std::atomic<bool> enabled{false};
    std::atomic<int> wanted{0};
    std::atomic<int> type{LOG_TYPE_TEXT};
};

} // namespace prodsweep::logger
