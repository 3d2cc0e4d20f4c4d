#include "pending.h"

#include <cstring>
#include <iterator>
#include <memory>

#include <gmock/gmock.h>

#include "failure.h"
#include "pending_store.h"
#include "support/import_patch.h"
#include "support/registry_sandbox.h"
#include "text.h"

namespace prodsweep {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const wchar_t* firstList = L"PendingFileRenameOperations";
constexpr const wchar_t* secondList = L"PendingFileRenameOperations2";

// The lists of a key of the test's own.
class PendingTest : public testing::Test
{
protected:
    template <std::size_t size>
    void Set(const wchar_t* name, const wchar_t (&text)[size], DWORD type = REG_MULTI_SZ) const
    {
        box.AddData(L"", name, type, text, (size - 1) * sizeof(wchar_t));
    }
    // The value's text with "|" for each zero; "none" when there is no value.
    std::wstring Get(const wchar_t* name) const
    {
        for (const PendingValue& value : store.Read())
        {
            std::wstring text(value.data.size() / sizeof(wchar_t), L'\0');
            std::memcpy(text.data(), value.data.data(), value.data.size());
            for (wchar_t& unit : text)
                unit = unit == L'\0' ? L'|' : unit;
            if (value.name == name)
                return text;
        }
        return L"none";
    }
    static std::vector<std::wstring> Paths(const std::vector<PendingOperation>& operations)
    {
        std::vector<std::wstring> paths;
        paths.reserve(operations.size());
        for (const PendingOperation& operation : operations)
            paths.push_back(operation.path);
        return paths;
    }
    std::vector<std::wstring> Queued(const wchar_t* path) const { return Paths(OperationsOn(path, store)); }

    std::vector<std::wstring> Lost(const wchar_t* path) const
    {
        std::vector<PendingOperation> operations = OperationsOn(path, store);
        std::erase_if(operations, [](const PendingOperation& operation) { return !operation.loses; });
        return Paths(operations);
    }

