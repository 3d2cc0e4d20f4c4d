#include "support/call_watch.h"

#include <algorithm>

namespace prodsweep::test {

int CallWatch::Count(const std::string& call) const
{
    return static_cast<int>(std::count(calls.begin(), calls.end(), call));
}

bool CallWatch::Fails(const std::string& function)
{
    const int nth = ++counts[function];
    const auto fault = faults.find(function);
    if (fault == faults.end() || (fault->second.nth != everyCall && fault->second.nth != nth))
        return false;
    SetLastError(fault->second.error);
    return true;
}

} // namespace prodsweep::test
