#include "system/ole_accounts.h"

#include <gtest/gtest.h>

namespace prodsweep::test {

OleAccounts* OleAccounts::current = nullptr;

OleAccounts::OleAccounts(HMODULE module)
    : allocDescriptor(module, "SafeArrayAllocDescriptor", OnAllocDescriptor),
      allocData(module, "SafeArrayAllocData", OnAllocData),
      accessData(module, "SafeArrayAccessData", OnAccessData),
      unaccessData(module, "SafeArrayUnaccessData", OnUnaccessData),
      destroyDescriptor(module, "SafeArrayDestroyDescriptor", OnDestroyDescriptor),
      destroyData(module, "SafeArrayDestroyData", OnDestroyData),
      destroy(module, "SafeArrayDestroy", OnDestroy),
      allocString(module, "SysAllocString", OnAllocString),
      freeString(module, "SysFreeString", OnFreeString),
      variantClear(module, "VariantClear", OnVariantClear),
      ownDestroy(nullptr, "SafeArrayDestroy", OnDestroy),
      ownFreeString(nullptr, "SysFreeString", OnFreeString)
{
    EXPECT_EQ(nullptr, current) << "one OleAccounts at a time";
    current = this;
}

OleAccounts::~OleAccounts() { current = nullptr; }

void OleAccounts::FailAt(Step step, int call)
{
    failingStep = step;
    failingCall = call;
    for (auto& [counted, count] : calls)
        count = 0;
    arrayCalls.clear();
}

bool OleAccounts::Fails(Step step, const char* name)
{
    const bool fails = ++calls[step] == failingCall && step == failingStep;
    if (step != AllocString)
        arrayCalls.push_back(std::string(name) + (fails ? "!" : ""));
    return fails;
}

HRESULT WINAPI OleAccounts::OnAllocDescriptor(UINT dimensions, SAFEARRAY** array)
{
    if (current->Fails(AllocDescriptor, "AllocDescriptor"))
    {
        *array = nullptr;
        return E_OUTOFMEMORY;
    }
    const HRESULT result = current->allocDescriptor.Original<decltype(OnAllocDescriptor)>()(dimensions, array);
    if (SUCCEEDED(result))
        current->arrays.insert(*array);
    return result;
}

HRESULT WINAPI OleAccounts::OnAllocData(SAFEARRAY* array)
{
    if (current->Fails(AllocData, "AllocData"))
        return E_OUTOFMEMORY;
    return current->allocData.Original<decltype(OnAllocData)>()(array);
}

HRESULT WINAPI OleAccounts::OnAccessData(SAFEARRAY* array, void** data)
{
    if (current->Fails(AccessData, "AccessData"))
    {
        *data = nullptr;
        return E_UNEXPECTED;
    }
    return current->accessData.Original<decltype(OnAccessData)>()(array, data);
}

HRESULT WINAPI OleAccounts::OnUnaccessData(SAFEARRAY* array)
{
    const bool fails = current->Fails(UnaccessData, "UnaccessData");
    const HRESULT result = current->unaccessData.Original<decltype(OnUnaccessData)>()(array);
    return fails ? E_UNEXPECTED : result;
}

HRESULT WINAPI OleAccounts::OnDestroyDescriptor(SAFEARRAY* array)
{
    current->arrayCalls.emplace_back("DestroyDescriptor");
    const HRESULT result = current->destroyDescriptor.Original<decltype(OnDestroyDescriptor)>()(array);
    if (SUCCEEDED(result))
        current->arrays.erase(array);
    return result;
}

HRESULT WINAPI OleAccounts::OnDestroyData(SAFEARRAY* array)
{
    current->arrayCalls.emplace_back("DestroyData");
    return current->destroyData.Original<decltype(OnDestroyData)>()(array);
}

HRESULT WINAPI OleAccounts::OnDestroy(SAFEARRAY* array)
{
    current->arrayCalls.emplace_back("Destroy");
    const HRESULT result = current->destroy.Original<decltype(OnDestroy)>()(array);
    if (SUCCEEDED(result))
        current->arrays.erase(array);
    return result;
}

BSTR WINAPI OleAccounts::OnAllocString(const OLECHAR* text)
{
    if (current->Fails(AllocString, ""))
        return nullptr;
    BSTR const made = current->allocString.Original<decltype(OnAllocString)>()(text);
    if (made != nullptr)
        current->texts.insert(made);
    return made;
}

void WINAPI OleAccounts::OnFreeString(BSTR text)
{
    current->texts.erase(text);
    current->freeString.Original<decltype(OnFreeString)>()(text);
}

HRESULT WINAPI OleAccounts::OnVariantClear(VARIANTARG* variant)
{
    if (variant->vt == VT_BSTR)
        current->texts.erase(variant->bstrVal);
    return current->variantClear.Original<decltype(OnVariantClear)>()(variant);
}

} // namespace prodsweep::test
