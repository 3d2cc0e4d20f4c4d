#pragma once

#include "support/import_patch.h"

#include <windows.h>

#include <oleauto.h>

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace prodsweep::test {

// Keeps account of the arrays and texts that a module makes, wherever they are freed: by the module or
// by the test program. Lets chosen steps fail. One at a time, on one thread.
class OleAccounts
{
public:
    enum Step
    {
        AllocDescriptor,
        AllocData,
        AccessData,
        UnaccessData, // fails after it has unlocked: an array that was locked stays so for no caller
        AllocString   // fails with a null text
    };

    explicit OleAccounts(HMODULE module);
    ~OleAccounts();
    OleAccounts(const OleAccounts&) = delete;
    OleAccounts& operator=(const OleAccounts&) = delete;

    // Starts the count of calls afresh and lets one call of the step fail; the first is 1, and 0 lets
    // none fail.
    void FailAt(Step step, int call);
    // How often the step was called since.
    [[nodiscard]] int Calls(Step step) const { return calls.at(step); }

    // Arrays and texts that were made and not freed.
    [[nodiscard]] std::size_t LiveArrays() const { return arrays.size(); }
    [[nodiscard]] std::size_t LiveTexts() const { return texts.size(); }

    // The calls on arrays since FailAt, in short: "AllocData", "AllocData!" for one that was let fail.
    [[nodiscard]] const std::vector<std::string>& ArrayCalls() const { return arrayCalls; }

private:
    [[nodiscard]] bool Fails(Step step, const char* name);

    static HRESULT WINAPI OnAllocDescriptor(UINT dimensions, SAFEARRAY** array);
    static HRESULT WINAPI OnAllocData(SAFEARRAY* array);
    static HRESULT WINAPI OnAccessData(SAFEARRAY* array, void** data);
    static HRESULT WINAPI OnUnaccessData(SAFEARRAY* array);
    static HRESULT WINAPI OnDestroyDescriptor(SAFEARRAY* array);
    static HRESULT WINAPI OnDestroyData(SAFEARRAY* array);
    static HRESULT WINAPI OnDestroy(SAFEARRAY* array);
    static BSTR WINAPI OnAllocString(const OLECHAR* text);
    static void WINAPI OnFreeString(BSTR text);
    static HRESULT WINAPI OnVariantClear(VARIANTARG* variant);

    static OleAccounts* current;

    Step failingStep = AllocDescriptor;
    int failingCall = 0;
    std::map<Step, int> calls{
        {AllocDescriptor, 0}, {AllocData, 0}, {AccessData, 0}, {UnaccessData, 0}, {AllocString, 0}};
    std::vector<std::string> arrayCalls;
    std::set<SAFEARRAY*> arrays;
    std::set<BSTR> texts;

    ImportPatch allocDescriptor;
    ImportPatch allocData;
    ImportPatch accessData;
    ImportPatch unaccessData;
    ImportPatch destroyDescriptor;
    ImportPatch destroyData;
    ImportPatch destroy;
    ImportPatch allocString;
    ImportPatch freeString;
    ImportPatch variantClear;
    ImportPatch ownDestroy;
    ImportPatch ownFreeString;
};

} // namespace prodsweep::test
