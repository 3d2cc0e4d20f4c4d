#include "operations/redirection_bracket.h"

#include "environment/wow64.h"

namespace prodsweep {

CRedirectionBracket::~CRedirectionBracket()
{
    // What could be said of a failure belongs to the operation that was interrupted.
    if (open)
        static_cast<void>(Close());
}

bool CRedirectionBracket::Open()
{
    open = true;
    if (CWow64::Instance().Wow64DisableWow64FsRedirection(&oldValue))
        return true;
    error = GetLastError();
    return false;
}

bool CRedirectionBracket::Close()
{
    // Deliberate: also after a failed Open. The two calls stand or fail each for itself.
    open = false;
    if (CWow64::Instance().Wow64RevertWow64FsRedirection(oldValue))
        return true;
    error = GetLastError();
    return false;
}

} // namespace prodsweep
