#include "interpreter/product_check_use.h"

#include "environment/log.h"
#include "environment/path.h"
#include "interpreter/check_list.h"
#include "support/com_scope.h"
#include "support/descriptor_file.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/registry_sandbox.h"
#include "support/shortcut_maker.h"
#include "support/system_answers.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::Narrow;
using test::OneVersion;

class CheckUseTest : public testing::Test
{
protected:
    // What a descriptor uses whose one section has these entries.
    static CProductCheckUse Use(const std::string& opCode, const std::string& entries)
    {
        const test::DescriptorFile descriptor(OneVersion("<s op_code='" + opCode + "'>" + entries + "</s>"));
        return CProductCheckUse(descriptor.Path());
    }
    [[nodiscard]] bool Failed(const std::string& function, const std::wstring& text) const
    {
        return log.Has(LogError, "CProductCheckUse::" + function, text) &&
               log.Has(LogError, "CProductConfig::ProcessSection", L"ExecOperation failed");
    }

    test::ComScope com;
    test::LogRecorder log;
};

class FileUseTest : public CheckUseTest
{
protected:
    [[nodiscard]] std::string Name(const std::wstring& relative) const
    {
        return "<e name='" + Narrow(tree.Path(relative)) + "'/>";
    }

    test::TempTree tree;
};

TEST_F(FileUseTest, NamedFileIsUsedWhetherItIsThereOrNot)
{
    const CProductCheckUse use = Use("del_file", Name(L"a.txt"));
    EXPECT_TRUE(use.IsFileUsed(tree.Path(L"a.txt").c_str()));
    EXPECT_FALSE(use.IsFolderUsed(tree.Path(L"a.txt").c_str()));
}

TEST_F(FileUseTest, WholeTextsAreComparedByCharacter)
{
    const CProductCheckUse use = Use("del_file", Name(L"a.txt"));
    for (const wchar_t* other : {L"A.txt", L"a.txt2", L"a.tx", L"a.txt\\b", L""})
        EXPECT_FALSE(use.IsFileUsed(tree.Path(other).c_str())) << std::wstring(other);
    EXPECT_FALSE(use.IsFileUsed(L""));
}

// The lists are put in order and made unique; nothing may get lost on the way.
TEST_F(FileUseTest, FilesNamedInAnyOrderAndTwiceAreAllUsed)
{
    for (const WideStringList& names : {WideStringList{L"A.txt", L"a.txt", L"aa.txt", L"b", L"ba"},
                                        WideStringList{L"b", L"a.txt", L"ba", L"", L"A.txt", L"b", L"a.txt"}})
    {
        std::string entries;
        for (const std::wstring& name : names)
            entries += Name(name);
        const CProductCheckUse use = Use("del_file", entries);
        for (const std::wstring& name : names)
            EXPECT_TRUE(use.IsFileUsed(tree.Path(name).c_str())) << Narrow(name);
        EXPECT_FALSE(use.IsFileUsed(tree.Path(L"c").c_str()));
    }
}

TEST_F(FileUseTest, MarkedFileIsUsedLikeAnyOther)
{
    const CProductCheckUse use = Use("del_file", "<e path='program_files' name='#####App\\x\\..\\a.txt'/>");
    EXPECT_TRUE(use.IsFileUsed(L"C:\\Program Files\\App\\a.txt"));
    EXPECT_FALSE(use.IsFileUsed(L"C:\\Program Files\\#####App\\a.txt"));
}

TEST_F(FileUseTest, TreeOfAFolderIsUsedAsItLiesOnTheDisk)
{
    tree.AddFile(L"app\\a.txt");
    tree.AddFile(L"app\\bin\\b.txt");
    tree.AddFile(L"other.txt");
    const CProductCheckUse use = Use("del_folder", Name(L"app"));
    EXPECT_TRUE(use.IsFolderUsed(tree.Path(L"app").c_str()));
    EXPECT_TRUE(use.IsFolderUsed(tree.Path(L"app\\bin").c_str()));
    EXPECT_TRUE(use.IsFileUsed(tree.Path(L"app\\a.txt").c_str()));
    EXPECT_TRUE(use.IsFileUsed(tree.Path(L"app\\bin\\b.txt").c_str()));
    EXPECT_FALSE(use.IsFolderUsed(tree.Root().c_str()));
    EXPECT_FALSE(use.IsFileUsed(tree.Path(L"other.txt").c_str()));
    EXPECT_FALSE(use.IsFileUsed(tree.Path(L"app\\A.txt").c_str()));
    EXPECT_TRUE(tree.CanariesIntact());
}

