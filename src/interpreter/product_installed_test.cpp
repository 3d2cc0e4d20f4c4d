#include "interpreter/product_installed.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/descriptor_file.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/system_answers.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::OneVersion;

constexpr const char* passing = "<s op_code='kill_process'/>";
constexpr const char* failing = "<s op_code='kill_process' minimum_score='1'/>";

class ProductInstalledTest : public testing::Test
{
protected:
    bool Detect(const std::string& xml)
    {
        const test::DescriptorFile descriptor(xml);
        file = descriptor.Path();
        return CProductInstalled(file).Process();
    }

    // A section of files, in which {hit} and {miss} stand for the name of one that is there and one that is not.
    [[nodiscard]] std::string Files(std::string entries, const std::string& attributes = {}) const
    {
        const auto replace = [&entries](const std::string& mark, const std::string& text) {
            for (std::size_t at; (at = entries.find(mark)) != std::string::npos;)
                entries.replace(at, mark.size(), text);
        };
        replace("{hit}", "name='" + test::Narrow(present) + "'");
        replace("{miss}", "name='" + test::Narrow(tree.Path(L"absent.txt")) + "'");
        return "<s op_code='del_file' " + attributes + ">" + entries + "</s>";
    }
    bool Scores(const std::string& entries, const std::string& attributes)
    {
        return Detect(OneVersion(Files(entries, attributes), "mandatory_sections='all'"));
    }

    // How many sections of an op_code were taken to their score.
    [[nodiscard]] int Evaluated(const std::wstring& opCode) const
    {
        int count = 0;
        for (const test::LogRecord& record : log.Records())
            count += record.text.starts_with(L"Minimum Score \"" + opCode + L"\"") ? 1 : 0;
        return count;
    }

    test::ComScope com;
    test::LogRecorder log;
    test::TempTree tree;
    std::wstring present = tree.AddFile(L"present.txt");
    std::wstring file;
};

TEST_F(ProductInstalledTest, EntryIsTracedWithAnArrow)
{
    EXPECT_TRUE(Detect(OneVersion(passing)));
    EXPECT_TRUE(log.Has(LogTrace, "CProductInstalled::Process", L"->\"" + file + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "CProductInstalled::Process", L"->ProcessVersion v1"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductInstalled::Process", L"<-ProcessVersion v1, result = true"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductInstalled::Process", L"<- success"));
}

TEST_F(ProductInstalledTest, NothingDetectedIsTraced)
{
    EXPECT_FALSE(Detect(OneVersion(failing)));
    EXPECT_TRUE(log.Has(LogTrace, "CProductInstalled::Process", L"<-ProcessVersion v1, result = false"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductInstalled::Process", L"<- failed"));
}

TEST_F(ProductInstalledTest, NoParserIsLogged)
{
    const test::ImportPatch patch(nullptr, "CoCreateInstance", test::RefuseToCreate);
    EXPECT_FALSE(Detect(OneVersion(passing)));
    EXPECT_TRUE(
        log.Has(LogError, "CProductInstalled::Process", L"CoCreateInstance CLSID_DOMDocument30 failed 0x80040154"));
}

TEST_F(ProductInstalledTest, MissingFileIsLogged)
{
    EXPECT_FALSE(CProductInstalled(L"C:\\no such\\descriptor.xml").Process());
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::Process", L"load \"C:\\no such\\descriptor.xml\" failed 0x1"));
}

TEST_F(ProductInstalledTest, OtherRootIsLoggedWithTwoLines)
{
    EXPECT_FALSE(Detect("<other/>"));
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::Process", L"failed load \"uninstall_information\" node 0x1"));
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::Process", L"failed \"" + file + L"\""));
}

TEST_F(ProductInstalledTest, NoVersionsOrNoListMeanNotInstalled)
{
    const std::string version = "<v1><win_nt>" + std::string(passing) + "</win_nt></v1>";
    EXPECT_FALSE(Detect("<uninstall_information><version_list/>" + version + "</uninstall_information>"));
    EXPECT_FALSE(Detect("<uninstall_information>" + version + "</uninstall_information>"));
}

