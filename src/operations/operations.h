#pragma once

#include "common/result_codes.h"
#include "common/used.h"
#include "common/wide_string_list.h"

#include <windows.h>

#include <string>

namespace prodsweep {

class CTreeWalk;
enum class WalkStep;

// What is done to files, folders, shortcuts, processes, tools and services. Results are the _ERROR_
// codes of common/result_codes.h. Three families: Del... removes, and asks IUsed first; Check...
// tells whether the thing is there; Expand... collects what is there, appending to the lists.
//
// used may be null: then nothing is in use. inUse may be null. Paths are full DOS paths. Only what may
// have to be put off until the restart needs an object.
class COperations
{
public:
    // list receives what can't be deleted now; not owned, null records nothing.
    explicit COperations(WideStringList* list = nullptr) : restartList(list) {}

    // Files and folders.
    int DelFile(const wchar_t* path, IUsed* used, bool* inUse);
    int DelFolder(const wchar_t* path, IUsed* used);
    int DelFolderRec(const wchar_t* path, IUsed* used, bool* inUse);
    static int CheckFile(const wchar_t* path);
    static int CheckFolder(const wchar_t* path);
    static int ExpandFolder(const wchar_t* path, WideStringList& folders, WideStringList& files);
    static int ExpandFolderRec(const wchar_t* path, WideStringList& folders, WideStringList& files);
    // Adds a path to the restart list once. The list must exist.
    void AddRestartDel(const std::wstring& path);

    // Shortcuts below a folder whose target matches. targetIsPath: target is a whole path, and not
    // just a name with extension. target may be null, which matches nothing.
    int DelShortcut(const wchar_t* path, const wchar_t* target, bool targetIsPath, IUsed* used);
    int DelShortcutRec(const wchar_t* path, const wchar_t* target, bool targetIsPath, IUsed* used);
    static int CheckShortcut(const wchar_t* path, const wchar_t* target, bool targetIsPath);
    static int CheckShortcutRec(const wchar_t* path, const wchar_t* target, bool targetIsPath);
    static int ExpandShortcut(const wchar_t* path, const wchar_t* target, bool targetIsPath, WideStringList& links);
    static int ExpandShortcutRec(const wchar_t* path, const wchar_t* target, bool targetIsPath, WideStringList& links);
    // target has room for 260 characters.
    static HRESULT GetLinkInfo(const wchar_t* link, wchar_t* target);

    // Running code. KillProcess: _ERROR_NOT_FOUND is the best answer.
    static int KillProcess(const wchar_t* name);
    static bool KillProcess_(DWORD processId);
    static int ExecTool(const wchar_t* commandLine, bool wait, bool showWindow);
    static int ExecDllMethod(const wchar_t* module, const wchar_t* method);

    // Services and drivers.
    static int DisableService(const wchar_t* name);
    static int CheckService(const wchar_t* name);
    static int StopService(const wchar_t* name);

private:
    // Tell of a step, and remove the folder when all in it was handled. Overloads, so that their log lines
    // carry the same name.
    static int DelFolderRec(WalkStep step, const CTreeWalk& walk);
    void DelFolderRec(const wchar_t* emptied);
    // Forwards only when there is a list.
    void AddRestartDel(const wchar_t* path);

    WideStringList* restartList;
};

} // namespace prodsweep
