#include "operations/force_del_file.h"

#include "environment/log.h"
#include "operations/operations.h"
#include "support/handle_count.h"
#include "support/import_patch.h"

#include "support/log_recorder.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>
#include <map>

namespace prodsweep {
namespace {

using test::Exists;

// Stands before LoadLibraryW and GetProcAddress: the library or one entry point may be missing, and
// what is looked up is written down.
class Loader
{
public:
    Loader() : load(nullptr, "LoadLibraryW", Load), find(nullptr, "GetProcAddress", Find) { current = this; }
    ~Loader() { current = nullptr; }
    Loader(const Loader&) = delete;
    Loader& operator=(const Loader&) = delete;

    bool missesLibrary = false;
    const char* missing = "";
    std::vector<std::string> lookups;

    template <class Function>
    void PutInPlace(const char* name, Function* standIn)
    {
        standIns[name] = reinterpret_cast<FARPROC>(reinterpret_cast<void*>(standIn));
    }

private:
    static HMODULE WINAPI Load(const wchar_t* name)
    {
        if (std::wcscmp(name, L"ntdll.dll") == 0)
            current->lookups.emplace_back("load");
        if (current->missesLibrary)
        {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
        }
        return current->load.Original<HMODULE WINAPI(const wchar_t*)>()(name);
    }
    static FARPROC WINAPI Find(HMODULE module, const char* name)
    {
        if (module == GetModuleHandleW(L"ntdll.dll"))
            current->lookups.emplace_back(name);
        if (std::strcmp(name, current->missing) == 0)
        {
            SetLastError(ERROR_PROC_NOT_FOUND);
            return nullptr;
        }
        if (const auto standIn = current->standIns.find(name); standIn != current->standIns.end())
            return standIn->second;
        return current->find.Original<FARPROC WINAPI(HMODULE, const char*)>()(module, name);
    }

    static Loader* current;
    std::map<std::string, FARPROC> standIns;
    test::ImportPatch load;
    test::ImportPatch find;
};
Loader* Loader::current = nullptr;

const std::vector<std::string> allLookups = {"load", "NtDeleteFile", "RtlDosPathNameToNtPathName_U",
                                             "RtlCreateUnicodeString", "RtlFreeUnicodeString"};

struct ForceDelFileTest : testing::Test
{
    ForceDelFileTest() { CForceDelFile::Instance() = CForceDelFile(); }
    ~ForceDelFileTest() override { CForceDelFile::Instance() = CForceDelFile(); }

