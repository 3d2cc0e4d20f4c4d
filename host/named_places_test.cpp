#include "named_places.h"

#include <gtest/gtest.h>

#include "support/com_scope.h"
#include "support/descriptor_file.h"
#include "support/shortcut_maker.h"
#include "support/temp_tree.h"
#include "text.h"

namespace prodsweep {
namespace {

class NamedPlacesTest : public testing::Test
{
protected:
    static CNamedPlaces Places(const std::string& sections)
    {
        return CNamedPlaces(
            test::DescriptorFile(test::OneVersion(sections, {}, "<install_folder name='Smithy'/>")).Path());
    }

    const test::ComScope com;
    test::TempTree tree;
};

TEST_F(NamedPlacesTest, FolderIsNamedWithAllBelowIt)
{
    const CNamedPlaces places = Places("<s op_code='del_folder'><e path='app_path'/></s>");

    EXPECT_TRUE(places.Names(L"C:\\Program Files\\Smithy"));
    EXPECT_TRUE(places.Names(L"c:\\program files\\SMITHY\\deep\\a.txt"));
    EXPECT_FALSE(places.Names(L"C:\\Program Files\\Smithy2"));
    EXPECT_FALSE(places.Names(L"C:\\Program Files"));
}

TEST_F(NamedPlacesTest, FileIsNamedAlone)
{
    const CNamedPlaces places = Places("<s op_code='del_file'><e path='app_path' name='#####a.txt'/></s>");

    EXPECT_TRUE(places.Names(L"C:\\Program Files\\Smithy\\a.txt"));
    EXPECT_FALSE(places.Names(L"C:\\Program Files\\Smithy\\a.txt\\b"));
    EXPECT_FALSE(places.Names(L"C:\\Program Files\\Smithy\\b.txt"));
}

TEST_F(NamedPlacesTest, ShortcutIsNamedWhenItsTargetIs)
{
    const std::wstring target = tree.AddFile(L"anvil.exe");
    tree.AddFolder(L"menu");
    test::MakeShortcut(tree.Path(L"menu\\ours.lnk"), target);
    test::MakeShortcut(tree.Path(L"menu\\other.lnk"), tree.AddFile(L"other.exe"));
    const CNamedPlaces places =
        Places("<s op_code='del_shortcut'><e path='" + ToUtf8(tree.Path(L"menu")) + "' target_name='anvil.exe'/></s>");

    EXPECT_TRUE(places.Names(tree.Path(L"menu\\OURS.lnk")));
    EXPECT_FALSE(places.Names(tree.Path(L"menu\\other.lnk")));
    EXPECT_FALSE(places.Names(tree.Path(L"menu")));
}

TEST_F(NamedPlacesTest, EntriesAtFaultAndMissingDescriptorsNameNothing)
{
    const CNamedPlaces places = Places("<s op_code='del_folder'><e/><e path='nowhere'/></s>"
                                       "<s op_code='del_file'><e path='app_path'/></s>"
                                       "<s op_code='del_shortcut'><e target_name='a'/></s>");

    EXPECT_FALSE(places.Names(L"C:\\Program Files\\Smithy"));
    EXPECT_FALSE(places.Names(L""));
    EXPECT_FALSE(CNamedPlaces(tree.Path(L"absent.xml")).Names(L"C:\\"));
}

} // namespace
} // namespace prodsweep
