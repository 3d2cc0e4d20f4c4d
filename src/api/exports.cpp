#include <prodsweep/prodsweep.h>

#include "api/guarded.h"
#include "api/listing.h"
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

int32_t GetProgressPercent()
{
    // An interlocked read: whatever the value is, it stays, and expected receives it.
    int32_t expected = 2;
    prodsweep::ProgressPercent.compare_exchange_strong(expected, 2);
    return expected;
}
