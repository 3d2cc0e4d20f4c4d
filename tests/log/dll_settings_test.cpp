// What the settings file and the functions that set something do to the built log.dll.
#include "log/built_log.h"
#include "support/handle_count.h"

#include <gmock/gmock.h>

namespace prodsweep::test {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

class DllSettingsTest : public testing::Test
{
protected:
    void LoadWith(const std::string& settings)
    {
        log.Settings(settings);
        log.Load();
    }
    void WriteEachLevel() const
    {
        log.Write(LOG_LEVEL_ERROR, L"an error");
        log.Write(LOG_LEVEL_TOLERATED, L"tolerated");
        log.Write(LOG_LEVEL_TRACE, L"traced");
        log.Write(LOG_LEVEL_SKIPPED, L"skipped");
    }

    BuiltLog log;
};

TEST_F(DllSettingsTest, WithoutASettingsFileNothingIsWritten)
{
    log.Load();
    EXPECT_FALSE(log.LogIsEnabled());
    log.LogSetPath(log.File().c_str());

    WriteEachLevel();

    EXPECT_FALSE(Exists(log.File()));
}

TEST_F(DllSettingsTest, ItDoesNotEvenHoldItsMutexWhileItIsOff)
{
    log.Load();
    const HandleCount handles;
    WriteEachLevel();
    EXPECT_TRUE(handles.Unchanged());
}

TEST_F(DllSettingsTest, SettingsFileTurnsItOn)
{
    LoadWith("enabled = yes\npath = a.log\nlevels = all\n");
    EXPECT_TRUE(log.LogIsEnabled());

    WriteEachLevel();

    EXPECT_THAT(TextsOf(log.File()), ElementsAre("an error", "tolerated", "traced", "skipped"));
}

TEST_F(DllSettingsTest, OnlyWantedLevelsAreWritten)
{
    LoadWith("enabled = yes\npath = a.log\nlevels = error, skipped\n");

    WriteEachLevel();

    EXPECT_THAT(TextsOf(log.File()), ElementsAre("an error", "skipped"));
}

TEST_F(DllSettingsTest, LineTellsTimeProcessThreadLevelAndFunction)
{
    LoadWith("enabled = yes\npath = a.log\n");

    log.Write(LOG_LEVEL_ERROR, L"load \"%s\" failed 0x%x", L"caf\x00e9", 5);

    EXPECT_THAT(LinesOf(log.File()),
                ElementsAre(MatchesRegex("20..-..-..T..:..:..\\....Z " + std::to_string(GetCurrentProcessId()) + " " +
                                         std::to_string(GetCurrentThreadId()) +
                                         " error CTest::Write: load \"caf\xc3\xa9\" failed 0x5")));
}

TEST_F(DllSettingsTest, FormatJsonWritesObjects)
{
    LoadWith("enabled = yes\npath = a.log\nformat = json\n");

    log.Write(LOG_LEVEL_ERROR, L"\"%s\"", L"C:\\x");

    EXPECT_THAT(LinesOf(log.File()),
                ElementsAre(MatchesRegex(R"(\{"time":"20.*Z","process":\d+,"thread":\d+,"level":"error",)"
                                         R"("function":"CTest::Write","text":"\\"C:\\\\x\\""\})")));
}

TEST_F(DllSettingsTest, PathMayHoldEnvironmentVariables)
{
    SetEnvironmentVariableW(L"PRODSWEEP_LOG_TEST", log.Root().c_str());
    LoadWith("enabled = yes\npath = %PRODSWEEP_LOG_TEST%\\a.log\n");
    SetEnvironmentVariableW(L"PRODSWEEP_LOG_TEST", nullptr);

    log.Write(LOG_LEVEL_ERROR, L"text");

    EXPECT_THAT(TextsOf(log.File()), ElementsAre("text"));
}

TEST_F(DllSettingsTest, AppendKeepsWhatIsThere)
{
    log.AddFile(L"a.log", FILE_ATTRIBUTE_NORMAL, "x: earlier\r\n");
    LoadWith("enabled = yes\npath = a.log\n");

    log.Write(LOG_LEVEL_ERROR, L"text");

    EXPECT_THAT(TextsOf(log.File()), ElementsAre("earlier", "text"));
}

TEST_F(DllSettingsTest, OverwriteEmptiesTheFileOnceAProcess)
{
    log.AddFile(L"a.log", FILE_ATTRIBUTE_NORMAL, "x: earlier\r\n");
    LoadWith("enabled = yes\npath = a.log\nmode = overwrite\n");

    log.Write(LOG_LEVEL_ERROR, L"first");
    log.LogDeinit();
    log.LogInit();
    log.LogApplySettings();
    log.Write(LOG_LEVEL_ERROR, L"second");

    EXPECT_THAT(TextsOf(log.File()), ElementsAre("first", "second"));
}

TEST_F(DllSettingsTest, FileThatIsFullIsPutAside)
{
    LoadWith("enabled = yes\npath = a.log\nmax_size = 1\nkeep = 2\n");
    const std::wstring kib(1000, L'x');

    for (int i = 0; i < 8; ++i)
        log.Write(LOG_LEVEL_ERROR, L"%d %s", i, kib.c_str());

    // A thousand and some bytes a line: the first of a file leaves it below 1 KiB, or fills it.
    EXPECT_TRUE(Exists(log.File()));
    EXPECT_TRUE(Exists(log.Path(L"a.log.2")));
    EXPECT_FALSE(Exists(log.Path(L"a.log.3")));
    EXPECT_EQ("7 " + std::string(1000, 'x'), TextsOf(log.File()).back());
    EXPECT_LT(ReadAllOf(log.Path(L"a.log.1")).size(), 2200u);
}

TEST_F(DllSettingsTest, WithoutALimitNothingIsPutAside)
{
    LoadWith("enabled = yes\npath = a.log\nmax_size = 0\n");
    for (int i = 0; i < 20; ++i)
        log.Write(LOG_LEVEL_ERROR, L"%s", std::wstring(1000, L'x').c_str());
    EXPECT_EQ(20u, LinesOf(log.File()).size());
    EXPECT_FALSE(Exists(log.Path(L"a.log.1")));
}

TEST_F(DllSettingsTest, KeepOfZeroBeginsTheFileAnew)
{
    LoadWith("enabled = yes\npath = a.log\nmax_size = 1\nkeep = 0\n");
    for (int i = 0; i < 3; ++i)
        log.Write(LOG_LEVEL_ERROR, L"%d %s", i, std::wstring(1100, L'x').c_str());
    EXPECT_EQ(1u, LinesOf(log.File()).size());
    EXPECT_EQ('2', TextsOf(log.File()).at(0).front());
    EXPECT_FALSE(Exists(log.Path(L"a.log.1")));
}

TEST_F(DllSettingsTest, SettingsFileMayBeUtf8WithItsMarkOrUtf16)
{
    const std::string name = "enabled=yes\npath=\xc3\xa9.log\n";
    std::string wide = "\xff\xfe";
    for (const wchar_t unit : std::wstring(L"enabled=yes\npath=\x00e9.log\n"))
        wide += {static_cast<char>(unit & 0xff), static_cast<char>(unit >> 8)};
    for (const std::string& text : {name, "\xef\xbb\xbf" + name, wide})
    {
        LoadWith(text);
        log.Write(LOG_LEVEL_ERROR, L"text");
        log.Unload();
        EXPECT_THAT(TextsOf(log.Path(L"\x00e9.log")), ElementsAre("text"));
        DeleteFileW(log.Path(L"\x00e9.log").c_str());
    }
}

TEST_F(DllSettingsTest, BadSettingsFileLeavesItOff)
{
    const std::string on = "enabled=yes\npath=a.log\n";
    for (const std::string& text : {std::string("\xff\xfe\x00", 3), std::string("MZ\x90\0\x03", 5), on + "; \xe9",
                                    on + std::string(0x10000, ';'), std::string()})
    {
        LoadWith(text);
        EXPECT_FALSE(log.LogIsEnabled());
        log.Write(LOG_LEVEL_ERROR, L"text");
        log.Unload();
    }
    EXPECT_FALSE(Exists(log.File()));
}

TEST_F(DllSettingsTest, SettingsFileThatIsAFolderLeavesItOff)
{
    log.AddFolder(L"log.ini");
    log.Load();
    EXPECT_FALSE(log.LogIsEnabled());
}

TEST_F(DllSettingsTest, FunctionsSetTheSameThings)
{
    log.Load();
    log.LogSetPath(log.File().c_str());
    log.LogSetLevel(LOG_LEVEL_TRACE);
    log.LogSetType(LOG_TYPE_JSON);
    log.LogSetMode(LOG_MODE_OVERWRITE);
    log.LogSetMaxSize(1);
    log.LogSetDepth(1);
    log.LogEnable(TRUE);
    log.AddFile(L"a.log", FILE_ATTRIBUTE_NORMAL, "earlier\n");

    WriteEachLevel();
    EXPECT_THAT(LinesOf(log.File()), ElementsAre(testing::HasSubstr(R"("level":"trace")")));
    log.Write(LOG_LEVEL_TRACE, L"%s", std::wstring(1100, L'x').c_str());
    log.Write(LOG_LEVEL_TRACE, L"%s", std::wstring(1100, L'x').c_str());
    log.Write(LOG_LEVEL_TRACE, L"last");
    EXPECT_THAT(LinesOf(log.File()), ElementsAre(testing::HasSubstr("last")));
    EXPECT_FALSE(Exists(log.Path(L"a.log.2")));
}

TEST_F(DllSettingsTest, FunctionsOverruleTheFileAndInitDoesNotTakeThatBack)
{
    log.Settings("enabled = yes\npath = other.log\n");
    log.Load();
    log.LogSetPath(log.File().c_str());
    log.LogInit();

    log.Write(LOG_LEVEL_ERROR, L"text");

    EXPECT_THAT(TextsOf(log.File()), ElementsAre("text"));
    EXPECT_FALSE(Exists(log.Path(L"other.log")));
}

TEST_F(DllSettingsTest, PathOfAFunctionIsTakenAsItStands)
{
    log.Load();
    log.LogSetPath(log.Path(L"%TEMP%.log").c_str());
    log.LogEnable(TRUE);
    log.Write(LOG_LEVEL_ERROR, L"text");
    EXPECT_THAT(TextsOf(log.Path(L"%TEMP%.log")), ElementsAre("text"));
}

TEST_F(DllSettingsTest, SettingsAreReadAnewOnDemand)
{
    LoadWith("enabled = no\npath = a.log\n");
    log.Write(LOG_LEVEL_ERROR, L"before");
    log.Settings("enabled = yes\npath = a.log\n");
    log.LogInit();
    log.Write(LOG_LEVEL_ERROR, L"not yet");

    log.LogApplySettings();
    log.Write(LOG_LEVEL_ERROR, L"after");

    EXPECT_THAT(TextsOf(log.File()), ElementsAre("after"));
}

TEST_F(DllSettingsTest, AnotherSettingsFileIsReadAtOnceAndItsFolderCounts)
{
    log.AddFile(L"sub\\other.ini", FILE_ATTRIBUTE_NORMAL, "enabled = yes\npath = b.log\n");
    log.Load();
    log.LogSetSettingsFile(log.Path(L"sub\\other.ini").c_str());
    log.Write(LOG_LEVEL_ERROR, L"text");
    EXPECT_THAT(TextsOf(log.Path(L"sub\\b.log")), ElementsAre("text"));
}

TEST_F(DllSettingsTest, MeaninglessNumbersChangeNothing)
{
    LoadWith("enabled = yes\npath = a.log\nformat = json\nmax_size = 1\nkeep = 1\n");
    log.LogSetType(7);
    log.LogSetMode(-1);
    log.LogSetDepth(-5);
    log.Write(LOG_LEVEL_ERROR, L"%s", std::wstring(1100, L'x').c_str());
    log.Write(LOG_LEVEL_ERROR, L"text");
    EXPECT_THAT(LinesOf(log.File()), ElementsAre(testing::HasSubstr(R"("text":"text")")));
    EXPECT_FALSE(Exists(log.Path(L"a.log.1"))) << "a depth below 0 is one of 0";
}

TEST_F(DllSettingsTest, MetricsAreCollectedNowhere)
{
    LoadWith("enabled = yes\npath = a.log\nlevels = all\n");
    log.LogTrackEvent(L"category", L"name");
    log.LogTrackEventData(nullptr, nullptr, nullptr);
    log.LogUninitDeskMetrics();
    EXPECT_FALSE(Exists(log.File()));
}

} // namespace
} // namespace prodsweep::test
