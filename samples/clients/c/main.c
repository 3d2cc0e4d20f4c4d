/* Prints all products of the catalogues beside prodsweep.dll, which is bound at run time: no import library.
 * cl main.c oleaut32.lib   or   x86_64-w64-mingw32-gcc main.c -loleaut32   with the package's include folder. */
#include <prodsweep/prodsweep.h>

#include <fcntl.h>
#include <io.h>
#include <stdio.h>

typedef bool (*Listing)(SAFEARRAY** products, int flags);

/* The DLL beside this program, and no other of its name. */
static HMODULE LoadProdsweep(void)
{
    wchar_t path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(NULL, path, MAX_PATH);
    wchar_t* name = length < MAX_PATH ? wcsrchr(path, L'\\') : NULL;
    if (name == NULL || name - path + 15 > MAX_PATH)
        return NULL;
    wcscpy(name + 1, L"prodsweep.dll");
    return LoadLibraryExW(path, NULL, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
}

int main(void)
{
    /* Takes the current folder and PATH out of the search: the DLL looks for log.dll by its bare name. */
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    /* Names may hold any character: as they are on a console, in UTF-8 elsewhere. Only wide output works now. */
    _setmode(_fileno(stdout), _O_U8TEXT);
    HMODULE library = LoadProdsweep();
    Listing getProducts = library != NULL ? (Listing)(void (*)(void))GetProcAddress(library, "GetProducts") : NULL;
    SAFEARRAY* products = NULL;
    if (getProducts == NULL || !getProducts(&products, PRODSWEEP_LIST_ALL))
    {
        fputs(getProducts != NULL ? "a catalogue can't be read\n" : "prodsweep.dll can't be loaded\n", stderr);
        return 1;
    }
    for (ULONG i = 0; i < products->rgsabound[0].cElements; ++i)
        wprintf(L"%ls\n", ((const ProductEntry*)products->pvData)[i].Name);
    ProdsweepFreeProducts(products);
    FreeLibrary(library);
    return 0;
}
