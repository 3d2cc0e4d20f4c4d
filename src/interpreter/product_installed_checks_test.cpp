#include "interpreter/product_installed.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/log_recorder.h"
#include "support/registered_service.h"
#include "support/registry_sandbox.h"
#include "support/temp_tree.h"
#include "support/wow64_mode.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace prodsweep {
namespace {

class ChecksTest : public testing::Test
{
protected:
    test::ComScope com;
    test::LogRecorder log;
    CProductInstalled pass{L""};
};

class FileChecksTest : public ChecksTest
{
protected:
    bool File(const AttributeMap& attributes) { return pass.ProcessDelFile(attributes, tree.Root()); }
    bool Folder(const AttributeMap& attributes) { return pass.ProcessDelFolder(attributes, tree.Root()); }
    bool Shortcut(const AttributeMap& attributes) { return pass.ProcessDelShortcut(attributes, tree.Root()); }

    test::TempTree tree;
};

TEST_F(FileChecksTest, FileThatIsThereIsAHit)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    EXPECT_TRUE(File({{L"name", file}}));
    EXPECT_TRUE(File({{L"path", L""}, {L"name", file}}));
    EXPECT_TRUE(File({{L"path", L"app_path"}, {L"name", L"a.txt"}}));
    EXPECT_TRUE(File({{L"path", L"app_path"}, {L"name", L"x\\..\\a.txt"}}));
    EXPECT_TRUE(test::Exists(file));
}

TEST_F(FileChecksTest, FileThatIsNotThereIsAMiss)
{
    EXPECT_FALSE(File({{L"name", tree.Path(L"a.txt")}}));
    EXPECT_FALSE(File({{L"path", L"app_path"}, {L"name", L"a.txt"}}));
}

TEST_F(FileChecksTest, MarkerIsNoPartOfTheNameBelowAKeyword)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    EXPECT_TRUE(File({{L"path", L"app_path"}, {L"name", L"#####a.txt"}}));
    EXPECT_FALSE(File({{L"name", L"#####" + file}}));
}

TEST_F(FileChecksTest, EmptyNameAloneIsTheRootOfTheDriveAndAHit)
{
    EXPECT_TRUE(File({{L"name", L""}}));
    EXPECT_FALSE(Folder({{L"name", L""}})) << "a removal would take all of the drive";
}

TEST_F(FileChecksTest, FileWithoutANameIsLogged)
{
    EXPECT_FALSE(File({{L"path", L"app_path"}}));
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::ProcessDelFile", L"no name"));
}

TEST_F(FileChecksTest, FileInAnUnknownFolderIsLogged)
{
    EXPECT_FALSE(File({{L"path", L"no_such"}, {L"name", L"a"}}));
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::ProcessDelFile", L"failed get path for \"no_such\""));
}

TEST_F(FileChecksTest, FolderThatIsThereIsAHit)
{
    const std::wstring folder = tree.AddFolder(L"bin");
    EXPECT_TRUE(Folder({{L"name", folder}}));
    EXPECT_TRUE(Folder({{L"path", L"app_path"}, {L"name", L"bin"}}));
    EXPECT_TRUE(Folder({{L"path", L"app_path"}}));
}

TEST_F(FileChecksTest, FolderThatIsNotThereIsAMiss)
{
    EXPECT_FALSE(Folder({{L"name", tree.Path(L"bin")}}));
    EXPECT_TRUE(log.Count(LogError, "CProductInstalled::ProcessDelFolder", L"no name, no path") == 0);
}

TEST_F(FileChecksTest, FolderThatNothingNamesIsLogged)
{
    EXPECT_FALSE(Folder({}));
    EXPECT_FALSE(Folder({{L"path", L""}}));
    EXPECT_EQ(2, log.Count(LogError, "CProductInstalled::ProcessDelFolder", L"no name, no path"));
}

TEST_F(FileChecksTest, FolderInAnUnknownFolderIsLogged)
{
    EXPECT_FALSE(Folder({{L"path", L"no_such"}}));
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::ProcessDelFolder", L"failed get path for \"no_such\""));
}

TEST_F(FileChecksTest, ShortcutNamedByItselfIsAHitWhateverItPointsAt)
{
    tree.AddFile(L"links\\a.lnk");
    EXPECT_TRUE(Shortcut({{L"path", tree.Path(L"links\\a.lnk")}, {L"target_name", L"other.exe"}}));
    EXPECT_FALSE(Shortcut({{L"path", tree.Path(L"links\\b.lnk")}, {L"target_name", L"other.exe"}}));
}