TEST_F(ProductInstalledTest, FirstDetectedVersionEndsTheWalk)
{
    EXPECT_TRUE(Detect("<uninstall_information><version_list><v0/><v1/><v2/><v3/></version_list>"
                       "<v1/><v2><win_nt><s op_code='kill_process'/></win_nt></v2>"
                       "<v3><win_nt><s op_code='kill_process'/></win_nt></v3></uninstall_information>"));
    EXPECT_TRUE(log.Has(LogWarning, "CProductInstalled::Process", L"the xml doesn't have <v0>"));
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::ProcessNTVersion", L"can't load \"win_nt\" node 0x1"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductInstalled::Process", L"<-ProcessVersion v2, result = true"));
    EXPECT_FALSE(log.Has(LogTrace, "CProductInstalled::Process", L"->ProcessVersion v3"));
}

TEST_F(ProductInstalledTest, VersionListedTwiceIsTriedTwice)
{
    EXPECT_FALSE(Detect("<uninstall_information><version_list><v1/><v1/></version_list><v1><win_nt>" +
                        std::string(failing) + "</win_nt></v1></uninstall_information>"));
    EXPECT_EQ(2, Evaluated(L"kill_process"));
}

TEST_F(ProductInstalledTest, AnyNeedsOneSectionAndEvaluatesAll)
{
    EXPECT_TRUE(Detect(OneVersion(std::string(failing) + passing + failing, "mandatory_sections='any'")));
    EXPECT_EQ(3, Evaluated(L"kill_process"));
    EXPECT_FALSE(Detect(OneVersion(std::string(failing) + failing, "mandatory_sections='any'")));
}

TEST_F(ProductInstalledTest, AllEndsAtTheFirstFailedSection)
{
    EXPECT_TRUE(Detect(OneVersion(std::string(passing) + passing, "mandatory_sections='all'")));
    EXPECT_EQ(2, Evaluated(L"kill_process"));
    log.Clear();
    EXPECT_FALSE(Detect(OneVersion(std::string(passing) + failing + passing, "mandatory_sections='all'")));
    EXPECT_EQ(2, Evaluated(L"kill_process"));
}

TEST_F(ProductInstalledTest, OtherModesAreLoggedAndMeanAny)
{
    for (const char* attribute : {"mandatory_sections='ALL'", "mandatory_sections=''", "mandatory_sections=' all'", ""})
    {
        log.Clear();
        EXPECT_TRUE(Detect(OneVersion(std::string(failing) + passing, attribute))) << attribute;
        EXPECT_TRUE(log.Has(LogWarning, "CProductInstalled::ProcessNTVersion",
                            L"Invalid value for attribute \"mandatory_sections\". Default value is \"any\". "));
    }
    EXPECT_TRUE(
        log.Has(LogWarning, "CProductInstalled::ProcessNTVersion", L"failed to get attribute \"mandatory_sections\""));
}

TEST_F(ProductInstalledTest, ValidModesAreNotLogged)
{
    Detect(OneVersion(passing, "mandatory_sections='all'"));
    Detect(OneVersion(passing, "mandatory_sections='any'"));
    EXPECT_EQ(0, log.Count(LogWarning, "CProductInstalled::ProcessNTVersion",
                           L"Invalid value for attribute \"mandatory_sections\". Default value is \"any\". "));
}

TEST_F(ProductInstalledTest, VersionWithoutAnEvaluatedSectionIsNotDetected)
{
    const std::string tools = "<s op_code='exec_tool'><e/></s><s op_code='exec_tool'/>";
    for (const char* mode : {"mandatory_sections='all'", "mandatory_sections='any'"})
    {
        EXPECT_FALSE(Detect(OneVersion(tools, mode))) << mode;
        EXPECT_FALSE(Detect(OneVersion("", mode))) << mode;
    }
    EXPECT_EQ(0, Evaluated(L"exec_tool"));
}

