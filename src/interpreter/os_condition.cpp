#include "interpreter/os_condition.h"

#include "environment/wow64.h"

namespace prodsweep {

OsCondition CompareOs(const AttributeMap& attributes)
{
    const std::wstring* os = FindAttribute(attributes, L"os");
    if (os == nullptr)
        return OsCondition::Met;
    const bool system64 = CWow64::Instance().Is64BitSystem();
    if (*os == L"x32" && system64)
        return OsCondition::MeantFor32Bit;
    if (*os == L"x64" && !system64)
        return OsCondition::MeantFor64Bit;
    return OsCondition::Met;
}

} // namespace prodsweep
