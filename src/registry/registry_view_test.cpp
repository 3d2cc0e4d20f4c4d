// The same operations in a 32-bit process on a 64-bit system, where keys have two views.
#include "registry/reg_key_helper.h"

#include "registry/key_access.h"
#include "registry/split_key_path.h"
#include "support/registry_faults.h"
#include "support/registry_fixture.h"
#include "support/used_recorder.h"
#include "support/wow64_mode.h"

#include <gmock/gmock.h>

#include <cstring>
#include <memory>

namespace prodsweep {
namespace {

using test::ImportPatch;
using test::RegistryFaults;
using testing::ElementsAre;

TEST(ViewMaskTest, IsAllAccessInEveryView)
{
    EXPECT_EQ(0xF003FU, ViewMask(false));
    EXPECT_EQ(0xF003FU, ViewMask(true));
}

TEST(ViewMaskTest, NamesTheViewInA32BitProcessOnA64BitSystem)
{
    const test::Wow64Mode mode;
    EXPECT_EQ(0xF013FU, ViewMask(false));
    EXPECT_EQ(0xF023FU, ViewMask(true));
}

// What DeleteKeyEx finds, or does not find, at run time.
struct Binding
{
    HKEY hive = nullptr;
    std::wstring subkey;
    REGSAM access = 0;
    DWORD reserved = 1;
    int calls = 0;
    LSTATUS answer = ERROR_SUCCESS;
    std::wstring module;
    std::string entry;
    bool missing = false;
    const ImportPatch* patch = nullptr;
};
Binding* binding = nullptr;

LSTATUS WINAPI RecordDeleteKeyEx(HKEY hive, const wchar_t* subkey, REGSAM access, DWORD reserved)
{
    ++binding->calls;
    binding->hive = hive;
    binding->subkey = subkey;
    binding->access = access;
    binding->reserved = reserved;
    return binding->answer;
}

FARPROC WINAPI GiveDeleteKeyEx(HMODULE module, const char* name)
{
    if (reinterpret_cast<ULONG_PTR>(name) <= 0xFFFF || std::strncmp(name, "RegDeleteKeyEx", 14) != 0)
        return binding->patch->Original<FARPROC WINAPI(HMODULE, const char*)>()(module, name);
    binding->entry = name;
    if (binding->missing)
    {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(RecordDeleteKeyEx));
}

HMODULE WINAPI FindNoModule(const wchar_t* name)
{
    binding->module = name;
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

// A 32-bit process whose Advapi32.dll has a recording RegDeleteKeyExW.
class DeleteKeyExTest : public test::RegistryFixture
{
public:
    DeleteKeyExTest()
    {
        binding = &bound;
        bound.patch = &patch;
        box.AddKey(L"key");
    }
    ~DeleteKeyExTest() override { binding = nullptr; }

protected:
    LSTATUS DeleteKeyEx() { return CRegKeyHelper::DeleteKeyEx(HKEY_CURRENT_USER, box.Subkey(L"key").c_str(), 0xF023F); }

    Binding bound;
    test::Wow64Mode mode;
    const ImportPatch patch{nullptr, "GetProcAddress", GiveDeleteKeyEx};
};

TEST_F(DeleteKeyExTest, CallsTheFunctionFoundAtRunTimeWithTheMaskAndAZero)
{
    bound.answer = ERROR_BUSY;
    EXPECT_EQ(ERROR_BUSY, DeleteKeyEx());
    EXPECT_EQ(1, bound.calls);
    EXPECT_EQ("RegDeleteKeyExW", bound.entry);
    EXPECT_EQ(HKEY_CURRENT_USER, bound.hive);
    EXPECT_EQ(box.Subkey(L"key"), bound.subkey);
    EXPECT_EQ(0xF023FU, bound.access);
    EXPECT_EQ(0U, bound.reserved);
    // Its result is the result: no second try by the other function.
    EXPECT_TRUE(box.HasKey(L"key"));
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(DeleteKeyExTest, MissingFunctionIsToldAndTheOldOneCalled)
{
    bound.missing = true;
    EXPECT_EQ(ERROR_SUCCESS, DeleteKeyEx());
    EXPECT_EQ(0, bound.calls);
    EXPECT_FALSE(box.HasKey(L"key"));
    EXPECT_TRUE(log.Has(LogWarning, "CRegKeyHelper::DeleteKeyEx", L"GetProcAddress RegDeleteKeyEx failed 0x7f"));
}

TEST_F(DeleteKeyExTest, MissingModuleIsToldAndTheOldFunctionCalled)
{
    {
        const ImportPatch noModule(nullptr, "GetModuleHandleW", FindNoModule);
        EXPECT_EQ(ERROR_SUCCESS, DeleteKeyEx());
    }
    EXPECT_EQ(L"Advapi32.dll", bound.module);
    EXPECT_EQ("", bound.entry);
    EXPECT_FALSE(box.HasKey(L"key"));
    EXPECT_TRUE(log.Has(LogWarning, "CRegKeyHelper::DeleteKeyEx", L"GetModuleHandle Advapi32.dll failed 0x7e"));
}

TEST_F(DeleteKeyExTest, DeletionOfAKeyHandsItTheMaskOfTheView)
{
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(box.Path(L"key").c_str(), false, nullptr));
    EXPECT_EQ(0xF013FU, bound.access);
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(box.Path(L"key").c_str(), true, nullptr));
    EXPECT_EQ(0xF023FU, bound.access);
    EXPECT_EQ(box.Subkey(L"key"), bound.subkey);
    EXPECT_EQ(2, bound.calls);
}

TEST_F(DeleteKeyExTest, ItsFailureIsTheFailureOfTheDeletion)
{
    bound.answer = ERROR_ACCESS_DENIED;
    EXPECT_EQ(_ERROR_FAILED, CRegKeyHelper::DeleteKey(box.Path(L"key").c_str(), false, nullptr));
    EXPECT_TRUE(log.Has(LogError, "CRegKeyHelper::DeleteKey",
                        L"DeleteKeyEx \"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\" failed 0x5"));
}

TEST(DeleteKeyExIn64BitProcessTest, LooksForNothingAtRunTime)
{
    const test::RegistrySandbox box;
    box.AddKey(L"key");
    Binding bound;
    binding = &bound;
    {
        const ImportPatch patch(nullptr, "GetProcAddress", GiveDeleteKeyEx);
        bound.patch = &patch;
        EXPECT_EQ(ERROR_SUCCESS,
                  CRegKeyHelper::DeleteKeyEx(HKEY_CURRENT_USER, box.Subkey(L"key").c_str(), KEY_ALL_ACCESS));
    }
    binding = nullptr;
    EXPECT_EQ("", bound.entry);
    EXPECT_FALSE(box.HasKey(L"key"));
}

// One path, two keys: both views hold "key" with a value of their own.
class TwoViewsTest : public testing::Test
{
protected:
    TwoViewsTest()
    {
        box64.AddText(L"key", L"value", L"searched");
        box64.AddText(L"key", L"only in 64", L"64");
        box32.AddText(L"key", L"value", L"searched");
        box32.AddText(L"key", L"only in 32", L"32");
    }
    void TearDown() override
    {
        EXPECT_TRUE(box64.CanariesIntact());
        EXPECT_TRUE(box32.CanariesIntact());
    }
    std::wstring Path() const { return L"HKLM\\" + box64.Subkey(L"key"); }

