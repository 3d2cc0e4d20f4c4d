#pragma once

#include <string>

namespace prodsweep::bench {

// The key of the machine's uninstall entries, with its separator.
constexpr wchar_t uninstallKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";

// The very calls by which the installed products of a catalogue are listed, and nothing else: the same
// nodes and attributes read, the same keys opened, nothing kept. For products that each have one version
// with an id. COM must be initialised on this thread.
void BareListing(const wchar_t* catalogue);

// Uninstall entries named "prodsweep-bench-NUMBER", of every step-th product; none when step is 0. They
// go with the object.
class InstalledEntries
{
public:
    InstalledEntries(int count, int every);
    ~InstalledEntries();
    InstalledEntries(const InstalledEntries&) = delete;
    InstalledEntries& operator=(const InstalledEntries&) = delete;

private:
    int products;
    int step;
};

} // namespace prodsweep::bench
