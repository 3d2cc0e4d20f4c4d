// Prints the installed products of the catalogues beside prodsweep.dll.
#include <prodsweep/prodsweep.h>

#include <cstdio>

int main()
{
    SAFEARRAY* products = nullptr;
    if (!GetInstalledProducts(&products, PRODSWEEP_LIST_ALL))
    {
        std::fputs("a catalogue can't be read\n", stderr);
        return 1;
    }
    const auto* entries = static_cast<const ProductEntry*>(products->pvData);
    const ULONG count = products->rgsabound[0].cElements;
    for (ULONG i = 0; i < count; ++i)
        std::printf("%ls\n", entries[i].Name);
    std::printf("%lu installed\n", static_cast<unsigned long>(count));
    ProdsweepFreeProducts(products);
    return 0;
}
