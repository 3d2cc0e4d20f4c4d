#include "explained_detection.h"

#include <gtest/gtest.h>

#include "support/com_scope.h"
#include "support/descriptor_file.h"
#include "support/temp_tree.h"
#include "text.h"

namespace prodsweep {
namespace {

using test::OneVersion;
using Decided = ExplainedSection::Decided;
using State = ExplainedSection::State;

class ExplainedDetectionTest : public testing::Test
{
protected:
    // The record of a descriptor's walk, after a check that the walk's answer is the bare pass's.
    static ExplainedDescriptor Explain(const std::string& xml)
    {
        const test::DescriptorFile descriptor(xml);
        CExplainedDetection pass(descriptor.Path());
        const bool detected = pass.Process();
        EXPECT_EQ(CProductInstalled(descriptor.Path()).Process(), detected);
        EXPECT_EQ(detected, pass.Record().detected);
        return pass.Record();
    }
    static std::vector<ExplainedSection> Sections(const std::string& sections, const std::string& attributes = {})
    {
        return Explain(OneVersion(sections, attributes, "<install_folder name='X'/>")).versions.at(0).sections;
    }
    static ExplainedEntry Entry(const std::string& opCode, const std::string& attributes)
    {
        return Sections("<s op_code='" + opCode + "'><e " + attributes + "/></s>").at(0).entries.at(0);
    }

