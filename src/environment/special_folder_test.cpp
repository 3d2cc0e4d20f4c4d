#include "environment/special_folder.h"

#include "environment/log.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/wow64_mode.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <string>

namespace prodsweep {
namespace {

struct Table : CSpecialFolder
{
    static void Clear() { folders.clear(); }
    static void Set(std::map<std::wstring, int> rows) { folders = std::move(rows); }
    static const std::map<std::wstring, int>& Rows() { return folders; }
};

// The table of keywords, as the other kind of process would see it in the last column.
struct Keyword
{
    const wchar_t* text;
    int code;
    int wow64Code;
    const wchar_t* below; // what is joined to the folder
};
constexpr Keyword keywords[] = {
    {L"desktop_folder", 0x10, 0x10, L""},
    {L"app_data", 0x1A, 0x1A, L""},
    {L"common_app_data", 0x23, 0x23, L""},
    {L"local_app_data", 0x1C, 0x1C, L""},
    {L"common_desktop_folder", 0x19, 0x19, L""},
    {L"common_start_menu", 0x16, 0x16, L""},
    {L"common_start_menu_programs", 0x17, 0x17, L""},
    {L"start_menu", 0x0B, 0x0B, L""},
    {L"start_menu_programs", 0x02, 0x02, L""},
    {L"windows_folder", 0x24, 0x24, L""},
    {L"windows_system", 0x25, 0x25, L""},
    {L"program_files", 0x26, 0x26, L""},
    {L"common_files", 0x2B, 0x2B, L""},
    {L"windows_system_drivers", 0x25, 0x25, L"\\drivers"},
    {L"windows_system_x86", 0x25, 0x29, L""},
    {L"program_files_x86", 0x26, 0x2A, L""},
    {L"common_files_x86", 0x2B, 0x2C, L""},
    {L"windows_system_drivers_x86", 0x25, 0x29, L"\\drivers"},
};

std::wstring ShellFolder(int code)
{
    wchar_t path[MAX_PATH] = {};
    EXPECT_EQ(S_OK, SHGetFolderPathW(nullptr, code, nullptr, 0, path)) << code;
    return path;
}

std::wstring Upper(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](wchar_t character) { return static_cast<wchar_t>(std::towupper(character)); });
    return text;
}

class CSpecialFolderTest : public testing::Test
{
public:
    CSpecialFolderTest() { Table::Clear(); }
    ~CSpecialFolderTest() override { Table::Clear(); }

protected:
    test::LogRecorder log;
    std::wstring folder = L"before";
};

TEST_F(CSpecialFolderTest, EachKeywordGivesItsFolderAndIsTraced)
{
    for (const Keyword& keyword : keywords)
    {
        ASSERT_TRUE(CSpecialFolder(L"").Get(keyword.text, folder)) << test::Narrow(keyword.text);
        EXPECT_EQ(ShellFolder(keyword.code) + keyword.below, folder) << test::Narrow(keyword.text);
        EXPECT_TRUE(log.Has(LogTrace, "CSpecialFolder::Get", L"->\"" + std::wstring(keyword.text) + L"\""));
        EXPECT_TRUE(log.Has(LogTrace, "CSpecialFolder::Get", L"<- path is : \"" + folder + L"\""));
        EXPECT_EQ(2u, log.Records().size());
        log.Clear();
    }
}

TEST_F(CSpecialFolderTest, TableHoldsEachKeywordOnceWithItsCode)
{
    const CSpecialFolder made(L"");
    EXPECT_EQ(std::size(keywords), Table::Rows().size());
    for (const Keyword& keyword : keywords)
        EXPECT_EQ(keyword.code, Table::Rows().at(keyword.text)) << test::Narrow(keyword.text);
}

TEST_F(CSpecialFolderTest, TableOfTheOtherKindOfProcessDiffersInTheX86Rows)
{
    const test::Wow64Mode mode;
    const CSpecialFolder made(L"");
    EXPECT_EQ(std::size(keywords), Table::Rows().size());
    for (const Keyword& keyword : keywords)
        EXPECT_EQ(keyword.wow64Code, Table::Rows().at(keyword.text)) << test::Narrow(keyword.text);
}

TEST_F(CSpecialFolderTest, TableIsFilledByTheFirstConstructorAndThenStays)
{
    EXPECT_TRUE(Table::Rows().empty());
    const CSpecialFolder first(L"");
    const test::Wow64Mode mode; // empties the table
    Table::Set({{L"program_files_x86", 0x26}});

    const CSpecialFolder second(L"");

    EXPECT_EQ(1u, Table::Rows().size()) << "filled only when it is empty";
    EXPECT_EQ(0x26, Table::Rows().at(L"program_files_x86"));
}

