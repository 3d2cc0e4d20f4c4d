#include "operations/operations.h"

#include "environment/log.h"

namespace prodsweep {

void COperations::AddRestartDel(const std::wstring& path)
{
    // Deliberate: two spellings of one path are two entries. A walk brings the path of a file that
    // DelFile has just added a second time.
    if (Holds(*restartList, path))
        return;
    LOG(LogTrace, L"\"%s\"", path.c_str());
    restartList->push_back(path);
}

void COperations::AddRestartDel(const wchar_t* path)
{
    if (restartList != nullptr)
        AddRestartDel(std::wstring(path));
}

} // namespace prodsweep