    const test::ComScope com;
    const test::TempTree tree;
};

struct EntryRow
{
    const char* name;
    const char* opCode;
    const char* attributes;
    bool found;
    bool lookedFor;
    const char* target;
    const char* fault;
};

class ExplainedEntryTest : public ExplainedDetectionTest, public testing::WithParamInterface<EntryRow>
{};

TEST_P(ExplainedEntryTest, SaysWhatWasLookedFor)
{
    const EntryRow& row = GetParam();
    const ExplainedEntry entry = Entry(row.opCode, row.attributes);
    EXPECT_EQ(row.found, entry.found);
    EXPECT_EQ(row.lookedFor, entry.lookedFor);
    EXPECT_EQ(row.target, entry.target);
    EXPECT_EQ(row.fault, entry.fault);
}

constexpr EntryRow entryRows[] = {
    {"File", "del_file", "path='app_path' name='#####a.txt'", false, true, "C:\\Program Files\\X\\a.txt", ""},
    {"FileThatIsThere", "del_file", "path='windows_folder' name='system32'", true, true, "C:\\windows\\system32", ""},
    {"FileWithoutName", "del_file", "path='app_path'", false, false, "", "it has no name"},
    {"FileInUnknownFolder", "DEL_FILE", "path='nowhere' name='a'", false, false, "",
     "the folder \"nowhere\" is not known"},
    {"Folder", "del_folder", "path='app_path'", false, true, "C:\\Program Files\\X", ""},
    {"FolderOfNoName", "del_folder", "", false, false, "", "it has neither name nor path"},
    {"Shortcut", "del_shortcut", "path='C:\\no such' target_name='a.exe'", false, true, "C:\\no such", ""},
    {"ShortcutWithoutPath", "del_shortcut", "target_name='a.exe'", false, false, "", "it has no path"},
    {"ShortcutWithoutTarget", "del_shortcut", "path='C:\\'", false, false, "", "it has no target_name"},
    {"Key", "del_regkey", "name='HKLM\\Software'", true, true, "HKLM\\Software", ""},
    {"KeySearch", "del_regkey", "name='HKLM\\no such' data_str='a;'", false, true, "HKLM\\no such", ""},
    {"Value", "del_regvalue", "key_path='HKLM\\no such' name='v*'", false, true, "HKLM\\no such\\v*", ""},
    {"ValueWithoutKey", "del_regvalue", "name='v'", false, false, "", "it has no key_path"},
    {"ValueOfNothing", "del_regvalue", "", false, false, "", "it has neither name nor key_path"},
    {"Driver", "disable_driver", "name='no such driver'", false, true, "no such driver", ""},
    {"Service", "disable_service", "name='no such service'", false, true, "no such service", ""},
    {"ServiceWithoutName", "disable_service", "", false, false, "", "it has no name"},
    {"StoppedService", "disableandstop_service", "name='no such service'", true, false, "", ""},
    {"StoppedDriver", "disableandstop_driver", "name='no such driver'", true, false, "", ""},
    {"Process", "kill_process", "target_name='a.exe'", true, false, "", ""},
    {"ToolInAnotherSpelling", "Exec_Tool", "tool_name='a.exe'", true, false, "", ""},
    {"UnknownOpCode", "del_all", "name='a'", false, false, "", "its section's op_code is not known"},
};

INSTANTIATE_TEST_SUITE_P(Entries, ExplainedEntryTest, testing::ValuesIn(entryRows),
                         [](const auto& row) { return row.param.name; });

TEST_F(ExplainedDetectionTest, EntryKeepsItsAttributesButNotHowItCounts)
{
    const ExplainedEntry entry = Entry("kill_process", "b='2' SCORE='-7x' Mandatory='YES' a='1' op_code='ignored'");
    EXPECT_EQ((std::vector<std::pair<std::string, std::string>>{{"a", "1"}, {"b", "2"}}), entry.attributes);
    EXPECT_EQ(-7, entry.score);
    EXPECT_TRUE(entry.mandatory);
}

TEST_F(ExplainedDetectionTest, EntryOfNothingSaidCountsOne)
{
    const ExplainedEntry entry = Entry("kill_process", "");
    EXPECT_EQ(1, entry.score);
    EXPECT_FALSE(entry.mandatory);
}

TEST_F(ExplainedDetectionTest, OneEntryDoesNotColourTheNext)
{
    const auto entries = Sections("<s op_code='del_file'><e/><e name='C:\\a'/><e/></s>").at(0).entries;
    ASSERT_EQ(3u, entries.size());
    EXPECT_EQ("", entries[1].fault);
    EXPECT_EQ("", entries[2].target);
    EXPECT_FALSE(entries[2].lookedFor);
    EXPECT_TRUE(entries[2].attributes.empty());
}

TEST_F(ExplainedDetectionTest, ScoreAndMinimumAreThoseThatDecided)
{
    const std::string entries = "<e score='5'/><e score='-2'/>";
    const auto sections = Sections("<a op_code='kill_process' minimum_score='3'>" + entries +
                                   "</a>"
                                   "<b op_code='kill_process' minimum_score='4'>" +
                                   entries + "</b>");
    for (const ExplainedSection& section : sections)
    {
        EXPECT_EQ(3, section.score);
        EXPECT_EQ(Decided::Score, section.decided);
    }
    ASSERT_EQ(2u, sections.size());
    EXPECT_EQ(3, sections[0].minimum);
    EXPECT_EQ(State::Passed, sections[0].state);
    EXPECT_EQ(4, sections[1].minimum);
    EXPECT_EQ(State::Failed, sections[1].state);
}

TEST_F(ExplainedDetectionTest, MandatoryEntryEndsItsSection)
{
    const ExplainedSection section = Sections("<s op_code='del_file'><e/><e mandatory='yes'/><e/><e/><e/></s>").at(0);
    EXPECT_EQ(State::Failed, section.state);
    EXPECT_EQ(Decided::Mandatory, section.decided);
    EXPECT_EQ(2u, section.entries.size());
    EXPECT_EQ(3, section.notReached);
}

TEST_F(ExplainedDetectionTest, CommentEndsItsSection)
{
    const ExplainedSection section = Sections("<s op_code='kill_process'><e/><!-- --><e/></s>").at(0);
    EXPECT_EQ(State::Failed, section.state);
    EXPECT_EQ(Decided::Fault, section.decided);
    EXPECT_EQ(1, section.score);
    EXPECT_EQ(1u, section.entries.size());
    EXPECT_EQ(1, section.notReached);
}

TEST_F(ExplainedDetectionTest, SleepIsNoEntry)
{
    const ExplainedSection section = Sections("<s op_code='kill_process'><e>sleep</e><e/></s>").at(0);
    EXPECT_EQ(1u, section.entries.size());
    EXPECT_EQ(0, section.notReached);
}

TEST_F(ExplainedDetectionTest, SectionsKeepTheirPlacesAroundSkippedOnesAndComments)
{
    const auto sections = Sections("<a op_code='exec_tool'><e/></a><!-- --><b op_code='kill_process'/><c/>"
                                   "<d op_code='exec_tool'/>");
    ASSERT_EQ(5u, sections.size());
    const State states[] = {State::Skipped, State::Failed, State::Passed, State::Failed, State::Skipped};
    const char* const names[] = {"a", "#comment", "b", "c", "d"};
    for (std::size_t i = 0; i < sections.size(); ++i)
    {
        EXPECT_EQ(states[i], sections[i].state) << i;
        EXPECT_EQ(names[i], sections[i].name) << i;
    }
    EXPECT_EQ("kill_process", sections[2].opCode);
    EXPECT_EQ(Decided::Fault, sections[3].decided);
}

TEST_F(ExplainedDetectionTest, SectionsBehindTheOneThatFailedAllAreNotEvaluated)
{
    const std::string three = "<a op_code='kill_process'/><b op_code='kill_process' minimum_score='1'/>"
                              "<c op_code='kill_process'/>";
    const auto all = Sections(three, "mandatory_sections='all'");
    ASSERT_EQ(3u, all.size());
    EXPECT_EQ(State::Failed, all[1].state);
    EXPECT_EQ(State::NotEvaluated, all[2].state);
    EXPECT_EQ(State::Passed, Sections(three).at(2).state);
}

TEST_F(ExplainedDetectionTest, ModeIsTheOneInForce)
{
    const auto mode = [](const std::string& attributes) {
        return Explain(OneVersion("<s op_code='kill_process'/>", attributes)).versions.at(0).allSections;
    };
    EXPECT_TRUE(mode("mandatory_sections='all'"));
    EXPECT_FALSE(mode("mandatory_sections='ALL'"));
    EXPECT_FALSE(mode(""));
}

TEST_F(ExplainedDetectionTest, VersionsTellHowFarTheWalkCame)
{
    const ExplainedDescriptor record =
        Explain("<uninstall_information><version_list><v0/><v1/><v1/><v2/><v3/></version_list><v1/>"
                "<v2><win_nt><s op_code='kill_process'/></win_nt></v2><v3/></uninstall_information>");
    using VersionState = ExplainedVersion::State;
    const VersionState states[] = {VersionState::Absent, VersionState::Walked, VersionState::Walked,
                                   VersionState::Walked, VersionState::NotReached};
    ASSERT_EQ(5u, record.versions.size());
    for (std::size_t i = 0; i < record.versions.size(); ++i)
    {
        EXPECT_EQ(states[i], record.versions[i].state) << i;
        EXPECT_EQ(i == 3, record.versions[i].detected) << i;
        EXPECT_EQ(i == 3, record.versions[i].hasSections) << i;
    }
}

TEST_F(ExplainedDetectionTest, StateTellsWhyThereIsNoWalk)
{
    using DescriptorState = ExplainedDescriptor::State;
    EXPECT_EQ(DescriptorState::NotWellFormed, Explain("<uninstall_information>").state);
    EXPECT_EQ(DescriptorState::NoRoot, Explain("<other/>").state);
    EXPECT_EQ(DescriptorState::NoVersionList, Explain("<uninstall_information/>").state);
    EXPECT_EQ(DescriptorState::Read, Explain("<uninstall_information><version_list/></uninstall_information>").state);

    CExplainedDetection missing(tree.Path(L"none.xml"));
    EXPECT_EQ(DescriptorState::NotAsked, missing.Record().state);
    EXPECT_FALSE(missing.Process());
    EXPECT_EQ(DescriptorState::Missing, missing.Record().state);
    EXPECT_EQ(ToUtf8(tree.Path(L"none.xml")), missing.Record().file);
}

} // namespace
} // namespace prodsweep
