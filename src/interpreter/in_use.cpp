// The questions of IUsed, put to each product that stays; the first yes counts.
#include "interpreter/product_uninstall.h"

#include "environment/log.h"

namespace prodsweep {

bool CProductUninstall::IsUsedFile(const wchar_t* path)
{
    for (const CProductCheckUse& product : *checkList)
    {
        if (product.IsFileUsed(path))
        {
            LOG(LogTrace, L"\"%s\" used by \"%s\"", path, product.DescriptorPath().c_str());
            return true;
        }
    }
    return false;
}

bool CProductUninstall::IsUsedFolder(const wchar_t* path)
{
    for (const CProductCheckUse& product : *checkList)
    {
        if (product.IsFolderUsed(path))
        {
            LOG(LogTrace, L"\"%s\" used by \"%s\"", path, product.DescriptorPath().c_str());
            return true;
        }
    }
    return false;
}

bool CProductUninstall::IsUsedRegKey(const wchar_t* key, bool x32view)
{
    for (const CProductCheckUse& product : *checkList)
    {
        if (product.IsRegKeyUsed(key, x32view))
        {
            LOG(LogTrace, L"\"%s\" used by \"%s\"", key, product.DescriptorPath().c_str());
            return true;
        }
    }
    return false;
}

bool CProductUninstall::IsUsedRegValue(const wchar_t* key, const wchar_t* value, bool x32view)
{
    for (const CProductCheckUse& product : *checkList)
    {
        if (product.IsRegValueUsed(key, value, x32view))
        {
            LOG(LogTrace, L"\"%s\" \"%s\" used by \"%s\"", key, value, product.DescriptorPath().c_str());
            return true;
        }
    }
    return false;
}

bool CProductUninstall::IsUsedTool(const wchar_t* path, const wchar_t* commandLine)
{
    for (const CProductCheckUse& product : *checkList)
    {
        if (product.IsToolUsed(path, commandLine))
        {
            LOG(LogTrace, L"\"%s\" \"%s\" used by \"%s\"", path, commandLine, product.DescriptorPath().c_str());
            return true;
        }
    }
    return false;
}

} // namespace prodsweep
