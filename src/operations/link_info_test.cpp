#include "operations/operations.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/shortcut_maker.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>
#include <shlobj.h>

// How one link is read.
namespace prodsweep {
namespace {

using test::Exists;

struct GetLinkInfoTest : testing::Test
{
    const test::ComScope com;
    test::TempTree tree;
    const test::LogRecorder log;
    COperations operations;
    const std::wstring folder = tree.AddFolder(L"links");
    const std::wstring target = tree.AddFile(L"app.exe");

    std::wstring AddLink(const std::wstring& name) const
    {
        const std::wstring link = folder + L"\\" + name;
        test::MakeShortcut(link, target);
        return link;
    }
};

int initialisations = 0;
HRESULT WINAPI CountInitialisation(void* reserved)
{
    EXPECT_EQ(nullptr, reserved);
    ++initialisations;
    return S_FALSE;
}

void WINAPI FailOnUninitialisation() { ADD_FAILURE() << "the apartment is to outlive the call"; }

HRESULT WINAPI DenyCreation(const CLSID&, IUnknown*, DWORD, const IID&, void**) { return REGDB_E_CLASSNOTREG; }

TEST_F(GetLinkInfoTest, TargetOfALinkIsRead)
{
    const std::wstring link = AddLink(L"a.lnk");
    wchar_t read[260] = L"before";

    EXPECT_EQ(S_OK, operations.GetLinkInfo(link.c_str(), read));

    EXPECT_EQ(target, read);
}

TEST_F(GetLinkInfoTest, LinkThatPointsAtNothingIsReadAsEmpty)
{
    const std::wstring link = folder + L"\\nothing.lnk";
    test::MakeShortcut(link, L"");
    wchar_t read[260] = L"before";

    EXPECT_TRUE(SUCCEEDED(operations.GetLinkInfo(link.c_str(), read)));

    EXPECT_STREQ(L"", read);
}

TEST_F(GetLinkInfoTest, MissingLinkFailsAndLeavesAnEmptyText)
{
    wchar_t read[260] = L"before";

    EXPECT_TRUE(FAILED(operations.GetLinkInfo(tree.Path(L"missing.lnk").c_str(), read)));

    EXPECT_STREQ(L"", read);
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(GetLinkInfoTest, ComIsInitialisedForEachLinkAndNeverGivenUp)
{
    for (const wchar_t* name : {L"a.lnk", L"b.lnk", L"c.lnk"})
        AddLink(name);
    tree.AddFile(L"links\\broken.lnk");
    tree.AddFile(L"links\\no link.txt");
    initialisations = 0;
    const test::ImportPatch initialise(nullptr, "CoInitialize", CountInitialisation);
    const test::ImportPatch uninitialise(nullptr, "CoUninitialize", FailOnUninitialisation);

    operations.CheckShortcutRec(folder.c_str(), target.c_str(), true);

    EXPECT_EQ(4, initialisations);
}

TEST_F(GetLinkInfoTest, ThreadWithoutComNeedsNoPreparation)
{
    const std::wstring link = AddLink(L"a.lnk");
    wchar_t read[260] = {};

    test::OnFreshThread(test::ComState::None, [&] {
        EXPECT_EQ(S_OK, operations.GetLinkInfo(link.c_str(), read));
        EXPECT_EQ(test::ComState::SingleThreaded, test::CurrentComState());
        CoUninitialize();
    });

    EXPECT_EQ(target, read);
}

TEST_F(GetLinkInfoTest, ThreadOfTheOtherModelReadsLinksToo)
{
    const std::wstring link = AddLink(L"a.lnk");
    wchar_t read[260] = {};

    test::OnFreshThread(test::ComState::MultiThreaded,
                        [&] { EXPECT_EQ(S_OK, operations.GetLinkInfo(link.c_str(), read)); });

    EXPECT_EQ(target, read);
}

TEST_F(GetLinkInfoTest, LinkObjectThatCannotBeMadeFailsTheLinkAndNotTheWalk)
{
    const std::wstring link = AddLink(L"a.lnk");
    const test::ImportPatch patch(nullptr, "CoCreateInstance", DenyCreation);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelShortcutRec(folder.c_str(), target.c_str(), true, nullptr));

    EXPECT_TRUE(Exists(link));
    EXPECT_TRUE(log.Has(LogError, "COperations::DelShortcutRec", L"GetLinkInfo \"" + link + L"\" failed 0x80040154"));
}

// Objects in the place of the shell's, which write down what is done with them and fail on demand.

#ifdef __GNUC__
// Interfaces of COM have no virtual destructor; their objects are not deleted through them.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
class FileStandIn final : public IPersistFile
{
public:
    FileStandIn(std::vector<std::wstring>& callList, std::vector<std::wstring>& releaseList)
        : calls(callList), released(releaseList)
    {}
    HRESULT loadResult = S_OK;
    int references = 0;

