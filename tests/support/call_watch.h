#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

namespace prodsweep::test {

// Keeps the calls that import patches see, in their order, and says which of them shall fail.
class CallWatch
{
public:
    void Note(const std::string& call) { calls.push_back(call); }
    [[nodiscard]] const std::vector<std::string>& Calls() const { return calls; }
    [[nodiscard]] int Count(const std::string& call) const;

    // From now on each call of the function fails with the error, or just the nth, counted from 1.
    void Fail(const std::string& function, DWORD error) { Fail(function, everyCall, error); }
    void Fail(const std::string& function, int nth, DWORD error) { faults[function] = {nth, error}; }

    // For the replacement of the function, once per call: shall this one fail? The last error is set then.
    [[nodiscard]] bool Fails(const std::string& function);

private:
    static constexpr int everyCall = 0;
    struct Fault
    {
        int nth;
        DWORD error;
    };

    std::vector<std::string> calls;
    std::map<std::string, Fault> faults;
    std::map<std::string, int> counts;
};

// An argument of a call, behind its name: " 5".
[[nodiscard]] inline std::string Number(DWORD number) { return " " + std::to_string(number); }

} // namespace prodsweep::test
