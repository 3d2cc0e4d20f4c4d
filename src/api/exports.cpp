#include <prodsweep/prodsweep.h>

#include "api/guarded.h"
#include "api/listing.h"
#include "api/removal.h"
#include "interpreter/progress.h"

using prodsweep::Guarded;

bool GetProducts(SAFEARRAY** products, int flags)
{
    return Guarded([&] { return prodsweep::GetProducts(products, flags); });
}

bool GetInstalledProducts(SAFEARRAY** products, int flags)
{
    return Guarded([&] { return prodsweep::GetInstalledProducts(products, flags); });
}

bool GetInstalledProductsEx(SAFEARRAY** products, int flags)
{
    return Guarded([&] { return prodsweep::GetInstalledProductsEx(products, flags); });
}

bool UninstallProducts(SAFEARRAY* products, bool* restart, UninstallCallback callback)
{
    bool unread = false;
    return Guarded(
        [&] { return prodsweep::UninstallProducts(products, restart != nullptr ? restart : &unread, callback); });
}

bool UninstallProduct(const ProductEntry* product, bool* restart, UninstallCallback callback)
{
    if (product == nullptr)
        return false;
    bool unread = false;
    return Guarded(
        [&] { return prodsweep::UninstallProduct(product, restart != nullptr ? restart : &unread, callback); });
}

bool UninstallForceAll(int kind, bool* restart, UninstallCallback callback)
{
    bool unread = false;
    return Guarded(
        [&] { return prodsweep::UninstallForceAll(kind, restart != nullptr ? restart : &unread, callback); });
}

bool UninstallAllInstalled(int kind, bool* restart, UninstallCallback callback)
{
    bool unread = false;
    return Guarded(
        [&] { return prodsweep::UninstallAllInstalled(kind, restart != nullptr ? restart : &unread, callback); });
}

int32_t GetProgressPercent()
{
    // An interlocked read: whatever the value is, it stays, and expected receives it.
    int32_t expected = 2;
    prodsweep::ProgressPercent.compare_exchange_strong(expected, 2);
    return expected;
}
