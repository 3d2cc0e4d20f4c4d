#include "environment/log.h"

#include "support/import_patch.h"
#include "support/log_recorder.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <set>
#include <thread>
#include <vector>

namespace prodsweep {

// One of each kind of function that a statement may stand in.
class CSpeaker
{
public:
    CSpeaker() { LOG(LogError, L"constructor"); }
    virtual ~CSpeaker() { LOG(LogError, L"destructor"); }
    CSpeaker(const CSpeaker&) = delete;
    CSpeaker& operator=(const CSpeaker&) = delete;

    virtual const wchar_t* Virtual(const std::wstring&) const
    {
        LOG(LogError, L"virtual");
        return nullptr;
    }
    static std::vector<std::pair<int, int>> Static(int (*)(int))
    {
        LOG(LogError, L"static");
        return {};
    }
    static void WithLambda()
    {
        [](int) { LOG(LogError, L"lambda"); }(0);
    }
};

static void FreeFunction() { LOG(LogError, L"free"); }

namespace {

void Unnamed() { LOG(LogError, L"unnamed"); }

TEST(LogStatementTest, RecordBearsTheNameOfTheFunctionWithItsClass)
{
    const test::LogRecorder log;
    {
        const CSpeaker speaker;
        (void)speaker.Virtual(L"");
    }
    (void)CSpeaker::Static(nullptr);
    CSpeaker::WithLambda();
    FreeFunction();
    Unnamed();

    EXPECT_TRUE(log.Has(LogError, "CSpeaker::CSpeaker", L"constructor"));
    EXPECT_TRUE(log.Has(LogError, "CSpeaker::~CSpeaker", L"destructor"));
    EXPECT_TRUE(log.Has(LogError, "CSpeaker::Virtual", L"virtual"));
    EXPECT_TRUE(log.Has(LogError, "CSpeaker::Static", L"static"));
    EXPECT_TRUE(log.Has(LogError, "CSpeaker::WithLambda", L"lambda"));
    EXPECT_TRUE(log.Has(LogError, "FreeFunction", L"free"));
    EXPECT_TRUE(log.Has(LogError, "Unnamed", L"unnamed"));
}

// The function texts of the compilers, each with the name that a record carries.
struct Cut
{
    std::string_view name;
    std::string_view wanted;
};
constexpr Cut cuts[] = {
    // GCC
    {CutFunctionName("bool prodsweep::CProducts::Load(const wchar_t*, int)"), "CProducts::Load"},
    {CutFunctionName("static bool prodsweep::CPath::GetCurrentPath(std::wstring&)"), "CPath::GetCurrentPath"},
    {CutFunctionName("virtual int prodsweep::CX::Run(const std::map<int, int>&) const"), "CX::Run"},
    {CutFunctionName("prodsweep::CX::CX(prodsweep::{anonymous}::Row)"), "CX::CX"},
    {CutFunctionName("std::map<std::wstring, int> prodsweep::CX::Make()"), "CX::Make"},
    {CutFunctionName("const wchar_t* prodsweep::Name(int)"), "Name"},
    {CutFunctionName("std::wstring& prodsweep::{anonymous}::Scan(int)"), "Scan"},
    {CutFunctionName("prodsweep::{anonymous}::Row prodsweep::CX::First()"), "CX::First"},
    {CutFunctionName("prodsweep::CX::Run(int)::<lambda(int, int)>"), "CX::Run"},
    {CutFunctionName("bool GetProducts(SAFEARRAY**, int)"), "GetProducts"},
    // Clang
    {CutFunctionName("bool prodsweep::(anonymous namespace)::Scan(int)"), "Scan"},
    {CutFunctionName("(anonymous namespace)::Row prodsweep::CX::First()"), "CX::First"},
    {CutFunctionName("auto prodsweep::CX::Run(int)::(anonymous class)::operator()(int) const"), "CX::Run"},
    // Visual C++
    {CutFunctionName("prodsweep::CProducts::Load"), "CProducts::Load"},
    {CutFunctionName("prodsweep::`anonymous-namespace'::Scan"), "Scan"},
    {CutFunctionName("prodsweep::CX::Run::<lambda_1>::operator ()"), "CX::Run"},
    {CutFunctionName("GetProducts"), "GetProducts"},
};

TEST(CutFunctionNameTest, TextsOfAllCompilersGiveTheSameName)
{
    for (const Cut& cut : cuts)
        EXPECT_EQ(cut.wanted, cut.name);
}

TEST(LogStatementTest, FormatIsThatOfTheWidePlatformRunTime)
{
    const test::LogRecorder log;
    const wchar_t* const none = nullptr;

    LOG(LogWarning, L"\"%s\" %d 0x%x %x %s", L"wide \x20ac", -7, E_FAIL, 255u, none);

    ASSERT_EQ(1u, log.Records().size());
    EXPECT_EQ(LogWarning, log.Records()[0].level);
    EXPECT_EQ(L"\"wide \x20ac\" -7 0x80004005 ff (null)", log.Records()[0].text);
}

TEST(LogStatementTest, LevelIsTakenAsAPlainNumber)
{
    const test::LogRecorder log;
    for (const int level : {0, 0x20, 77, -1})
    {
        LOG(level, L"level");
        EXPECT_EQ(level, log.Records().back().level);
    }
    EXPECT_EQ(4, LogError);
    EXPECT_EQ(8, LogWarning);
    EXPECT_EQ(0x10, LogTrace);
    EXPECT_EQ(0x20, LogSkipped);
}

TEST(LogStatementTest, StandsAloneAfterAnIf)
{
    const test::LogRecorder log;
    if (log.Records().empty())
        LOG(LogTrace, L"then");
    else
        LOG(LogTrace, L"else");
    ASSERT_EQ(1u, log.Records().size());
    EXPECT_EQ(L"then", log.Records()[0].text);
}

std::atomic<int> logLoads{0};
HMODULE WINAPI CountLogLoad(const wchar_t* name)
{
    ++logLoads;
    return LoadLibraryExW(name, nullptr, 0);
}

constexpr int threadCount = 16;
constexpr int recordsEach = 250;

void LogTheRecordsOf(int thread)
{
    for (int i = 0; i < recordsEach; ++i)
        LOG(LogTrace, L"thread %d record %d \"%s\"", thread, i, std::to_wstring(i).c_str());
}

TEST(LogStatementTest, SixteenThreadsAtOnceLoseNothingAndNeverUnbind)
{
    const test::LogRecorder log;
    const test::ImportPatch loading(nullptr, "LoadLibraryW", CountLogLoad);
    logLoads = 0;
    LogBinding* const binding = LogAcquire();
    std::atomic<bool> done{false};
    std::atomic<int> lowest{1000};
    std::thread watcher([&] {
        while (!done)
            lowest = std::min(lowest.load(), log_state::references.load());
    });
    while (lowest == 1000)
        SwitchToThread(); // until the watcher is at work
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int i = 0; i < threadCount; ++i)
        threads.emplace_back(LogTheRecordsOf, i);
    for (std::thread& thread : threads)
        thread.join();
    done = true;
    watcher.join();

    std::multiset<std::wstring> texts;
    for (const test::LogRecord& record : log.Records())
        texts.insert(record.text);
    EXPECT_EQ(static_cast<std::size_t>(threadCount * recordsEach), texts.size());
    for (int i = 0; i < threadCount * recordsEach; ++i)
    {
        const std::wstring number = std::to_wstring(i % recordsEach);
        std::wstring text = L"thread " + std::to_wstring(i / recordsEach);
        text.append(L" record ").append(number).append(L" \"").append(number).append(L"\"");
        EXPECT_EQ(1u, texts.count(text)) << test::Narrow(text);
    }
    EXPECT_GE(lowest, 2) << "this test's reference and the test program's stand throughout";
    EXPECT_EQ(2, log_state::references);
    EXPECT_EQ(binding, LogAcquire());
    EXPECT_EQ(0, logLoads);
    LogRelease();
    LogRelease();
}

} // namespace
} // namespace prodsweep
