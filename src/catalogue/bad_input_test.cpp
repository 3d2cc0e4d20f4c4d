// What people and machines do to catalogue files. Whatever it is, a load ends with true or false and
// with one word to the callback, and what it gives is what stands in the file.
#include "catalogue/products.h"

#include "support/callback_recorder.h"
#include "support/com_scope.h"
#include "support/handle_count.h"
#include "support/log_recorder.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::CallbackRecorder;
using test::CatalogueEvent;
using test::RecordedCalls;

// All that the format has.
constexpr const char* sample = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
                               "<uninstall_information>\r\n"
                               "  <!-- remark -->\r\n"
                               "  <exec_all>false</exec_all>\r\n"
                               "  <product name=\"A &amp; B\" file=\"a.xml\">\r\n"
                               "    <version name=\"1\" id=\"{A}\"><code>x</code></version>\r\n"
                               "    <version name=\"2\" keypath=\"HKLM\\Software\\A\" keyvalue=\"Path\"/>\r\n"
                               "  </product>\r\n"
                               "  <product name=\"C\" file=\"c.xml\"/>\r\n"
                               "</uninstall_information>";

class BadInputTest : public testing::Test
{
protected:
    bool Load(const std::string& content)
    {
        const std::wstring path = tree.AddFile(L"catalogue.xml", FILE_ATTRIBUTE_NORMAL, content);
        products = {};
        callback.Calls().clear();
        return products.Load(path.c_str(), ProductKindOwn, &CallbackRecorder::Record);
    }

    // One product of that name.
    bool LoadProductNamed(const std::string& name)
    {
        return Load("<uninstall_information><product name=\"" + name + "\" file=\"a.xml\"/></uninstall_information>");
    }

    const test::ComScope com;
    test::TempTree tree;
    const CallbackRecorder callback;
    test::LogRecorder log;
    CProducts products;
};

TEST_F(BadInputTest, SampleIsGoodAndEveryPrefixOfItIsUnreadable)
{
    const std::string whole = sample;
    ASSERT_TRUE(Load(whole));
    ASSERT_EQ(2u, products.products.size());
    log.Pause();
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        ASSERT_FALSE(Load(whole.substr(0, length))) << length;
        ASSERT_EQ(RecordedCalls{CatalogueEvent(1)}, callback.Calls()) << length;
        ASSERT_TRUE(products.products.empty()) << length;
    }
}

TEST_F(BadInputTest, OneBrokenByteEndsInOneWordToTheCallback)
{
    const std::string whole = sample;
    log.Pause();
    for (std::size_t i = 0; i < whole.size(); ++i)
    {
        std::string content = whole;
        content[i] = "\0<\"\xFF"[i % 4];
        const bool loaded = Load(content);
        ASSERT_EQ(1u, callback.Calls().size()) << i;
        ASSERT_EQ(loaded, callback.Calls()[0].code == 0) << i;
    }
}

TEST_F(BadInputTest, HandlesDoNotGrowOverGoodAndBadLoads)
{
    log.Pause();
    const std::string contents[] = {sample, "<uninstall_information><product/></uninstall_information>", "<other/>",
                                    "<open>", ""};
    for (const std::string& content : contents)
        Load(content);
    const test::HandleCount handles;
    int good = 0;
    for (int i = 0; i < 20; ++i)
    {
        for (const std::string& content : contents)
            good += int{Load(content)};
    }
    EXPECT_EQ(20, good);
    EXPECT_TRUE(handles.Unchanged());
}

struct SpelledNameRow
{
    const char* name;
    const char* text; // as it stands in the file
    const wchar_t* expected;
};

class ProductNameTest : public BadInputTest, public testing::WithParamInterface<SpelledNameRow>
{};

TEST_P(ProductNameTest, ComesOutAsItWasMeant)
{
    EXPECT_TRUE(LoadProductNamed(GetParam().text));
    ASSERT_EQ(1u, products.products.size());
    EXPECT_EQ(GetParam().expected, products.products[0].name);
    CProduct info;
    EXPECT_TRUE(products.GetProductInfo(GetParam().expected, info));
}

