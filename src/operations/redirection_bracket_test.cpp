#include "operations/redirection_bracket.h"

#include "environment/log.h"
#include "operations/operations.h"
#include "support/com_scope.h"
#include "support/file_faults.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/shortcut_maker.h"
#include "support/temp_tree.h"
#include "support/wow64_mode.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>

namespace prodsweep {
namespace {

using testing::IsEmpty;
using testing::IsSupersetOf;

using Calls = std::vector<std::string>;

TEST(RedirectionBracketTest, DoesNothingInAProcessThatIsNotRedirected)
{
    CRedirectionBracket bracket;
    EXPECT_TRUE(bracket.Open());
    EXPECT_TRUE(bracket.Close());
}

TEST(RedirectionBracketTest, GivesBackTheValueThatItGot)
{
    const test::Wow64Mode mode;
    {
        CRedirectionBracket bracket;
        EXPECT_TRUE(bracket.Open());
        EXPECT_TRUE(bracket.Close());
    }
    EXPECT_EQ((Calls{"disable", "revert"}), mode.Calls());
    EXPECT_TRUE(mode.Balanced());
}

TEST(RedirectionBracketTest, NestedBracketsGiveBackEachItsOwnValue)
{
    const test::Wow64Mode mode;
    CRedirectionBracket outer;
    CRedirectionBracket inner;
    EXPECT_TRUE(outer.Open() && inner.Open());
    EXPECT_TRUE(inner.Close() && outer.Close());

    EXPECT_TRUE(mode.Balanced());
}

TEST(RedirectionBracketTest, ClosesItselfWhenItWasLeftOpen)
{
    const test::Wow64Mode mode;
    {
        CRedirectionBracket bracket;
        EXPECT_TRUE(bracket.Open());
    }
    EXPECT_EQ((Calls{"disable", "revert"}), mode.Calls());
}

TEST(RedirectionBracketTest, TellsWhyACallFailed)
{
    test::Wow64Mode mode;
    mode.FailDisable(ERROR_INVALID_FUNCTION);
    mode.FailRevert(ERROR_ACCESS_DENIED);
    CRedirectionBracket bracket;

    EXPECT_FALSE(bracket.Open());
    EXPECT_EQ(DWORD{ERROR_INVALID_FUNCTION}, bracket.Error());
    EXPECT_FALSE(bracket.Close());
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, bracket.Error());
}

// The operations that work inside a bracket, each done to a missing and to an existing thing.

struct Operation
{
    const char* name;
    int (*run)(COperations& operations, const wchar_t* path);
    int found;   // its result for a folder with one link in it
    int missing; // its result for a path where nothing is
    Calls calls; // by which it works on that folder
};
void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }

WideStringList ignored;
constexpr wchar_t target[] = L"app.exe";

const Operation bracketed[] = {
    {"DelFile",
     [](COperations& o, const wchar_t* path) { return o.DelFile(path, nullptr, nullptr); },
     2,
     1,
     {"SetFileAttributesW", "DeleteFileW"}},
    {"DelFolder",
     [](COperations& o, const wchar_t* path) { return o.DelFolder(path, nullptr); },
     0,
     1,
     {"SetFileAttributesW", "PathIsDirectoryW", "FindFirstFileW", "DeleteFileW", "RemoveDirectoryW"}},
    {"CheckFile", [](COperations& o, const wchar_t* path) { return o.CheckFile(path); }, 0, 1, {"_wstat64"}},
    {"CheckFolder", [](COperations& o, const wchar_t* path) { return o.CheckFolder(path); }, 0, 1, {"_wstat64"}},
    {"ExpandFolder",
     [](COperations& o, const wchar_t* path) { return o.ExpandFolder(path, ignored, ignored); },
     0,
     1,
     {"SetFileAttributesW", "PathIsDirectoryW", "FindFirstFileW"}},
    {"DelShortcut",
     [](COperations& o, const wchar_t* path) { return o.DelShortcut(path, target, false, nullptr); },
     0,
     1,
     {"PathIsDirectoryW", "FindFirstFileW", "DeleteFileW"}},
    {"CheckShortcut",
     [](COperations& o, const wchar_t* path) { return o.CheckShortcut(path, target, false); },
     0,
     1,
     {"PathIsDirectoryW", "FindFirstFileW", "_wstat64"}},
    {"ExpandShortcut",
     [](COperations& o, const wchar_t* path) { return o.ExpandShortcut(path, target, false, ignored); },
     0,
     0,
     {"PathIsDirectoryW", "FindFirstFileW"}},
};

struct BracketedOperationTest : testing::TestWithParam<Operation>
{
    BracketedOperationTest() { test::MakeShortcut(folder + L"\\app.lnk", tree.AddFile(target)); }

    const test::ComScope com;
    test::TempTree tree;
    const std::wstring folder = tree.AddFolder(L"folder");
    const std::wstring missing = tree.Path(L"missing");
    const test::LogRecorder log;
    test::Wow64Mode mode;
    COperations operations;
    const std::string function = std::string("COperations::") + GetParam().name;
};