TEST_F(FileUseTest, FileMadeAfterTheWalkIsNotUsed)
{
    tree.AddFolder(L"app");
    const CProductCheckUse use = Use("del_folder", Name(L"app"));
    const std::wstring later = tree.AddFile(L"app\\later.txt");
    EXPECT_FALSE(use.IsFileUsed(later.c_str()));
}

TEST_F(FileUseTest, FolderThatIsNotThereIsNoFailure)
{
    Use("del_folder", Name(L"gone"));
    EXPECT_EQ(0, log.Count(LogError, "CProductConfig::ProcessSection", L"ExecOperation failed"));
}

TEST_F(FileUseTest, ShortcutNamedByItselfIsAUsedFile)
{
    const std::wstring link = tree.AddFile(L"a.lnk");
    const CProductCheckUse use = Use("del_shortcut", "<e path='" + Narrow(link) + "' target_name='x.exe'/>");
    EXPECT_TRUE(use.IsFileUsed(link.c_str()));
}

class ShortcutUseTest : public FileUseTest
{
protected:
    // Links to two programs of one name in different folders, and to another one.
    ShortcutUseTest()
    {
        test::MakeShortcut(tree.AddFolder(L"links") + L"\\app.lnk", tree.AddFile(L"app\\a.exe"));
        test::MakeShortcut(tree.AddFolder(L"links\\sub") + L"\\other.lnk", tree.AddFile(L"other\\a.exe"));
        test::MakeShortcut(tree.Path(L"links\\b.lnk"), tree.AddFile(L"app\\b.exe"));
    }

    // Which of the three are in use.
    std::vector<bool> Used(AttributeMap attributes)
    {
        CProductCheckUse use = Use("del_shortcut", "");
        attributes.emplace(L"path", L"links");
        attributes.emplace(L"rel_shortcut", L"app_path");
        EXPECT_TRUE(use.ProcessDelShortcut(attributes, tree.Root()));
        return {use.IsFileUsed(tree.Path(L"links\\app.lnk").c_str()),
                use.IsFileUsed(tree.Path(L"links\\sub\\other.lnk").c_str()),
                use.IsFileUsed(tree.Path(L"links\\b.lnk").c_str())};
    }
};

TEST_F(ShortcutUseTest, BareTargetMeansEveryProgramOfThatName)
{
    EXPECT_EQ((std::vector{true, true, false}), Used({{L"target_name", L"A.exe"}}));
}

TEST_F(ShortcutUseTest, TargetBelowAFolderMeansThatOneProgram)
{
    EXPECT_EQ((std::vector{true, false, false}), Used({{L"target_name", L"app\\a.exe"}, {L"rel_target", L"app_path"}}));
}

TEST_F(FileUseTest, ShortcutWithoutATargetProtectsNothing)
{
    const std::wstring link = tree.AddFile(L"a.lnk");
    const CProductCheckUse use = Use("del_shortcut", "<e path='" + Narrow(link) + "'/>");
    EXPECT_FALSE(use.IsFileUsed(link.c_str()));
}

TEST_F(CheckUseTest, FaultsOfFilesAreLogged)
{
    Use("del_file", "<e path='app_path'/><e path='no_such' name='a'/>");
    EXPECT_TRUE(Failed("ProcessDelFile", L"no name"));
    EXPECT_TRUE(Failed("ProcessDelFile", L"failed get path for \"no_such\""));
}

TEST_F(CheckUseTest, FaultsOfFoldersAreLogged)
{
    Use("del_folder", "<e/><e path='no_such'/>");
    EXPECT_TRUE(Failed("ProcessDelFolder", L"no name, no path"));
    EXPECT_TRUE(Failed("ProcessDelFolder", L"failed get path for \"no_such\""));
}

TEST_F(CheckUseTest, FaultsOfShortcutsAreLogged)
{
    Use("del_shortcut", "<e target_name='a'/><e path='a' target_name='a' rel_target='no_such'/>");
    EXPECT_TRUE(Failed("ProcessDelShortcut", L"no path"));
    EXPECT_TRUE(Failed("ProcessDelShortcut", L"failed get path for \"no_such\""));
}

