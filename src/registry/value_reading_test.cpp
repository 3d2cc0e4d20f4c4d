#include "registry/reg_key_helper.h"

#include "common/unique_reg_key.h"
#include "registry/split_key_path.h"
#include "support/registry_faults.h"
#include "support/registry_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>

namespace prodsweep {
namespace {

using test::RegistryFaults;
using testing::ElementsAre;

class ValueReadingTest : public test::RegistryFixture
{
protected:
    ValueReadingTest()
    {
        const CSplitKeyPath tablesAreFilled;
        std::fill(std::begin(text), std::end(text), L'#');
    }

    int Read(const std::wstring& value)
    {
        return CRegKeyHelper::GetValue(HKEY_CURRENT_USER, box.Subkey(L"key").c_str(), value.c_str(), text, false);
    }
    std::wstring Place() const { return L"HKEY_CURRENT_USER\\" + box.Subkey(L"key"); }

    const char* const here = "CRegKeyHelper::GetValue";
    wchar_t text[260];
};

TEST_F(ValueReadingTest, TextIsReadWithItsZero)
{
    box.AddText(L"key", L"value", L"C:\\Program Files\\App");
    EXPECT_EQ(_ERROR_SUCCESS, Read(L"value"));
    EXPECT_STREQ(L"C:\\Program Files\\App", text);
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(ValueReadingTest, EmptyNameIsTheDefaultValue)
{
    box.AddText(L"key", L"", L"default");
    EXPECT_EQ(_ERROR_SUCCESS, Read(L""));
    EXPECT_STREQ(L"default", text);
}

TEST_F(ValueReadingTest, FlagHasNoEffect)
{
    box.AddText(L"key", L"value", L"text");
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS,
              CRegKeyHelper::GetValue(HKEY_CURRENT_USER, box.Subkey(L"key").c_str(), L"value", text, true));
    EXPECT_STREQ(L"text", text);
    EXPECT_THAT(faults.Calls(), ElementsAre(L"open " + box.Subkey(L"key") + L" 0x1"));
}

TEST_F(ValueReadingTest, LongestTextHas129Characters)
{
    box.AddText(L"key", L"value", std::wstring(129, L'x'));
    EXPECT_EQ(_ERROR_SUCCESS, Read(L"value"));
    EXPECT_EQ(std::wstring(129, L'x'), text);
}

TEST_F(ValueReadingTest, LongerTextCountsAsAbsent)
{
    box.AddText(L"key", L"value", std::wstring(130, L'x'));
    EXPECT_EQ(_ERROR_NOT_FOUND, Read(L"value"));
    EXPECT_TRUE(log.Has(LogError, here, L"RegQueryValueEx failed " + Place() + L" value error = 0xea"));
}

struct RawCase
{
    const char* name;
    std::size_t bytes;
    std::wstring text;
};

class RawTextTest : public ValueReadingTest, public testing::WithParamInterface<RawCase>
{};

TEST_P(RawTextTest, IsTerminatedBehindItsData)
{
    // More behind it, because the system adds a zero that it finds there.
    const std::wstring data(200, L'x');
    box.AddData(L"key", L"value", REG_SZ, data.data(), GetParam().bytes);
    EXPECT_EQ(_ERROR_SUCCESS, Read(L"value"));
    EXPECT_EQ(GetParam().text, text);
}

const RawCase rawCases[] = {
    {"NoData", 0, L""},
    {"OneCharacter", 2, L"x"},
    {"OneAndAHalf", 3, L"x"},
    {"WithoutAZero", 20, std::wstring(10, L'x')},
    {"AllThatIsAllowed", 260, std::wstring(130, L'x')},
};
INSTANTIATE_TEST_SUITE_P(Data, RawTextTest, testing::ValuesIn(rawCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ValueReadingTest, NothingIsWrittenBehindTheLimitAndItsZero)
{
    const std::wstring data(200, L'x');
    box.AddData(L"key", L"value", REG_SZ, data.data(), 260);
    EXPECT_EQ(_ERROR_SUCCESS, Read(L"value"));
    EXPECT_EQ(L'\0', text[130]);
    EXPECT_TRUE(std::all_of(text + 131, std::end(text), [](wchar_t c) { return c == L'#'; }));
}

TEST_F(ValueReadingTest, AnyOtherTypeCountsAsAbsentAndStaysUnexpanded)
{
    constexpr DWORD types[] = {REG_NONE, REG_EXPAND_SZ, REG_BINARY, REG_MULTI_SZ, 0x12345};
    for (const DWORD type : types)
    {
        log.Clear();
        box.AddText(L"key", L"value", L"%TEMP%", type);
        EXPECT_EQ(_ERROR_NOT_FOUND, Read(L"value")) << type;
        EXPECT_STREQ(L"%TEMP%", text);
        EXPECT_TRUE(log.Has(LogError, here, L"RegQueryValueEx failed " + Place() + L" value, type must be REG_SZ"));
    }
}

TEST_F(ValueReadingTest, MissingValueIsNotFound)
{
    box.AddKey(L"key");
    EXPECT_EQ(_ERROR_NOT_FOUND, Read(L"missing"));
    EXPECT_TRUE(log.Has(LogError, here, L"RegQueryValueEx failed " + Place() + L" missing error = 0x2"));
}

TEST_F(ValueReadingTest, ErrorOfTheOpenDecidesBetweenNotFoundAndFailed)
{
    struct
    {
        LSTATUS error;
        int result;
        const wchar_t* code;
    } constexpr rows[] = {{ERROR_FILE_NOT_FOUND, _ERROR_NOT_FOUND, L"0x2"},
                          {ERROR_PATH_NOT_FOUND, _ERROR_NOT_FOUND, L"0x3"},
                          {ERROR_INVALID_NAME, _ERROR_NOT_FOUND, L"0x7b"},
                          {ERROR_ACCESS_DENIED, _ERROR_FAILED, L"0x5"},
                          {ERROR_BAD_PATHNAME, _ERROR_FAILED, L"0xa1"}};
    box.AddText(L"key", L"value", L"text");
    for (const auto& row : rows)
    {
        RegistryFaults faults;
        faults.RefuseOpen(box.Subkey(L"key"), row.error);
        EXPECT_EQ(row.result, Read(L"value"));
        EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx failed " + Place() + L" error = " + row.code));
    }
}

TEST_F(ValueReadingTest, HiveWithoutANameKeepsAFailedOpenQuiet)
{
    box.AddText(L"key", L"value", L"text");
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, box.Subkey().c_str(), 0, KEY_ALL_ACCESS, &key));
    const UniqueRegKey opened(key);

    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::GetValue(key, L"missing", L"value", text, false));
    EXPECT_TRUE(log.Records().empty());

    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::GetValue(key, L"key", L"missing", text, false));
    EXPECT_TRUE(log.Has(LogError, here, L"RegQueryValueEx failed \\key missing error = 0x2"));

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValue(key, L"key", L"value", text, false));
    EXPECT_STREQ(L"text", text);
}

} // namespace
} // namespace prodsweep
