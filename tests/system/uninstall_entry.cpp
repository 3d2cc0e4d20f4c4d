#include "system/uninstall_entry.h"

#include <atomic>

namespace prodsweep::test {
namespace {

std::wstring NewId()
{
    static std::atomic<int> next{0};
    return UninstallEntries::Unique(L"prodsweep-system-" + std::to_wstring(next.fetch_add(1)));
}

} // namespace

UninstallEntry::UninstallEntry(REGSAM view) : id(NewId()) { entries.Add(id, view); }

} // namespace prodsweep::test