class RegistryUseTest : public CheckUseTest
{
protected:
    // The sandbox with the short name of its hive, as descriptors write it.
    [[nodiscard]] std::wstring Short(const std::wstring& relative) const { return L"HKCU\\" + box.Subkey(relative); }
    [[nodiscard]] std::string Name(const std::wstring& relative, const std::string& more = {}) const
    {
        return "<e name='" + Narrow(Short(relative)) + "' " + more + "/>";
    }
    [[nodiscard]] std::string Value(const std::string& name, const std::string& more = {}) const
    {
        return "<e key_path='" + Narrow(Short(L"app")) + "' name='" + name + "' " + more + "/>";
    }

    test::RegistrySandbox box;
};

TEST_F(RegistryUseTest, KeyIsUsedWithAllBelowIt)
{
    box.AddText(L"app", L"value", L"x");
    box.AddText(L"app\\sub", L"deep", L"x");
    const CProductCheckUse use = Use("del_regkey", Name(L"app"));
    // The key itself as the descriptor spells it, all below with the long name of the hive.
    EXPECT_TRUE(use.IsRegKeyUsed(Short(L"app").c_str(), false));
    EXPECT_TRUE(use.IsRegKeyUsed(box.Path(L"app\\sub").c_str(), false));
    EXPECT_TRUE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"value", false));
    EXPECT_TRUE(use.IsRegValueUsed(box.Path(L"app\\sub").c_str(), L"deep", false));
    EXPECT_FALSE(use.IsRegKeyUsed(box.Path(L"APP\\sub").c_str(), false));
    EXPECT_FALSE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"Value", false));
    EXPECT_FALSE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"", false));
    EXPECT_TRUE(box.CanariesIntact());
}

TEST_F(RegistryUseTest, ValueOfTheSameTextAsAKeyIsAnotherThing)
{
    box.AddText(L"app", L"value", L"x");
    const CProductCheckUse use = Use("del_regkey", Name(L"app"));
    EXPECT_FALSE(use.IsRegKeyUsed(box.Path(L"app\\value").c_str(), false));
}

TEST_F(RegistryUseTest, ViewsAreDifferentThings)
{
    box.AddText(L"app", L"value", L"x");
    const CProductCheckUse use = Use("del_regkey", Name(L"app", "x32view='TRUE'"));
    EXPECT_TRUE(use.IsRegKeyUsed(Short(L"app").c_str(), true));
    EXPECT_FALSE(use.IsRegKeyUsed(Short(L"app").c_str(), false));
    EXPECT_TRUE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"value", true));
    EXPECT_FALSE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"value", false));
}

TEST_F(RegistryUseTest, MissingKeyIsLoggedNoFailureAndUsed)
{
    const CProductCheckUse use = Use("del_regkey", Name(L"gone"));
    EXPECT_TRUE(log.Has(LogError, "CProductCheckUse::ProcessDelRegKey",
                        L"failed _ERROR_NOT_FOUND \"" + Short(L"gone") + L"\""));
    EXPECT_EQ(0, log.Count(LogError, "CProductConfig::ProcessSection", L"ExecOperation failed"));
    EXPECT_TRUE(use.IsRegKeyUsed(Short(L"gone").c_str(), false));
}

TEST_F(RegistryUseTest, SearchTakesTheTextBehindTheLastSemicolonToo)
{
    box.AddText(L"app\\one", L"v", L"first");
    box.AddText(L"app\\two", L"v", L"second");
    box.AddText(L"app\\three", L"v", L"third");
    const CProductCheckUse use = Use("del_regkey", Name(L"app", "data_str='first;second' x32view='1'"));
    EXPECT_TRUE(use.IsRegKeyUsed(box.Path(L"app\\one").c_str(), true));
    EXPECT_TRUE(use.IsRegKeyUsed(box.Path(L"app\\two").c_str(), true));
    EXPECT_TRUE(use.IsRegValueUsed(box.Path(L"app\\two").c_str(), L"v", true));
    EXPECT_FALSE(use.IsRegKeyUsed(box.Path(L"app\\three").c_str(), true));
    EXPECT_FALSE(use.IsRegKeyUsed(Short(L"app").c_str(), true));
}

TEST_F(RegistryUseTest, CompleteSearchIsAskedForInOneSpelling)
{
    box.AddText(L"app\\one", L"v", L"first one");
    const std::wstring key = box.Path(L"app\\one");
    EXPECT_TRUE(Use("del_regkey", Name(L"app", "data_str='first'")).IsRegKeyUsed(key.c_str(), false));
    EXPECT_FALSE(
        Use("del_regkey", Name(L"app", "data_str='first' complete_str='yes'")).IsRegKeyUsed(key.c_str(), false));
    EXPECT_TRUE(
        Use("del_regkey", Name(L"app", "data_str='first' complete_str='YES'")).IsRegKeyUsed(key.c_str(), false));
}