    test::TempTree tree;
    const test::LogRecorder log;
    CForceDelFile native;
};

TEST_F(ForceDelFileTest, InitBindsTheLibrarysEntryPointsInTheirOrder)
{
    const Loader loader;

    EXPECT_EQ(_ERROR_SUCCESS, native.Init());

    EXPECT_EQ(allLookups, loader.lookups);
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(ForceDelFileTest, InitBindsAnewEachTime)
{
    EXPECT_EQ(_ERROR_SUCCESS, native.Init());
    const Loader loader;

    EXPECT_EQ(_ERROR_SUCCESS, native.Init());

    EXPECT_EQ(allLookups, loader.lookups);
}

TEST_F(ForceDelFileTest, MissingLibraryIsLoggedAndTriedAgain)
{
    Loader loader;
    loader.missesLibrary = true;
    EXPECT_EQ(_ERROR_UNKNOWN, native.Init());
    EXPECT_TRUE(log.Has(LogError, "CForceDelFile::Init", L"failed LoadLibrary 0x7e"));

    loader.missesLibrary = false;
    EXPECT_EQ(_ERROR_SUCCESS, native.Init());
}

struct EntryPoint
{
    const char* name;
    const wchar_t* line;
    std::size_t position; // among the lookups
};
void PrintTo(const EntryPoint& entry, std::ostream* out) { *out << entry.name; }

struct MissingEntryPointTest : ForceDelFileTest, testing::WithParamInterface<EntryPoint>
{};

TEST_P(MissingEntryPointTest, EndsInitWithItsLine)
{
    Loader loader;
    loader.missing = GetParam().name;

    EXPECT_EQ(_ERROR_UNKNOWN, native.Init());

    EXPECT_TRUE(log.Has(LogError, "CForceDelFile::Init", GetParam().line));
    EXPECT_EQ(1u, log.Records().size());
    EXPECT_EQ(GetParam().position + 1, loader.lookups.size());
    EXPECT_EQ(GetParam().name, loader.lookups.back());
}

TEST_P(MissingEntryPointTest, IsNotSearchedForAgain)
{
    Loader loader;
    loader.missing = GetParam().name;
    native.Init();
    loader.missing = "";
    loader.lookups.clear();

    EXPECT_EQ(_ERROR_UNKNOWN, native.Init());

    EXPECT_TRUE(loader.lookups.empty());
    EXPECT_EQ(1u, log.Records().size());
}

TEST_P(MissingEntryPointTest, LeavesNothingToDeleteWith)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    EXPECT_EQ(_ERROR_SUCCESS, native.Init());
    Loader loader;
    loader.missing = GetParam().name;
    native.Init();

    EXPECT_EQ(_ERROR_UNKNOWN, native.Delete(file.c_str()));

    EXPECT_TRUE(Exists(file));
}

INSTANTIATE_TEST_SUITE_P(
    All, MissingEntryPointTest,
    testing::Values(EntryPoint{"NtDeleteFile", L"failed GetProcAddress NtDeleteFile 0x7f", 1},
                    EntryPoint{"RtlDosPathNameToNtPathName_U", L"failed GetProcAddress RtlDosPathNameToNtPathName_U 7f",
                               2},
                    EntryPoint{"RtlCreateUnicodeString", L"failed GetProcAddress RtlCreateUnicodeString 0x7f", 3},
                    EntryPoint{"RtlFreeUnicodeString", L"failed GetProcAddress RtlFreeUnicodeString 0x7f", 4}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ForceDelFileTest, NothingIsDeletedBeforeInit)
{
    const std::wstring file = tree.AddFile(L"a.txt");

    EXPECT_EQ(_ERROR_UNKNOWN, native.Delete(file.c_str()));

    EXPECT_TRUE(Exists(file));
}

// The real call, by each form of a path.

struct PathForm
{
    const char* name;
    const wchar_t* prefix;
    bool deletes;
};
void PrintTo(const PathForm& form, std::ostream* out) { *out << form.name; }

struct NativeDeletionTest : ForceDelFileTest, testing::WithParamInterface<PathForm>
{};

TEST_P(NativeDeletionTest, FileGoesByItsPath)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    ASSERT_EQ(_ERROR_SUCCESS, native.Init());

    const int result = native.Delete((GetParam().prefix + file).c_str());

    EXPECT_EQ(GetParam().deletes ? _ERROR_SUCCESS : _ERROR_FAILED, result);
    EXPECT_EQ(!GetParam().deletes, Exists(file));
    EXPECT_TRUE(tree.CanariesIntact());
}

INSTANTIATE_TEST_SUITE_P(All, NativeDeletionTest,
                         testing::Values(PathForm{"Dos", L"", true}, PathForm{"Verbatim", L"\\\\?\\", true},
                                         PathForm{"Native", L"\\??\\", true},
                                         PathForm{"DosDevices", L"\\DosDevices\\", true},
                                         PathForm{"DosDevicesInOtherCase", L"\\DOSdevices\\", true},
                                         // Taken for a DOS path, which begins at the root of the current drive.
                                         PathForm{"NativeCutShort", L"\\?\\", false}),
                         [](const auto& row) { return std::string(row.param.name); });

// What reaches the native call, seen by a stand-in.

std::wstring nativeName;
OBJECT_ATTRIBUTES nativeAttributes;
NTSTATUS nativeStatus = 0;
std::vector<std::string> nativeSteps;

NTSTATUS NTAPI NoteObjectAttributes(OBJECT_ATTRIBUTES* attributes)
{
    nativeSteps.emplace_back("delete");
    nativeAttributes = *attributes;
    nativeName.assign(attributes->ObjectName->Buffer, attributes->ObjectName->Length / sizeof(wchar_t));
    return nativeStatus;
}

BOOLEAN NTAPI RefuseToCopy(UNICODE_STRING*, const wchar_t*) { return FALSE; }

BOOLEAN NTAPI RefuseToConvert(const wchar_t*, UNICODE_STRING*, wchar_t**, void*) { return FALSE; }

// Give out a text that stays, and take it back.

wchar_t givenText[] = L"given";

BOOLEAN NTAPI GiveCopy(UNICODE_STRING* name, const wchar_t*)
{
    nativeSteps.emplace_back("copy");
    *name = {sizeof(givenText) - sizeof(wchar_t), sizeof(givenText), givenText};
    return TRUE;
}

BOOLEAN NTAPI GiveConversion(const wchar_t*, UNICODE_STRING* name, wchar_t** lastPart, void* folder)
{
    nativeSteps.emplace_back(lastPart == nullptr && folder == nullptr ? "convert" : "convert and tell more");
    *name = {sizeof(givenText) - sizeof(wchar_t), sizeof(givenText), givenText};
    return TRUE;
}

void NTAPI TakeBack(UNICODE_STRING* name)
{
    nativeSteps.emplace_back(name->Buffer == givenText ? "free" : "free another");
}

struct NativeCallTest : ForceDelFileTest
{
    NativeCallTest()
    {
        nativeStatus = 0;
        nativeName.clear();
        nativeSteps.clear();
        loader.PutInPlace("NtDeleteFile", NoteObjectAttributes);
    }
    int Delete(const wchar_t* path)
    {
        EXPECT_EQ(_ERROR_SUCCESS, native.Init());
        return native.Delete(path);
    }
    void GiveAndTakeBack()
    {
        loader.PutInPlace("RtlDosPathNameToNtPathName_U", GiveConversion);
        loader.PutInPlace("RtlCreateUnicodeString", GiveCopy);
        loader.PutInPlace("RtlFreeUnicodeString", TakeBack);
    }
    Loader loader;
};

TEST_F(NativeCallTest, DosPathIsConverted)
{
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"C:\\App\\a.txt"));
    EXPECT_EQ(L"\\??\\C:\\App\\a.txt", nativeName);
}

