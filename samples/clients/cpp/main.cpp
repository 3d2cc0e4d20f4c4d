// Prints the installed products of the catalogues beside prodsweep.dll.
#include <prodsweep/prodsweep.h>

#include <cstdio>
#include <cwchar>
#include <fcntl.h>
#include <io.h>

int main()
{
    // Names may hold any character: as they are on a console, in UTF-8 elsewhere. Only wide output works from here on.
    _setmode(_fileno(stdout), _O_U8TEXT);
    SAFEARRAY* products = nullptr;
    if (!GetInstalledProducts(&products, PRODSWEEP_LIST_ALL))
    {
        std::fputs("a catalogue can't be read\n", stderr);
        return 1;
    }
    const auto* entries = static_cast<const ProductEntry*>(products->pvData);
    const ULONG count = products->rgsabound[0].cElements;
    for (ULONG i = 0; i < count; ++i)
        std::wprintf(L"%ls\n", entries[i].Name);
    std::wprintf(L"%lu installed\n", static_cast<unsigned long>(count));
    ProdsweepFreeProducts(products);
    return 0;
}