TEST_F(RegistryUseTest, SearchInAMissingKeyIsLogged)
{
    Use("del_regkey", Name(L"gone", "data_str='a'"));
    EXPECT_TRUE(log.Has(LogError, "CProductCheckUse::ProcessDelRegKey",
                        L"failed _ERROR_NOT_FOUND \"" + Short(L"gone") + L"\""));
}

TEST_F(RegistryUseTest, PlainValueIsUsedAloneAndWhetherItIsThereOrNot)
{
    box.AddText(L"app", L"other", L"x");
    const CProductCheckUse use = Use("del_regvalue", Value("value"));
    EXPECT_TRUE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"value", false));
    EXPECT_FALSE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"value", true));
    EXPECT_FALSE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"other", false));
    EXPECT_FALSE(use.IsRegKeyUsed(box.Path(L"app").c_str(), false));
}

TEST_F(RegistryUseTest, PatternIsUsedAsTheValuesThatMatchNow)
{
    box.AddText(L"app", L"abc1", L"x");
    box.AddText(L"app", L"abd", L"x");
    const CProductCheckUse use = Use("del_regvalue", Value("abc*"));
    EXPECT_TRUE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"abc1", false));
    EXPECT_FALSE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"abd", false));
    EXPECT_FALSE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"abc*", false));
}

TEST_F(RegistryUseTest, DefaultValueIsUsedUnderItsEmptyName)
{
    box.AddText(L"app", L"", L"x");
    EXPECT_TRUE(Use("del_regvalue", Value("")).IsRegValueUsed(box.Path(L"app").c_str(), L"", false));
    EXPECT_TRUE(Use("del_regkey", Name(L"app")).IsRegValueUsed(box.Path(L"app").c_str(), L"", false));
}

TEST_F(RegistryUseTest, ValueNamedByAPathIsCanonicalised)
{
    box.AddKey(L"app");
    const CProductCheckUse use = Use("del_regvalue", Value("x\\..\\a.dll", "rel_name='program_files'"));
    EXPECT_TRUE(use.IsRegValueUsed(box.Path(L"app").c_str(), L"C:\\Program Files\\a.dll", false));
}

TEST_F(RegistryUseTest, FailedExpansionOfAValueIsLoggedAndNoFailure)
{
    box.AddKey(L"app");
    Use("del_regvalue", Value("a*b"));
    EXPECT_TRUE(log.Has(LogError, "CProductCheckUse::ProcessDelRegVal",
                        L"failed _ERROR_FAILED \"a*b\" from \"" + Short(L"app") + L"\""));
    EXPECT_EQ(0, log.Count(LogError, "CProductConfig::ProcessSection", L"ExecOperation failed"));
}

TEST_F(CheckUseTest, FaultsOfKeysAndValuesAreLogged)
{
    Use("del_regkey", "<e data_str='a'/>");
    EXPECT_TRUE(Failed("ProcessDelRegKey", L"failed no name"));
    Use("del_regvalue", "<e/><e name='a' key_path='k' rel_name='no_such'/>");
    EXPECT_TRUE(Failed("ProcessDelRegVal", L"no key value name"));
    EXPECT_TRUE(Failed("ProcessDelRegVal", L"no key path"));
    // Without quotes, unlike the other passes.
    EXPECT_TRUE(Failed("ProcessDelRegVal", L"unknown special folder no_such"));
}

TEST_F(CheckUseTest, OneMissingAttributeOfAValueIsLoggedAlone)
{
    Use("del_regvalue", "<e key_path='k'/>");
    EXPECT_EQ(0, log.Count(LogError, "CProductCheckUse::ProcessDelRegVal", L"no key path"));
    log.Clear();
    Use("del_regvalue", "<e name='a'/>");
    EXPECT_EQ(0, log.Count(LogError, "CProductCheckUse::ProcessDelRegVal", L"no key value name"));
    EXPECT_TRUE(Failed("ProcessDelRegVal", L"no key path"));
}