TEST_F(NativeCallTest, NativePathsAreTakenAsTheyStand)
{
    for (const wchar_t* path : {L"\\??\\C:\\App\\.\\a.txt", L"\\DosDevices\\C:\\a.txt", L"\\DOSDEVICES\\C:\\a.txt",
                                L"\\dosdevices\\C:\\a.txt"})
    {
        EXPECT_EQ(_ERROR_SUCCESS, Delete(path));
        EXPECT_EQ(path, nativeName);
    }
}

TEST_F(NativeCallTest, OtherPathsThatLookNativeAreConverted)
{
    for (const wchar_t* path : {L"\\DosDevices", L"\\DosDevicesX\\C:\\a.txt", L"\\??", L"\\?\\C:\\a.txt"})
    {
        EXPECT_EQ(_ERROR_SUCCESS, Delete(path));
        EXPECT_NE(path, nativeName);
        EXPECT_EQ(0u, nativeName.find(L"\\??\\")) << test::Narrow(nativeName);
    }
}

TEST_F(NativeCallTest, PathThatCannotBeConvertedIsTakenAsItStands)
{
    loader.PutInPlace("RtlDosPathNameToNtPathName_U", RefuseToConvert);

    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"C:\\a.txt"));

    EXPECT_EQ(L"C:\\a.txt", nativeName);
}

TEST_F(NativeCallTest, PathThatCannotBeCopiedIsUnknown)
{
    loader.PutInPlace("RtlCreateUnicodeString", RefuseToCopy);

    EXPECT_EQ(_ERROR_UNKNOWN, Delete(L"\\??\\C:\\a.txt"));

    EXPECT_EQ(L"", nativeName);
}

TEST_F(NativeCallTest, AttributesHoldNothingButTheName)
{
    Delete(L"C:\\a.txt");

    EXPECT_EQ(48u, nativeAttributes.Length);
    EXPECT_EQ(nullptr, nativeAttributes.RootDirectory);
    EXPECT_EQ(0u, nativeAttributes.Attributes);
    EXPECT_EQ(nullptr, nativeAttributes.SecurityDescriptor);
    EXPECT_EQ(nullptr, nativeAttributes.SecurityQualityOfService);
}

TEST_F(NativeCallTest, ConvertedNameIsFreedOnceAfterTheDeletion)
{
    GiveAndTakeBack();

    Delete(L"C:\\a.txt");

    EXPECT_EQ((std::vector<std::string>{"convert", "delete", "free"}), nativeSteps);
}