INSTANTIATE_TEST_SUITE_P(Names, ProductNameTest,
                         testing::Values(SpelledNameRow{"Empty", "", L""},
                                         SpelledNameRow{"Blanks", "  A  B  ", L"  A  B  "},
                                         SpelledNameRow{"Quotes", "&quot;A&quot; 'B'", L"\"A\" 'B'"},
                                         SpelledNameRow{"Markup", "&lt;A&gt; &amp;amp;", L"<A> &amp;"},
                                         SpelledNameRow{"Percent", "%s%n%d 100%", L"%s%n%d 100%"},
                                         SpelledNameRow{"LineBreak", "A&#10;B&#13;", L"A\nB\r"},
                                         SpelledNameRow{"Umlauts", "\xC3\x9C\xC3\xA4", L"\x00DC\x00E4"},
                                         SpelledNameRow{"NonBasicPlane", "\xF0\x9F\xA7\xB9", L"\xD83E\xDDF9"},
                                         SpelledNameRow{"NonBasicPlaneByNumber", "&#x1F9F9;", L"\xD83E\xDDF9"},
                                         SpelledNameRow{"RightToLeft", "\xD7\x90\xE2\x80\x8F", L"\x05D0\x200F"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(BadInputTest, NameOf32768CharactersIsKeptWhole)
{
    const std::string name(32768, 'n');
    EXPECT_TRUE(LoadProductNamed(name));
    ASSERT_EQ(1u, products.products.size());
    EXPECT_EQ(std::wstring(32768, L'n'), products.products[0].name);
    EXPECT_FALSE(products.products[0].IsInstalled(ProductKindOwn));
    EXPECT_TRUE(log.Has(0x10, "CProduct::IsInstalled", L"\"" + std::wstring(32768, L'n') + L"\" is installed : false"));
}

TEST_F(BadInputTest, LongAttributesOfAVersionDoNoHarm)
{
    const std::string text(32768, 'x');
    EXPECT_TRUE(Load("<uninstall_information><product name='A' file='" + text + "'><v name='" + text + "' id='" + text +
                     "'/><v name='1' prodName='" + text + "'/><v name='2' keypath='HKLM\\" + text + "' keyvalue='" +
                     text + "'/></product></uninstall_information>"));
    ASSERT_EQ(1u, products.products.size());
    ASSERT_EQ(3u, products.products[0].versions.size());
    EXPECT_FALSE(products.products[0].IsInstalled(ProductKindOwn));
    EXPECT_FALSE(products.products[0].IsInstalled(ProductKindOther));
}

struct EncodingRow
{
    const char* name;
    std::string content;
};

class EncodingTest : public BadInputTest, public testing::WithParamInterface<EncodingRow>
{};

TEST_P(EncodingTest, OfTheFileIsSeenThrough)
{
    EXPECT_TRUE(Load(GetParam().content));
    ASSERT_EQ(1u, products.products.size());
    EXPECT_EQ(L"\x00DC", products.products[0].name);
}

// The same file, with two bytes for each character.
std::string Utf16(const std::wstring& text)
{
    return "\xFF\xFE" + std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

INSTANTIATE_TEST_SUITE_P(
    Encodings, EncodingTest,
    testing::Values(
        EncodingRow{"Utf8", "<uninstall_information><product name='\xC3\x9C' file='a'/></uninstall_information>"},
        EncodingRow{"Utf8WithMark",
                    "\xEF\xBB\xBF<uninstall_information><product name='\xC3\x9C' file='a'/></uninstall_information>"},
        EncodingRow{"Latin1", "<?xml version='1.0' encoding='iso-8859-1'?>"
                              "<uninstall_information><product name='\xDC' file='a'/></uninstall_information>"},
        EncodingRow{"Utf16", Utf16(L"<uninstall_information><product name='\x00DC' file='a'/>"
                                   L"</uninstall_information>")}),
    [](const auto& row) { return row.param.name; });

// Far more than any catalogue has.

TEST_F(BadInputTest, HundredThousandProductsAreListed)
{
    log.Pause();
    std::string content = "<uninstall_information>";
    for (int i = 0; i < 100000; ++i)
        content += "<product name=\"" + std::to_string(i) + "\" file=\"a.xml\"/>";
    EXPECT_TRUE(Load(content + "</uninstall_information>"));
    ASSERT_EQ(100000u, products.products.size());
    EXPECT_EQ(L"0", products.products.front().name);
    EXPECT_EQ(L"99999", products.products.back().name);
}

TEST_F(BadInputTest, TenThousandVersionsOfOneProductAreListed)
{
    log.Pause();
    std::string content = "<uninstall_information><product name='A' file='a.xml'>";
    for (int i = 0; i < 10000; ++i)
        content += "<v name='" + std::to_string(i) + "' id='{" + std::to_string(i) + "}'/>";
    EXPECT_TRUE(Load(content + "</product></uninstall_information>"));
    ASSERT_EQ(1u, products.products.size());
    EXPECT_EQ(10000u, products.products[0].versions.size());
}

TEST_F(BadInputTest, DeepNestingDoesNoHarm)
{
    std::string content = "<uninstall_information><product name='A' file='a.xml'><v name='1' id='x'>";
    for (int i = 0; i < 200; ++i)
        content += "<n>";
    content += "text";
    for (int i = 0; i < 200; ++i)
        content += "</n>";
    EXPECT_TRUE(Load(content + "</v></product></uninstall_information>"));
    ASSERT_EQ(1u, products.products.size());
    EXPECT_EQ((std::vector<std::wstring>{L"text"}), products.products[0].versions[0].ChildValues[L"n"]);
}

} // namespace
} // namespace prodsweep