TEST_F(ProductInstalledTest, ToolSectionHasNoEffectOnTheOthers)
{
    const std::string tools = "<s op_code='exec_tool' minimum_score='9'><e/></s>";
    EXPECT_TRUE(Detect(OneVersion(tools + passing + tools, "mandatory_sections='all'")));
}

TEST_F(ProductInstalledTest, ToolSectionInAnotherSpellingScores)
{
    EXPECT_TRUE(Detect(OneVersion("<s op_code='Exec_Tool' minimum_score='2'><e/><e tool_name='no such'/></s>")));
    EXPECT_EQ(1, Evaluated(L"Exec_Tool"));
}

TEST_F(ProductInstalledTest, SectionWithoutOpCodeFailsAndIsLoggedTwice)
{
    for (const char* section : {"<s><e/></s>", "<!--note-->"})
    {
        log.Clear();
        EXPECT_TRUE(Detect(OneVersion(section + std::string(passing), "mandatory_sections='any'")));
        EXPECT_TRUE(log.Has(LogError, "CProductInstalled::ProcessNTVersion", L"failed get attribute \"op_code\""));
        EXPECT_TRUE(log.Has(LogError, "CProductInstalled::ProcessSection", L"failed get attribute \"op_code\""));
        EXPECT_FALSE(Detect(OneVersion(section + std::string(passing), "mandatory_sections='all'")));
    }
}

struct ScoreCase
{
    const char* name;
    const char* entries;
    const char* attributes;
    bool passes;
};

void PrintTo(const ScoreCase& row, std::ostream* out) { *out << row.name; }

class ScoreTest : public ProductInstalledTest, public testing::WithParamInterface<ScoreCase>
{};