TEST_F(FileChecksTest, FolderWithoutAMatchingShortcutIsAHit)
{
    tree.AddFolder(L"links");
    EXPECT_TRUE(Shortcut({{L"rel_shortcut", L"app_path"}, {L"path", L"links"}, {L"target_name", L"no such.exe"}}));
    EXPECT_FALSE(Shortcut({{L"rel_shortcut", L"app_path"}, {L"path", L"gone"}, {L"target_name", L"no such.exe"}}));
}

TEST_F(FileChecksTest, ShortcutWithoutATargetIsAMissEvenInAFolderThatIsThere)
{
    EXPECT_FALSE(Shortcut({{L"path", tree.Root()}}));
    EXPECT_FALSE(Shortcut({{L"path", tree.Root()}, {L"rel_target", L"app_path"}}));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(FileChecksTest, FaultsOfShortcutsAreLogged)
{
    const char* function = "CProductInstalled::ProcessDelShortcut";
    EXPECT_FALSE(Shortcut({{L"target_name", L"a"}}));
    EXPECT_TRUE(log.Has(LogError, function, L"no path"));
    EXPECT_FALSE(Shortcut({{L"path", L"a"}, {L"target_name", L"a"}, {L"rel_shortcut", L"no_such"}}));
    EXPECT_TRUE(log.Has(LogError, function, L"failed get path for \"no_such\""));
    EXPECT_FALSE(Shortcut({{L"path", L"a"}, {L"target_name", L"a"}, {L"rel_target", L""}}));
    EXPECT_TRUE(log.Has(LogError, function, L"failed get path for \"\""));
}

class RegistryChecksTest : public ChecksTest
{
protected:
    bool Key(const AttributeMap& attributes) { return pass.ProcessDelRegKey(attributes, L"C:\\App"); }
    bool Value(const AttributeMap& attributes) { return pass.ProcessDelRegVal(attributes, L"C:\\App"); }

    test::RegistrySandbox box;
};

TEST_F(RegistryChecksTest, KeyThatIsThereIsAHit)
{
    box.AddKey(L"a");
    EXPECT_TRUE(Key({{L"name", box.Path(L"a")}}));
    EXPECT_TRUE(Key({{L"name", box.Path(L"a")}, {L"x32view", L"true"}}));
    EXPECT_FALSE(Key({{L"name", box.Path(L"b")}}));
    EXPECT_FALSE(Key({{L"name", L"no hive"}}));
}

TEST_F(RegistryChecksTest, SearchFindsNoMoreThanThatTheKeyIsThere)
{
    box.AddText(L"a", L"value", L"other");
    EXPECT_TRUE(Key({{L"name", box.Path(L"a")}, {L"data_str", L"text;"}}));
    EXPECT_FALSE(Key({{L"name", box.Path(L"b")}, {L"data_str", L"text;"}}));
}

// A match shows in that the search ends before it comes to the subkey.
class SearchReadingTest : public RegistryChecksTest
{
protected:
    bool Matches(const AttributeMap& more)
    {
        box.AddText(L"a", L"value", L"some text");
        box.AddKey(L"a\\below");
        log.Clear();
        AttributeMap attributes{{L"name", box.Path(L"a")}};
        attributes.insert(more.begin(), more.end());
        EXPECT_TRUE(Key(attributes));
        return log.Count(LogTrace, "CRegKeyHelper::CheckKeySearch", L"\"" + box.Subkey(L"a\\below") + L"\"") == 0;
    }
};

TEST_F(SearchReadingTest, TextBehindTheLastSemicolonIsDropped)
{
    EXPECT_TRUE(Matches({{L"data_str", L"text;"}}));
    EXPECT_TRUE(Matches({{L"data_str", L"text;other"}}));
    EXPECT_FALSE(Matches({{L"data_str", L"other;text"}}));
    EXPECT_FALSE(Matches({{L"data_str", L"text"}}));
    EXPECT_FALSE(Matches({{L"data_str", L""}}));
}

TEST_F(SearchReadingTest, CompleteMatchIsAskedForInOneSpelling)
{
    EXPECT_FALSE(Matches({{L"data_str", L"text;"}, {L"complete_str", L"yes"}}));
    EXPECT_TRUE(Matches({{L"data_str", L"some text;"}, {L"complete_str", L"yes"}}));
    EXPECT_TRUE(Matches({{L"data_str", L"text;"}, {L"complete_str", L"YES"}}));
}

TEST_F(RegistryChecksTest, KeyWithoutANameIsLogged)
{
    EXPECT_FALSE(Key({{L"data_str", L"a"}}));
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::ProcessDelRegKey", L"failed no name"));
}

TEST_F(RegistryChecksTest, ValueThatIsThereIsAHit)
{
    box.AddText(L"", L"value", L"x");
    EXPECT_TRUE(Value({{L"key_path", box.Path()}, {L"name", L"value"}}));
    EXPECT_TRUE(Value({{L"key_path", box.Path()}, {L"name", L"val*"}, {L"x32view", L"1"}}));
    EXPECT_FALSE(Value({{L"key_path", box.Path()}, {L"name", L"other"}}));
    // Not there, by another result than the plain name's.
    EXPECT_FALSE(Value({{L"key_path", box.Path()}, {L"name", L"oth*"}}));
    EXPECT_FALSE(Value({{L"key_path", box.Path(L"b")}, {L"name", L"value"}}));
}

TEST_F(RegistryChecksTest, ValueNamedByAPathIsCanonicalised)
{
    box.AddText(L"", L"C:\\App\\a.dll", L"1");
    EXPECT_TRUE(Value({{L"key_path", box.Path()}, {L"name", L"x\\..\\a.dll"}, {L"rel_name", L"app_path"}}));
}

TEST_F(RegistryChecksTest, FaultsOfValuesAreLogged)
{
    const char* function = "CProductInstalled::ProcessDelRegVal";
    EXPECT_FALSE(Value({{L"key_path", L"k"}}));
    EXPECT_EQ(1, log.Count(LogError, function, L"no key value name"));
    EXPECT_EQ(0, log.Count(LogError, function, L"no key path"));
    EXPECT_FALSE(Value({{L"name", L"a"}}));
    EXPECT_EQ(1, log.Count(LogError, function, L"no key path"));
    EXPECT_FALSE(Value({{L"key_path", L"k"}, {L"name", L"a"}, {L"rel_name", L"no_such"}}));
    EXPECT_TRUE(log.Has(LogError, function, L"unknow special folder \"no_such\""));
}

TEST_F(RegistryChecksTest, MissingNameIsLoggedBeforeMissingKeyPath)
{
    EXPECT_FALSE(Value({}));
    ASSERT_EQ(2u, log.Records().size());
    EXPECT_EQ(L"no key value name", log.Records()[0].text);
    EXPECT_EQ(L"no key path", log.Records()[1].text);
}

// In a 32-bit process, where the registry has two views; the sandbox lies in one of them.
class ViewChecksTest : public ChecksTest
{
protected:
    ViewChecksTest() { box.AddText(L"a", L"value", L"text"); }
    [[nodiscard]] std::wstring Path() const { return L"HKLM\\" + box.Subkey(L"a"); }

    const test::RegistrySandbox box{HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY};
    const test::Wow64Mode wow64;
};

TEST_F(ViewChecksTest, KeyIsLookedForInItsView)
{
    EXPECT_TRUE(pass.ProcessDelRegKey({{L"name", Path()}, {L"x32view", L"1"}}, L""));
    EXPECT_FALSE(pass.ProcessDelRegKey({{L"name", Path()}}, L""));
}

TEST_F(ViewChecksTest, SearchLooksIntoItsView)
{
    EXPECT_TRUE(pass.ProcessDelRegKey({{L"name", Path()}, {L"data_str", L"text;"}, {L"x32view", L"1"}}, L""));
    EXPECT_FALSE(pass.ProcessDelRegKey({{L"name", Path()}, {L"data_str", L"text;"}}, L""));
}

TEST_F(ViewChecksTest, ValueIsLookedForInItsView)
{
    EXPECT_TRUE(pass.ProcessDelRegVal({{L"key_path", Path()}, {L"name", L"value"}, {L"x32view", L"1"}}, L""));
    EXPECT_FALSE(pass.ProcessDelRegVal({{L"key_path", Path()}, {L"name", L"value"}}, L""));
}

TEST_F(ChecksTest, ServiceThatExistsIsAHitThoughItDoesNotRun)
{
    const test::RegisteredService service(L"stops");
    EXPECT_TRUE(pass.ProcessDisableDriver({{L"name", service.Name()}}, L""));
    EXPECT_TRUE(pass.ProcessDisableService({{L"name", service.Name()}}, L""));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_DEMAND_START), service.StartType());
}

TEST_F(ChecksTest, ServiceThatDoesNotExistIsAMiss)
{
    EXPECT_FALSE(pass.ProcessDisableDriver({{L"name", L"prodsweep-no-such"}}, L""));
    EXPECT_FALSE(pass.ProcessDisableService({{L"name", L"prodsweep-no-such"}}, L""));
}

TEST_F(ChecksTest, ServiceWithoutANameIsLogged)
{
    EXPECT_FALSE(pass.ProcessDisableService({{L"Name", L"a"}}, L""));
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::ProcessDisableDriver", L"no driver name"));
}

} // namespace
} // namespace prodsweep
