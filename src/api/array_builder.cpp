#include "api/array_builder.h"

#include <utility>

namespace prodsweep {

ArrayBuilder::ArrayBuilder(SAFEARRAY** receiver, FreeArray freeArray) noexcept : target(receiver), freeAll(freeArray) {}

ArrayBuilder::~ArrayBuilder()
{
    // Only an array that was accessed and not handed over is left here: a failed step leaves none.
    if (array == nullptr)
        return;
    SafeArrayUnaccessData(array);
    freeAll(array);
}

HRESULT ArrayBuilder::AllocDescriptor(ULONG elementSize, ULONG elementCount) noexcept
{
    if (target == nullptr)
        return E_POINTER;
    const HRESULT result = SafeArrayAllocDescriptor(1, &array);
    if (FAILED(result))
    {
        array = nullptr;
        return result;
    }
    array->cbElements = elementSize;
    array->rgsabound[0].cElements = elementCount;
    array->rgsabound[0].lLbound = 0;
    return result;
}

HRESULT ArrayBuilder::AllocData() noexcept
{
    const HRESULT result = SafeArrayAllocData(array);
    if (FAILED(result))
        SafeArrayDestroyDescriptor(std::exchange(array, nullptr));
    return result;
}

HRESULT ArrayBuilder::AccessData(void** data) noexcept
{
    const HRESULT result = SafeArrayAccessData(array, data);
    if (FAILED(result))
    {
        SafeArrayDestroyData(array);
        SafeArrayDestroyDescriptor(std::exchange(array, nullptr));
    }
    return result;
}

HRESULT ArrayBuilder::HandOver() noexcept
{
    *target = std::exchange(array, nullptr);
    return SafeArrayUnaccessData(*target);
}

} // namespace prodsweep