TEST_P(ScoreTest, DecidesTheSection)
{
    EXPECT_EQ(GetParam().passes, Scores(GetParam().entries, GetParam().attributes));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ScoreTest,
    testing::Values(
        ScoreCase{"NoMinimumAndNoEntries", "", "", true},
        ScoreCase{"NoMinimumAndNothingFound", "<e {miss}/>", "", true},
        ScoreCase{"MissingScoreCountsOne", "<e {hit}/>", "minimum_score='1'", true},
        ScoreCase{"OneIsNotTwo", "<e {hit}/>", "minimum_score='2'", false},
        ScoreCase{"TiePasses", "<e {hit} score='1'/><e {hit} score='2'/>", "minimum_score='3'", true},
        ScoreCase{"MissAddsNothing", "<e {miss} score='5'/><e {hit}/>", "minimum_score='2'", false},
        ScoreCase{"NonNumericScoreCountsNothing", "<e {hit} score='high'/>", "minimum_score='1'", false},
        ScoreCase{"EmptyScoreCountsNothing", "<e {hit} score=''/>", "minimum_score='1'", false},
        ScoreCase{"ScoreIsAPrefix", "<e {hit} score=' 3 points'/>", "minimum_score='+3x'", true},
        ScoreCase{"NegativeScoreVotesAgainst", "<e {hit} score='5'/><e {hit} score='-3'/>", "minimum_score='3'", false},
        ScoreCase{"NegativeScoreOfAMissDoesNot", "<e {hit} score='5'/><e {miss} score='-3'/>", "minimum_score='3'",
                  true},
        ScoreCase{"BelowZeroFailsWithoutAMinimum", "<e {hit} score='-1'/>", "", false},
        ScoreCase{"NegativeMinimum", "<e {hit} score='-1'/>", "minimum_score='-1'", true},
        ScoreCase{"NonNumericMinimumIsZero", "<e {miss}/>", "minimum_score='many'", true},
        ScoreCase{"AttributeNamesInAnyCase", "<e {hit} SCORE='4'/>", "minimum_score='4'", true},
        ScoreCase{"MinimumInOneSpellingOnly", "<e {miss}/>", "Minimum_Score='4'", true},
        ScoreCase{"LastOfRepeatedScoresCounts", "<e {hit} score='1' Score='7'/>", "minimum_score='7'", true},
        ScoreCase{"MandatoryMissFails", "<e {hit} score='9'/><e {miss} mandatory='yes'/>", "minimum_score='1'", false},
        ScoreCase{"MandatoryInCapitals", "<e {miss} MANDATORY='YES'/>", "", false},
        ScoreCase{"OtherMandatoryMeansNo", "<e {miss} mandatory='true'/>", "", true},
        ScoreCase{"LastOfRepeatedMandatoryCounts", "<e {miss} mandatory='yes' Mandatory='no'/>", "", true},
        ScoreCase{"MandatoryOfNoScoreIsACondition", "<e {hit} mandatory='yes' score='0'/>", "minimum_score='0'", true},
        ScoreCase{"MandatoryOfNoScoreAddsNone", "<e {hit} mandatory='yes' score='0'/>", "minimum_score='1'", false},
        ScoreCase{"SumWrapsAround", "<e {hit} score='2147483647'/><e {hit}/>", "", false},
        ScoreCase{"ScoreTooLargeIsTheLargest", "<e {hit} score='99999999999'/>", "minimum_score='2147483647'", true}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ProductInstalledTest, ScoreAndMinimumAreTraced)
{
    Scores("<e {hit} score='3'/><e {miss}/>", "minimum_score='2'");
    EXPECT_TRUE(log.Has(LogTrace, "CProductInstalled::ProcessSection", L"Minimum Score \"del_file\" = 2"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductInstalled::ProcessSection", L"Score \"del_file\" = 3"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductInstalled::ProcessSection", L"->node \"e\""));
    EXPECT_EQ(2, log.Count(LogTrace, "CProductInstalled::ProcessSection", L"<-node \"e\""));
}

TEST_F(ProductInstalledTest, FailedMandatoryIsLoggedWithItsAttributesAndEndsTheSection)
{
    Detect(OneVersion("<s op_code='del_file'><e mandatory='yes' score='4' path='a' Other='b'/><e name='later'/></s>"));
    const char* function = "CProductInstalled::ProcessSection";
    EXPECT_TRUE(log.Has(LogError, function, L"The mandatory failed"));
    EXPECT_TRUE(log.Has(LogError, function, L"\t\"Other\" = \"b\""));
    EXPECT_TRUE(log.Has(LogError, function, L"\t\"op_code\" = \"del_file\""));
    EXPECT_TRUE(log.Has(LogError, function, L"\t\"path\" = \"a\""));
    EXPECT_FALSE(log.Has(LogError, function, L"\t\"score\" = \"4\""));
    EXPECT_EQ(1, log.Count(LogTrace, function, L"->node \"e\""));
    EXPECT_EQ(0, log.Count(LogTrace, function, L"<-node \"e\""));
}

TEST_F(ProductInstalledTest, ScoreAndMandatoryAreKeptFromTheOperations)
{
    Detect(OneVersion("<s op_code='kill_process'><e Score='2' MANDATORY='no' name='a'/></s>"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::ExecOperation", L"-> name = \"a\"; op_code = \"kill_process\"; "));
}

TEST_F(ProductInstalledTest, OperationsThatLookAtNothingScore)
{
    for (const char* opCode : {"kill_process", "disableandstop_driver", "disableandstop_service", "KILL_PROCESS"})
        EXPECT_TRUE(Detect(OneVersion("<s op_code='" + std::string(opCode) + "' minimum_score='2'><e/><e/></s>")))
            << opCode;
}

TEST_F(ProductInstalledTest, UnknownOpCodeScoresNothing)
{
    EXPECT_FALSE(Detect(OneVersion("<s op_code='del_disk' minimum_score='1'><e/></s>")));
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::ExecOperation", L"unknown op_code \"del_disk\""));
    EXPECT_TRUE(Detect(OneVersion("<s op_code='del_disk'><e/></s>")));
}

