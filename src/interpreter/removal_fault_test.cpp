// What the walk of a removal does when MSXML fails in the middle of it.
#include "interpreter/product_uninstall.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/dom_fault.h"
#include "support/log_recorder.h"
#include "support/removal_pass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace prodsweep {
namespace {

using test::DomFault;
using test::DomMethod;
using test::OneVersion;
using test::StageRecorder;
using testing::ElementsAre;

class RemovalFaultTest : public testing::Test
{
protected:
    bool Run()
    {
        test::RemovalPass removal(L"Product", descriptor.Path(), checkList, StageRecorder::Record);
        return removal.Uninstall();
    }

    test::ComScope com;
    test::LogRecorder log;
    const CheckList checkList;
    const StageRecorder stages;
    const test::DescriptorFile descriptor{
        OneVersion("<s op_code='kill_process'><e target_name='prodsweep-none.exe'/></s>")};
};

TEST_F(RemovalFaultTest, DescriptorWhoseDocumentHasNoNodeIsNamed)
{
    const DomFault fault(DomMethod::DocumentQueryNode, E_FAIL);
    EXPECT_FALSE(Run());
    EXPECT_TRUE(log.Has(LogError, "CProductUninstall::Process", L"failed load RootElement 0x80004005"));
    EXPECT_TRUE(log.Has(LogError, "CProductUninstall::Process", L"failed \"" + descriptor.Path() + L"\""));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("13:0 at 0%", "14:0 at 0%", "1:2 at 0%"));
}

struct DomRow
{
    const char* name;
    DomMethod method;
    int call;
    const wchar_t* text;
};

class RemovalDomFaultTest : public RemovalFaultTest, public testing::WithParamInterface<DomRow>
{
protected:
    RemovalDomFaultTest()
    {
        const DomFault fault(GetParam().method, E_FAIL, GetParam().call);
        removed = Run();
        EXPECT_TRUE(fault.Happened());
    }

    bool removed = false;
};

class RemovalVersionFaultTest : public RemovalDomFaultTest
{};

TEST_P(RemovalVersionFaultTest, IsLoggedAndFailsTheVersionAndNotTheRemoval)
{
    EXPECT_TRUE(removed);
    EXPECT_TRUE(log.Has(LogError, "CProductUninstall::ProcessNTVersion", GetParam().text));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::Process", L"<-ProcessVersion v1, result = false"));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("13:0 at 0%", "14:0 at 0%", "1:0 at 30%"));
}

std::string DomRowName(const testing::TestParamInfo<DomRow>& row) { return row.param.name; }

INSTANTIATE_TEST_SUITE_P(Rows, RemovalVersionFaultTest,
                         testing::Values(DomRow{"NoChildrenOfWinNt", DomMethod::ElementChildren, 2,
                                                L"failed load \"win_nt\" childs nodes 0x80004005"},
                                         DomRow{"NoCountOfWinNt", DomMethod::ListLength, 2,
                                                L"failed load \"win_nt\" childs count 0x80004005"},
                                         DomRow{"NoSection", DomMethod::ListItem, 2,
                                                L"failed load child 0 for \"win_nt\", err = 0x80004005"}),
                         DomRowName);

class RemovalSectionFaultTest : public RemovalDomFaultTest
{};

TEST_P(RemovalSectionFaultTest, IsLoggedAndFailsTheSectionAndNotTheVersion)
{
    EXPECT_TRUE(removed);
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::ProcessSection", GetParam().text));
    EXPECT_EQ(1, log.Count(LogError, "CProductUninstall::ProcessNTVersion", L"ProcessSection failed"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::Process", L"<-ProcessVersion v1, result = true"));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("13:0 at 0%", "14:0 at 0%", "1:0 at 30%"));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RemovalSectionFaultTest,
    testing::Values(DomRow{"NoEntries", DomMethod::ElementChildren, 3, L"failed load child nodes 0x80004005"},
                    DomRow{"NoCountOfEntries", DomMethod::ListLength, 3,
                           L"failed load \"win_nt\" children count 0x80004005"},
                    DomRow{"NoEntry", DomMethod::ListItem, 3, L"failed load child 0, err = 0x80004005"}),
    DomRowName);

} // namespace
} // namespace prodsweep