TEST_F(CheckUseTest, ToolsAreComparedInAnyCaseAndWithAnyBlanks)
{
    const CProductCheckUse use = Use("exec_tool", "<e tool_name='C:\\App Dir\\tool.exe' cmd_line='/s/q'/>");
    EXPECT_TRUE(use.IsToolUsed(L"C:\\APP Dir\\Tool.EXE", L" /S  /Q "));
    EXPECT_FALSE(use.IsToolUsed(L"C:\\AppDir\\tool.exe", L"/s/q"));
    EXPECT_FALSE(use.IsToolUsed(L"C:\\App Dir\\tool.exe", L"/s"));
    EXPECT_FALSE(use.IsToolUsed(L"C:\\App Dir\\tool.exe", L""));
    // Only blanks are taken out.
    EXPECT_FALSE(use.IsToolUsed(L"C:\\App Dir\\tool.exe", L"/s\t/q"));
}

TEST_F(CheckUseTest, ToolOfTheDescriptorIsNormalisedToo)
{
    const CProductCheckUse use = Use("exec_tool", "<e tool_name='C:\\APP\\TOOL.EXE' cmd_line=' /S  /Q'/>");
    EXPECT_TRUE(use.IsToolUsed(L"c:\\app\\tool.exe", L"/s/q"));
}

TEST_F(CheckUseTest, ToolWithoutACommandLineMatchesAnEmptyOne)
{
    const CProductCheckUse use = Use("exec_tool", "<e tool_name='C:\\a.exe'/>");
    EXPECT_TRUE(use.IsToolUsed(L"C:\\a.exe", L""));
    EXPECT_TRUE(use.IsToolUsed(L"C:\\a.exe", L"  "));
}

TEST_F(CheckUseTest, ToolForTheOtherSystemIsUsedToo)
{
    const CProductCheckUse use =
        Use("exec_tool", "<e tool_name='C:\\a.exe' os='x32'/><e tool_name='C:\\b.exe' os='x64' wait='yes'/>");
    EXPECT_TRUE(use.IsToolUsed(L"C:\\a.exe", L""));
    EXPECT_TRUE(use.IsToolUsed(L"C:\\b.exe", L""));
}

TEST_F(CheckUseTest, RelativeToolBeginsAtTheLibrary)
{
    std::wstring folder;
    ASSERT_TRUE(CPath::GetCurrentPath(folder));
    EXPECT_TRUE(Use("exec_tool", "<e tool_name='a.exe'/>").IsToolUsed((folder + L"a.exe").c_str(), L""));
}

TEST_F(CheckUseTest, ModuleAndMethodAreUsedInPlaceOfToolAndCommandLine)
{
    const CProductCheckUse use =
        Use("exec_tool", "<e path='program_files' module='App\\M.dll' method_name='Do It' tool_name='C:\\t.exe'/>");
    EXPECT_TRUE(use.IsToolUsed(L"c:\\program files\\app\\m.dll", L"doit"));
    EXPECT_FALSE(use.IsToolUsed(L"C:\\t.exe", L""));
}

TEST_F(CheckUseTest, EmptyModuleLeavesASeparatorBehindItsFolder)
{
    const CProductCheckUse use = Use("exec_tool", "<e path='program_files' module='' method_name='a'/>");
    EXPECT_TRUE(use.IsToolUsed(L"C:\\Program Files\\", L"a"));
    EXPECT_FALSE(use.IsToolUsed(L"C:\\Program Files", L"a"));
}

TEST_F(CheckUseTest, ToolsOfAnUnknownLibraryFolderAreNotNoted)
{
    const test::ImportPatch patch(nullptr, "GetModuleFileNameW", test::FailToNameTheModule);
    const CProductCheckUse use = Use("exec_tool", "<e tool_name='a.exe'/><e module='a.dll' method_name='m'/>");
    EXPECT_EQ(2, log.Count(LogError, "CProductConfig::ProcessSection", L"ExecOperation failed"));
    EXPECT_FALSE(use.IsToolUsed(L"a.exe", L""));
}

TEST_F(CheckUseTest, FaultsOfToolsAreLogged)
{
    Use("exec_tool", "<e path='no_such' tool_name='a'/>");
    EXPECT_TRUE(Failed("ProcessExecTool", L"unknown special folder \"no_such\""));
    Use("exec_tool", "<e module='a'/><e module='a' method_name='b' path='no_such'/>");
    EXPECT_TRUE(Failed("ProcessExecDllMethod", L"method_name attributte is missing"));
    EXPECT_TRUE(Failed("ProcessExecDllMethod", L"unknown special folder \"no_such\""));
}

TEST_F(CheckUseTest, MethodWithoutAModuleIsLogged)
{
    CProductCheckUse use = Use("exec_tool", "");
    EXPECT_FALSE(use.ProcessExecDllMethod({{L"method_name", L"a"}}, L""));
    EXPECT_TRUE(log.Has(LogError, "CProductCheckUse::ProcessExecDllMethod", L"module attributte is missing"));
}

