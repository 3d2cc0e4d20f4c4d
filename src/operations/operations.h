#pragma once

#include "common/result_codes.h"
#include "common/used.h"
#include "common/wide_string_list.h"

#include <windows.h>

#include <string>

namespace prodsweep {

// What is done to files, folders, shortcuts, processes, tools and services. Results are the _ERROR_
// codes of common/result_codes.h. Three families: Del... removes, and asks IUsed first; Check...
// tells whether the thing is there; Expand... collects what is there, appending to the lists.
//
// used may be null: then nothing is in use. inUse may be null. Paths are full DOS paths.
class COperations
{
public:
    // list receives what can't be deleted now; not owned, null records nothing.
    explicit COperations(WideStringList* list = nullptr) : restartList(list) {}

    // Files and folders.
    int DelFile(const wchar_t* path, IUsed* used, bool* inUse);
    int DelFolder(const wchar_t* path, IUsed* used);
    int DelFolderRec(const wchar_t* path, IUsed* used, bool* inUse);
    int CheckFile(const wchar_t* path);
    int CheckFolder(const wchar_t* path);
    int ExpandFolder(const wchar_t* path, WideStringList& folders, WideStringList& files);
    int ExpandFolderRec(const wchar_t* path, WideStringList& folders, WideStringList& files);
    // Adds a path to the restart list once. The list must exist.
    void AddRestartDel(const std::wstring& path);

    // Shortcuts below a folder whose target matches. targetIsPath: target is a whole path, and not
    // just a name with extension. target may be null, which matches nothing.
    int DelShortcut(const wchar_t* path, const wchar_t* target, bool targetIsPath, IUsed* used);
    int DelShortcutRec(const wchar_t* path, const wchar_t* target, bool targetIsPath, IUsed* used);
    int CheckShortcut(const wchar_t* path, const wchar_t* target, bool targetIsPath);
    int CheckShortcutRec(const wchar_t* path, const wchar_t* target, bool targetIsPath);
    int ExpandShortcut(const wchar_t* path, const wchar_t* target, bool targetIsPath, WideStringList& links);
    int ExpandShortcutRec(const wchar_t* path, const wchar_t* target, bool targetIsPath, WideStringList& links);
    // target has room for 260 characters.
    HRESULT GetLinkInfo(const wchar_t* link, wchar_t* target);

    // Running code. KillProcess: _ERROR_NOT_FOUND is the best answer.
    int KillProcess(const wchar_t* name);
    bool KillProcess_(DWORD processId);
    int ExecTool(const wchar_t* commandLine, bool wait, bool showWindow);
    int ExecDllMethod(const wchar_t* module, const wchar_t* method);

    // Services and drivers.
    int DisableService(const wchar_t* name);
    int CheckService(const wchar_t* name);
    int StopService(const wchar_t* name);

private:
    // Removes the folder when all in it was handled. An overload, so that its log lines carry the same name.
    void DelFolderRec(const wchar_t* emptied);
    // Forwards only when there is a list.
    void AddRestartDel(const wchar_t* path);

    WideStringList* restartList;
};

} // namespace prodsweep
