#include "environment/log.h"
#include "environment/special_folder.h"
#include "support/com_scope.h"
#include "support/descriptor_file.h"
#include "support/dom.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/recording_pass.h"
#include "support/registry_sandbox.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <shlobj.h>

namespace prodsweep {
namespace {

HRESULT WINAPI NoFolder(HWND, int, HANDLE, DWORD, wchar_t*) { return E_FAIL; }

class VersionLookupTest : public testing::Test
{
protected:
    // An app_path element for a value of the sandbox.
    [[nodiscard]] std::wstring AppPathElement(const std::wstring& value) const
    {
        return L"<v1><app_path key='" + box.Path() + L"' name='" + value + L"'/></v1>";
    }

    // What the lookup makes of a version element; appPath starts as "before".
    bool AppPath(const std::wstring& version)
    {
        const test::DomText text(version);
        appPath = L"before";
        return test::RecordingPass::GetAppPath(text.Root(), appPath);
    }
    bool InstallFolder(const std::wstring& version)
    {
        const test::DomText text(version);
        appPath = L"before";
        return test::RecordingPass::GetInstallFolder(text.Root(), appPath);
    }

    test::ComScope com;
    test::LogRecorder log;
    test::RegistrySandbox box;
    std::wstring appPath;
};

TEST_F(VersionLookupTest, AppPathIsTheValueAsItStands)
{
    box.AddText(L"", L"Dir", L"%TEMP%\\..\\App\\");
    EXPECT_TRUE(AppPath(AppPathElement(L"Dir")));
    EXPECT_EQ(L"%TEMP%\\..\\App\\", appPath);
}

TEST_F(VersionLookupTest, EmptyValueIsFound)
{
    box.AddText(L"", L"Dir", L"");
    EXPECT_TRUE(AppPath(AppPathElement(L"Dir")));
    EXPECT_EQ(L"", appPath);
}

TEST_F(VersionLookupTest, MissingPiecesOfAppPathAreLogged)
{
    EXPECT_FALSE(AppPath(L"<v1/>"));
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::GetAppPath", L"can't load \"app_path\" node 0x1"));
    EXPECT_FALSE(AppPath(L"<v1><app_path name='a'/></v1>"));
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::GetAppPath", L"can't load \"key\" attribute"));
    EXPECT_FALSE(AppPath(L"<v1><app_path key='HKLM\\a'/></v1>"));
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::GetAppPath", L"can't load \"name\" attribute"));
    EXPECT_EQ(L"before", appPath);
}

TEST_F(VersionLookupTest, ValueThatIsNotThereIsLoggedWithKeyAndName)
{
    EXPECT_FALSE(AppPath(AppPathElement(L"Dir")));
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::GetAppPath",
                        L"error read \"" + box.Path() + L"\" \"Dir\", error = _ERROR_NOT_FOUND"));
    EXPECT_EQ(L"before", appPath);
}

TEST_F(VersionLookupTest, ValueOfAnotherTypeIsNotFound)
{
    box.AddText(L"", L"Dir", L"C:\\App", REG_EXPAND_SZ);
    EXPECT_FALSE(AppPath(AppPathElement(L"Dir")));
}

TEST_F(VersionLookupTest, KeyWithoutAHiveCountsAsNotFound)
{
    for (const wchar_t* key : {L"", L"Software\\App", L"hklm\\Software", L"HKLM"})
    {
        log.Clear();
        EXPECT_FALSE(AppPath(L"<v1><app_path key='" + std::wstring(key) + L"' name='Dir'/></v1>"));
        EXPECT_TRUE(log.Has(LogError, "CProductConfig::GetAppPath",
                            L"error read \"" + std::wstring(key) + L"\" \"Dir\", error = _ERROR_NOT_FOUND"));
    }
}

TEST_F(VersionLookupTest, InstallFolderLiesBelowProgramFiles)
{
    std::wstring programFiles;
    ASSERT_TRUE(CSpecialFolder(L"").Get(L"program_files", programFiles));
    EXPECT_TRUE(InstallFolder(L"<v1><install_folder name='Maker\\App'/></v1>"));
    EXPECT_EQ(programFiles + L"\\Maker\\App", appPath);
}

TEST_F(VersionLookupTest, InstallFolderFallsBackToALiteral)
{
    const test::ImportPatch patch(nullptr, "SHGetFolderPathW", NoFolder);
    EXPECT_TRUE(InstallFolder(L"<v1><install_folder name='App'/></v1>"));
    EXPECT_EQ(L"c:\\program files\\App", appPath);
}

TEST_F(VersionLookupTest, MissingPiecesOfInstallFolderAreLogged)
{
    EXPECT_FALSE(InstallFolder(L"<v1/>"));
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::GetInstallFolder", L"can't load \"install_folder\" node"));
    EXPECT_FALSE(InstallFolder(L"<v1><install_folder/></v1>"));
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::GetInstallFolder", L"can't load \"name\" attribute"));
    EXPECT_EQ(L"before", appPath);
}

class ProcessVersionTest : public VersionLookupTest
{
protected:
    // The app path that the one entry of a version was given.
    static std::wstring WalkedWith(const std::wstring& lookup)
    {
        const test::DomText text(L"<v1>" + lookup + L"<win_nt><s op_code='del_file'><e name='a'/></s></win_nt></v1>");
        test::RecordingPass pass;
        EXPECT_TRUE(pass.ProcessVersion(text.Root()));
        return pass.calls.empty() ? L"not walked" : pass.calls[0].appPath;
    }

    [[nodiscard]] std::wstring AppPathOf(const std::wstring& value) const
    {
        return L"<app_path key='" + box.Path() + L"' name='" + value + L"'/>";
    }
};

TEST_F(ProcessVersionTest, AppPathGoesBeforeInstallFolder)
{
    box.AddText(L"", L"Dir", L"D:\\App");
    EXPECT_EQ(L"D:\\App", WalkedWith(L"<install_folder name='x'/>" + AppPathOf(L"Dir")));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::ProcessVersion", L"app_path = \"D:\\App\""));
    EXPECT_TRUE(log.HasNoneAt(LogWarning));
}

TEST_F(ProcessVersionTest, UnreadableAppPathLeadsToInstallFolder)
{
    const std::wstring walked = WalkedWith(AppPathOf(L"Dir") + L"<install_folder name='x'/>");
    EXPECT_EQ(L"\\x", walked.substr(walked.size() - 2));
    EXPECT_TRUE(log.Has(LogWarning, "CProductConfig::ProcessVersion", L"can't load app_path"));
}

TEST_F(ProcessVersionTest, WithoutBothTheSectionsAreWalkedWithAnEmptyAppPath)
{
    EXPECT_EQ(L"", WalkedWith(L""));
    EXPECT_TRUE(log.Has(LogWarning, "CProductConfig::ProcessVersion", L"can't load app_path"));
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::ProcessVersion", L"can't load \"install_folder\" node"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::ProcessVersion", L"app_path = \"\""));
}

TEST_F(ProcessVersionTest, ResultIsThatOfTheSections)
{
    const test::DomText text(L"<v1/>");
    test::RecordingPass pass;
    EXPECT_FALSE(pass.ProcessVersion(text.Root()));
}

} // namespace
} // namespace prodsweep
