#include "interpreter/entry_composer.h"

#include "environment/log.h"
#include "environment/path.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/system_answers.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace prodsweep {
namespace {

const std::wstring app = L"C:\\App";

struct PathCase
{
    const char* name;
    AttributeMap attributes;
    const wchar_t* path;
};

void PrintTo(const PathCase& row, std::ostream* out) { *out << row.name; }
std::string PathCaseName(const testing::TestParamInfo<PathCase>& row) { return row.param.name; }

class ComposeFileTest : public testing::TestWithParam<PathCase>
{};

TEST_P(ComposeFileTest, PathIs)
{
    const FileEntry entry = ComposeFile(GetParam().attributes, app);
    EXPECT_EQ(EntryFault::None, entry.fault);
    EXPECT_EQ(GetParam().path, entry.path);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ComposeFileTest,
    testing::Values(
        PathCase{"JoinedToItsFolder", {{L"path", L"app_path"}, {L"name", L"a.txt"}}, L"C:\\App\\a.txt"},
        PathCase{"Canonicalised", {{L"path", L"app_path"}, {L"name", L"x\\..\\.\\a.txt"}}, L"C:\\App\\a.txt"},
        PathCase{"CompleteWithoutPath", {{L"name", L"D:\\x\\..\\a.txt"}}, L"D:\\a.txt"},
        PathCase{"CompleteWithEmptyPath", {{L"path", L""}, {L"name", L"D:\\a.txt"}}, L"D:\\a.txt"},
        PathCase{"MarkerCutBelowAKeyword", {{L"path", L"app_path"}, {L"name", L"#####a.txt"}}, L"C:\\App\\a.txt"},
        PathCase{"MarkerKeptInACompletePath", {{L"name", L"#####D:\\a.txt"}}, L"#####D:\\a.txt"},
        PathCase{"OnlyFiveCharactersCut", {{L"path", L"app_path"}, {L"name", L"######a"}}, L"C:\\App\\#a"},
        PathCase{"FourCharactersAreNoMarker", {{L"path", L"app_path"}, {L"name", L"####a"}}, L"C:\\App\\####a"},
        PathCase{"MarkerInTheMiddleIsNone", {{L"path", L"app_path"}, {L"name", L"a#####b"}}, L"C:\\App\\a#####b"},
        PathCase{"EmptyNameGivesTheFolder", {{L"path", L"app_path"}, {L"name", L""}}, L"C:\\App\\"},
        PathCase{"EmptyNameAloneGivesTheRootOfTheDrive", {{L"name", L""}}, L"\\"}),
    PathCaseName);

TEST(ComposeFileTest, MarkerIsReportedBelowAKeywordOnly)
{
    EXPECT_TRUE(ComposeFile({{L"path", L"app_path"}, {L"name", L"#####a"}}, app).marked);
    EXPECT_FALSE(ComposeFile({{L"path", L"app_path"}, {L"name", L"a"}}, app).marked);
    EXPECT_FALSE(ComposeFile({{L"name", L"#####a"}}, app).marked);
    EXPECT_FALSE(ComposeFile({{L"path", L""}, {L"name", L"#####a"}}, app).marked);
}

TEST(ComposeFileTest, MissingNameIsAFault)
{
    EXPECT_EQ(EntryFault::NoName, ComposeFile({{L"path", L"app_path"}}, app).fault);
    EXPECT_EQ(EntryFault::NoName, ComposeFile({{L"NAME", L"a"}}, app).fault);
}

TEST(ComposeFileTest, UnknownFolderIsNamed)
{
    const FileEntry entry = ComposeFile({{L"path", L"no_such"}, {L"name", L"a"}}, app);
    EXPECT_EQ(EntryFault::UnknownFolder, entry.fault);
    EXPECT_EQ(L"no_such", entry.keyword);
}

TEST(ComposeFileTest, TextTooLongToCanonicaliseStaysAsItIs)
{
    const std::wstring name = L"D:\\x\\..\\" + std::wstring(300, L'a');
    EXPECT_EQ(name, ComposeFile({{L"name", name}}, app).path);
}

class ComposeFolderTest : public testing::TestWithParam<PathCase>
{};

TEST_P(ComposeFolderTest, PathIs)
{
    const FolderEntry entry = ComposeFolder(GetParam().attributes, app);
    EXPECT_EQ(EntryFault::None, entry.fault);
    EXPECT_EQ(GetParam().path, entry.path);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ComposeFolderTest,
    testing::Values(PathCase{"JoinedToItsFolder", {{L"path", L"app_path"}, {L"name", L"bin"}}, L"C:\\App\\bin"},
                    PathCase{"Canonicalised", {{L"path", L"app_path"}, {L"name", L"bin\\..\\lib"}}, L"C:\\App\\lib"},
                    PathCase{"CompleteWithoutPath", {{L"name", L"D:\\bin"}}, L"D:\\bin"},
                    PathCase{"CompleteWithEmptyPath", {{L"path", L""}, {L"name", L"D:\\bin"}}, L"D:\\bin"},
                    PathCase{"KeywordAloneIsTheFolderItself", {{L"path", L"app_path"}}, L"C:\\App"},
                    PathCase{"MarkerMeansNothing", {{L"path", L"app_path"}, {L"name", L"#####a"}}, L"C:\\App\\#####a"}),
    PathCaseName);

TEST(ComposeFolderTest, NothingToNameTheFolderIsAFault)
{
    EXPECT_EQ(EntryFault::NoNameNoPath, ComposeFolder({}, app).fault);
    // An empty text would canonicalise to the root of the current drive.
    EXPECT_EQ(EntryFault::NoNameNoPath, ComposeFolder({{L"path", L""}}, app).fault);
    EXPECT_EQ(EntryFault::NoNameNoPath, ComposeFolder({{L"name", L""}}, app).fault);
}

TEST(ComposeFolderTest, UnknownFolderIsNamed)
{
    const FolderEntry entry = ComposeFolder({{L"path", L"no_such"}}, app);
    EXPECT_EQ(EntryFault::UnknownFolder, entry.fault);
    EXPECT_EQ(L"no_such", entry.keyword);
}

TEST(ComposeFolderTest, AppPathKeywordNeedsAnAppPath)
{
    EXPECT_EQ(EntryFault::UnknownFolder, ComposeFolder({{L"path", L"app_path"}}, L"").fault);
}

TEST(ComposeShortcutTest, BothTextsStandAsTheyAre)
{
    const ShortcutEntry entry = ComposeShortcut({{L"path", L"D:\\x\\..\\links"}, {L"target_name", L"a.exe"}}, app);
    EXPECT_EQ(EntryFault::None, entry.fault);
    EXPECT_EQ(L"D:\\x\\..\\links", entry.shortcut);
    EXPECT_EQ(L"a.exe", entry.target);
    EXPECT_FALSE(entry.targetIsPath);
}

TEST(ComposeShortcutTest, BothAreJoinedToTheirFoldersAndNotCanonicalised)
{
    const ShortcutEntry entry = ComposeShortcut({{L"path", L"..\\links"},
                                                 {L"rel_shortcut", L"app_path"},
                                                 {L"target_name", L".\\a.exe"},
                                                 {L"rel_target", L"app_path"}},
                                                app);
    EXPECT_EQ(L"C:\\App\\..\\links", entry.shortcut);
    EXPECT_EQ(L"C:\\App\\.\\a.exe", entry.target);
    EXPECT_TRUE(entry.targetIsPath);
}

TEST(ComposeShortcutTest, EmptyRelShortcutIsNoneButEmptyRelTargetIsUnknown)
{
    const AttributeMap base{{L"path", L"D:\\links"}, {L"target_name", L"a.exe"}};
    AttributeMap relShortcut = base;
    relShortcut.emplace(L"rel_shortcut", L"");
    EXPECT_EQ(L"D:\\links", ComposeShortcut(relShortcut, app).shortcut);
    AttributeMap relTarget = base;
    relTarget.emplace(L"rel_target", L"");
    const ShortcutEntry entry = ComposeShortcut(relTarget, app);
    EXPECT_EQ(EntryFault::UnknownFolder, entry.fault);
    EXPECT_EQ(L"", entry.keyword);
}

TEST(ComposeShortcutTest, FaultsComeInTheOrderOfThePieces)
{
    AttributeMap attributes{{L"rel_shortcut", L"one"}, {L"rel_target", L"two"}};
    EXPECT_EQ(EntryFault::NoPath, ComposeShortcut(attributes, app).fault);
    attributes.emplace(L"path", L"links");
    EXPECT_EQ(L"one", ComposeShortcut(attributes, app).keyword);
    attributes[L"rel_shortcut"] = L"app_path";
    EXPECT_EQ(L"two", ComposeShortcut(attributes, app).keyword);
    attributes[L"rel_target"] = L"app_path";
    EXPECT_EQ(EntryFault::NoTarget, ComposeShortcut(attributes, app).fault);
    attributes.emplace(L"target_name", L"a.exe");
    EXPECT_EQ(EntryFault::None, ComposeShortcut(attributes, app).fault);
}

struct SplitCase
{
    const wchar_t* text;
    WideStringList terminated;
    WideStringList separated;
};

TEST(SplitDataStrTest, BothReadings)
{
    const SplitCase rows[] = {
        {L"", {}, {L""}},
        {L"a", {}, {L"a"}},
        {L"a;", {L"a"}, {L"a", L""}},
        {L"a;b", {L"a"}, {L"a", L"b"}},
        {L"a;b;", {L"a", L"b"}, {L"a", L"b", L""}},
        {L";", {L""}, {L"", L""}},
        {L";;", {L"", L""}, {L"", L"", L""}},
        {L"a;;b", {L"a", L""}, {L"a", L"", L"b"}},
        {L" a ; b ;", {L" a ", L" b "}, {L" a ", L" b ", L""}},
    };
    for (const SplitCase& row : rows)
    {
        EXPECT_EQ(row.terminated, SplitDataStr(row.text, DataStrReading::Terminator)) << std::wstring(row.text);
        EXPECT_EQ(row.separated, SplitDataStr(row.text, DataStrReading::Separator)) << std::wstring(row.text);
    }
}

RegKeyEntry Key(const AttributeMap& attributes) { return ComposeRegKey(attributes, DataStrReading::Separator); }

TEST(ComposeRegKeyTest, KeyIsTakenAsWritten)
{
    const RegKeyEntry entry = Key({{L"name", L"HKLM\\Software\\.\\x"}});
    EXPECT_EQ(EntryFault::None, entry.fault);
    EXPECT_EQ(L"HKLM\\Software\\.\\x", entry.key);
    EXPECT_FALSE(entry.search);
    EXPECT_EQ(EntryFault::NoName, Key({{L"data_str", L"a"}}).fault);
}

TEST(ComposeRegKeyTest, OneAndTrueInAnyCaseSelectTheOtherView)
{
    for (const wchar_t* text : {L"1", L"true", L"TRUE", L"True"})
        EXPECT_TRUE(Key({{L"name", L"k"}, {L"x32view", text}}).x32view) << std::wstring(text);
    for (const wchar_t* text : {L"", L"0", L"yes", L"11", L"true ", L"false"})
        EXPECT_FALSE(Key({{L"name", L"k"}, {L"x32view", text}}).x32view) << std::wstring(text);
    EXPECT_FALSE(Key({{L"name", L"k"}}).x32view);
}

TEST(ComposeRegKeyTest, PresentDataStrMakesASearchEvenIfEmpty)
{
    const RegKeyEntry entry = Key({{L"name", L"k"}, {L"data_str", L""}});
    EXPECT_TRUE(entry.search);
    EXPECT_EQ(WideStringList{L""}, entry.data);
    EXPECT_EQ(WideStringList{L"a"},
              ComposeRegKey({{L"name", L"k"}, {L"data_str", L"a;b"}}, DataStrReading::Terminator).data);
}

TEST(ComposeRegKeyTest, CompleteMatchIsAskedForInOneSpellingAndWithASearchOnly)
{
    EXPECT_TRUE(Key({{L"name", L"k"}, {L"data_str", L"a"}, {L"complete_str", L"yes"}}).complete);
    EXPECT_FALSE(Key({{L"name", L"k"}, {L"data_str", L"a"}, {L"complete_str", L"YES"}}).complete);
    EXPECT_FALSE(Key({{L"name", L"k"}, {L"data_str", L"a"}}).complete);
    EXPECT_FALSE(Key({{L"name", L"k"}, {L"complete_str", L"yes"}}).complete);
}

TEST(ComposeRegValueTest, NameStandsAsItIsWithoutARelName)
{
    for (const AttributeMap& more : {AttributeMap{}, AttributeMap{{L"rel_name", L""}}})
    {
        AttributeMap attributes{{L"key_path", L"HKLM\\k"}, {L"name", L"a\\..\\b"}, {L"x32view", L"1"}};
        attributes.insert(more.begin(), more.end());
        const RegValueEntry entry = ComposeRegValue(attributes, app);
        EXPECT_EQ(EntryFault::None, entry.fault);
        EXPECT_EQ(L"HKLM\\k", entry.key);
        EXPECT_EQ(L"a\\..\\b", entry.valueName);
        EXPECT_TRUE(entry.x32view);
    }
}

TEST(ComposeRegValueTest, NameBelowAFolderIsAPath)
{
    const RegValueEntry entry =
        ComposeRegValue({{L"key_path", L"k"}, {L"name", L"x\\..\\a.dll"}, {L"rel_name", L"app_path"}}, app);
    EXPECT_EQ(L"C:\\App\\a.dll", entry.valueName);
}

TEST(ComposeRegValueTest, EachMissingAttributeIsToldApart)
{
    EXPECT_EQ(EntryFault::NoName, ComposeRegValue({{L"key_path", L"k"}}, app).fault);
    EXPECT_EQ(EntryFault::NoKeyPath, ComposeRegValue({{L"name", L"a"}}, app).fault);
    EXPECT_EQ(EntryFault::NoNameNoKeyPath, ComposeRegValue({{L"rel_name", L"no_such"}}, app).fault);
    const RegValueEntry entry = ComposeRegValue({{L"key_path", L"k"}, {L"name", L"a"}, {L"rel_name", L"no_such"}}, app);
    EXPECT_EQ(EntryFault::UnknownFolder, entry.fault);
    EXPECT_EQ(L"no_such", entry.keyword);
}

std::wstring LibraryFolder()
{
    std::wstring folder;
    EXPECT_TRUE(CPath::GetCurrentPath(folder));
    return folder;
}

TEST(ComposeToolTest, ToolIsJoinedToItsFolderAndKeepsItsCommandLine)
{
    const ToolEntry entry =
        ComposeTool({{L"path", L"app_path"}, {L"tool_name", L"x\\..\\t.exe"}, {L"cmd_line", L"/S  \"a b\""}}, app);
    EXPECT_EQ(EntryFault::None, entry.fault);
    // Not canonicalised.
    EXPECT_EQ(L"C:\\App\\x\\..\\t.exe", entry.path);
    EXPECT_EQ(L"/S  \"a b\"", entry.commandLine);
    EXPECT_EQ(L"", ComposeTool({{L"tool_name", L"C:\\t.exe"}}, app).commandLine);
}

TEST(ComposeToolTest, FolderAloneAndNothingAtAllArePathsToo)
{
    EXPECT_EQ(L"C:\\App", ComposeTool({{L"path", L"app_path"}, {L"tool_name", L""}}, app).path);
    EXPECT_EQ(LibraryFolder(), ComposeTool({{L"path", L""}}, app).path);
}

TEST(ComposeToolTest, RelativePathBeginsAtTheLibrary)
{
    EXPECT_EQ(LibraryFolder() + L"bin\\t.exe", ComposeTool({{L"tool_name", L"bin\\t.exe"}}, app).path);
}

TEST(ComposeToolTest, UnknownLibraryFolderIsAFault)
{
    const test::ImportPatch patch(nullptr, "GetModuleFileNameW", test::FailToNameTheModule);
    EXPECT_EQ(EntryFault::NoLibraryFolder, ComposeTool({{L"tool_name", L"t.exe"}}, app).fault);
    EXPECT_EQ(EntryFault::None, ComposeTool({{L"tool_name", L"C:\\t.exe"}}, app).fault);
}

TEST(ComposeToolTest, EnvironmentIsExpandedUpTo260Characters)
{
    SetEnvironmentVariableW(L"PRODSWEEP_COMPOSER", std::wstring(250, L'a').c_str());
    const std::wstring text = L"C:\\%PRODSWEEP_COMPOSER%\\";
    // 254 characters, and with the five more 259: the terminator is the last that has room.
    EXPECT_EQ(L"C:\\" + std::wstring(250, L'a') + L"\\t.exe", ComposeTool({{L"tool_name", text + L"t.exe"}}, app).path);
    EXPECT_EQ(text + L"tt.exe", ComposeTool({{L"tool_name", text + L"tt.exe"}}, app).path);
    SetEnvironmentVariableW(L"PRODSWEEP_COMPOSER", nullptr);
}

TEST(ComposeToolTest, UnknownFolderIsNamed)
{
    const ToolEntry entry = ComposeTool({{L"path", L"no_such"}, {L"tool_name", L"t.exe"}}, app);
    EXPECT_EQ(EntryFault::UnknownFolder, entry.fault);
    EXPECT_EQ(L"no_such", entry.keyword);
}

ToolEntry Method(const AttributeMap& attributes) { return ComposeDllMethod(attributes, app, EmptyModule::Joined); }

TEST(ComposeDllMethodTest, ModuleAndMethodStandForToolAndCommandLine)
{
    const ToolEntry entry = Method({{L"path", L"app_path"},
                                    {L"module", L"m.dll"},
                                    {L"method_name", L"Do It"},
                                    {L"cmd_line", L"/x"},
                                    {L"tool_name", L"t.exe"}});
    EXPECT_EQ(EntryFault::None, entry.fault);
    EXPECT_EQ(L"C:\\App\\m.dll", entry.path);
    EXPECT_EQ(L"Do It", entry.commandLine);
    EXPECT_EQ(LibraryFolder() + L"m.dll", Method({{L"module", L"m.dll"}, {L"method_name", L"a"}}).path);
}

TEST(ComposeDllMethodTest, EmptyModuleAddsASeparatorOrNothing)
{
    const AttributeMap attributes{{L"path", L"app_path"}, {L"module", L""}, {L"method_name", L"a"}};
    EXPECT_EQ(L"C:\\App\\", ComposeDllMethod(attributes, app, EmptyModule::Joined).path);
    EXPECT_EQ(L"C:\\App", ComposeDllMethod(attributes, app, EmptyModule::LeftOut).path);
}

TEST(ComposeDllMethodTest, FaultsComeInTheOrderOfThePieces)
{
    AttributeMap attributes{{L"path", L"no_such"}};
    EXPECT_EQ(EntryFault::NoModule, Method(attributes).fault);
    attributes.emplace(L"module", L"m.dll");
    EXPECT_EQ(EntryFault::NoMethodName, Method(attributes).fault);
    attributes.emplace(L"method_name", L"a");
    EXPECT_EQ(EntryFault::UnknownFolder, Method(attributes).fault);
    attributes[L"path"] = L"";
    const test::ImportPatch patch(nullptr, "GetModuleFileNameW", test::FailToNameTheModule);
    EXPECT_EQ(EntryFault::NoLibraryFolder, Method(attributes).fault);
}

TEST(EntryComposerTest, FaultsAreLeftToThePassesToLog)
{
    const test::LogRecorder log;
    (void)ComposeFile({}, app);
    (void)ComposeFolder({}, app);
    (void)ComposeShortcut({}, app);
    (void)ComposeRegKey({}, DataStrReading::Separator);
    (void)ComposeRegValue({}, app);
    (void)ComposeDllMethod({}, app, EmptyModule::Joined);
    EXPECT_TRUE(log.Records().empty());
}

} // namespace
} // namespace prodsweep
