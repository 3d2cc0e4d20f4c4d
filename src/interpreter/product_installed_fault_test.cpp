// What the detection does when MSXML fails in the middle of it.
#include "interpreter/product_installed.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/descriptor_file.h"
#include "support/log_recorder.h"
#include "support/walk_fault.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::DomMethod;
using test::WalkFault;
using test::WalkFaultName;

class ProductInstalledFaultTest : public testing::TestWithParam<WalkFault>
{
protected:
    test::ComScope com;
    test::LogRecorder log;
};

// One version of two sections, with attributes chosen by each table.
std::string Descriptor(const std::string& mode, const std::string& first, const std::string& second)
{
    return test::OneVersion("<s op_code='kill_process' " + first +
                                "><e a='1'/><e a='2'/></s><t op_code='disableandstop_driver' " + second + "><e/></t>",
                            "mandatory_sections='" + mode + "'");
}

void Check(const WalkFault& row, const std::string& xml, const test::LogRecorder& log)
{
    const test::DescriptorFile descriptor(xml);
    CProductInstalled product(descriptor.Path());
    const test::DomFault fault(row.method, row.answer, row.call);
    EXPECT_EQ(row.result, product.Process());
    EXPECT_TRUE(fault.Happened());
    EXPECT_TRUE(log.Has(LogError, std::string("CProductInstalled::") + row.function, row.text));
}

TEST(ProductInstalledRootTest, DescriptorWithoutARootIsNamed)
{
    const test::ComScope com;
    test::LogRecorder log;
    const test::DescriptorFile descriptor(test::OneVersion(""));
    for (const DomMethod method : {DomMethod::DocumentQueryNode, DomMethod::DocumentSelect})
    {
        log.Clear();
        const test::DomFault fault(method, E_FAIL, 1);
        EXPECT_FALSE(CProductInstalled(descriptor.Path()).Process());
        EXPECT_TRUE(log.Has(LogError, "CProductInstalled::Process", L"failed \"" + descriptor.Path() + L"\""));
    }
}

// Both sections would pass, and the first has a minimum of 0.
class AnyModeFaultTest : public ProductInstalledFaultTest
{};

TEST_P(AnyModeFaultTest, IsLoggedAndDecides) { Check(GetParam(), Descriptor("any", "", ""), log); }

INSTANTIATE_TEST_SUITE_P(
    Rows, AnyModeFaultTest,
    testing::Values(WalkFault{"NodeRefused", DomMethod::DocumentQueryNode, E_FAIL, 1, "Process",
                              L"failed load RootElement 0x80004005", false, ""},
                    WalkFault{"RootRefused", DomMethod::DocumentSelect, E_FAIL, 1, "Process",
                              L"failed load \"uninstall_information\" node 0x80004005", false, ""},
                    WalkFault{"WinNtRefused", DomMethod::ElementSelect, E_FAIL, 5, "ProcessNTVersion",
                              L"can't load \"win_nt\" node 0x80004005", false, ""},
                    WalkFault{"SectionsRefused", DomMethod::ElementChildren, E_FAIL, 2, "ProcessNTVersion",
                              L"failed load \"win_nt\" childs nodes 0x80004005", false, ""},
                    WalkFault{"SectionsNull", DomMethod::ElementChildren, S_OK, 2, "ProcessNTVersion",
                              L"failed load \"win_nt\" childs nodes 0x0", false, ""},
                    WalkFault{"CountOfSectionsRefused", DomMethod::ListLength, E_FAIL, 2, "ProcessNTVersion",
                              L"failed load \"win_nt\" childs count 0x80004005", false, ""},
                    // The first section has passed already, and that is lost. The list's items come as the
                    // version, the section, its two entries, the other section.
                    WalkFault{"LaterSectionRefused", DomMethod::ListItem, E_FAIL, 5, "ProcessNTVersion",
                              L"failed load child 1 for \"win_nt\", err = 0x80004005", false, ""},
                    WalkFault{"LaterSectionNull", DomMethod::ListItem, S_FALSE, 5, "ProcessNTVersion",
                              L"failed load child 1 for \"win_nt\", err = 0x1", false, ""}),
    WalkFaultName);

// Only the first section decides, and both of its entries are needed.
class AllModeFaultTest : public ProductInstalledFaultTest
{};

TEST_P(AllModeFaultTest, EndsTheSection) { Check(GetParam(), Descriptor("all", "minimum_score='2'", ""), log); }

