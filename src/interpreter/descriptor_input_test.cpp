// Descriptors as they should not be: broken, huge, deep, or after what lies outside of them.
#include "environment/log.h"
#include "interpreter/op_codes.h"
#include "interpreter/product_check_use.h"
#include "interpreter/product_installed.h"
#include "support/com_scope.h"
#include "support/descriptor_file.h"
#include "support/log_recorder.h"
#include "support/recording_pass.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace prodsweep {
namespace {

using test::OneVersion;

std::string Repeat(const std::string& text, int times)
{
    std::string repeated;
    for (int i = 0; i < times; ++i)
        repeated += text;
    return repeated;
}

class DescriptorInputTest : public testing::Test
{
protected:
    // Walked by all three kinds of pass; the operations are those of the recording one.
    bool Walk(const std::string& xml)
    {
        const std::wstring file = tree.AddFile(L"descriptor.xml", FILE_ATTRIBUTE_NORMAL, xml);
        test::RecordingPass pass(file);
        const bool result = pass.Process();
        operations = pass.Operations();
        calls = pass.calls;
        installed = CProductInstalled(file).Process();
        const CProductCheckUse use(file);
        return result;
    }

    test::ComScope com;
    test::LogRecorder log;
    test::TempTree tree;
    std::vector<std::string> operations;
    std::vector<test::RecordingPass::Call> calls;
    bool installed = false;
};

std::string WithDtd(const std::string& declarations, const std::string& section)
{
    return "<!DOCTYPE uninstall_information [" + declarations + "]>" + OneVersion(section);
}

// Ten entities, each of ten of the one before: a thousand million texts.
std::string ManyEntities()
{
    std::string declarations = "<!ENTITY a0 'x'>";
    for (int i = 1; i < 10; ++i)
        declarations += "<!ENTITY a" + std::to_string(i) + " '" + Repeat("&a" + std::to_string(i - 1) + ";", 10) + "'>";
    return declarations;
}

TEST_F(DescriptorInputTest, TextThatIsNotWellFormedIsNotLoaded)
{
    const std::string entry = "<s op_code='del_file'><e name='a'/></s>";
    const std::string texts[] = {
        "",
        " \n\t ",
        "\xEF\xBB\xBF",
        "no markup",
        "<uninstall_information>",
        "<a/><b/>",
        OneVersion("<s op_code='del_file'><e name='\xFF\xFE'/></s>"),
        OneVersion("<s op_code='del_file'><e name='a") + std::string(1, '\0') + "b'/></s>",
        OneVersion("<s op_code='del_file'><e name='a' name='b'/></s>"),
        OneVersion("<s op_code='del_file'><e name='&undefined;'/></s>"),
        OneVersion("<s op_code='del_file'><e name='<'/></s>"),
        OneVersion(entry) + "<more/>",
        WithDtd(ManyEntities(), "<s op_code='del_file'><e name='&a9;'/></s>"),
        WithDtd(ManyEntities(), "<s op_code='del_file'><e name='a'>&a9;</e></s>"),
    };
    for (const std::string& text : texts)
    {
        EXPECT_FALSE(Walk(text)) << text;
        EXPECT_FALSE(installed) << text;
        EXPECT_TRUE(operations.empty()) << text;
    }
}

// One of everything that a descriptor has.
std::string SampleDescriptor()
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!-- sample -->\n<uninstall_information>\n"
           " <version_list><v1/></version_list>\n <v1 mandatory_sections=\"any\">\n"
           "  <app_path key=\"HKCU\\Software\\x\" name=\"dir\"/><install_folder name=\"&#65;pp\"/>\n  <win_nt>\n"
           "   <s op_code=\"kill_process\" minimum_score=\"1\"><e target_name='a.exe' score=\"1\"/></s>\n"
           "   <s op_code=\"del_regkey\"><e name='HKCU\\x' data_str='a;b' complete_str='yes' x32view='1'/></s>\n"
           "  </win_nt>\n </v1>\n</uninstall_information>";
}

TEST_F(DescriptorInputTest, SampleCutOffAtEachByteIsNotLoaded)
{
    const std::string sample = SampleDescriptor();
    ASSERT_TRUE(Walk(sample));
    ASSERT_TRUE(installed);
    ASSERT_EQ(2u, operations.size());
    log.Pause();
    for (std::size_t length = 0; length < sample.size(); ++length)
    {
        EXPECT_FALSE(Walk(sample.substr(0, length))) << length;
        EXPECT_FALSE(installed) << length;
        EXPECT_TRUE(operations.empty()) << length;
    }
}

TEST_F(DescriptorInputTest, ThousandsOfEntriesAreAllWalked)
{
    log.Pause();
    EXPECT_TRUE(Walk(OneVersion("<s op_code='kill_process' minimum_score='10000'>" + Repeat("<e/>", 10000) + "</s>")));
    EXPECT_EQ(10000u, operations.size());
    EXPECT_TRUE(installed);
}

