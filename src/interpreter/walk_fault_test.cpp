// What the common walk does when MSXML fails in the middle of it.
#include "support/walk_fault.h"

#include "environment/log.h"
#include "support/callback_recorder.h"
#include "support/com_scope.h"
#include "support/descriptor_file.h"
#include "support/log_recorder.h"
#include "support/recording_pass.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::DomMethod;
using test::WalkFault;
using test::WalkFaultName;

std::string Joined(const std::vector<std::string>& texts)
{
    std::string joined;
    for (const std::string& text : texts)
        joined += (joined.empty() ? "" : ", ") + text;
    return joined;
}

class WalkFaultTest : public testing::Test
{
protected:
    test::ComScope com;
    test::LogRecorder log;
};

class WalkFaultRows : public WalkFaultTest, public testing::WithParamInterface<WalkFault>
{};

// Two versions of two sections with two entries each, so that there is something left to go on with.
std::string TwoVersions()
{
    const std::string versions =
        "<v><win_nt><s op_code='del_file'><e name='a'/><e name='b'/></s><s op_code='del_folder'><e name='c'/></s>"
        "</win_nt></v><w><win_nt><s op_code='del_file'><e name='d'/></s></win_nt></w>";
    return "<uninstall_information><version_list><v/><w/></version_list>" + versions + "</uninstall_information>";
}

constexpr const char* everything = "del_file a, del_file b, del_folder c, del_file d";

TEST_P(WalkFaultRows, IsLoggedAndEndsWhatItMustEnd)
{
    const WalkFault& row = GetParam();
    const test::DescriptorFile descriptor(TwoVersions());
    test::RecordingPass pass(descriptor.Path());
    const test::DomFault fault(row.method, row.answer, row.call);

    EXPECT_EQ(row.result, pass.Process());

    EXPECT_TRUE(fault.Happened());
    if (row.text != nullptr)
    {
        EXPECT_TRUE(log.Has(LogError, row.function, row.text));
    }
    EXPECT_EQ(row.rest, Joined(pass.Operations()));
}

TEST_F(WalkFaultTest, WithoutAFaultEverythingIsWalked)
{
    const test::DescriptorFile descriptor(TwoVersions());
    test::RecordingPass pass(descriptor.Path());
    EXPECT_TRUE(pass.Process());
    EXPECT_EQ(everything, Joined(pass.Operations()));
}

INSTANTIATE_TEST_SUITE_P(
    Opening, WalkFaultRows,
    testing::Values(WalkFault{"NodeRefused", DomMethod::DocumentQueryNode, E_NOINTERFACE, 1, "CProductConfig::Process",
                              L"failed load RootElement 0x80004002", false, ""},
                    WalkFault{"NodeNull", DomMethod::DocumentQueryNode, S_OK, 1, "CProductConfig::Process",
                              L"failed load RootElement 0x0", false, ""},
                    WalkFault{"RootRefused", DomMethod::DocumentSelect, E_FAIL, 1, "CProductConfig::Process",
                              L"failed load \"uninstall_information\" node 0x80004005", false, ""}),
    WalkFaultName);

INSTANTIATE_TEST_SUITE_P(
    VersionList, WalkFaultRows,
    testing::Values(WalkFault{"ListRefused", DomMethod::ElementSelect, E_FAIL, 1, "CProductConfig::ReadVersions",
                              L"failed load version_list 0x80004005", false, ""},
                    WalkFault{"ChildrenRefused", DomMethod::ElementChildren, E_FAIL, 1, "CProductConfig::ReadVersions",
                              L"failed load children nodes for version_list 0x80004005", false, ""},
                    WalkFault{"ChildrenNull", DomMethod::ElementChildren, S_OK, 1, "CProductConfig::ReadVersions",
                              L"failed load children nodes for version_list 0x0", false, ""},
                    WalkFault{"CountRefused", DomMethod::ListLength, E_FAIL, 1, "CProductConfig::ReadVersions",
                              L"failed get children nodes count for version_list 0x80004005", false, ""},
                    // A failure at any index loses the whole list.
                    WalkFault{"ChildRefused", DomMethod::ListItem, E_FAIL, 2, "CProductConfig::ReadVersions",
                              L"failed get child 1 for version_list 0x80004005", false, ""},
                    WalkFault{"ChildNull", DomMethod::ListItem, S_FALSE, 1, "CProductConfig::ReadVersions",
                              L"failed get child 0 for version_list 0x1", false, ""},
                    WalkFault{"NameRefused", DomMethod::ElementName, E_FAIL, 2, "CProductConfig::ReadVersions",
                              L"failed get value for child 1 for version_list 0x80004005", false, ""},
                    WalkFault{"NameNull", DomMethod::ElementName, S_FALSE, 1, "CProductConfig::ReadVersions",
                              L"failed get value for child 0 for version_list 0x1", false, ""}),
    WalkFaultName);

