#include "system/removal.h"

#include "system/input_array.h"

namespace prodsweep::test {
namespace {

bool List(const Library& library, int kind, bool* restart, UninstallCallback callback)
{
    const InputArray array{{L"A", kind}};
    return library.UninstallProducts(array.Get(), restart, callback);
}

bool One(const Library& library, int kind, bool* restart, UninstallCallback callback)
{
    ProductEntry entry{};
    entry.Name = SysAllocString(L"A");
    entry.Kind = kind;
    const bool result = library.UninstallProduct(&entry, restart, callback);
    SysFreeString(entry.Name);
    return result;
}

bool ForceAll(const Library& library, int kind, bool* restart, UninstallCallback callback)
{
    return library.UninstallForceAll(kind, restart, callback);
}

bool AllInstalled(const Library& library, int kind, bool* restart, UninstallCallback callback)
{
    return library.UninstallAllInstalled(kind, restart, callback);
}

} // namespace

const Removal removals[] = {
    {"UninstallProducts", List, false},
    {"UninstallProduct", One, true},
    {"UninstallForceAll", ForceAll, true},
    {"UninstallAllInstalled", AllInstalled, true},
};

} // namespace prodsweep::test
