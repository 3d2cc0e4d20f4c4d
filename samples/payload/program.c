/* The program that the sample installers put on the machine, under a name of its own for each product.
 *
 * Without an argument it says which program it is.
 *   --wait            stays until it is ended, so that a removal meets a program that runs
 *   --open FILE       stays as well, and keeps the file open, so that nobody can delete it
 *   --close PROGRAM   waits until the last process of that name has ended, half a minute at most
 * The first two write a line when they have begun. Every other argument is accepted and does nothing. */
#include <windows.h>

#include <stdio.h>
#include <tlhelp32.h>
#include <wchar.h>

static void Stay(const char* how)
{
    printf("%s %s\n", SAMPLE_NAME, how);
    fflush(stdout);
    Sleep(INFINITE);
}

/* Null when no process of that name runs. */
static HANDLE ProcessNamed(const wchar_t* name)
{
    HANDLE process = NULL;
    PROCESSENTRY32W entry = {.dwSize = sizeof entry};
    HANDLE const snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (snapshot == INVALID_HANDLE_VALUE)
        return NULL;
    for (BOOL more = Process32FirstW(snapshot, &entry); more && !process; more = Process32NextW(snapshot, &entry))
    {
        if (_wcsicmp(entry.szExeFile, name) == 0)
            process = OpenProcess(SYNCHRONIZE, FALSE, entry.th32ProcessID);
    }
    CloseHandle(snapshot);
    return process;
}

int wmain(int count, wchar_t** arguments)
{
    const wchar_t* const option = count > 1 ? arguments[1] : L"";
    if (wcscmp(option, L"--wait") == 0)
        Stay("runs");
    else if (wcscmp(option, L"--open") == 0 && count > 2)
    {
        /* The others may read it, but neither write nor delete it. */
        HANDLE const file =
            CreateFileW(arguments[2], GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, NULL);
        if (file == INVALID_HANDLE_VALUE)
            return 1;
        Stay("has a file open");
    }
    else if (wcscmp(option, L"--close") == 0 && count > 2)
    {
        HANDLE process;
        while ((process = ProcessNamed(arguments[2])) != NULL)
        {
            const DWORD waited = WaitForSingleObject(process, 30000);
            CloseHandle(process);
            if (waited != WAIT_OBJECT_0)
                return 1;
        }
    }
    else if (count < 2)
        printf("%s\n", SAMPLE_NAME);
    return 0;
}
