#include "api/guid_arrays.h"

#include "environment/log.h"
#include "support/handle_count.h"
#include "support/log_recorder.h"
#include "support/registry_sandbox.h"

#include <prodsweep/prodsweep.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace prodsweep {
namespace {

// Versions as no catalogue can give them, and the answers that only the callers inside the library see.
struct GuidArraysTest : testing::Test
{
    ~GuidArraysTest() override
    {
        ProdsweepFreeGuids(guids);
        RegDeleteKeyW(HKEY_CURRENT_USER, nameWithSlash.c_str());
    }
    static CProductVersion Version(const std::wstring& keyPath)
    {
        CProductVersion version;
        version.keyPath = keyPath;
        return version;
    }
    // A version that is there and whose key path has no backslash: one key, named with a slash.
    CProductVersion VersionWithoutBackslash()
    {
        HKEY key = nullptr;
        EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CURRENT_USER, nameWithSlash.c_str(), 0, nullptr, 0, KEY_READ,
                                                 nullptr, &key, nullptr));
        RegCloseKey(key);
        return Version(L"HKCU/" + nameWithSlash);
    }
    CProductVersion DetectedVersion(const std::wstring& relative)
    {
        registry.AddKey(relative);
        return Version(registry.Path(relative));
    }

    const test::RegistrySandbox registry;
    const std::wstring nameWithSlash = L"prodsweep-tests/" + std::to_wstring(GetCurrentProcessId());
    SAFEARRAY* guids = nullptr;
    test::LogRecorder log;
};

TEST_F(GuidArraysTest, WithoutADetectedVersionThereAreNoGuids)
{
    guids = reinterpret_cast<SAFEARRAY*>(1);
    const VersionList versions{Version(registry.Path(L"none")), Version(L"")};

    EXPECT_FALSE(GetInstalledGuids(versions, &guids));

    EXPECT_EQ(nullptr, guids);
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(GuidArraysTest, WithoutADetectedVersionTheExtendedFormWritesNothing)
{
    const VersionList versions{Version(registry.Path(L"none")), Version(L"")};
    auto* const before = reinterpret_cast<SAFEARRAY*>(1);
    SAFEARRAY* untouched = before;

    EXPECT_TRUE(GetInstalledGuidsEx(versions, &untouched));

    EXPECT_EQ(before, untouched);
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(GuidArraysTest, EmptyKeyPathIsNotEvenProbed)
{
    EXPECT_FALSE(GetInstalledGuids({Version(L"")}, &guids));
    EXPECT_TRUE(GetInstalledGuidsEx({Version(L"")}, &guids));

    EXPECT_TRUE(log.Records().empty());
}

TEST_F(GuidArraysTest, KeyPathWithoutABackslashIsLeftOut)
{
    const VersionList versions{VersionWithoutBackslash(), DetectedVersion(L"{A}")};

    ASSERT_TRUE(GetInstalledGuids(versions, &guids));

    ASSERT_EQ(1u, guids->rgsabound[0].cElements);
    EXPECT_STREQ(L"{A}", static_cast<const BSTR*>(guids->pvData)[0]);
}

TEST_F(GuidArraysTest, OnlyKeyPathsWithoutABackslashGiveNoGuids)
{
    EXPECT_FALSE(GetInstalledGuids({VersionWithoutBackslash()}, &guids));
    EXPECT_EQ(nullptr, guids);
}

TEST_F(GuidArraysTest, ExtendedFormKeepsAnEntryOfZerosForAKeyPathWithoutABackslash)
{
    const VersionList versions{VersionWithoutBackslash(), DetectedVersion(L"{A}")};

    ASSERT_TRUE(GetInstalledGuidsEx(versions, &guids));

    ASSERT_NE(nullptr, guids);
    ASSERT_EQ(2u, guids->rgsabound[0].cElements);
    const auto* entries = static_cast<const GuidEntry*>(guids->pvData);
    EXPECT_EQ(nullptr, entries[0].Guid);
    EXPECT_EQ(nullptr, entries[0].Children);
    EXPECT_STREQ(L"{A}", entries[1].Guid);
}

TEST_F(GuidArraysTest, KeyPathThatEndsInABackslashHasAnEmptyGuid)
{
    const CProductVersion version = Version(DetectedVersion(L"{A}").keyPath + L"\\");

    ASSERT_TRUE(GetInstalledGuids({version}, &guids));

    ASSERT_EQ(1u, guids->rgsabound[0].cElements);
    EXPECT_STREQ(L"", static_cast<const BSTR*>(guids->pvData)[0]);
}

TEST_F(GuidArraysTest, AllocatedArrayIsLockedZeroedAndKnowsNothingOfItsElements)
{
    void* data = nullptr;
    ASSERT_EQ(S_OK, AllocSafeArray(&guids, sizeof(GuidEntry), 3, &data));

    EXPECT_EQ(1, guids->cDims);
    EXPECT_EQ(0, guids->fFeatures);
    EXPECT_EQ(sizeof(GuidEntry), guids->cbElements);
    EXPECT_EQ(3u, guids->rgsabound[0].cElements);
    EXPECT_EQ(0, guids->rgsabound[0].lLbound);
    EXPECT_EQ(1u, guids->cLocks);
    EXPECT_EQ(guids->pvData, data);
    const std::string bytes(static_cast<const char*>(data), 3 * sizeof(GuidEntry));
    EXPECT_EQ(std::string::npos, bytes.find_first_not_of('\0'));
    EXPECT_EQ(S_OK, SafeArrayUnaccessData(guids));
}

TEST_F(GuidArraysTest, ProbingAndBuildingCloseEveryKey)
{
    const VersionList versions{DetectedVersion(L"{A}"), DetectedVersion(L"{B}"), Version(registry.Path(L"none"))};
    ASSERT_TRUE(GetInstalledGuids(versions, &guids));
    ProdsweepFreeGuids(guids);
    const test::HandleCount handles;

    ASSERT_TRUE(GetInstalledGuids(versions, &guids));

    EXPECT_TRUE(handles.Unchanged());
    EXPECT_TRUE(registry.CanariesIntact());
}

} // namespace
} // namespace prodsweep