    STDMETHOD(QueryInterface)(REFIID, void**) override { return E_NOTIMPL; }
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++references); }
    STDMETHOD_(ULONG, Release)() override
    {
        released.emplace_back(L"file");
        return static_cast<ULONG>(--references);
    }
    STDMETHOD(Load)(const wchar_t* path, DWORD mode) override
    {
        calls.push_back(L"load " + std::wstring(path) + L" " + std::to_wstring(mode));
        return loadResult;
    }

    STDMETHOD(GetClassID)(CLSID*) override { return E_NOTIMPL; }
    STDMETHOD(IsDirty)() override { return E_NOTIMPL; }
    STDMETHOD(Save)(const wchar_t*, BOOL) override { return E_NOTIMPL; }
    STDMETHOD(SaveCompleted)(const wchar_t*) override { return E_NOTIMPL; }
    STDMETHOD(GetCurFile)(wchar_t**) override { return E_NOTIMPL; }

private:
    std::vector<std::wstring>& calls;
    std::vector<std::wstring>& released;
};

class LinkStandIn final : public IShellLinkW
{
public:
    std::vector<std::wstring> calls; // of the file too, as are the releases
    std::vector<std::wstring> released;
    FileStandIn file{calls, released};
    HRESULT queryResult = S_OK;
    HRESULT pathResult = S_OK;
    int references = 0;

    STDMETHOD(QueryInterface)(REFIID id, void** object) override
    {
        calls.emplace_back(id == IID_IPersistFile ? L"query file" : L"query other");
        *object = nullptr;
        if (FAILED(queryResult))
            return queryResult;
        file.AddRef();
        *object = &file;
        return S_OK;
    }
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++references); }
    STDMETHOD_(ULONG, Release)() override
    {
        released.emplace_back(L"link");
        return static_cast<ULONG>(--references);
    }
    STDMETHOD(GetPath)(wchar_t* path, int size, WIN32_FIND_DATAW* found, DWORD flags) override
    {
        calls.push_back(L"path " + std::to_wstring(size) + L" " + std::to_wstring(flags));
        EXPECT_NE(nullptr, found);
        if (SUCCEEDED(pathResult))
            wcscpy(path, L"C:\\App\\app.exe");
        return pathResult;
    }

    STDMETHOD(GetIDList)(ITEMIDLIST_ABSOLUTE**) override { return E_NOTIMPL; }
    STDMETHOD(SetIDList)(const ITEMIDLIST_ABSOLUTE*) override { return E_NOTIMPL; }
    STDMETHOD(GetDescription)(wchar_t*, int) override { return E_NOTIMPL; }
    STDMETHOD(SetDescription)(const wchar_t*) override { return E_NOTIMPL; }
    STDMETHOD(GetWorkingDirectory)(wchar_t*, int) override { return E_NOTIMPL; }
    STDMETHOD(SetWorkingDirectory)(const wchar_t*) override { return E_NOTIMPL; }
    STDMETHOD(GetArguments)(wchar_t*, int) override { return E_NOTIMPL; }
    STDMETHOD(SetArguments)(const wchar_t*) override { return E_NOTIMPL; }
    STDMETHOD(GetHotkey)(WORD*) override { return E_NOTIMPL; }
    STDMETHOD(SetHotkey)(WORD) override { return E_NOTIMPL; }
    STDMETHOD(GetShowCmd)(int*) override { return E_NOTIMPL; }
    STDMETHOD(SetShowCmd)(int) override { return E_NOTIMPL; }
    STDMETHOD(GetIconLocation)(wchar_t*, int, int*) override { return E_NOTIMPL; }
    STDMETHOD(SetIconLocation)(const wchar_t*, int) override { return E_NOTIMPL; }
    STDMETHOD(SetRelativePath)(const wchar_t*, DWORD) override { return E_NOTIMPL; }
    STDMETHOD(Resolve)(HWND, DWORD) override { return E_NOTIMPL; }
    STDMETHOD(SetPath)(const wchar_t*) override { return E_NOTIMPL; }
};
#ifdef __GNUC__
#pragma GCC diagnostic pop
#endif