INSTANTIATE_TEST_SUITE_P(
    BeforeWinNt, WalkFaultRows,
    testing::Values(WalkFault{"VersionRefused", DomMethod::ElementSelect, E_FAIL, 2, "", nullptr, true, "del_file d"},
                    WalkFault{"AppPathRefused", DomMethod::ElementSelect, E_FAIL, 3, "CProductConfig::GetAppPath",
                              L"can't load \"app_path\" node 0x80004005", true, everything},
                    WalkFault{"InstallFolderRefused", DomMethod::ElementSelect, E_FAIL, 4,
                              "CProductConfig::GetInstallFolder", L"can't load \"install_folder\" node", true,
                              everything}),
    WalkFaultName);

const WalkFault versionFaults[] = {
    WalkFault{"WinNtRefused", DomMethod::ElementSelect, E_FAIL, 5, "CProductConfig::ProcessNTVersion",
              L"can't load \"win_nt\" node 0x80004005", true, "del_file d"},
    WalkFault{"SectionsRefused", DomMethod::ElementChildren, E_FAIL, 2, "CProductConfig::ProcessNTVersion",
              L"failed load \"win_nt\" childs nodes 0x80004005", true, "del_file d"},
    WalkFault{"SectionsNull", DomMethod::ElementChildren, S_OK, 2, "CProductConfig::ProcessNTVersion",
              L"failed load \"win_nt\" childs nodes 0x0", true, "del_file d"},
    WalkFault{"CountRefused", DomMethod::ListLength, E_FAIL, 2, "CProductConfig::ProcessNTVersion",
              L"failed load \"win_nt\" childs count 0x80004005", true, "del_file d"},
    WalkFault{"SectionRefused", DomMethod::ListItem, E_FAIL, 3, "CProductConfig::ProcessNTVersion",
              L"failed load child 0 for \"win_nt\", err = 0x80004005", true, "del_file d"},
    // The list's items come as v, w, the first section, its two entries, the second section.
    WalkFault{"LaterSectionNull", DomMethod::ListItem, S_FALSE, 6, "CProductConfig::ProcessNTVersion",
              L"failed load child 1 for \"win_nt\", err = 0x1", true, "del_file a, del_file b, del_file d"}};

INSTANTIATE_TEST_SUITE_P(Version, WalkFaultRows, testing::ValuesIn(versionFaults), WalkFaultName);

class VersionFaultTest : public WalkFaultRows
{};

TEST_P(VersionFaultTest, FailsItsVersionAlone)
{
    const test::DescriptorFile descriptor(TwoVersions());
    test::RecordingPass pass(descriptor.Path());
    const test::DomFault fault(GetParam().method, GetParam().answer, GetParam().call);
    EXPECT_TRUE(pass.Process());
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::Process", L"<-ProcessVersion v, result = false"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::Process", L"<-ProcessVersion w, result = true"));
}

INSTANTIATE_TEST_SUITE_P(Rows, VersionFaultTest, testing::ValuesIn(versionFaults), WalkFaultName);

