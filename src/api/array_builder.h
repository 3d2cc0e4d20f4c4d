#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstddef>

namespace prodsweep {

// An array on its way to a caller: one dimension, lower bound 0, and no feature flags, so that the
// array itself knows nothing of what its elements point at.
//
// A failed step undoes those before it. What failed is a value, because the callers log each failure in
// their own name. Until HandOver the array is this object's, which frees it, content included, when an
// exception passes by.
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

    // Allocates and locks. data receives the elements, which are all zero. E_POINTER when there is no receiver.
    [[nodiscard]] HRESULT Make(ULONG elementSize, std::size_t elementCount, void** data) noexcept;
    // The log record of the step of Make that failed, with one place, for its result.
    [[nodiscard]] const wchar_t* FailureFormat() const noexcept { return failureFormat; }
    // Unlocks and gives the array away. It is given away even if the unlocking fails.
    [[nodiscard]] HRESULT HandOver() noexcept;

private:
    [[nodiscard]] HRESULT AllocDescriptor(ULONG elementSize, std::size_t elementCount) noexcept;
    [[nodiscard]] HRESULT AllocData() noexcept;
    [[nodiscard]] HRESULT AccessData(void** data) noexcept;

    SAFEARRAY** target;
    FreeArray freeAll;
    SAFEARRAY* array = nullptr;
    const wchar_t* failureFormat = nullptr;
};

} // namespace prodsweep
