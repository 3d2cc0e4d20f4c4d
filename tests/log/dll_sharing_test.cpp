// Many threads, several processes and processes that die, at one file.
#include "log/built_log.h"

#include "support/process.h"

#include <gmock/gmock.h>

#include <map>
#include <thread>

namespace prodsweep::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

// All that was kept of a log, oldest first.
std::vector<std::string> KeptTexts(const BuiltLog& log, int depth)
{
    std::vector<std::string> all;
    for (int number = depth; number >= 0; --number)
    {
        const std::wstring name = number == 0 ? L"a.log" : L"a.log." + std::to_wstring(number);
        const std::vector<std::string> texts = TextsOf(log.Path(name));
        all.insert(all.end(), texts.begin(), texts.end());
    }
    return all;
}

// Each name wrote "NAME 0" to "NAME count-1", each line once and in that order, and nothing else is there but the lines
// of the names' ends.
void ExpectWholeAndInOrder(const std::vector<std::string>& texts, const std::vector<std::string>& names, int count)
{
    std::map<std::string, int> next;
    for (const std::string& text : texts)
    {
        const std::string name = text.substr(0, text.find(' '));
        ASSERT_THAT(names, Contains(name)) << "a line was torn: " << text;
        if (text.ends_with(" last"))
            continue;
        EXPECT_EQ(name + " " + std::to_string(next[name]++), text);
    }
    for (const std::string& name : names)
        EXPECT_EQ(count, next[name]) << name;
}

ProcessResult RunWriter(const BuiltLog& log, const std::string& name, int count, const std::wstring& way = {})
{
    return RunProcess(L"\"" + ThisProgramsFolder() + L"log_writer.exe\" \"" + log.Dll() + L"\" " +
                      std::wstring(name.begin(), name.end()) + L" " + std::to_wstring(count) + L" " + way);
}

class DllSharingTest : public testing::Test
{
protected:
    BuiltLog log;
};

TEST_F(DllSharingTest, ManyThreadsWriteWholeLinesAndLoseNone)
{
    log.Settings("enabled = yes\npath = a.log\nlevels = all\nmax_size = 8\nkeep = 99\n");
    log.Load();
    constexpr int writers = 8;
    constexpr int count = 200;
    std::vector<std::string> names;
    names.reserve(writers);
    std::vector<std::thread> threads;
    threads.reserve(writers);
    for (int i = 0; i < writers; ++i)
    {
        names.push_back("thread" + std::to_string(i));
        threads.emplace_back([this, i] {
            for (int line = 0; line < count; ++line)
                log.Write(LOG_LEVEL_TRACE, L"thread%d %d", i, line);
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_TRUE(Exists(log.Path(L"a.log.5"))) << "the file was not put aside while the threads wrote";
    ExpectWholeAndInOrder(KeptTexts(log, 99), names, count);
}

TEST_F(DllSharingTest, SeveralProcessesWriteWholeLinesAndLoseNone)
{
    log.Settings("enabled = yes\npath = a.log\nlevels = all\nmax_size = 8\nkeep = 99\n");
    const std::vector<std::string> names = {"one", "two", "three"};
    constexpr int count = 400;
    const std::wstring gateName = L"gate" + std::to_wstring(GetCurrentProcessId());
    const HANDLE gate = CreateEventW(nullptr, TRUE, FALSE, gateName.c_str());
    const HANDLE ready = CreateSemaphoreW(nullptr, 0, 3, (gateName + L"ready").c_str());
    std::vector<std::thread> runs;
    runs.reserve(names.size());
    for (const std::string& name : names)
        runs.emplace_back([&] { EXPECT_EQ(0u, RunWriter(log, name, count, gateName).exitCode); });
    for (const std::string& name : names)
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(ready, 30000)) << name;
    SetEvent(gate);
    CloseHandle(ready);
    CloseHandle(gate);
    for (std::thread& run : runs)
        run.join();

    EXPECT_TRUE(Exists(log.Path(L"a.log.5"))) << "the file was not put aside while the processes wrote";
    ExpectWholeAndInOrder(KeptTexts(log, 99), names, count);
}

TEST_F(DllSharingTest, FileThatAnotherProcessPutAsideIsLeftAlone)
{
    log.Settings("enabled = yes\npath = a.log\nlevels = all\nmax_size = 1\nkeep = 9\n");
    log.Load();
    log.Write(LOG_LEVEL_TRACE, L"before");
    // Holds the file open from here on.
    EXPECT_EQ(0u, RunWriter(log, "other", 20).exitCode);

    log.Write(LOG_LEVEL_TRACE, L"after");

    EXPECT_EQ("before", TextsOf(log.Path(L"a.log.1")).front());
    EXPECT_EQ("after", TextsOf(log.File()).back());
}

TEST_F(DllSharingTest, ErrorLineSurvivesTheProcessThatIsKilledRightAfterIt)
{
    log.Settings("enabled = yes\npath = a.log\n");
    EXPECT_EQ(0u, RunWriter(log, "victim", 3, L"killed").exitCode);
    EXPECT_THAT(TextsOf(log.File()), ElementsAre("victim last"));
}

TEST_F(DllSharingTest, ProcessThatEndsWhileItsThreadsWriteEndsAtOnceAndLeavesWholeLines)
{
    log.Settings("enabled = yes\npath = a.log\nlevels = all\nmax_size = 16\nkeep = 2\n");
    ASSERT_TRUE(CopyFileW((ThisProgramsFolder() + L"..\\bin\\prodsweep.dll").c_str(),
                          log.Path(L"prodsweep.dll").c_str(), TRUE));
    for (int i = 0; i < 3; ++i)
    {
        const ProcessResult run = RunWriter(log, "ending", 1, L"exit");
        EXPECT_FALSE(run.timedOut);
        EXPECT_EQ(0u, run.exitCode);
    }
    log.Load();
    log.Write(LOG_LEVEL_TRACE, L"ending and over");
    const std::vector<std::string> texts = KeptTexts(log, 2);
    EXPECT_GT(texts.size(), 3u);
    for (const std::string& text : texts)
        EXPECT_TRUE(text.starts_with("ending ")) << text;
}

} // namespace
} // namespace prodsweep::test