LinkStandIn* standIn = nullptr;

HRESULT WINAPI GiveStandIn(const CLSID& id, IUnknown* outer, DWORD context, const IID& wanted, void** object)
{
    EXPECT_TRUE(id == CLSID_ShellLink && wanted == IID_IShellLinkW);
    EXPECT_EQ(nullptr, outer);
    EXPECT_EQ(DWORD{CLSCTX_INPROC_SERVER}, context);
    standIn->AddRef();
    *object = static_cast<IShellLinkW*>(standIn);
    return S_OK;
}

struct LinkObjectTest : GetLinkInfoTest
{
    LinkObjectTest() { standIn = &object; }
    ~LinkObjectTest() override
    {
        EXPECT_EQ(0, object.references) << "the link was not released";
        EXPECT_EQ(0, object.file.references) << "the link's file was not released";
    }

    LinkStandIn object;
    const test::ImportPatch patch{nullptr, "CoCreateInstance", GiveStandIn};
    wchar_t read[260] = L"before";
};

TEST_F(LinkObjectTest, FileIsLoadedAndItsPathAskedFor)
{
    EXPECT_EQ(S_OK, operations.GetLinkInfo(L"C:\\a.lnk", read));

    EXPECT_EQ((std::vector<std::wstring>{L"query file", L"load C:\\a.lnk 0", L"path 260 0"}), object.calls);
    EXPECT_STREQ(L"C:\\App\\app.exe", read);
}

TEST_F(LinkObjectTest, FileIsReleasedBeforeItsLink)
{
    operations.GetLinkInfo(L"C:\\a.lnk", read);

    EXPECT_EQ((std::vector<std::wstring>{L"file", L"link"}), object.released);
}

TEST_F(LinkObjectTest, ObjectThatIsNoFileFails)
{
    object.queryResult = E_NOINTERFACE;

    EXPECT_EQ(E_NOINTERFACE, operations.GetLinkInfo(L"C:\\a.lnk", read));

    EXPECT_STREQ(L"", read);
    EXPECT_EQ(1u, object.calls.size());
}

TEST_F(LinkObjectTest, FileThatCannotBeLoadedIsNotAskedForItsPath)
{
    object.file.loadResult = STG_E_FILENOTFOUND;

    EXPECT_EQ(STG_E_FILENOTFOUND, operations.GetLinkInfo(L"C:\\a.lnk", read));

    EXPECT_EQ(2u, object.calls.size());
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(LinkObjectTest, PathThatCannotBeGivenIsLoggedByReaderAndWalk)
{
    object.pathResult = E_ACCESSDENIED;
    const std::wstring link = tree.AddFile(L"links\\a.lnk");

    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckShortcutRec(folder.c_str(), L"", true));

    EXPECT_TRUE(log.Has(LogError, "COperations::GetLinkInfo", L"Retrieve link for \"" + link + L"\" error 0x80070005"));
    EXPECT_TRUE(log.Has(LogError, "COperations::CheckShortcutRec", L"GetLinkInfo \"" + link + L"\" failed 0x80070005"));
}

} // namespace
} // namespace prodsweep