TEST_F(DescriptorInputTest, ThousandsOfSectionsAreAllWalked)
{
    log.Pause();
    EXPECT_TRUE(Walk(OneVersion(Repeat("<s op_code='kill_process' minimum_score='2'><e/></s>", 9999) +
                                "<s op_code='kill_process'><e/></s>")));
    EXPECT_EQ(10000u, operations.size());
    EXPECT_TRUE(installed);
}

TEST_F(DescriptorInputTest, ThousandsOfListedVersionsAreAllWalked)
{
    log.Pause();
    const std::string version = "<v><win_nt><s op_code='del_file'><e/></s></win_nt></v>";
    EXPECT_TRUE(Walk("<uninstall_information><version_list>" + Repeat("<v/><absent/>", 5000) + "</version_list>" +
                     version + "</uninstall_information>"));
    EXPECT_EQ(5000u, operations.size());
}

TEST_F(DescriptorInputTest, ThousandsOfVersionsThatAreNotListedAreNotWalked)
{
    log.Pause();
    const std::string version = "<win_nt><s op_code='del_file'><e/></s></win_nt>";
    EXPECT_TRUE(Walk("<uninstall_information><version_list><last/></version_list>" +
                     Repeat("<v>" + version + "</v>", 10000) + "<last>" + version + "</last></uninstall_information>"));
    EXPECT_EQ(1u, operations.size());
}

// Hundreds and no thousands: MSXML looks for each name among all siblings, so the time grows with the
// square of their number. Ten thousand names take minutes under Wine, these five hundred about a second.
TEST_F(DescriptorInputTest, HundredsOfVersionsAreWalkedEachByItsName)
{
    log.Pause();
    std::ostringstream list;
    std::ostringstream versions;
    for (int i = 0; i < 500; ++i)
    {
        list << "<v" << 499 - i << "/>";
        versions << "<v" << i << "><win_nt><s op_code='del_file'><e name='v" << i << "'/></s></win_nt></v" << i << '>';
    }
    EXPECT_TRUE(Walk("<uninstall_information><version_list>" + list.str() + "</version_list>" + versions.str() +
                     "</uninstall_information>"));
    ASSERT_EQ(500u, operations.size());
    EXPECT_EQ("del_file v499", operations.front());
    EXPECT_EQ("del_file v0", operations.back());
}

TEST_F(DescriptorInputTest, LongValuesComeThroughWhole)
{
    log.Pause();
    const std::string value(65536, 'a');
    EXPECT_TRUE(Walk(OneVersion("<s op_code='del_file'><e name='" + value + "'/></s>")));
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ(std::wstring(65536, L'a'), calls[0].attributes.at(L"name"));
}

constexpr const char* attributeNames[] = {"name",      "path",        "target_name", "rel_shortcut", "rel_target",
                                          "data_str",  "key_path",    "rel_name",    "x32view",      "tool_name",
                                          "cmd_line",  "module",      "method_name", "os",           "score",
                                          "mandatory", "complete_str"};

// An entry with the attributes that most operations need, one of them (or one more) replaced.
std::string EntryWith(const std::string& name, const std::string& value)
{
    std::map<std::string, std::string> attributes{
        {"name", "n"}, {"path", ""}, {"key_path", "HKCU\\n"}, {"target_name", "t"}};
    attributes[name] = value;
    std::string entry = "<e";
    for (const auto& [key, text] : attributes)
        entry.append(" ").append(key).append("='").append(text).append("'");
    return entry + "/>";
}

TEST_F(DescriptorInputTest, LongValuesOfEachAttributeAreTakenByEachOperation)
{
    log.Pause();
    const std::string value(65536, 'a');
    std::string entries;
    for (const char* name : attributeNames)
        entries += EntryWith(name, value);
    for (const OpCode& opCode : OpCodes())
    {
        const std::wstring text = opCode.text;
        EXPECT_TRUE(Walk(OneVersion("<s op_code='" + std::string(text.begin(), text.end()) + "'>" + entries + "</s>")));
        EXPECT_EQ(std::size(attributeNames), operations.size());
    }
}

// Each operation that looks at something, with an entry for each single attribute, known and unknown folders.
TEST_F(DescriptorInputTest, EntriesWithoutWhatTheyNeedAreMisses)
{
    for (const wchar_t* opCode : {L"del_file", L"del_folder", L"del_shortcut", L"del_regkey", L"del_regvalue",
                                  L"disable_driver", L"disable_service"})
    {
        const std::wstring text = opCode;
        std::string entries = "<e/><e path='no_such' rel_name='no_such'/>";
        for (const char* name : attributeNames)
        {
            if (std::string("name") != name)
                entries += "<e " + std::string(name) + "='no_such'/>";
        }
        // The one score among the attributes is a text, and so 0.
        const std::string section = "<s op_code='" + std::string(text.begin(), text.end()) + "' minimum_score='1'>";
        EXPECT_TRUE(Walk(OneVersion(section + entries + "</s>"))) << text;
        EXPECT_FALSE(installed) << text;
    }
}