TEST_F(CheckUseTest, ServicesAreNotedAndNeedAName)
{
    for (const char* opCode : {"disable_driver", "disable_service"})
    {
        log.Clear();
        Use(opCode, "<e name='a'/><e/>");
        EXPECT_EQ(1, log.Count(LogError, "CProductCheckUse::ProcessDisableDriver", L"no driver name"));
        EXPECT_EQ(1, log.Count(LogError, "CProductConfig::ProcessSection", L"ExecOperation failed"));
    }
}

TEST_F(CheckUseTest, OtherOperationsNoteNothingAndSucceed)
{
    for (const char* opCode : {"kill_process", "disableandstop_driver", "disableandstop_service"})
        Use(opCode, "<e/>");
    EXPECT_EQ(0, log.Count(LogError, "CProductConfig::ProcessSection", L"ExecOperation failed"));
}

TEST_F(CheckUseTest, UnreadableDescriptorProtectsNothing)
{
    const CProductCheckUse use(L"C:\\no such\\descriptor.xml");
    EXPECT_TRUE(log.Has(LogError, "CProductCheckUse::CProductCheckUse", L"CProductConfig::Process failed"));
    EXPECT_FALSE(use.IsFileUsed(L"") || use.IsFolderUsed(L"") || use.IsRegKeyUsed(L"", false) ||
                 use.IsRegValueUsed(L"", L"", false) || use.IsToolUsed(L"", L""));
    EXPECT_EQ(L"C:\\no such\\descriptor.xml", use.DescriptorPath());
}

TEST_F(CheckUseTest, SectionThatFailsHalfWayProtectsWhatCameBefore)
{
    const CProductCheckUse use = Use("del_file", "<e name='C:\\a'/><e/><e name='C:\\b'/><!--c--><e name='C:\\c'/>");
    EXPECT_TRUE(use.IsFileUsed(L"C:\\a"));
    EXPECT_TRUE(use.IsFileUsed(L"C:\\b"));
    EXPECT_FALSE(use.IsFileUsed(L"C:\\c"));
    EXPECT_EQ(0, log.Count(LogError, "CProductCheckUse::CProductCheckUse", L"CProductConfig::Process failed"));
}

TEST_F(CheckUseTest, AllVersionsCount)
{
    const test::DescriptorFile descriptor(
        "<uninstall_information><version_list><v1/><v2/><v1/></version_list>"
        "<v1><win_nt><s op_code='del_file'><e name='C:\\b'/><e name='C:\\a'/></s></win_nt></v1>"
        "<v2><win_nt><s op_code='del_file'><e name='C:\\c'/></s></win_nt></v2></uninstall_information>");
    const CProductCheckUse use(descriptor.Path());
    for (const wchar_t* path : {L"C:\\a", L"C:\\b", L"C:\\c"})
        EXPECT_TRUE(use.IsFileUsed(path)) << path;
}

TEST_F(CheckUseTest, AppPathKeywordStandsForTheVersionsOwnFolder)
{
    const test::DescriptorFile descriptor(
        OneVersion("<s op_code='del_file'><e path='app_path' name='a'/></s>", "", "<install_folder name='App'/>"));
    EXPECT_TRUE(CProductCheckUse(descriptor.Path()).IsFileUsed(L"C:\\Program Files\\App\\a"));
}

TEST_F(CheckUseTest, CopyAnswersAlike)
{
    CheckList list;
    list.push_back(Use("del_file", "<e name='C:\\a'/>"));
    list.push_back(Use("exec_tool", "<e tool_name='C:\\b.exe'/>"));
    const CheckList copy = list;
    list.clear();
    EXPECT_TRUE(copy[0].IsFileUsed(L"C:\\a"));
    EXPECT_TRUE(copy[1].IsToolUsed(L"C:\\b.exe", L""));
    EXPECT_FALSE(copy[1].IsFileUsed(L"C:\\a"));
}

TEST_F(FileUseTest, WalkLeavesNoHandleAndChangesNothing)
{
    const std::wstring file = tree.AddFile(L"app\\a.txt");
    Use("del_folder", Name(L"app"));
    const test::HandleCount handles;
    Use("del_folder", Name(L"app"));
    EXPECT_TRUE(handles.Unchanged());
    EXPECT_TRUE(test::Exists(file));
    EXPECT_TRUE(tree.CanariesIntact());
}

} // namespace
} // namespace prodsweep
