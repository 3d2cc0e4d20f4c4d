#include "operations/operations.h"

#include "environment/log.h"
#include "registry/split_key_path.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/registered_service.h"
#include "support/wow64_mode.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

constexpr wchar_t absentName[] = L"prodsweep-test-absent";
constexpr wchar_t absentKey[] = L"SYSTEM\\CurrentControlSet\\Services\\prodsweep-test-absent";

// The tables behind HiveName, as they are before the first key path of the process is split.
class HiveTables : public CSplitKeyPath
{
public:
    static void Clear()
    {
        hives.clear();
        names.clear();
    }
};

struct OpenedKey
{
    HKEY hive;
    std::wstring subkey;
    DWORD options;
    REGSAM access;
};
OpenedKey openedKey;

LSTATUS WINAPI RefuseToOpen(HKEY hive, const wchar_t* subkey, DWORD options, REGSAM access, HKEY*)
{
    openedKey = {hive, subkey, options, access};
    return ERROR_ACCESS_DENIED;
}

LSTATUS WINAPI RefuseToSet(HKEY, const wchar_t*, DWORD, DWORD, const BYTE*, DWORD) { return ERROR_ACCESS_DENIED; }

class ServiceRegistryTest : public testing::Test
{
public:
    ServiceRegistryTest() { KnowHives(); }
    ~ServiceRegistryTest() override { KnowHives(); }

protected:
    static void KnowHives() { (void)CSplitKeyPath(); }

    test::LogRecorder log;
    COperations operations;
};

TEST_F(ServiceRegistryTest, DisabledServiceHasStartTypeFour)
{
    const test::RegisteredService service(L"stops");

    EXPECT_EQ(_ERROR_SUCCESS, operations.DisableService(service.Name().c_str()));

    DWORD type = REG_NONE;
    EXPECT_EQ(4u, service.StartType(&type));
    EXPECT_EQ(static_cast<DWORD>(REG_DWORD), type);
    EXPECT_TRUE(service.CanaryIntact());
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(ServiceRegistryTest, DisablingLeavesARunningServiceRunning)
{
    test::RegisteredService service(L"stops");
    service.Start();

    EXPECT_EQ(_ERROR_SUCCESS, operations.DisableService(service.Name().c_str()));

    EXPECT_EQ(static_cast<DWORD>(SERVICE_RUNNING), service.State());
}

TEST_F(ServiceRegistryTest, DisablingTwiceIsASuccess)
{
    const test::RegisteredService service(L"stops");
    EXPECT_EQ(_ERROR_SUCCESS, operations.DisableService(service.Name().c_str()));
    EXPECT_EQ(_ERROR_SUCCESS, operations.DisableService(service.Name().c_str()));
    EXPECT_EQ(4u, service.StartType());
}

TEST_F(ServiceRegistryTest, AbsentServiceIsNotFoundAndNothingIsMade)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DisableService(absentName));

    EXPECT_TRUE(log.Has(LogError, "COperations::DisableService",
                        std::wstring(L"RegOpenKeyEx \"HKEY_LOCAL_MACHINE\\") + absentKey + L"\" failed 0x2"));
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckService(absentName));
}

TEST_F(ServiceRegistryTest, AbsentServiceIsLoggedWithoutAHiveThatIsNotKnownYet)
{
    HiveTables::Clear();

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DisableService(absentName));

    EXPECT_TRUE(log.Has(LogError, "COperations::DisableService",
                        std::wstring(L"RegOpenKeyEx \"") + absentKey + L"\" failed 0x2"));
}

TEST_F(ServiceRegistryTest, RefusedOpeningIsNotFoundWhateverTheError)
{
    const test::RegisteredService service(L"stops");
    const test::ImportPatch patch(nullptr, "RegOpenKeyExW", RefuseToOpen);

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DisableService(service.Name().c_str()));

    EXPECT_TRUE(log.Has(LogError, "COperations::DisableService",
                        L"RegOpenKeyEx \"HKEY_LOCAL_MACHINE\\" + service.Subkey() + L"\" failed 0x5"));
}