TEST_F(ProductInstalledTest, OpCodeOfAnEntryHasNoEffect)
{
    EXPECT_TRUE(Detect(OneVersion("<s op_code='kill_process' minimum_score='1'><e op_code='del_file'/></s>")));
}

TEST_F(ProductInstalledTest, CommentInASectionFailsItWhateverTheScore)
{
    EXPECT_FALSE(Scores("<e {hit} score='9'/><!--c-->", ""));
    // MSXML answers S_FALSE for a node that can have no attributes.
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::ProcessSection", L"failed get element attributes 0x1"));
}

class SleepTest : public ProductInstalledTest
{
protected:
    static void WINAPI Note(DWORD milliseconds) { Sleeps().push_back(milliseconds); }
    static std::vector<DWORD>& Sleeps()
    {
        static std::vector<DWORD> sleeps;
        return sleeps;
    }
    SleepTest() { Sleeps().clear(); }

    test::ImportPatch patch{nullptr, "Sleep", Note};
};

TEST_F(SleepTest, TextWithoutAValueSleepsForNothingAndScoresNothing)
{
    for (const char* text : {"sleep", "Sleep", "SLEEP"})
    {
        Sleeps().clear();
        EXPECT_FALSE(
            Detect(OneVersion("<s op_code='kill_process' minimum_score='1'><e>" + std::string(text) + "</e></s>")));
        EXPECT_EQ(std::vector<DWORD>{0}, Sleeps()) << text;
    }
}

TEST_F(SleepTest, TextWithAValueNeitherSleepsNorScores)
{
    EXPECT_FALSE(Detect(OneVersion("<s op_code='kill_process' minimum_score='1'><e value='100'>sleep</e></s>")));
    EXPECT_TRUE(Sleeps().empty());
}

TEST_F(SleepTest, EntriesAroundItAreScored)
{
    EXPECT_TRUE(Detect(OneVersion("<s op_code='kill_process' minimum_score='2'><e/><e>sleep</e><e/></s>")));
}

TEST_F(SleepTest, TextOfChildrenCountsToo)
{
    EXPECT_FALSE(Detect(OneVersion("<s op_code='kill_process' minimum_score='1'><e><a>sl</a><b>eep</b></e></s>")));
    EXPECT_EQ(std::vector<DWORD>{0}, Sleeps());
}

TEST_F(SleepTest, ElementOfThatNameIsAnOrdinaryEntry)
{
    EXPECT_FALSE(Detect(OneVersion("<s op_code='del_file' minimum_score='1'><sleep value='100'/></s>")));
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::ProcessDelFile", L"no name"));
    EXPECT_TRUE(Detect(OneVersion("<s op_code='kill_process' minimum_score='1'><sleep value='100'/></s>")));
    EXPECT_TRUE(Sleeps().empty());
}

TEST_F(SleepTest, SectionsBehindADetectingOneSleepToo)
{
    EXPECT_TRUE(Detect(OneVersion(std::string(passing) + "<s op_code='kill_process'><e>sleep</e></s>")));
    EXPECT_EQ(std::vector<DWORD>{0}, Sleeps());
}

TEST_F(SleepTest, OperationPassesItsTimeOn)
{
    EXPECT_TRUE(CProductInstalled(L"").ProcessSleep(1234));
    EXPECT_EQ(std::vector<DWORD>{1234}, Sleeps());
}

TEST_F(ProductInstalledTest, WalkLeavesNoHandleAndChangesNothing)
{
    const std::string xml = OneVersion(Files("<e {hit}/><e {miss}/>", "minimum_score='1'"));
    EXPECT_TRUE(Detect(xml));
    const test::HandleCount handles;
    EXPECT_TRUE(Detect(xml));
    EXPECT_TRUE(handles.Unchanged());
    EXPECT_TRUE(test::Exists(present));
    EXPECT_TRUE(tree.CanariesIntact());
}

} // namespace
} // namespace prodsweep
