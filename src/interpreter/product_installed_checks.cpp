// What counts as found, entry by entry.
#include "environment/log.h"
#include "interpreter/entry_composer.h"
#include "interpreter/product_installed.h"
#include "registry/reg_key_helper.h"

#include <windows.h>

namespace prodsweep {

bool CProductInstalled::ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath)
{
    const FileEntry entry = ComposeFile(attributes, appPath);
    if (entry.fault == EntryFault::NoName)
        LOG(LogError, L"no name");
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"failed get path for \"%s\"", entry.keyword.c_str());
    return entry.fault == EntryFault::None && operations.CheckFile(entry.path.c_str()) == _ERROR_SUCCESS;
}

bool CProductInstalled::ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath)
{
    const FolderEntry entry = ComposeFolder(attributes, appPath);
    if (entry.fault == EntryFault::NoNameNoPath)
        LOG(LogError, L"no name, no path");
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"failed get path for \"%s\"", entry.keyword.c_str());
    return entry.fault == EntryFault::None && operations.CheckFolder(entry.path.c_str()) == _ERROR_SUCCESS;
}

bool CProductInstalled::ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath)
{
    const ShortcutEntry entry = ComposeShortcut(attributes, appPath);
    if (entry.fault == EntryFault::NoPath)
        LOG(LogError, L"no path");
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"failed get path for \"%s\"", entry.keyword.c_str());
    return entry.fault == EntryFault::None &&
           operations.CheckShortcut(entry.shortcut.c_str(), entry.target.c_str(), entry.targetIsPath) == _ERROR_SUCCESS;
}

bool CProductInstalled::ProcessDelRegKey(const AttributeMap& attributes, const std::wstring& /*appPath*/)
{
    // Deliberate: only this pass takes ";" for a terminator.
    const RegKeyEntry entry = ComposeRegKey(attributes, DataStrReading::Terminator);
    if (entry.fault != EntryFault::None)
    {
        LOG(LogError, L"failed no name");
        return false;
    }
    const int result = entry.search
                           ? CRegKeyHelper::CheckKeySearch(entry.key.c_str(), entry.data, entry.complete, entry.x32view)
                           : CRegKeyHelper::CheckKey(entry.key.c_str(), entry.x32view);
    return result == _ERROR_SUCCESS;
}

bool CProductInstalled::ProcessDelRegVal(const AttributeMap& attributes, const std::wstring& appPath)
{
    const RegValueEntry entry = ComposeRegValue(attributes, appPath);
    if (entry.fault == EntryFault::NoName || entry.fault == EntryFault::NoNameNoKeyPath)
        LOG(LogError, L"no key value name");
    if (entry.fault == EntryFault::NoKeyPath || entry.fault == EntryFault::NoNameNoKeyPath)
        LOG(LogError, L"no key path");
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"unknow special folder \"%s\"", entry.keyword.c_str());
    return entry.fault == EntryFault::None &&
           CRegKeyHelper::CheckValue(entry.key.c_str(), entry.valueName.c_str(), entry.x32view) == _ERROR_SUCCESS;
}

bool CProductInstalled::ProcessSleep(int milliseconds)
{
    Sleep(static_cast<DWORD>(milliseconds));
    return true;
}

bool CProductInstalled::ProcessDisableDriver(const AttributeMap& attributes, const std::wstring& /*appPath*/)
{
    const std::wstring* name = FindAttribute(attributes, L"name");
    if (name == nullptr)
    {
        LOG(LogError, L"no driver name");
        return false;
    }
    // It exists; whether it runs does not matter.
    return operations.CheckService(name->c_str()) == _ERROR_SUCCESS;
}

bool CProductInstalled::ProcessDisableService(const AttributeMap& attributes, const std::wstring& appPath)
{
    return ProcessDisableDriver(attributes, appPath);
}

} // namespace prodsweep