INSTANTIATE_TEST_SUITE_P(Rows, AllModeFaultTest,
                         testing::Values(WalkFault{"EntriesRefused", DomMethod::ElementChildren, E_FAIL, 3,
                                                   "ProcessSection", L"failed load child nodes 0x80004005", false, ""},
                                         WalkFault{"EntriesNull", DomMethod::ElementChildren, S_OK, 3, "ProcessSection",
                                                   L"failed load child nodes 0x0", false, ""},
                                         WalkFault{"CountOfEntriesRefused", DomMethod::ListLength, E_FAIL, 3,
                                                   "ProcessSection",
                                                   L"failed load \"win_nt\" children count 0x80004005", false, ""},
                                         WalkFault{"EntryRefused", DomMethod::ListItem, E_FAIL, 3, "ProcessSection",
                                                   L"failed load child 0, err = 0x80004005", false, ""},
                                         WalkFault{"LaterEntryNull", DomMethod::ListItem, S_FALSE, 4, "ProcessSection",
                                                   L"failed load child 1, err = 0x1", false, ""},
                                         WalkFault{"TextRefused", DomMethod::ElementText, E_FAIL, 1, "ProcessSection",
                                                   L"failed get element value", false, ""},
                                         WalkFault{"LaterTextNull", DomMethod::ElementText, S_OK, 2, "ProcessSection",
                                                   L"failed get element value", false, ""}),
                         WalkFaultName);

// One entry is enough: what was scored before the fault stands, where the fault only ends the loop.
class EarlyEndTest : public ProductInstalledFaultTest
{};

TEST_P(EarlyEndTest, ScoreSoFarStandsBeforeTheMinimum)
{
    Check(GetParam(), Descriptor("all", "minimum_score='1'", ""), log);
    EXPECT_TRUE(log.Has(LogTrace, "CProductInstalled::ProcessSection", L"Score \"kill_process\" = 1"));
}

INSTANTIATE_TEST_SUITE_P(Rows, EarlyEndTest,
                         testing::Values(WalkFault{"EntryRefused", DomMethod::ListItem, E_FAIL, 4, "ProcessSection",
                                                   L"failed load child 1, err = 0x80004005", true, ""},
                                         WalkFault{"TextRefused", DomMethod::ElementText, E_FAIL, 2, "ProcessSection",
                                                   L"failed get element value", true, ""}),
                         WalkFaultName);

// Without a minimum nothing could fail the section but a fault that ends it at once. ElementAttributes
// is asked for mandatory_sections, twice for op_code and for minimum_score before the first entry.
class AttributeFaultTest : public ProductInstalledFaultTest
{};

TEST_P(AttributeFaultTest, FailsTheSectionAtOnce)
{
    Check(GetParam(), Descriptor("all", "", ""), log);
    EXPECT_EQ(0, log.Count(LogTrace, "CProductInstalled::ProcessSection", L"Score \"kill_process\" = 1"));
    EXPECT_EQ(0, log.Count(LogTrace, "CProductInstalled::ProcessSection", L"Score \"kill_process\" = 0"));
}

INSTANTIATE_TEST_SUITE_P(Rows, AttributeFaultTest,
                         testing::Values(WalkFault{"AttributesRefused", DomMethod::ElementAttributes, E_FAIL, 5,
                                                   "ProcessSection", L"failed get element attributes 0x80004005", false,
                                                   ""},
                                         WalkFault{"CountRefused", DomMethod::MapLength, E_FAIL, 1, "ProcessSection",
                                                   L"failed get attributes length 0x80004005", false, ""},
                                         WalkFault{"AttributeRefused", DomMethod::MapItem, E_FAIL, 1, "ProcessSection",
                                                   L"failed get attribute 0, 0x80004005", false, ""},
                                         WalkFault{"LaterAttributeNull", DomMethod::MapItem, S_FALSE, 2,
                                                   "ProcessSection", L"failed get attribute 0, 0x1", false, ""},
                                         WalkFault{"NameRefused", DomMethod::AttributeName, E_FAIL, 1, "ProcessSection",
                                                   L"failed get attribute 0 name", false, ""},
                                         WalkFault{"ValueNull", DomMethod::AttributeText, S_OK, 2, "ProcessSection",
                                                   L"failed get attribute 0 value", false, ""}),
                         WalkFaultName);

} // namespace
} // namespace prodsweep