const WalkFault sectionFaults[] = {
    WalkFault{"EntriesRefused", DomMethod::ElementChildren, E_FAIL, 3, "CProductConfig::ProcessSection",
              L"failed load child nodes 0x80004005", true, "del_folder c, del_file d"},
    WalkFault{"EntriesNull", DomMethod::ElementChildren, S_OK, 3, "CProductConfig::ProcessSection",
              L"failed load child nodes 0x0", true, "del_folder c, del_file d"},
    WalkFault{"CountRefused", DomMethod::ListLength, E_FAIL, 3, "CProductConfig::ProcessSection",
              L"failed load \"win_nt\" children count 0x80004005", true, "del_folder c, del_file d"},
    WalkFault{"EntryRefused", DomMethod::ListItem, E_FAIL, 4, "CProductConfig::ProcessSection",
              L"failed load child 0, err = 0x80004005", true, "del_folder c, del_file d"},
    WalkFault{"LaterEntryNull", DomMethod::ListItem, S_FALSE, 5, "CProductConfig::ProcessSection",
              L"failed load child 1, err = 0x1", true, "del_file a, del_folder c, del_file d"},
    // The first call is for op_code of the section.
    WalkFault{"AttributesRefused", DomMethod::ElementAttributes, E_FAIL, 2, "CProductConfig::ProcessSection",
              L"failed get element attributes", true, "del_folder c, del_file d"},
    WalkFault{"CountOfAttributesRefused", DomMethod::MapLength, E_FAIL, 1, "CProductConfig::ProcessSection",
              L"failed get attributes length 0x80004005", true, "del_folder c, del_file d"},
    WalkFault{"AttributeRefused", DomMethod::MapItem, E_FAIL, 1, "CProductConfig::ProcessSection",
              L"failed get attribute 0, 0x80004005", true, "del_folder c, del_file d"},
    WalkFault{"LaterAttributeNull", DomMethod::MapItem, S_FALSE, 2, "CProductConfig::ProcessSection",
              L"failed get attribute 0, 0x1", true, "del_file a, del_folder c, del_file d"},
    WalkFault{"NameOfAttributeRefused", DomMethod::AttributeName, E_FAIL, 1, "CProductConfig::ProcessSection",
              L"failed get attribute 0 name", true, "del_folder c, del_file d"},
    WalkFault{"ValueRefused", DomMethod::AttributeText, E_FAIL, 1, "CProductConfig::ProcessSection",
              L"failed get attribute 0 value", true, "del_folder c, del_file d"},
    WalkFault{"ValueNull", DomMethod::AttributeText, S_OK, 1, "CProductConfig::ProcessSection",
              L"failed get attribute 0 value", true, "del_folder c, del_file d"}};

INSTANTIATE_TEST_SUITE_P(Section, WalkFaultRows, testing::ValuesIn(sectionFaults), WalkFaultName);

class SectionFaultTest : public WalkFaultRows
{
protected:
    SectionFaultTest() { EXPECT_TRUE(pass.Process()); }

    const test::CallbackRecorder events;
    const test::DescriptorFile descriptor{TwoVersions()};
    test::RecordingPass pass{descriptor.Path(), &test::CallbackRecorder::Record};
    const test::DomFault fault{GetParam().method, GetParam().answer, GetParam().call};
};

TEST_P(SectionFaultTest, FailsItsSectionAlone)
{
    EXPECT_EQ(1, log.Count(LogError, "CProductConfig::ProcessNTVersion", L"ProcessSection failed"));
    using Call = test::CallbackRecorder::Call;
    EXPECT_EQ((std::vector{Call{2, 2, false, {}}, Call{3, 0, false, {}}, Call{2, 0, false, {}}}), events.Calls());
}

TEST_P(SectionFaultTest, DoesNotFailTheVersion)
{
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::Process", L"<-ProcessVersion v, result = true"));
}

INSTANTIATE_TEST_SUITE_P(Rows, SectionFaultTest, testing::ValuesIn(sectionFaults), WalkFaultName);

TEST_F(WalkFaultTest, EntryWhoseNameCannotBeReadIsWalkedWithoutOne)
{
    const test::DescriptorFile descriptor(test::OneVersion("<s op_code='del_file'><sleep name='a'/></s>"));
    test::RecordingPass pass(descriptor.Path());
    const test::DomFault fault(DomMethod::ElementName, E_FAIL, 2);

    EXPECT_TRUE(pass.Process());

    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::ProcessSection", L"->node \"\""));
    EXPECT_EQ("del_file a", Joined(pass.Operations()));
}

TEST_F(WalkFaultTest, RefusedNodeInterfaceIsToldAsEventOne)
{
    const test::CallbackRecorder events;
    const test::DescriptorFile descriptor(TwoVersions());
    test::RecordingPass pass(descriptor.Path(), &test::CallbackRecorder::Record);
    const test::DomFault fault(DomMethod::DocumentQueryNode, E_FAIL);

    EXPECT_FALSE(pass.Process());

    EXPECT_EQ((std::vector{test::CallbackRecorder::Call{1, 2, false, {}}}), events.Calls());
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::Process", L"failed \"" + descriptor.Path() + L"\""));
}

TEST_F(WalkFaultTest, SectionWhoseOpCodeCannotBeReadAgainIsNotTold)
{
    const test::CallbackRecorder events;
    const test::DescriptorFile descriptor(test::OneVersion("<s op_code='del_file'/>"));
    test::RecordingPass pass(descriptor.Path(), &test::CallbackRecorder::Record);
    const test::DomFault fault(DomMethod::ElementAttributes, E_FAIL, 2);

    EXPECT_TRUE(pass.Process());

    EXPECT_TRUE(events.Calls().empty());
}

} // namespace
} // namespace prodsweep
