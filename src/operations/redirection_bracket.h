#pragma once

#include <windows.h>

namespace prodsweep {

// Switches the file-system redirection of a 32-bit process off and on again, so that paths mean to
// it what they mean to the system. Does nothing, with success, in a process that is not redirected.
// Brackets nest. Failures are told and not logged: each operation logs them under its own name, and
// goes on.
class CRedirectionBracket
{
public:
    CRedirectionBracket() = default;
    // Closes what an exception left open.
    ~CRedirectionBracket();
    CRedirectionBracket(const CRedirectionBracket&) = delete;
    CRedirectionBracket& operator=(const CRedirectionBracket&) = delete;

    // False when the call failed; Error() then tells why. Close() is called in any case.
    [[nodiscard]] bool Open();
    [[nodiscard]] bool Close();
    [[nodiscard]] DWORD Error() const noexcept { return error; }

private:
    void* oldValue = nullptr;
    bool open = false;
    DWORD error = ERROR_SUCCESS;
};

} // namespace prodsweep