    const test::RegistrySandbox box;
    const CPendingStore store{HKEY_CURRENT_USER, box.Subkey()};
};

TEST_F(PendingTest, BothListsAreToldOneAfterTheOther)
{
    box.AddKey(L"");
    Set(secondList, L"\\??\\C:\\c\0\0\0");
    Set(firstList, L"\\??\\C:\\b\0!\\??\\C:\\x\0\\??\\C:\\a\0\0\0");

    const PendingOperations pending = ReadPending(store);

    EXPECT_THAT(Paths(pending.operations), ElementsAre(L"C:\\b", L"C:\\a", L"C:\\c"));
    EXPECT_EQ(L"C:\\x", pending.operations[0].target);
    EXPECT_TRUE(pending.operations[0].replaces);
    EXPECT_EQ(ToUtf8(secondList), pending.operations[2].list);
    EXPECT_THAT(pending.faults, IsEmpty());
}

TEST_F(PendingTest, NoListAtAllIsNothingThatWaits)
{
    box.AddKey(L"");

    EXPECT_THAT(ReadPending(store).operations, IsEmpty());
    EXPECT_THAT(Queued(L"C:\\a"), IsEmpty());
    EXPECT_THAT(CancelOperationsOn(L"C:\\a", store), IsEmpty());
}

TEST_F(PendingTest, ListOfAnotherTypeIsToldAndKeepsOnesMouthShutAboutPaths)
{
    box.AddText(L"", firstList, L"\\??\\C:\\a");
    Set(secondList, L"\\??\\C:\\b\0\0\0");

    const PendingOperations pending = ReadPending(store);

    EXPECT_THAT(Paths(pending.operations), ElementsAre(L"C:\\b"));
    EXPECT_THAT(pending.faults, ElementsAre(HasSubstr("of type 1; it is not looked at.")));
    EXPECT_THROW(Queued(L"C:\\b"), CFailure);
    EXPECT_THROW(CancelOperationsOn(L"C:\\b", store), CFailure);
}

TEST_F(PendingTest, DamagedListIsToldWithWhatItHolds)
{
    Set(firstList, L"\\??\\C:\\a\0\0\\??\\C:\\b");

    const PendingOperations pending = ReadPending(store);

    EXPECT_THAT(Paths(pending.operations), ElementsAre(L"C:\\a", L"C:\\b"));
    EXPECT_THAT(pending.faults,
                ElementsAre("PendingFileRenameOperations is damaged: it breaks off within its last entry."));
    EXPECT_THAT(Queued(L"C:\\b"), ElementsAre(L"C:\\b"));
}

TEST_F(PendingTest, PathItselfAndFoldersAboveItAreQueued)
{
    Set(firstList, L"\\??\\C:\\App\0\0\\??\\C:\\App\\Sub\\a.txt\0\0\\??\\C:\\App\\Sub\\b.txt\0\0\\??\\C:\\Ap\0\0\0");

    EXPECT_THAT(Queued(L"c:\\app\\sub\\A.TXT"), ElementsAre(L"C:\\App\\Sub\\a.txt", L"C:\\App"));
    EXPECT_THAT(Queued(L"C:\\App\\new.txt"), ElementsAre(L"C:\\App"));
    EXPECT_THAT(Queued(L"C:\\Apple"), IsEmpty());
}

TEST_F(PendingTest, WhatMovesTheFileLosesIt)
{
    Set(firstList, L"\\??\\C:\\App\\a\0\\??\\C:\\b\0\\??\\C:\\App\0\\??\\C:\\c\0\0");

    EXPECT_THAT(Lost(L"C:\\App\\a"), ElementsAre(L"C:\\App\\a", L"C:\\App"));
    EXPECT_THAT(Lost(L"C:\\App\\new"), ElementsAre(L"C:\\App"));
}

TEST_F(PendingTest, WhatReplacesTheFileLosesItAndWhatMayNotReplaceItFails)
{
    Set(firstList, L"\\??\\C:\\a\0!\\??\\C:\\x\0\\??\\C:\\b\0\\??\\C:\\y\0\0");

    EXPECT_THAT(Lost(L"C:\\X"), ElementsAre(L"C:\\a"));
    EXPECT_THAT(Queued(L"C:\\y"), IsEmpty());
    EXPECT_THAT(Queued(L"C:\\x\\below"), IsEmpty());
}

TEST_F(PendingTest, DeletionOfAFolderAboveSparesTheFileAndIsToldLast)
{
    Set(firstList, L"\\??\\C:\\App\0\0\\??\\C:\\App\\a\0\0\\??\\C:\\x\0!\\??\\C:\\App\\a\0\0");

    EXPECT_THAT(Queued(L"C:\\App\\a"), ElementsAre(L"C:\\App\\a", L"C:\\x", L"C:\\App"));
    EXPECT_THAT(Lost(L"C:\\App\\a"), ElementsAre(L"C:\\App\\a", L"C:\\x"));
    EXPECT_THAT(Lost(L"C:\\App\\new"), IsEmpty());
}

TEST_F(PendingTest, CancellingTakesOutJustWhatTheCheckTells)
{
    Set(firstList,
        L"\\??\\C:\\z\0\0\\??\\C:\\App\\a\0\0\\??\\C:\\App\\a\0\\??\\C:\\y\0\\??\\C:\\App\0\0\\??\\C:\\x\0\0\0");
    Set(secondList, L"\\??\\C:\\APP\\A\0\0\0");

    EXPECT_THAT(Paths(CancelOperationsOn(L"C:\\App\\a", store)),
                ElementsAre(L"C:\\App\\a", L"C:\\App\\a", L"C:\\APP\\A", L"C:\\App"));

    EXPECT_EQ(L"\\??\\C:\\z||\\??\\C:\\x|||", Get(firstList));
    EXPECT_EQ(L"none", Get(secondList));
    EXPECT_THAT(Queued(L"C:\\App\\a"), IsEmpty());
}

TEST_F(PendingTest, RenamingThatBreaksOffStaysAsItIs)
{
    // Without its last letter, since the system would add a zero that it sees behind a text.
    constexpr wchar_t text[] = L"\\??\\C:\\b\0\0\\??\\C:\\a\0!\\??\\C:\\xx";
    box.AddData(L"", firstList, REG_MULTI_SZ, text, sizeof(text) - 2 * sizeof(wchar_t));

    EXPECT_THAT(Lost(L"C:\\a"), ElementsAre(L"C:\\a"));
    EXPECT_THAT(Queued(L"C:\\x"), IsEmpty()) << "nobody can tell where it leads";
    EXPECT_THAT(Paths(CancelOperationsOn(L"C:\\b", store)), ElementsAre(L"C:\\b"));

    EXPECT_EQ(L"\\??\\C:\\a|!\\??\\C:\\x", Get(firstList));
}

TEST_F(PendingTest, CancellingWhatIsNotQueuedWritesNothing)
{
    Set(firstList, L"\\??\\C:\\a\0\0"); // without its end mark, which writing would add

    EXPECT_THAT(CancelOperationsOn(L"C:\\b", store), IsEmpty());

    EXPECT_EQ(L"\\??\\C:\\a||", Get(firstList));
}

// Stands between the program and the registry: the more often the value is read, the longer it gets.
class CGrowingList
{
public:
    explicit CGrowingList(int timesToGrow) : left(timesToGrow), patch(nullptr, "RegQueryValueExW", Query)
    {
        current = this;
    }
    ~CGrowingList() { current = nullptr; }
    CGrowingList(const CGrowingList&) = delete;
    CGrowingList& operator=(const CGrowingList&) = delete;

private:
    using QueryFunction = LSTATUS WINAPI(HKEY, const wchar_t*, DWORD*, DWORD*, BYTE*, DWORD*);

