#include "environment/log.h"
#include "interpreter/entry_composer.h"
#include "interpreter/os_condition.h"
#include "interpreter/product_uninstall.h"
#include "operations/redirection_bracket.h"

namespace prodsweep {

bool CProductUninstall::ProcessExecDllMethod(const AttributeMap& attributes, const std::wstring& appPath)
{
    if (FindAttribute(attributes, L"module") == nullptr)
    {
        LOG(LogError, L"module attributte is missing");
        return false;
    }
    // A method that is meant for the other kind of system counts as a failure of its stage.
    switch (CompareOs(attributes))
    {
    case OsCondition::Met:
        break;
    case OsCondition::MeantFor32Bit:
        LOG(LogSkipped, L"Will not execute x32 operation on x64 OS! AppPath=%s", appPath.c_str());
        return false;
    case OsCondition::MeantFor64Bit:
        LOG(LogSkipped, L"Will not execute x64 operation on x32 OS! AppPath=%s", appPath.c_str());
        return false;
    }
    const ToolEntry entry = ComposeDllMethod(attributes, appPath, EmptyModule::LeftOut);
    if (entry.fault == EntryFault::NoMethodName)
        LOG(LogError, L"method_name attributte is missing");
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"unknown special folder \"%s\"", entry.keyword.c_str());
    if (entry.fault != EntryFault::None)
        return false;
    if (IsUsedTool(entry.path.c_str(), entry.commandLine.c_str()))
    {
        LOG(LogTrace, L"in use");
        return true;
    }
    const bool disableRedirection = IsYes(attributes, L"disable_wow64_redir");
    CRedirectionBracket bracket;
    if (disableRedirection && !bracket.Open())
        LOG(LogWarning, L"Wow64DisableWow64FsRedirection failed 0x%x", bracket.Error());
    const int result = operations.ExecDllMethod(entry.path.c_str(), entry.commandLine.c_str());
    const std::wstring* sleep = FindAttribute(attributes, L"sleep_after_exec");
    if (result != _ERROR_SUCCESS)
        LOG(LogWarning, L"failed %s, \"%s\" \"%s\"", ResultCodeName(result), entry.path.c_str(),
            entry.commandLine.c_str());
    else if (sleep != nullptr)
        ProcessSleep(DecimalPrefix(*sleep)); // within the bracket
    if (disableRedirection && !bracket.Close())
        LOG(LogWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", bracket.Error());
    return result == _ERROR_SUCCESS;
}

} // namespace prodsweep
