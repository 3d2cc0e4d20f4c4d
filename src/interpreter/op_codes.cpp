#include "interpreter/op_codes.h"

#include "interpreter/product_config.h"

namespace prodsweep {
namespace {

constexpr OpCode opCodes[] = {
    {L"del_file", PRODSWEEP_EVENT_FILES, &CProductConfig::ProcessDelFile},
    {L"del_folder", PRODSWEEP_EVENT_FOLDERS, &CProductConfig::ProcessDelFolder},
    {L"del_shortcut", PRODSWEEP_EVENT_SHORTCUTS, &CProductConfig::ProcessDelShortcut},
    {L"del_regkey", PRODSWEEP_EVENT_REG_KEYS, &CProductConfig::ProcessDelRegKey},
    {L"del_regvalue", PRODSWEEP_EVENT_REG_VALUES, &CProductConfig::ProcessDelRegVal},
    // The two numbers are out of order, and callers know them so.
    {L"kill_process", PRODSWEEP_EVENT_PROCESSES, &CProductConfig::ProcessKillProcess},
    {L"exec_tool", PRODSWEEP_EVENT_TOOLS, &CProductConfig::ProcessExecTool},
    {L"disable_driver", PRODSWEEP_EVENT_DISABLE_DRIVER, &CProductConfig::ProcessDisableDriver},
    {L"disable_service", PRODSWEEP_EVENT_DISABLE_SERVICE, &CProductConfig::ProcessDisableService},
    {L"disableandstop_driver", PRODSWEEP_EVENT_STOP_DRIVER, &CProductConfig::ProcessDisableAndStopDriver},
    {L"disableandstop_service", PRODSWEEP_EVENT_STOP_SERVICE, &CProductConfig::ProcessDisableAndStopService},
};

} // namespace

std::span<const OpCode> OpCodes() { return opCodes; }

const OpCode* FindOpCode(const std::wstring& text)
{
    for (const OpCode& opCode : opCodes)
    {
        if (EqualIgnoringCase(text, opCode.text))
            return &opCode;
    }
    return nullptr;
}

} // namespace prodsweep
