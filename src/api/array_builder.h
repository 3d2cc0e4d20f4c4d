#pragma once

#include <windows.h>

#include <oleauto.h>

namespace prodsweep {

// An array on its way to a caller: one dimension, lower bound 0, and no feature flags, so that the
// array itself knows nothing of what its elements point at.
//
// The steps are taken one by one, because their callers log each failure in their own name. A failed
// step undoes those before it. Until HandOver the array is this object's, which frees it, content
// included, when an exception passes by.
class ArrayBuilder
{
public:
    using FreeArray = void (*)(SAFEARRAY*);

    // receiver: where the finished array goes; untouched before HandOver. freeArray: frees an unlocked
    // array with all that its elements point at.
    ArrayBuilder(SAFEARRAY** receiver, FreeArray freeArray) noexcept;
    ~ArrayBuilder();
    ArrayBuilder(const ArrayBuilder&) = delete;
    ArrayBuilder& operator=(const ArrayBuilder&) = delete;

    // E_POINTER when there is no receiver.
    [[nodiscard]] HRESULT AllocDescriptor(ULONG elementSize, ULONG elementCount) noexcept;
    [[nodiscard]] HRESULT AllocData() noexcept;
    // The elements are all zero.
    [[nodiscard]] HRESULT AccessData(void** data) noexcept;
    // Unlocks and gives the array away. It is given away even if the unlocking fails.
    [[nodiscard]] HRESULT HandOver() noexcept;

private:
    SAFEARRAY** target;
    FreeArray freeAll;
    SAFEARRAY* array = nullptr;
};

} // namespace prodsweep