    const test::RegistrySandbox box64{HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY};
    const test::RegistrySandbox box32{box64, KEY_WOW64_32KEY};
    test::LogRecorder log;
};

class TwoViewsInA32BitProcessTest : public TwoViewsTest
{
protected:
    const test::Wow64Mode mode;
};

TEST_F(TwoViewsInA32BitProcessTest, DeletionOfAKeyTouchesItsViewOnly)
{
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(Path().c_str(), true, nullptr));
    EXPECT_FALSE(box32.HasKey(L"key"));
    EXPECT_TRUE(box64.HasValue(L"key", L"only in 64"));

    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::DeleteKey(Path().c_str(), true, nullptr));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(Path().c_str(), false, nullptr));
    EXPECT_FALSE(box64.HasKey(L"key"));
}

TEST_F(TwoViewsInA32BitProcessTest, DeletionOfAValueTouchesItsViewOnly)
{
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteValue(Path().c_str(), L"value", true, nullptr));
    EXPECT_FALSE(box32.HasValue(L"key", L"value"));
    EXPECT_TRUE(box64.HasValue(L"key", L"value"));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteValue(Path().c_str(), L"v*", false, nullptr));
    EXPECT_FALSE(box64.HasValue(L"key", L"value"));
}

TEST_F(TwoViewsInA32BitProcessTest, SearchDeletesInItsViewOnly)
{
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DelKeySearch(Path().c_str(), {L"searched"}, true, true, nullptr));
    EXPECT_FALSE(box32.HasKey(L"key"));
    EXPECT_TRUE(box64.HasKey(L"key"));
}