TEST_F(NativeCallTest, CopiedNameIsFreedOnceAfterTheDeletion)
{
    GiveAndTakeBack();

    Delete(L"\\??\\C:\\a.txt");

    EXPECT_EQ((std::vector<std::string>{"copy", "delete", "free"}), nativeSteps);
}

TEST_F(NativeCallTest, NameIsFreedAlsoWhenTheDeletionFails)
{
    GiveAndTakeBack();
    nativeStatus = static_cast<NTSTATUS>(0xC0000034);

    Delete(L"C:\\a.txt");

    EXPECT_EQ("free", nativeSteps.back());
}

TEST_F(NativeCallTest, AnyStatusButZeroIsAFailure)
{
    for (const NTSTATUS status : {static_cast<NTSTATUS>(0xC0000034), static_cast<NTSTATUS>(0x00000103)})
    {
        nativeStatus = status;
        EXPECT_EQ(_ERROR_FAILED, Delete(L"C:\\a.txt"));
    }
}

TEST_F(ForceDelFileTest, MissingFileIsAFailureOfTheRealCall)
{
    ASSERT_EQ(_ERROR_SUCCESS, native.Init());
    EXPECT_EQ(_ERROR_FAILED, native.Delete(tree.Path(L"missing.txt").c_str()));
}

TEST_F(ForceDelFileTest, OddPathsAreRefused)
{
    ASSERT_EQ(_ERROR_SUCCESS, native.Init());
    for (const std::wstring& path :
         {std::wstring(), L"\\??\\" + std::wstring(32763, L'x'), L"C:\\" + std::wstring(32764, L'x')})
        EXPECT_NE(_ERROR_SUCCESS, native.Delete(path.c_str())) << path.size();
}

TEST_F(ForceDelFileTest, NoHandleIsLeftOpen)
{
    native.Init();
    native.Delete(tree.AddFile(L"a.txt").c_str());
    const std::wstring file = tree.AddFile(L"a.txt");
    const test::HandleCount handles;

    native.Init();
    native.Delete(file.c_str());
    native.Delete(file.c_str());

    EXPECT_TRUE(handles.Unchanged());
}

// How DelFile makes use of it: by the process-wide object, and only when Init has failed.

BOOL WINAPI DenyDeletion(const wchar_t*)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

struct DelFileNativeTest : ForceDelFileTest
{
    const std::wstring file = tree.AddFile(L"a.txt");
    const test::ImportPatch denied{nullptr, "DeleteFileW", DenyDeletion};
    WideStringList restartList;
    COperations operations{&restartList};
};

TEST_F(DelFileNativeTest, SoundLibraryMeansThatTheFileIsLeftForTheRestart)
{
    EXPECT_EQ(_ERROR_FAILED, operations.DelFile(file.c_str(), nullptr, nullptr));

    EXPECT_TRUE(Exists(file));
    EXPECT_EQ(WideStringList{file}, restartList);
}

TEST_F(DelFileNativeTest, NativeDeletionThatSucceedsChangesNothingOfTheResult)
{
    ASSERT_EQ(_ERROR_SUCCESS, CForceDelFile::Instance().Init());
    Loader loader;
    loader.missesLibrary = true; // what was bound before stays bound

    EXPECT_EQ(_ERROR_FAILED, operations.DelFile(file.c_str(), nullptr, nullptr));

    EXPECT_FALSE(Exists(file));
    EXPECT_EQ(WideStringList{file}, restartList);
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFile", L"failed \"" + file + L"\""));
}

TEST_F(DelFileNativeTest, MissingEntryPointLeavesTheFileForTheRestart)
{
    Loader loader;
    loader.missing = "NtDeleteFile";

    EXPECT_EQ(_ERROR_FAILED, operations.DelFile(file.c_str(), nullptr, nullptr));

    EXPECT_TRUE(Exists(file));
    EXPECT_EQ(WideStringList{file}, restartList);
    EXPECT_TRUE(log.Has(LogError, "CForceDelFile::Init", L"failed GetProcAddress NtDeleteFile 0x7f"));
}

TEST_F(ForceDelFileTest, MissingFileDoesNotReachIt)
{
    const Loader loader;

    EXPECT_EQ(_ERROR_NOT_FOUND, COperations().DelFile(tree.Path(L"missing.txt").c_str(), nullptr, nullptr));

    EXPECT_TRUE(loader.lookups.empty());
}

} // namespace
} // namespace prodsweep
