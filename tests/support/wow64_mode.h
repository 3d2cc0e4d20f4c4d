#pragma once

#include "support/import_patch.h"

#include <windows.h>

#include <string>
#include <vector>

namespace prodsweep::test {

// Lets a module believe, for as long as this lives, that it is a 32-bit process on a 64-bit system:
// "IsWow64Process" says yes, and the redirection calls are stand-ins that record their order. CWow64
// and the special-folder table of the test program start afresh before and after.
//
// For the built DLL give its handle, before the first call of an export and not for longer than it
// is loaded: what it found out about its process it keeps. One object at a time.
class Wow64Mode
{
public:
    explicit Wow64Mode(HMODULE module = nullptr);
    ~Wow64Mode();
    Wow64Mode(const Wow64Mode&) = delete;
    Wow64Mode& operator=(const Wow64Mode&) = delete;

    // From now on the call fails with this error; 0 lets it succeed again.
    void FailDisable(DWORD error) { disableError = error; }
    void FailRevert(DWORD error) { revertError = error; }

    // Puts a step of the test's own, such as a patched DeleteFileW, into the order of calls. While no object
    // lives, nothing is noted.
    static void Note(const std::string& step)
    {
        if (current != nullptr)
            current->calls.push_back(step);
    }

    // "disable", "revert" and the noted steps, as they came.
    [[nodiscard]] const std::vector<std::string>& Calls() const { return calls; }
    // Each disable was followed by one revert, which got the value that the disable had given out.
    [[nodiscard]] bool Balanced() const { return mismatches == 0 && open.empty(); }

private:
    static FARPROC WINAPI GiveStandIn(HMODULE module, const char* name);
    static BOOL WINAPI SayYes(HANDLE process, BOOL* answer);
    static BOOL WINAPI Disable(void** oldValue);
    static BOOL WINAPI Revert(void* oldValue);
    static void ForgetWhatIsKnown();

    static Wow64Mode* current;

    DWORD disableError = 0;
    DWORD revertError = 0;
    int mismatches = 0;
    std::vector<void*> open; // values given out and not yet taken back
    std::vector<std::string> calls;
    ImportPatch patch;
};

} // namespace prodsweep::test
