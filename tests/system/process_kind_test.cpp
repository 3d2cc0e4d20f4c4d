// What the exports make of the kind of process that they find themselves in. Each test loads the DLL anew,
// since it asks once.
#include "environment/log.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/wow64_mode.h"
#include "system/catalogue_text.h"
#include "system/library.h"
#include "system/product_array.h"
#include "system/uninstall_entry.h"

#include <gmock/gmock.h>

#include <cstring>
#include <optional>

namespace prodsweep::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ProcessKindTest : testing::Test
{
    bool ListInstalled() { return library.GetInstalledProducts(products.Receive(), PRODSWEEP_LIST_OWN); }

    UninstallEntry wide;
    UninstallEntry narrow{KEY_WOW64_32KEY};
    Library library;
    ProductArray products;
    LogRecorder log;
};

using GetProcAddressCall = FARPROC WINAPI(HMODULE, const char*);
std::optional<ImportPatch> addressPatch;
bool missing = false;

BOOL WINAPI FailToTell(HANDLE, BOOL*)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

// "IsWow64Process" is missing, or is there and fails.
FARPROC WINAPI GiveAddress(HMODULE module, const char* name)
{
    if (reinterpret_cast<ULONG_PTR>(name) > 0xFFFF && std::strcmp(name, "IsWow64Process") == 0)
        return missing ? nullptr : reinterpret_cast<FARPROC>(reinterpret_cast<void*>(FailToTell));
    // It is made before anything can call this. NOLINTNEXTLINE(bugprone-unchecked-optional-access)
    return addressPatch->Original<GetProcAddressCall>()(module, name);
}

struct PatchedAddresses
{
    PatchedAddresses(const Library& library, bool isMissing)
    {
        missing = isMissing;
        addressPatch.emplace(library.Module(), "GetProcAddress", GiveAddress);
    }
    ~PatchedAddresses() { addressPatch.reset(); }
};

TEST_F(ProcessKindTest, SystemWithoutTheCallCountsAsNative)
{
    library.WriteOwn(ProductText(L"wide", VersionById(wide.Id())) + ProductText(L"narrow", VersionById(narrow.Id())));
    const PatchedAddresses patch(library, true);

    ASSERT_TRUE(ListInstalled());

    EXPECT_THAT(products.Names(), ElementsAre(L"wide"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductVersion::IsInstalled2", L"try KEY_WOW64_32KEY"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
    EXPECT_EQ(0, log.Count(LogWarning, "CWow64::IsWow64Process", L"IsWow64Process failed error 0x5"));
}

TEST_F(ProcessKindTest, FailureOfTheCallIsLoggedOnceAndCountsAsNative)
{
    library.WriteOwn(ProductText(L"wide", VersionById(wide.Id())) + ProductText(L"narrow", VersionById(narrow.Id())));
    const PatchedAddresses patch(library, false);

    ASSERT_TRUE(ListInstalled());
    ASSERT_TRUE(ListInstalled());

    EXPECT_THAT(products.Names(), ElementsAre(L"wide"));
    EXPECT_EQ(1, log.Count(LogWarning, "CWow64::IsWow64Process", L"IsWow64Process failed error 0x5"));
}

TEST_F(ProcessKindTest, RedirectedProcessLooksInTheOtherViewWithItsOwnMask)
{
    const std::wstring absent = L"prodsweep-test-none";
    library.WriteOwn(ProductText(L"wide", VersionById(wide.Id())) + ProductText(L"absent", VersionById(absent)));
    const Wow64Mode mode(library.Module());

    ASSERT_TRUE(ListInstalled());

    EXPECT_THAT(products.Names(), ElementsAre(L"wide"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductVersion::IsInstalled2", L"try KEY_WOW64_64KEY"));
    EXPECT_EQ(0, log.Count(LogTrace, "CProductVersion::IsInstalled2", L"try KEY_WOW64_32KEY"));
    // Listing touches no file that redirection could hide.
    EXPECT_THAT(mode.Calls(), IsEmpty());
}

} // namespace
} // namespace prodsweep::test
