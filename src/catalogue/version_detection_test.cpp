#include "catalogue/product_version.h"

#include "environment/log.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/registry_sandbox.h"
#include "support/uninstall_entries.h"
#include "support/wow64_mode.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

constexpr const char* plain = "CProductVersion::IsInstalled";
constexpr const char* tolerant = "CProductVersion::IsInstalled2";

class VersionDetectionTest : public testing::Test
{
protected:
    static CProductVersion Version(const std::wstring& keyPath, const std::wstring& keyValue = L"")
    {
        CProductVersion version;
        version.keyPath = keyPath;
        version.keyValue = keyValue;
        return version;
    }

    // One key, there in one view only; the paths have no trace of the view.
    const test::RegistrySandbox own{HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY};
    const test::RegistrySandbox other{HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY};
    const test::LogRecorder log;
};

TEST_F(VersionDetectionTest, KeyIsEnoughWithoutAValue)
{
    own.AddKey(L"product");
    const CProductVersion version = Version(own.Path(L"product"));

    EXPECT_TRUE(version.IsInstalled());
    EXPECT_TRUE(version.IsInstalled2());

    EXPECT_TRUE(log.Records().empty());
}

TEST_F(VersionDetectionTest, ShortHiveNamesAndOtherHivesServeAsWell)
{
    const test::RegistrySandbox user;
    user.AddKey(L"product");
    EXPECT_TRUE(Version(L"HKCU\\" + user.Subkey(L"product")).IsInstalled());
    EXPECT_TRUE(Version(L"HKCU/" + user.Subkey(L"product")).IsInstalled2());
}

TEST_F(VersionDetectionTest, MissingKeyIsTraced)
{
    const std::wstring path = own.Path(L"missing");

    EXPECT_FALSE(Version(path).IsInstalled());

    EXPECT_TRUE(log.Has(LogTrace, plain, L"failed RegOpenKeyEx \"" + path + L"\" error 0x2"));
    EXPECT_EQ(1u, log.Records().size());
}

TEST_F(VersionDetectionTest, KeyMissingInBothViewsIsTracedForBoth)
{
    const std::wstring path = own.Path(L"missing");

    EXPECT_FALSE(Version(path).IsInstalled2());

    const std::vector<test::LogRecord> records = log.Records();
    ASSERT_EQ(3u, records.size());
    EXPECT_TRUE(log.Has(LogTrace, tolerant, L"failed RegOpenKeyEx (OS redirect) \"" + path + L"\" error 0x2"));
    EXPECT_EQ(L"try KEY_WOW64_32KEY", records[1].text);
    EXPECT_TRUE(log.Has(LogTrace, tolerant, L"failed RegOpenKeyEx \"" + path + L"\" error 0x2"));
}

TEST_F(VersionDetectionTest, KeyOfTheOtherViewIsFoundByTheTolerantLookOnly)
{
    other.AddKey(L"product");
    const CProductVersion version = Version(other.Path(L"product"));

    EXPECT_FALSE(version.IsInstalled());
    EXPECT_TRUE(version.IsInstalled2());

    EXPECT_TRUE(log.Has(LogTrace, tolerant, L"try KEY_WOW64_32KEY"));
    EXPECT_TRUE(log.Has(LogTrace, tolerant, L"success"));
}

// Values.

TEST_F(VersionDetectionTest, MissingValueIsTracedByBothLooks)
{
    own.AddText(L"product", L"Other", L"x");
    const CProductVersion version = Version(own.Path(L"product"), L"Path");

    EXPECT_FALSE(version.IsInstalled());
    EXPECT_FALSE(version.IsInstalled2());

    EXPECT_TRUE(log.Has(LogTrace, plain, L"failed RegQueryValueEx \"Path\" error 0x2"));
    EXPECT_TRUE(log.Has(LogTrace, tolerant, L"failed RegQueryValueEx \"Path\" error 0x2"));
}

TEST_F(VersionDetectionTest, ValueOfTheOtherViewIsFoundWithItsKey)
{
    other.AddText(L"product", L"Path", L"x");
    EXPECT_TRUE(Version(other.Path(L"product"), L"Path").IsInstalled2());
}

TEST_F(VersionDetectionTest, KeyWithoutTheValueIsNotLookedForInTheOtherView)
{
    test::UninstallEntries entries;
    const std::wstring entry = entries.Unique(L"prodsweep-entry");
    entries.Add(entry);
    entries.AddData(entry, L"Path", REG_SZ, L"x", 4, KEY_WOW64_32KEY);
    EXPECT_FALSE(Version(entries.Path(entry), L"Path").IsInstalled2());
}

struct ValueRow
{
    const char* name;
    DWORD type;
    std::size_t size;
};

class ValueTypeTest : public VersionDetectionTest, public testing::WithParamInterface<ValueRow>
{};

TEST_P(ValueTypeTest, AnyValueCountsAsPresent)
{
    const BYTE data[2000] = {};
    own.AddData(L"product", L"Path", GetParam().type, data, GetParam().size);
    const CProductVersion version = Version(own.Path(L"product"), L"Path");
    EXPECT_TRUE(version.IsInstalled());
    EXPECT_TRUE(version.IsInstalled2());
}