TEST_F(CSpecialFolderTest, KeywordIsFoundInAnyCase)
{
    for (const Keyword& keyword : keywords)
    {
        // Deliberate: "drivers" is joined only for the keyword as it is usually written.
        ASSERT_TRUE(CSpecialFolder(L"").Get(Upper(keyword.text), folder)) << test::Narrow(keyword.text);
        EXPECT_EQ(ShellFolder(keyword.code), folder) << test::Narrow(keyword.text);
    }
    ASSERT_TRUE(CSpecialFolder(L"").Get(L"Windows_System_Drivers", folder));
    EXPECT_EQ(ShellFolder(0x25), folder);
}

TEST_F(CSpecialFolderTest, X86KeywordsGiveTheSameFoldersInASixtyFourBitProcess)
{
    std::wstring plain;
    ASSERT_TRUE(CSpecialFolder(L"").Get(L"program_files_x86", folder));
    ASSERT_TRUE(CSpecialFolder(L"").Get(L"program_files", plain));
    EXPECT_EQ(plain, folder);
}

TEST_F(CSpecialFolderTest, AppPathIsTheInstallFolderAsGiven)
{
    EXPECT_TRUE(CSpecialFolder(L"C:\\App Folder\\").Get(L"app_path", folder));

    EXPECT_EQ(L"C:\\App Folder\\", folder);
    EXPECT_EQ(2u, log.Records().size());
    EXPECT_TRUE(log.Has(LogTrace, "CSpecialFolder::Get", L"->\"app_path\""));
    EXPECT_TRUE(log.Has(LogTrace, "CSpecialFolder::Get", L"<-\"app_path\" = \"C:\\App Folder\\\""));
}

TEST_F(CSpecialFolderTest, EmptyAppPathFails)
{
    EXPECT_FALSE(CSpecialFolder(L"").Get(L"app_path", folder));

    EXPECT_EQ(L"before", folder);
    EXPECT_TRUE(log.Has(LogError, "CSpecialFolder::Get", L"<-\"app_path\" is empty! "));
}

TEST_F(CSpecialFolderTest, UnknownKeywordFailsAndAppPathInCapitalsIsOne)
{
    for (const std::wstring keyword : {L"", L"APP_PATH", L"program files", L" windows_system"})
    {
        EXPECT_FALSE(CSpecialFolder(L"C:\\App").Get(keyword, folder)) << test::Narrow(keyword);
        EXPECT_EQ(L"before", folder);
        EXPECT_TRUE(log.Has(LogError, "CSpecialFolder::Get",
                            L"SHGetFolderPath \"" + keyword + L"\" failed, unknown special folder"));
    }
}

int askedCode = 0;
HRESULT WINAPI FailToTell(HWND window, int code, HANDLE token, DWORD flags, wchar_t* path)
{
    EXPECT_EQ(nullptr, window);
    EXPECT_EQ(nullptr, token);
    EXPECT_EQ(0u, flags);
    askedCode = code;
    wcscpy(path, L"C:\\not to be taken");
    return S_FALSE; // no negative result, and a failure all the same
}

TEST_F(CSpecialFolderTest, AnyResultOfTheShellButZeroFails)
{
    const test::ImportPatch patch(nullptr, "SHGetFolderPathW", FailToTell);

    EXPECT_FALSE(CSpecialFolder(L"").Get(L"Start_Menu", folder));

    EXPECT_EQ(0x0B, askedCode);
    EXPECT_EQ(L"before", folder);
    EXPECT_TRUE(log.Has(LogError, "CSpecialFolder::Get", L"SHGetFolderPath \"Start_Menu\" failed 0x1"));
}

TEST_F(CSpecialFolderTest, FolderThatTheSystemRefusesIsLoggedWithItsCode)
{
    Table::Set({{L"odd", 0x7777}});
    EXPECT_FALSE(CSpecialFolder(L"").Get(L"odd", folder));
    EXPECT_TRUE(log.Has(LogError, "CSpecialFolder::Get", L"SHGetFolderPath \"odd\" failed 0x80070057"));
}

// The registry route, which only the other kind of process takes.
class CSpecialFolderUnderWow64Test : public CSpecialFolderTest
{
protected:
    const test::Wow64Mode mode;
};