TEST_F(TwoViewsInA32BitProcessTest, ChecksLookIntoTheirView)
{
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::CheckValue(Path().c_str(), L"only in 32", true));
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::CheckValue(Path().c_str(), L"only in 32", false));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::CheckValue(Path().c_str(), L"only in 64", false));
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::CheckValue(Path().c_str(), L"only in 64", true));

    box32.AddKey(L"in 32");
    const std::wstring path = L"HKLM\\" + box32.Subkey(L"in 32");
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::CheckKey(path.c_str(), true));
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::CheckKey(path.c_str(), false));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::CheckKeySearch(path.c_str(), {}, false, true));
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::CheckKeySearch(path.c_str(), {}, false, false));
}

TEST_F(TwoViewsInA32BitProcessTest, ExpansionsListTheirView)
{
    UsedRegItemList keys;
    UsedRegItemList values;
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::ExpandValue(Path().c_str(), L"only*", true, values));
    ASSERT_EQ(1U, values.size());
    EXPECT_EQ(box64.Path(L"key\\only in 32"), values[0].path);
    EXPECT_TRUE(values[0].x32view);

    values.clear();
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::ExpandKey(Path().c_str(), false, keys, values));
    ASSERT_EQ(2U, values.size());
    EXPECT_TRUE((values[0].path == box64.Path(L"key\\only in 64")) !=
                (values[1].path == box64.Path(L"key\\only in 64")));

    values.clear();
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::ExpandKeySearch(Path().c_str(), {L"32"}, true, true, keys, values));
    EXPECT_EQ(2U, values.size());
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::ExpandKeySearch(Path().c_str(), {L"32"}, true, false, keys, values));
    EXPECT_EQ(2U, values.size());
}

TEST_F(TwoViewsInA32BitProcessTest, EveryOperationOpensWithTheMaskOfItsView)
{
    const std::wstring path = Path();
    const WideStringList search = {L"nowhere"};
    UsedRegItemList items;
    for (const bool x32view : {false, true})
    {
        const RegistryFaults faults;
        CRegKeyHelper::CheckKey(path.c_str(), x32view);
        CRegKeyHelper::CheckValue(path.c_str(), L"value", x32view);
        CRegKeyHelper::CheckKeySearch(path.c_str(), search, false, x32view);
        CRegKeyHelper::ExpandKey(path.c_str(), x32view, items, items);
        CRegKeyHelper::ExpandValue(path.c_str(), L"value", x32view, items);
        CRegKeyHelper::ExpandKeySearch(path.c_str(), search, false, x32view, items, items);
        CRegKeyHelper::DeleteValue(path.c_str(), L"nowhere", x32view, nullptr);
        CRegKeyHelper::DelKeySearch(path.c_str(), search, false, x32view, nullptr);
        CRegKeyHelper::DeleteKey(path.c_str(), x32view, nullptr);
        EXPECT_EQ(9, faults.Count(L"open " + box64.Subkey(L"key") + (x32view ? L" 0xf023f" : L" 0xf013f")));
    }
}

// In a 64-bit process a key of the 32-bit view must be named by its real path.
TEST_F(TwoViewsTest, ViewOfTheDescriptorChoosesNothingInA64BitProcess)
{
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::CheckValue(Path().c_str(), L"only in 64", true));
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::CheckValue(Path().c_str(), L"only in 32", true));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(Path().c_str(), true, nullptr));
    EXPECT_FALSE(box64.HasKey(L"key"));
    EXPECT_TRUE(box32.HasValue(L"key", L"value"));
}

TEST_F(TwoViewsTest, RealPathLeadsToThe32BitView)
{
    // "Software\..." lies below "Software\Wow6432Node" there.
    const std::wstring below = box64.Subkey(L"key").substr(std::wcslen(L"Software\\"));
    const std::wstring path = L"HKLM\\Software\\Wow6432Node\\" + below;
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(path.c_str(), true, nullptr));
    EXPECT_FALSE(box32.HasKey(L"key"));
    EXPECT_TRUE(box64.HasValue(L"key", L"value"));
}

TEST_F(TwoViewsInA32BitProcessTest, TextsAreReadInThe64BitView)
{
    wchar_t text[260] = {};
    const std::wstring subkey = box64.Subkey(L"key");
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValue(HKEY_LOCAL_MACHINE, subkey.c_str(), L"only in 64", text, false));
    EXPECT_STREQ(L"64", text);
    EXPECT_THAT(faults.Calls(), ElementsAre(L"open " + subkey + L" 0x101"));
}

} // namespace
} // namespace prodsweep