INSTANTIATE_TEST_SUITE_P(Types, ValueTypeTest,
                         testing::Values(ValueRow{"EmptyText", REG_SZ, 0}, ValueRow{"Text", REG_SZ, 8},
                                         ValueRow{"OddText", REG_SZ, 3}, ValueRow{"Number", REG_DWORD, 4},
                                         ValueRow{"Binary", REG_BINARY, 2000}, ValueRow{"NoType", REG_NONE, 0},
                                         ValueRow{"UnknownType", 0x1234, 5}),
                         [](const auto& row) { return row.param.name; });

// Key paths that are none.

struct UnsplitPathRow
{
    const char* name;
    const wchar_t* keyPath;
};

class UnsplitPathTest : public VersionDetectionTest, public testing::WithParamInterface<UnsplitPathRow>
{};

TEST_P(UnsplitPathTest, IsLoggedByBothLooks)
{
    const CProductVersion version = Version(GetParam().keyPath);

    EXPECT_FALSE(version.IsInstalled());
    EXPECT_FALSE(version.IsInstalled2());

    const std::wstring line = L"failed split key \"" + version.keyPath + L"\"";
    EXPECT_TRUE(log.Has(LogError, plain, line));
    EXPECT_TRUE(log.Has(LogError, tolerant, line));
    EXPECT_TRUE(log.HasNoneAt(LogTrace));
}

INSTANTIATE_TEST_SUITE_P(Paths, UnsplitPathTest,
                         testing::Values(UnsplitPathRow{"Empty", L""}, UnsplitPathRow{"NoHive", L"\\UpdateLocation"},
                                         UnsplitPathRow{"OnlyAHive", L"HKLM"},
                                         UnsplitPathRow{"LowerCase", L"hklm\\Software"},
                                         UnsplitPathRow{"UnknownHive", L"HKXX\\Software"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(VersionDetectionTest, PathFarPastTheRegistrysLimitsIsJustNotThere)
{
    const CProductVersion version = Version(L"HKLM\\Software\\" + std::wstring(32000, L'x'));
    EXPECT_FALSE(version.IsInstalled());
    EXPECT_FALSE(version.IsInstalled2());
}

// Access masks.

test::ImportPatch* notedOpening = nullptr;
std::vector<REGSAM> masks;

LSTATUS WINAPI NoteMask(HKEY hive, const wchar_t* subkey, DWORD options, REGSAM access, HKEY* key)
{
    masks.push_back(access);
    return notedOpening->Original<decltype(RegOpenKeyExW)>()(hive, subkey, options, access, key);
}

class AccessMaskTest : public VersionDetectionTest
{
protected:
    AccessMaskTest() : patch(nullptr, "RegOpenKeyExW", NoteMask)
    {
        notedOpening = &patch;
        masks.clear();
    }

    test::ImportPatch patch;
};

TEST_F(AccessMaskTest, SixtyFourBitProcess)
{
    const CProductVersion missing = Version(L"HKLM\\Software\\prodsweep-tests-missing");
    EXPECT_FALSE(missing.IsInstalled());
    EXPECT_EQ((std::vector<REGSAM>{0x20019}), masks);

    masks.clear();
    EXPECT_FALSE(missing.IsInstalled2());
    EXPECT_EQ((std::vector<REGSAM>{0x20019, 0x20219}), masks);
}

TEST_F(AccessMaskTest, ThirtyTwoBitProcessOnASixtyFourBitSystem)
{
    const test::Wow64Mode mode;
    const CProductVersion missing = Version(L"HKLM\\Software\\prodsweep-tests-missing");
    EXPECT_FALSE(missing.IsInstalled());
    EXPECT_EQ((std::vector<REGSAM>{0x20119}), masks);

    masks.clear();
    EXPECT_FALSE(missing.IsInstalled2());
    EXPECT_EQ((std::vector<REGSAM>{0x20019, 0x20119}), masks);
    EXPECT_TRUE(log.Has(LogTrace, tolerant, L"try KEY_WOW64_64KEY"));
    EXPECT_EQ(0, log.Count(LogTrace, tolerant, L"try KEY_WOW64_32KEY"));
}

TEST_F(VersionDetectionTest, KeysAreClosedOnAllRoads)
{
    own.AddKey(L"product");
    other.AddKey(L"product");
    const CProductVersion versions[] = {Version(own.Path(L"product")), Version(own.Path(L"product"), L"missing"),
                                        Version(other.Path(L"product")), Version(own.Path(L"missing"))};
    const test::HandleCount handles;
    int found = 0;
    for (int i = 0; i < 20; ++i)
    {
        for (const CProductVersion& version : versions)
            found += int{version.IsInstalled()} + int{version.IsInstalled2()};
    }
    EXPECT_EQ(20 * 3, found);
    EXPECT_TRUE(handles.Unchanged());
}

} // namespace
} // namespace prodsweep
