#include "settings.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace prodsweep::logger {
namespace {

const std::wstring folder = L"C:\\Program Files\\Maker\\";

Settings Parse(const std::wstring& text) { return ParseSettings(text, folder); }

void ExpectDefaults(const Settings& settings)
{
    const Settings defaults = DefaultSettings();
    EXPECT_EQ(defaults.enabled, settings.enabled);
    EXPECT_EQ(defaults.levels, settings.levels);
    EXPECT_EQ(defaults.path, settings.path);
    EXPECT_EQ(defaults.type, settings.type);
    EXPECT_EQ(defaults.mode, settings.mode);
    EXPECT_EQ(defaults.maxSize, settings.maxSize);
    EXPECT_EQ(defaults.depth, settings.depth);
}

TEST(SettingsTest, DefaultIsOffAndErrorsIntoTheTemporaryFolder)
{
    const Settings settings = Parse(L"");
    wchar_t temp[MAX_PATH] = {};
    GetEnvironmentVariableW(L"TEMP", temp, MAX_PATH);

    EXPECT_FALSE(settings.enabled);
    EXPECT_EQ(LOG_LEVEL_ERROR | LOG_LEVEL_TOLERATED | LOG_LEVEL_SKIPPED, settings.levels);
    EXPECT_EQ(std::wstring(temp) + L"\\prodsweep.log", settings.path);
    EXPECT_EQ(LOG_TYPE_TEXT, settings.type);
    EXPECT_EQ(LOG_MODE_APPEND, settings.mode);
    EXPECT_EQ(10240u, settings.maxSize);
    EXPECT_EQ(3, settings.depth);
}

TEST(SettingsTest, EveryKeyIsRead)
{
    const Settings settings = Parse(L"; comment\r\n# comment\r\n[log]\r\nenabled = yes\r\nlevels = error, trace\r\n"
                                    L"path=D:\\logs\\a.log\r\nformat = json\r\nmode = overwrite\r\n"
                                    L"max_size = 64\r\nkeep = 7\r\n");
    EXPECT_TRUE(settings.enabled);
    EXPECT_EQ(LOG_LEVEL_ERROR | LOG_LEVEL_TRACE, settings.levels);
    EXPECT_EQ(L"D:\\logs\\a.log", settings.path);
    EXPECT_EQ(LOG_TYPE_JSON, settings.type);
    EXPECT_EQ(LOG_MODE_OVERWRITE, settings.mode);
    EXPECT_EQ(64u, settings.maxSize);
    EXPECT_EQ(7, settings.depth);
}

TEST(SettingsTest, KeysAndWordsHaveNoCaseAndBlanksDoNotMatter)
{
    const Settings settings = Parse(L"  ENABLED=Yes \n\tLevels\t=\tERROR ,Skipped\nFormat=Json");
    EXPECT_TRUE(settings.enabled);
    EXPECT_EQ(LOG_LEVEL_ERROR | LOG_LEVEL_SKIPPED, settings.levels);
    EXPECT_EQ(LOG_TYPE_JSON, settings.type);
}

TEST(SettingsTest, LastOfTwoLinesCounts) { EXPECT_EQ(2, Parse(L"keep=1\nkeep=2").depth); }

TEST(SettingsTest, EachLevelHasItsName)
{
    const std::pair<const wchar_t*, int> names[] = {{L"error", 4},    {L"tolerated", 8}, {L"trace", 16},
                                                    {L"skipped", 32}, {L"all", 60},      {L"none", 0}};
    for (const auto& [name, number] : names)
        EXPECT_EQ(number, Parse(L"levels=" + std::wstring(name)).levels);
}

TEST(SettingsTest, SwitchTakesTheUsualWords)
{
    for (const wchar_t* const word : {L"yes", L"true", L"1"})
        EXPECT_TRUE(Parse(L"enabled=" + std::wstring(word)).enabled);
    for (const wchar_t* const word : {L"no", L"false", L"0"})
        EXPECT_FALSE(Parse(L"enabled=yes\nenabled=" + std::wstring(word)).enabled);
}

TEST(SettingsTest, EnvironmentVariablesStandInPaths)
{
    SetEnvironmentVariableW(L"PRODSWEEP_LOG_TEST", L"E:\\of variable");
    EXPECT_EQ(L"E:\\of variable\\a.log", Parse(L"path=%PRODSWEEP_LOG_TEST%\\a.log").path);
    SetEnvironmentVariableW(L"PRODSWEEP_LOG_TEST", nullptr);
}

TEST(SettingsTest, RelativePathIsBelowTheFolder)
{
    EXPECT_EQ(folder + L"logs\\a.log", Parse(L"path=logs\\a.log").path);
    EXPECT_EQ(L"C:\\Program Files\\a.log", Parse(L"path=..\\a.log").path);
}

TEST(SettingsTest, LineWithoutMeaningChangesNothing)
{
    for (const wchar_t* const line : {L"enabled",
                                      L"enabled=",
                                      L"enabled=maybe",
                                      L"enabled=yes=no",
                                      L"levels=",
                                      L"levels=loud",
                                      L"levels=error,loud",
                                      L"levels=,",
                                      L"format=xml",
                                      L"mode=",
                                      L"max_size=-1",
                                      L"max_size=1e3",
                                      L"max_size=99999999999999999999",
                                      L"max_size=",
                                      L"keep=100",
                                      L"keep=x",
                                      L"path=",
                                      L"=",
                                      L"= yes",
                                      L"colour=red",
                                      L"\xd800",
                                      L"levels=4"})
    {
        SCOPED_TRACE(testing::PrintToString(std::wstring(line)));
        ExpectDefaults(Parse(line));
    }
}

TEST(SettingsTest, GoodLinesAroundABadOneCount)
{
    const Settings settings = Parse(L"keep=5\nkeep=many\nenabled=yes");
    EXPECT_EQ(5, settings.depth);
    EXPECT_TRUE(settings.enabled);
}

} // namespace
} // namespace prodsweep::logger
