/* A client of the DLL by its import library. With PRODSWEEP_BUILD the calls are plain ones, which need the
 * library's thunks; without, they go through the import slots. Ends with 42 when all answers are right. */
#include <prodsweep/prodsweep.h>

static UINT Answer(void)
{
    SAFEARRAY* products = NULL;
    bool restart = true;
    if (!GetProducts(&products, 0) || products == NULL || products->rgsabound[0].cElements != 0)
        return 1;
    ProdsweepFreeProducts(products);
    if (!GetInstalledProducts(&products, 0) || products->cbElements != sizeof(ProductEntry))
        return 2;
    ProdsweepFreeProducts(products);
    if (!GetInstalledProductsEx(&products, 0))
        return 3;
    /* An empty array removes nothing, and that is success. */
    if (!UninstallProducts(products, &restart, NULL) || restart)
        return 4;
    ProdsweepFreeProducts(products);
    /* There is no catalogue beside the DLL. */
    if (GetProducts(&products, PRODSWEEP_LIST_ALL) || UninstallForceAll(PRODSWEEP_KIND_OWN, &restart, NULL))
        return 5;
    if (UninstallAllInstalled(0, &restart, NULL) || UninstallProduct(NULL, &restart, NULL))
        return 6;
    return GetProgressPercent() == 0 ? 42 : 7;
}

/* Without a C runtime, so that each linker can make it of the same object. */
void Start(void);
void Start(void) { ExitProcess(Answer()); }