TEST_F(DescriptorInputTest, UnknownFoldersAreMisses)
{
    for (const char* opCode : {"del_file", "del_folder", "del_shortcut", "del_regvalue"})
    {
        EXPECT_TRUE(Walk(OneVersion("<s op_code='" + std::string(opCode) +
                                    "' minimum_score='1'><e name='a' path='no_such' key_path='HKCU\\Software' "
                                    "rel_name='no_such' target_name='a' rel_shortcut='no_such'/></s>")));
        EXPECT_FALSE(installed) << opCode;
    }
}

TEST_F(DescriptorInputTest, NodesThatAreNoElementsEndTheirSection)
{
    for (const char* node : {"<!--c-->", "text", "<![CDATA[text]]>", "<?pi name='b'?>"})
    {
        EXPECT_TRUE(Walk(OneVersion("<s op_code='kill_process'><e name='a'/>" + std::string(node) +
                                    "<e name='b'/></s><s op_code='del_file'><e name='c'/></s>")));
        EXPECT_EQ((std::vector<std::string>{"kill_process a", "del_file c"}), operations) << node;
    }
}

TEST_F(DescriptorInputTest, WhiteSpaceIsNoNode)
{
    EXPECT_TRUE(Walk(OneVersion("\n <s op_code='kill_process'>\n\t<e name='a'/>\r\n <e name='b'/> </s>\n ")));
    EXPECT_EQ(2u, operations.size());
}

TEST_F(DescriptorInputTest, OnlyOneLevelOfEntriesIsRead)
{
    EXPECT_TRUE(Walk(OneVersion("<s op_code='del_file'><e name='a'>" + Repeat("<e name='b'>", 200) +
                                Repeat("</e>", 200) + "</e></s>")));
    EXPECT_EQ(std::vector<std::string>{"del_file a"}, operations);
}

TEST_F(DescriptorInputTest, NestingWithoutBoundIsRefusedOrWalkedButDoesNoHarm)
{
    const bool loaded = Walk(
        OneVersion("<s op_code='del_file'><e name='a'>" + Repeat("<d>", 100000) + Repeat("</d>", 100000) + "</e></s>"));
    EXPECT_EQ(loaded ? 1u : 0u, operations.size());
}

TEST_F(DescriptorInputTest, InternalEntitiesAreExpandedInValues)
{
    EXPECT_TRUE(Walk(WithDtd("<!ENTITY dir 'C:\\App'>", "<s op_code='del_file'><e name='&dir;\\a'/></s>")));
    EXPECT_EQ(std::vector<std::string>{"del_file C:\\App\\a"}, operations);
}

TEST_F(DescriptorInputTest, ManyEntitiesDoNoHarmWhileNoneIsUsed)
{
    EXPECT_TRUE(Walk(WithDtd(ManyEntities(), "<s op_code='del_file'><e name='a'/></s>")));
    EXPECT_EQ(1u, operations.size());
}

class ExternalEntityTest : public DescriptorInputTest
{
protected:
    // "file:///C:/..." of a file beside the descriptor's own folder.
    std::string Url(const std::string& content)
    {
        std::string url = "file:///" + test::Narrow(tree.AddFile(L"external.xml", FILE_ATTRIBUTE_NORMAL, content));
        for (char& character : url)
            character = character == '\\' ? '/' : character;
        return url;
    }
};

TEST_F(ExternalEntityTest, EntityOfAnotherFileBringsNoEntry)
{
    const std::string declaration = "<!ENTITY more SYSTEM '" + Url("<e name='external'/>") + "'>";
    EXPECT_TRUE(Walk(WithDtd(declaration, "<s op_code='del_file'><e name='a'/>&more;<e name='b'/></s>")));
    // The reference is a node without attributes, and so ends its section.
    EXPECT_EQ(std::vector<std::string>{"del_file a"}, operations);
}

TEST_F(ExternalEntityTest, EntityOfAnotherFileInAValueIsRefused)
{
    const std::string declaration = "<!ENTITY more SYSTEM '" + Url("external") + "'>";
    EXPECT_FALSE(Walk(WithDtd(declaration, "<s op_code='del_file'><e name='&more;'/></s>")));
}

TEST_F(ExternalEntityTest, ExternalSubsetAddsNothing)
{
    const std::string url = Url("<!ATTLIST e name CDATA 'external'><!ENTITY more 'x'>");
    EXPECT_TRUE(
        Walk("<!DOCTYPE uninstall_information SYSTEM '" + url + "'>" + OneVersion("<s op_code='del_file'><e/></s>")));
    EXPECT_EQ(std::vector<std::string>{"del_file"}, operations);
}

TEST_F(ExternalEntityTest, NothingIsAskedOfTheNetwork)
{
    // Nobody listens there: an attempt would fail the load, or take its time.
    const std::string dead = "http://127.0.0.1:9/external";
    EXPECT_TRUE(Walk("<!DOCTYPE uninstall_information SYSTEM '" + dead + "' [<!ENTITY more SYSTEM '" + dead + "'>]>" +
                     OneVersion("<s op_code='del_file'><e name='a'/>&more;</s>")));
    EXPECT_EQ(std::vector<std::string>{"del_file a"}, operations);
}

} // namespace
} // namespace prodsweep
