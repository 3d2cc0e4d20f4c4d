#pragma once

#include <prodsweep/prodsweep.h>

#include <string>
#include <vector>

namespace prodsweep::test {

// What an UninstallCallback is told, in order, from its making on. One at a time.
class CallbackRecorder
{
public:
    struct Call
    {
        int event;
        int code;
        // Read at once: the value is only good during the call.
        bool hasValue;
        std::wstring text; // of event 13

        bool operator==(const Call&) const = default;
    };

    CallbackRecorder() { Calls().clear(); }

    [[nodiscard]] static std::vector<Call>& Calls()
    {
        static std::vector<Call> calls;
        return calls;
    }

    static void Record(std::int32_t event, std::int32_t code, const void* value)
    {
        const bool named = event == PRODSWEEP_EVENT_PRODUCT && value != nullptr;
        Calls().push_back({event, code, value != nullptr, named ? static_cast<const wchar_t*>(value) : std::wstring()});
    }
};

using RecordedCalls = std::vector<CallbackRecorder::Call>;

// Event 0, a catalogue was read, with its code.
[[nodiscard]] inline CallbackRecorder::Call CatalogueEvent(int code) { return {0, code, false, {}}; }

} // namespace prodsweep::test