TEST_F(ServiceRegistryTest, KeyIsOpenedForAllAccessInTheDefaultView)
{
    const test::ImportPatch patch(nullptr, "RegOpenKeyExW", RefuseToOpen);
    for (const auto operation : {&COperations::DisableService, &COperations::CheckService})
    {
        openedKey = {};
        operation(absentName);
        EXPECT_EQ(HKEY_LOCAL_MACHINE, openedKey.hive);
        EXPECT_EQ(absentKey, openedKey.subkey);
        EXPECT_EQ(0u, openedKey.options);
        EXPECT_EQ(0xF003Fu, openedKey.access);
    }
}

// Both views share the services' part of the registry.
TEST_F(ServiceRegistryTest, KeyIsOpenedWithoutAViewAlsoInA32BitProcess)
{
    const test::Wow64Mode mode;
    const test::ImportPatch patch(nullptr, "RegOpenKeyExW", RefuseToOpen);
    for (const auto operation : {&COperations::DisableService, &COperations::CheckService})
    {
        openedKey = {};
        operation(absentName);
        EXPECT_EQ(0xF003Fu, openedKey.access);
    }
}

TEST_F(ServiceRegistryTest, RefusedValueIsAFailure)
{
    const test::RegisteredService service(L"stops");
    const test::ImportPatch patch(nullptr, "RegSetValueExW", RefuseToSet);

    EXPECT_EQ(_ERROR_FAILED, operations.DisableService(service.Name().c_str()));

    EXPECT_TRUE(log.Has(LogError, "COperations::DisableService",
                        L"RegSetValueEx \"HKEY_LOCAL_MACHINE\\" + service.Subkey() + L"\" Start failed 0x5"));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_DEMAND_START), service.StartType());
}

TEST_F(ServiceRegistryTest, RefusedValueWithoutAKnownHiveNamesTheOtherCallAtTheLowerLevel)
{
    const test::RegisteredService service(L"stops");
    HiveTables::Clear();
    const test::ImportPatch patch(nullptr, "RegSetValueExW", RefuseToSet);

    EXPECT_EQ(_ERROR_FAILED, operations.DisableService(service.Name().c_str()));

    EXPECT_TRUE(log.Has(LogWarning, "COperations::DisableService",
                        L"RegOpenKeyEx \"" + service.Subkey() + L" Start\" failed 0x5"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(ServiceRegistryTest, PresentServiceIsFound)
{
    const test::RegisteredService service(L"stops");

    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckService(service.Name().c_str()));

    EXPECT_EQ(static_cast<DWORD>(SERVICE_DEMAND_START), service.StartType());
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(ServiceRegistryTest, DisabledServiceIsFoundAsWell)
{
    const test::RegisteredService service(L"stops");
    ASSERT_EQ(_ERROR_SUCCESS, operations.DisableService(service.Name().c_str()));
    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckService(service.Name().c_str()));
}

TEST_F(ServiceRegistryTest, CheckOfAnAbsentServiceIsLogged)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckService(absentName));

    EXPECT_TRUE(log.Has(LogError, "COperations::CheckService",
                        std::wstring(L"RegOpenKeyEx \"HKEY_LOCAL_MACHINE\\") + absentKey + L"\" failed 0x2"));
}

TEST_F(ServiceRegistryTest, CheckIsLoggedWithoutAHiveThatIsNotKnownYet)
{
    HiveTables::Clear();

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckService(absentName));

    EXPECT_TRUE(log.Has(LogError, "COperations::CheckService",
                        std::wstring(L"RegOpenKeyEx \"") + absentKey + L"\" failed 0x2"));
}

TEST_F(ServiceRegistryTest, NameBeyondAnyKeyIsNotFound)
{
    const std::wstring name(32767, L'n');
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DisableService(name.c_str()));
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckService(name.c_str()));
}

// The key above all services: it is always there. Callers pass no empty name.
TEST_F(ServiceRegistryTest, EmptyNameMeansTheKeyOfAllServices)
{
    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckService(L""));
}

TEST_F(ServiceRegistryTest, NoHandleIsLeft)
{
    const test::RegisteredService service(L"stops");
    const test::HandleCount handles;
    operations.DisableService(service.Name().c_str());
    operations.CheckService(service.Name().c_str());
    operations.DisableService(absentName);
    operations.CheckService(absentName);
    {
        const test::ImportPatch patch(nullptr, "RegSetValueExW", RefuseToSet);
        operations.DisableService(service.Name().c_str());
    }
    EXPECT_TRUE(handles.Unchanged());
}

} // namespace
} // namespace prodsweep
