#include "whole_file.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

#include <gtest/gtest.h>

#include <windows.h>

#include "failure.h"
#include "support/import_patch.h"
#include "support/temp_tree.h"
#include "text.h"

namespace prodsweep {
namespace {

// A disk with room for a few bytes more.
class FullDisk
{
public:
    FullDisk() { room = 3; }

private:
    using Function = BOOL WINAPI(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*);

    static BOOL WINAPI Write(HANDLE file, const void* bytes, DWORD length, DWORD* written, OVERLAPPED* overlapped)
    {
        if (room == 0)
        {
            SetLastError(ERROR_DISK_FULL);
            return FALSE;
        }
        length = std::min(length, std::exchange(room, 0));
        return original(file, bytes, length, written, overlapped);
    }

    static inline DWORD room = 0;
    static inline Function* original = nullptr;

    const test::ImportPatch patch{nullptr, "WriteFile", Write};
    const bool ready = (original = patch.Original<Function>()) != nullptr;
};

class WholeFileTest : public testing::Test
{
protected:
    static std::string Content(const std::wstring& path)
    {
        std::ifstream file(path.c_str(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // Empty: no failure.
    static std::string FailureOf(const std::wstring& path)
    {
        try
        {
            WriteWholeFile("the plan", ToUtf8(path), "newer");
            return {};
        }
        catch (const CFailure& failure)
        {
            return failure.what();
        }
    }

    test::TempTree tree;
};

TEST_F(WholeFileTest, OlderFileIsReplaced)
{
    const std::wstring path = tree.AddFile(L"plan.json", FILE_ATTRIBUTE_NORMAL, "an older one");
    EXPECT_EQ("", FailureOf(path));
    EXPECT_EQ("newer", Content(path));
    EXPECT_FALSE(test::Exists(path + L".part"));
}

TEST_F(WholeFileTest, OlderFileStaysWholeWhenTheDiskIsFull)
{
    const std::wstring path = tree.AddFile(L"plan.json", FILE_ATTRIBUTE_NORMAL, "an older one");
    {
        const FullDisk disk;
        EXPECT_EQ("the plan \"" + ToUtf8(path) + "\" cannot be written (Windows error 112).", FailureOf(path));
    }
    EXPECT_EQ("an older one", Content(path));
    EXPECT_FALSE(test::Exists(path + L".part"));
}

TEST_F(WholeFileTest, NothingIsLeftOfANewFileWhenTheDiskIsFull)
{
    const std::wstring path = tree.Path(L"plan.json");
    {
        const FullDisk disk;
        EXPECT_NE("", FailureOf(path));
    }
    EXPECT_FALSE(test::Exists(path));
    EXPECT_FALSE(test::Exists(path + L".part"));
}

TEST_F(WholeFileTest, NeighboursThatAreCalledLikeAPartStay)
{
    const std::wstring first = tree.AddFile(L"plan.json.part", FILE_ATTRIBUTE_NORMAL, "somebody's");
    const std::wstring second = tree.AddFile(L"plan.json.part2", FILE_ATTRIBUTE_NORMAL, "somebody's");
    EXPECT_EQ("", FailureOf(tree.Path(L"plan.json")));
    EXPECT_EQ("newer", Content(tree.Path(L"plan.json")));
    EXPECT_EQ("somebody's", Content(first));
    EXPECT_EQ("somebody's", Content(second));
}

TEST_F(WholeFileTest, PlaceThatCannotBeWrittenIsToldAndNothingIsLeftBehind)
{
    const std::wstring folder = tree.AddFolder(L"plan.json");
    EXPECT_NE("", FailureOf(folder));
    EXPECT_FALSE(test::Exists(folder + L".part"));
    EXPECT_NE("", FailureOf(tree.Path(L"absent\\plan.json")));
    EXPECT_EQ("\"\" is not a path.", FailureOf(L""));
}

} // namespace
} // namespace prodsweep
