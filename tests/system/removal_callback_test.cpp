// What the caller's callback and other threads see of a removal, and what they can do to it.
#include "support/com_scope.h"
#include "system/input_array.h"
#include "system/product_array.h"
#include "system/removal.h"
#include "system/removal_fixture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <stdexcept>
#include <thread>

namespace prodsweep::test {
namespace {

using testing::Each;

// What the progress was at each event.
struct Heard
{
    int32_t event;
    int32_t percent;
    bool operator==(const Heard&) const = default;
};
void PrintTo(const Heard& heard, std::ostream* out) { *out << "event " << heard.event << " at " << heard.percent; }

Library* current = nullptr; // for callbacks, which get no context
std::vector<Heard> heard;
DWORD callbackThread = 0;

void NoteProgress(int32_t event, int32_t, const void*)
{
    heard.push_back({event, current->GetProgressPercent()});
    callbackThread = GetCurrentThreadId();
}
void TakeLong(int32_t event, int32_t code, const void* value)
{
    Sleep(100);
    NoteProgress(event, code, value);
}
void ThrowException(int32_t event, int32_t code, const void* value)
{
    CallbackRecorder::Record(event, code, value);
    throw std::runtime_error("of the callback");
}
void ThrowNumber(int32_t event, int32_t code, const void* value)
{
    CallbackRecorder::Record(event, code, value);
    throw 7;
}
void ListProducts(int32_t event, int32_t, const void*)
{
    ProductArray products;
    const bool listed = current->GetInstalledProducts(products.Receive(), PRODSWEEP_LIST_ALL & Own);
    heard.push_back({event, listed ? static_cast<int32_t>(products.Count()) : -1});
}

struct RemovalCallbackTest : RemovalTest
{
    RemovalCallbackTest()
    {
        current = &library;
        heard.clear();
    }
};

// Catalogue; product, start; descriptor; folders, files, keys, values. Two files, a folder, a key and a
// value weigh 32 together, and the walk has earned 30 of the 100 before they begin.
const std::vector<Heard> wholeRemoval{{0, 0},  {13, 0}, {14, 0}, {1, 30}, {3, 30 + 70 * 10 / 32},
                                      {2, 95}, {5, 97}, {6, 100}};

TEST_F(RemovalCallbackTest, ProgressIsZeroBeforeGrowsAndKeepsItsLastValue)
{
    products.Write(Other, L"A+B+");
    EXPECT_EQ(0, library.GetProgressPercent());

    EXPECT_TRUE(library.UninstallProducts(InputArray{{L"A", Other}}.Get(), &restart, &NoteProgress));

    EXPECT_EQ(wholeRemoval, heard);
    EXPECT_EQ(100, library.GetProgressPercent());
    std::thread([&] { EXPECT_EQ(100, library.GetProgressPercent()); }).join();
    EXPECT_EQ(GetCurrentThreadId(), callbackThread);
}

TEST_F(RemovalCallbackTest, ProgressFallsBackForEachProductAndEachRemoval)
{
    products.Write(Other, L"A+B+");
    EXPECT_TRUE(library.UninstallAllInstalled(Other, &restart, nullptr));
    products.Write(Other, L"A+B+");

    EXPECT_TRUE(library.UninstallAllInstalled(Other, &restart, &NoteProgress));

    // Until the first product of the second removal begins, the value of the first stands.
    EXPECT_EQ((Heard{0, 100}), heard.front());
    EXPECT_EQ(2, std::count(heard.begin(), heard.end(), Heard{13, 0}));
    EXPECT_EQ((Heard{6, 100}), heard.back());
}

TEST_F(RemovalCallbackTest, CallsThatRemoveNothingLeaveTheProgressAlone)
{
    products.Write(Own, L"A+B+");
    EXPECT_TRUE(library.UninstallForceAll(Own, &restart, nullptr));
    const int32_t before = library.GetProgressPercent();
    EXPECT_LT(0, before);

    EXPECT_FALSE(library.UninstallForceAll(Other, &restart, nullptr));
    EXPECT_FALSE(library.UninstallForceAll(3, &restart, nullptr));
    ProductArray listed;
    EXPECT_TRUE(library.GetProducts(listed.Receive(), Own));

    EXPECT_EQ(before, library.GetProgressPercent());
}

TEST_F(RemovalCallbackTest, CallbackMayTakeLong)
{
    products.Write(Other, L"A+B+");

    EXPECT_TRUE(library.UninstallProducts(InputArray{{L"A", Other}}.Get(), &restart, &TakeLong));

    EXPECT_EQ(wholeRemoval, heard);
    EXPECT_FALSE(products.Has(Other, L"A"));
}

TEST_F(RemovalCallbackTest, CallbackMayListProducts)
{
    products.Write(Own, L"A+B+");

    // On a thread to throw away: a listing within a removal leaves a reference to COM behind.
    OnFreshThread(ComState::SingleThreaded, [&] {
        EXPECT_TRUE(library.UninstallProducts(InputArray{{L"A", Own}}.Get(), &restart, &ListProducts));
    });

    EXPECT_FALSE(products.Has(Own, L"A"));
    EXPECT_EQ(8u, heard.size());
    EXPECT_THAT(heard, Each(testing::Field(&Heard::percent, 2)));
}

struct ThrowRow
{
    const char* label;
    UninstallCallback callback;
};
struct ThrowingCallbackTest : RemovalTest, testing::WithParamInterface<std::tuple<Removal, ThrowRow>>
{};
INSTANTIATE_TEST_SUITE_P(
    All, ThrowingCallbackTest,
    testing::Combine(testing::ValuesIn(removals),
                     testing::Values(ThrowRow{"Exception", ThrowException}, ThrowRow{"Number", ThrowNumber})),
    [](const auto& row) { return std::string(std::get<0>(row.param).name) + std::get<1>(row.param).label; });

TEST_P(ThrowingCallbackTest, IsTakenForOneThatReturned)
{
    const auto& [removal, thrower] = GetParam();
    products.Write(Own, L"A+B+", {}, L"restart_required='yes'");
    bool expectedRestart = false;
    EXPECT_TRUE(removal.call(library, Own, &expectedRestart, &CallbackRecorder::Record));
    const std::vector<CallbackRecorder::Call> expected = callback.Calls();
    callback.Calls().clear();
    products.Write(Own, L"A+B+", {}, L"restart_required='yes'");
    restart = false;

    EXPECT_TRUE(removal.call(library, Own, &restart, thrower.callback));

    EXPECT_EQ(expected, callback.Calls()) << "every event is told, also after the first that threw";
    EXPECT_EQ(expectedRestart, restart);
    EXPECT_FALSE(products.Has(Own, L"A"));
}

TEST_F(RemovalCallbackTest, CallbackThatThrowsDoesNotHideAFailure)
{
    products.Write(Own, L"A+B+");
    library.Write(RemovableProducts::Descriptor(Own, L"A"), "");

    EXPECT_FALSE(library.UninstallForceAll(Own, &restart, &ThrowNumber));
    EXPECT_FALSE(library.UninstallForceAll(Other, &restart, &ThrowNumber)) << "its catalogue is missing";

    EXPECT_TRUE(products.Has(Own, L"A"));
    EXPECT_FALSE(products.Has(Own, L"B"));
}

TEST_F(RemovalCallbackTest, SixteenThreadsPollWithoutDisturbing)
{
    products.Write(Other, L"A+B+C+D+");
    std::atomic<bool> done{false};
    std::atomic<int> outside{0};
    std::atomic<int> polling{0};
    constexpr int pollers = 16;
    std::vector<std::thread> threads;
    threads.reserve(pollers);
    for (int i = 0; i < pollers; ++i)
    {
        threads.emplace_back([&] {
            ++polling;
            while (!done)
            {
                const int32_t percent = library.GetProgressPercent();
                outside += percent < 0 || percent > 100 ? 1 : 0;
                Sleep(0);
            }
        });
    }
    while (polling < pollers)
        Sleep(1);

    EXPECT_TRUE(library.UninstallAllInstalled(Other, &restart, &NoteProgress));

    done = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, outside);
    EXPECT_EQ(4, std::count(heard.begin(), heard.end(), Heard{13, 0}));
    EXPECT_EQ((Heard{6, 100}), heard.back());
    for (const wchar_t* name : {L"A", L"B", L"C", L"D"})
        EXPECT_FALSE(products.Has(Other, name));
}

} // namespace
} // namespace prodsweep::test
