#pragma once

#include "interpreter/product_config.h"

#include <string>
#include <utility>
#include <vector>

namespace prodsweep::test {

// A pass that keeps the common walk and just notes which operation it was led to, with what. An entry
// with result="fail" fails.
class RecordingPass final : public CProductConfig
{
public:
    struct Call
    {
        std::string operation;
        AttributeMap attributes;
        std::wstring appPath;
    };

    explicit RecordingPass(std::wstring descriptor = {}, UninstallCallback progress = nullptr)
        : CProductConfig(std::move(descriptor), progress)
    {}

    using CProductConfig::GetAppPath;
    using CProductConfig::GetInstallFolder;
    using CProductConfig::ProcessVersion;
    using CProductConfig::ReadVersions;

    // The operations in order, each with the entry's "name" if it has one: "del_file a".
    [[nodiscard]] std::vector<std::string> Operations() const
    {
        std::vector<std::string> operations;
        for (const Call& call : calls)
        {
            operations.push_back(call.operation);
            if (const std::wstring* name = FindAttribute(call.attributes, L"name"))
                operations.back() += " " + std::string(name->begin(), name->end());
        }
        return operations;
    }

    bool ProcessDelFile(const AttributeMap& a, const std::wstring& p) override { return Note("del_file", a, p); }
    bool ProcessDelFolder(const AttributeMap& a, const std::wstring& p) override { return Note("del_folder", a, p); }
    bool ProcessDelShortcut(const AttributeMap& a, const std::wstring& p) override
    {
        return Note("del_shortcut", a, p);
    }
    bool ProcessDelRegKey(const AttributeMap& a, const std::wstring& p) override { return Note("del_regkey", a, p); }
    bool ProcessDelRegVal(const AttributeMap& a, const std::wstring& p) override { return Note("del_regvalue", a, p); }
    bool ProcessKillProcess(const AttributeMap& a, const std::wstring& p) override
    {
        return Note("kill_process", a, p);
    }
    bool ProcessExecTool(const AttributeMap& a, const std::wstring& p) override { return Note("exec_tool", a, p); }
    bool ProcessSleep(int milliseconds) override { return Note("sleep " + std::to_string(milliseconds), {}, {}); }
    bool ProcessDisableDriver(const AttributeMap& a, const std::wstring& p) override
    {
        return Note("disable_driver", a, p);
    }
    bool ProcessDisableService(const AttributeMap& a, const std::wstring& p) override
    {
        return Note("disable_service", a, p);
    }
    bool ProcessDisableAndStopDriver(const AttributeMap& a, const std::wstring& p) override
    {
        return Note("disableandstop_driver", a, p);
    }
    bool ProcessDisableAndStopService(const AttributeMap& a, const std::wstring& p) override
    {
        return Note("disableandstop_service", a, p);
    }

    std::vector<Call> calls;

private:
    bool Note(const std::string& operation, const AttributeMap& attributes, const std::wstring& appPath)
    {
        calls.push_back({operation, attributes, appPath});
        const std::wstring* result = FindAttribute(attributes, L"result");
        return result == nullptr || *result != L"fail";
    }
};

} // namespace prodsweep::test