constexpr wchar_t currentVersion[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion";

std::wstring RegistryFolder(const wchar_t* value)
{
    wchar_t path[MAX_PATH] = {};
    DWORD size = sizeof(path);
    EXPECT_EQ(ERROR_SUCCESS,
              RegGetValueW(HKEY_LOCAL_MACHINE, currentVersion, value, RRF_RT_REG_SZ, nullptr, path, &size));
    return path;
}

TEST_F(CSpecialFolderUnderWow64Test, TwoKeywordsComeFromTheRegistry)
{
    ASSERT_TRUE(CSpecialFolder(L"").Get(L"program_files", folder));
    EXPECT_EQ(RegistryFolder(L"ProgramFilesDir"), folder);
    ASSERT_TRUE(CSpecialFolder(L"").Get(L"common_files", folder));
    EXPECT_EQ(RegistryFolder(L"CommonFilesDir"), folder);
    EXPECT_EQ(2u, log.Records().size()) << "the entry lines, and no line with the path";
}

TEST_F(CSpecialFolderUnderWow64Test, OtherSpellingsAndKeywordsGoToTheShell)
{
    const test::ImportPatch patch(nullptr, "SHGetFolderPathW", FailToTell);
    EXPECT_FALSE(CSpecialFolder(L"").Get(L"Program_Files", folder));
    EXPECT_EQ(0x26, askedCode);
    EXPECT_FALSE(CSpecialFolder(L"").Get(L"program_files_x86", folder));
    EXPECT_EQ(0x2A, askedCode);
    EXPECT_FALSE(CSpecialFolder(L"").Get(L"windows_system_drivers_x86", folder));
    EXPECT_EQ(0x29, askedCode);
}

TEST_F(CSpecialFolderUnderWow64Test, DriversAreJoinedToTheX86SystemFolder)
{
    ASSERT_TRUE(CSpecialFolder(L"").Get(L"windows_system_drivers_x86", folder));
    EXPECT_EQ(ShellFolder(0x29) + L"\\drivers", folder);
}

TEST_F(CSpecialFolderUnderWow64Test, RegistryKeyIsClosed)
{
    ASSERT_TRUE(CSpecialFolder(L"").Get(L"program_files", folder));
    const test::HandleCount handles;
    ASSERT_TRUE(CSpecialFolder(L"").Get(L"program_files", folder));
    EXPECT_TRUE(handles.Unchanged());
}

LSTATUS WINAPI RefuseToOpen(HKEY hive, const wchar_t* subkey, DWORD options, REGSAM access, HKEY*)
{
    EXPECT_EQ(HKEY_LOCAL_MACHINE, hive);
    EXPECT_STREQ(currentVersion, subkey);
    EXPECT_EQ(0u, options);
    EXPECT_EQ(0xF013Fu, access);
    return ERROR_ACCESS_DENIED;
}

TEST_F(CSpecialFolderUnderWow64Test, KeyThatCannotBeOpenedFails)
{
    const test::ImportPatch patch(nullptr, "RegOpenKeyExW", RefuseToOpen);

    EXPECT_FALSE(CSpecialFolder(L"").Get(L"program_files", folder));

    EXPECT_EQ(L"before", folder);
    EXPECT_TRUE(log.Has(LogError, "CSpecialFolder::ReadFromRegistry",
                        L"RegOpenKeyEx HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion failed 0x5"));
    EXPECT_EQ(2u, log.Records().size());
}

std::wstring data; // what the registry has, without any terminator of its own
LSTATUS WINAPI GiveData(HKEY, const wchar_t* value, DWORD*, DWORD*, BYTE* buffer, DWORD* size)
{
    EXPECT_STREQ(L"CommonFilesDir", value);
    EXPECT_EQ(0x208u, *size);
    const auto needed = static_cast<DWORD>(data.size() * sizeof(wchar_t));
    if (needed > *size)
        return ERROR_MORE_DATA;
    std::copy(data.begin(), data.end(), reinterpret_cast<wchar_t*>(buffer));
    *size = needed;
    return ERROR_SUCCESS;
}

TEST_F(CSpecialFolderUnderWow64Test, DataWithoutTerminatorAreTakenWhole)
{
    const test::ImportPatch patch(nullptr, "RegQueryValueExW", GiveData);
    for (const std::size_t length : {0u, 1u, 259u, 260u})
    {
        data.assign(length, L'x');
        EXPECT_TRUE(CSpecialFolder(L"").Get(L"common_files", folder)) << length;
        EXPECT_EQ(data, folder);
    }
}

TEST_F(CSpecialFolderUnderWow64Test, ValueThatCannotBeReadFails)
{
    const test::ImportPatch patch(nullptr, "RegQueryValueExW", GiveData);
    data.assign(261, L'x');

    EXPECT_FALSE(CSpecialFolder(L"").Get(L"common_files", folder));

    EXPECT_EQ(L"before", folder);
    EXPECT_TRUE(log.Has(LogError, "CSpecialFolder::ReadFromRegistry",
                        L"RegQueryValue HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion "
                        L"\"CommonFilesDir\" failed 0xea"));
}

} // namespace
} // namespace prodsweep