    static LSTATUS WINAPI Query(HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size)
    {
        // Each reading asks for the size first. The very first reading is that of the list as it was.
        if (data == nullptr && name == std::wstring(firstList) && current->readings++ > 0 && current->left-- > 0)
            current->Grow();
        return current->patch.Original<QueryFunction>()(key, name, reserved, type, data, size);
    }

    void Grow() const
    {
        text.insert(text.size() - 1, std::wstring(L"\\??\\C:\\late\0\0", 12));
        box->AddData(L"", firstList, REG_MULTI_SZ, text.data(), text.size() * sizeof(wchar_t));
    }

public:
    const test::RegistrySandbox* box = nullptr;

private:
    static CGrowingList* current;

    mutable std::wstring text = std::wstring(L"\\??\\C:\\a\0\0\\??\\C:\\b\0\0\0", 21);
    int readings = 0;
    int left;
    test::ImportPatch patch;
};
CGrowingList* CGrowingList::current = nullptr;

TEST_F(PendingTest, WhatAnotherProgramAddsBeforeTheWritingIsKept)
{
    Set(firstList, L"\\??\\C:\\a\0\0\\??\\C:\\b\0\0\0");
    {
        CGrowingList growing(1);
        growing.box = &box;
        EXPECT_THAT(Paths(CancelOperationsOn(L"C:\\a", store)), ElementsAre(L"C:\\a"));
    }
    EXPECT_EQ(L"\\??\\C:\\b||\\??\\C:\\late|||", Get(firstList));
}

TEST_F(PendingTest, ListThatNeverRestsEndsTheAttempt)
{
    Set(firstList, L"\\??\\C:\\a\0\0\\??\\C:\\b\0\0\0");
    CGrowingList growing(1000);
    growing.box = &box;

    EXPECT_THROW(CancelOperationsOn(L"C:\\a", store), CFailure);
}

TEST_F(PendingTest, PlaceThatCannotBeOpenedIsTold)
{
    EXPECT_THROW(ReadPending(CPendingStore(HKEY_CURRENT_USER, box.Subkey(L"absent"))), CFailure);
}

} // namespace
} // namespace prodsweep
