#include "users.h"

namespace prodsweep {

std::string CUsers::OfFile(const std::wstring& path) const
{
    return First([&](const CProductCheckUse& product) { return product.IsFileUsed(path.c_str()); });
}

std::string CUsers::OfFolder(const std::wstring& path) const
{
    return First([&](const CProductCheckUse& product) { return product.IsFolderUsed(path.c_str()); });
}

std::string CUsers::OfKey(const std::wstring& key, bool x32view) const
{
    return First([&](const CProductCheckUse& product) { return product.IsRegKeyUsed(key.c_str(), x32view); });
}

std::string CUsers::OfValue(const std::wstring& key, const std::wstring& value, bool x32view) const
{
    return First(
        [&](const CProductCheckUse& product) { return product.IsRegValueUsed(key.c_str(), value.c_str(), x32view); });
}

std::string CUsers::OfTool(const std::wstring& path, const std::wstring& commandLine) const
{
    return First(
        [&](const CProductCheckUse& product) { return product.IsToolUsed(path.c_str(), commandLine.c_str()); });
}

} // namespace prodsweep
