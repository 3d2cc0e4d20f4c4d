#include "rotation.h"

#include "support/temp_tree.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "unique_handle.h"

namespace prodsweep::logger {
namespace {

// Files with a short word in each.
class RotationTest : public testing::Test
{
public:
    ~RotationTest() override { EXPECT_TRUE(tree.CanariesIntact()); }

protected:
    void Put(const std::wstring& name, const std::string& word) { tree.AddFile(name, FILE_ATTRIBUTE_NORMAL, word); }

    // "-" for none.
    std::string Word(const std::wstring& name) const
    {
        const UniqueHandle file =
            OwnFile(CreateFileW(tree.Path(name).c_str(), GENERIC_READ, 7, nullptr, OPEN_EXISTING, 0, nullptr));
        char word[64] = {};
        DWORD read = 0;
        if (file == nullptr || !ReadFile(file.get(), word, sizeof word, &read, nullptr))
            return "-";
        return {word, read};
    }
    std::string Words() const
    {
        return Word(L"a.log") + " " + Word(L"a.log.1") + " " + Word(L"a.log.2") + " " + Word(L"a.log.3");
    }
    bool Rotate(int depth) const { return PutAside(tree.Path(L"a.log"), depth); }

    test::TempTree tree;
};

TEST_F(RotationTest, FirstFileIsMovedAside)
{
    Put(L"a.log", "new");
    EXPECT_TRUE(Rotate(3));
    EXPECT_EQ("- new - -", Words());
}

TEST_F(RotationTest, OlderOnesMoveUpAndTheOldestGoes)
{
    Put(L"a.log", "new");
    Put(L"a.log.1", "young");
    Put(L"a.log.2", "old");
    EXPECT_TRUE(Rotate(2));
    EXPECT_EQ("- new young -", Words());
}

TEST_F(RotationTest, OnlyThoseBelowTheFirstGapMove)
{
    Put(L"a.log", "new");
    Put(L"a.log.1", "young");
    Put(L"a.log.3", "old");
    EXPECT_TRUE(Rotate(3));
    EXPECT_EQ("- new young old", Words());
}

TEST_F(RotationTest, NeighboursOfSimilarNamesStay)
{
    Put(L"a.log", "new");
    Put(L"a.log.10", "other");
    Put(L"a.log.bak", "other");
    EXPECT_TRUE(Rotate(3));
    EXPECT_EQ("other", Word(L"a.log.10"));
    EXPECT_EQ("other", Word(L"a.log.bak"));
}

TEST_F(RotationTest, DepthOfZeroEmptiesTheFile)
{
    Put(L"a.log", "new");
    Put(L"a.log.1", "young");
    EXPECT_TRUE(Rotate(0));
    EXPECT_EQ(" young - -", Words());
}

TEST_F(RotationTest, FileThatIsHeldLosesNoneOfTheKeptHoweverOftenItIsTried)
{
    Put(L"a.log", "new");
    Put(L"a.log.1", "young");
    Put(L"a.log.2", "old");
    {
        const UniqueHandle held =
            OwnFile(CreateFileW(tree.Path(L"a.log").c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                OPEN_EXISTING, 0, nullptr));
        for (int i = 0; i < 3; ++i)
            EXPECT_FALSE(Rotate(3));
        EXPECT_EQ("new - young old", Words());
    }
    EXPECT_TRUE(Rotate(3));
    EXPECT_EQ("- new young old", Words());
}

TEST_F(RotationTest, FileOpenForSharingIsMovedUnderItsReader)
{
    Put(L"a.log", "new");
    const UniqueHandle reader = OwnFile(CreateFileW(tree.Path(L"a.log").c_str(), GENERIC_READ,
                                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                    OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(Rotate(3));
    EXPECT_EQ("- new - -", Words());
}

} // namespace
} // namespace prodsweep::logger