// Puts the calls that look at the file system or change it into the order of the brackets.
class NotedCalls
{
public:
    NotedCalls() : status(nullptr, "_wstat64", Status), isFolder(nullptr, "PathIsDirectoryW", IsFolder)
    {
        faults.whenCalled = test::Wow64Mode::Note;
        current = this;
    }
    ~NotedCalls() { current = nullptr; }
    NotedCalls(const NotedCalls&) = delete;
    NotedCalls& operator=(const NotedCalls&) = delete;

private:
    static int Status(const wchar_t* path, struct _stat64* answer)
    {
        test::Wow64Mode::Note("_wstat64");
        return current->status.Original<decltype(Status)>()(path, answer);
    }
    static BOOL WINAPI IsFolder(const wchar_t* path)
    {
        test::Wow64Mode::Note("PathIsDirectoryW");
        return current->isFolder.Original<decltype(IsFolder)>()(path);
    }

    static NotedCalls* current;

    test::FileFaults faults; // which fails none here
    test::ImportPatch status;
    test::ImportPatch isFolder;
};
NotedCalls* NotedCalls::current = nullptr;

// The noted calls, by whether a bracket was open.
struct SortedCalls
{
    explicit SortedCalls(const Calls& calls)
    {
        int open = 0;
        for (const std::string& call : calls)
        {
            if (call == "disable")
                ++open;
            else if (call == "revert")
                --open;
            else
                (open > 0 ? inside : outside).push_back(call);
        }
    }
    Calls inside;
    Calls outside;
};

TEST_P(BracketedOperationTest, RunsInsideItsBracket)
{
    const NotedCalls noted;

    EXPECT_EQ(GetParam().found, GetParam().run(operations, folder.c_str()));

    EXPECT_TRUE(mode.Balanced());
    const SortedCalls sorted(mode.Calls());
    EXPECT_THAT(sorted.inside, IsSupersetOf(GetParam().calls));
    EXPECT_THAT(sorted.outside, IsEmpty());
}

TEST_P(BracketedOperationTest, ClosesItsBracketWhenNothingIsThere)
{
    EXPECT_EQ(GetParam().missing, GetParam().run(operations, missing.c_str()));

    EXPECT_TRUE(mode.Balanced());
    EXPECT_FALSE(mode.Calls().empty());
}

TEST_P(BracketedOperationTest, FailedCallsAreLoggedAndChangeNothingElse)
{
    mode.FailDisable(ERROR_INVALID_FUNCTION);
    mode.FailRevert(ERROR_ACCESS_DENIED);

    EXPECT_EQ(GetParam().found, GetParam().run(operations, folder.c_str()));

    EXPECT_TRUE(log.Has(LogWarning, function, L"Wow64DisableWow64FsRedirection failed 0x1"));
    EXPECT_TRUE(log.Has(LogWarning, function, L"Wow64RevertWow64FsRedirection failed 0x5"));
    EXPECT_EQ(std::count(mode.Calls().begin(), mode.Calls().end(), "disable"),
              std::count(mode.Calls().begin(), mode.Calls().end(), "revert"));
}

// The failure of the call behind them is not taken for their own.
TEST_P(BracketedOperationTest, FailedRevertLeavesWhatIsMissingMissing)
{
    mode.FailRevert(ERROR_ACCESS_DENIED);

    EXPECT_EQ(GetParam().missing, GetParam().run(operations, missing.c_str()));

    EXPECT_TRUE(log.Has(LogWarning, function, L"Wow64RevertWow64FsRedirection failed 0x5"));
}

INSTANTIATE_TEST_SUITE_P(All, BracketedOperationTest, testing::ValuesIn(bracketed),
                         [](const auto& row) { return std::string(row.param.name); });

// Where the bracket stands among the calls.

BOOL WINAPI NoteAttributes(const wchar_t*, DWORD)
{
    test::Wow64Mode::Note("attributes");
    return TRUE;
}

BOOL WINAPI NoteDeletion(const wchar_t*)
{
    test::Wow64Mode::Note("delete");
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

HMODULE WINAPI NoteLoading(const wchar_t* name)
{
    test::Wow64Mode::Note("load");
    return GetModuleHandleW(name);
}

TEST(RedirectionBracketTest, NativeDeletionIsPreparedOutsideTheBracket)
{
    const test::Wow64Mode mode;
    static_cast<void>(CRedirectionBracket().Open()); // the library that it binds is loaded now
    const std::size_t before = mode.Calls().size();
    const test::ImportPatch attributes(nullptr, "SetFileAttributesW", NoteAttributes);
    const test::ImportPatch deletion(nullptr, "DeleteFileW", NoteDeletion);
    const test::ImportPatch loading(nullptr, "LoadLibraryW", NoteLoading);

    COperations().DelFile(L"C:\\a.txt", nullptr, nullptr);

    EXPECT_EQ((Calls{"disable", "attributes", "delete", "revert", "load"}),
              Calls(mode.Calls().begin() + static_cast<std::ptrdiff_t>(before), mode.Calls().end()));
}

TEST(RedirectionBracketTest, RecursiveFormsHaveNoneOfTheirOwn)
{
    test::TempTree tree;
    tree.AddFolder(L"sub");
    const test::Wow64Mode mode;
    COperations operations;

    operations.ExpandFolderRec(tree.Root().c_str(), ignored, ignored);
    operations.CheckShortcutRec(tree.Root().c_str(), L"", true);
    operations.ExpandShortcutRec(tree.Root().c_str(), L"", true, ignored);
    operations.DelShortcutRec(tree.Root().c_str(), L"", true, nullptr);
    operations.DelFolderRec(tree.Root().c_str(), nullptr, nullptr);

    EXPECT_TRUE(mode.Calls().empty());
}

} // namespace
} // namespace prodsweep
