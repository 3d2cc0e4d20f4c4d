// Loading and unloading, many calls, and many threads.
#include "environment/log.h"
#include "support/com_scope.h"
#include "support/handle_count.h"
#include "support/log_recorder.h"
#include "support/registry_sandbox.h"
#include "system/catalogue_text.h"
#include "system/com_keeper.h"
#include "system/library.h"
#include "system/memory_use.h"
#include "system/product_array.h"
#include "system/removable_products.h"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <thread>

namespace prodsweep::test {
namespace {

struct LifetimeTest : testing::Test
{
    LifetimeTest()
    {
        registry.AddText(L"UpdateLocation", L"path", L"");
        library.WriteOwn(ProductText(L"a", version) + ProductText(L"b", VersionById(L"prodsweep-test-none")));
        library.WriteOther(ProductText(L"c", version));
        log.Pause();
    }
    // One call of each listing, and what it must say.
    [[nodiscard]] bool ListAll() const
    {
        const std::size_t counts[] = {3, 2, 2};
        for (std::size_t i = 0; i < std::size(listings); ++i)
        {
            ProductArray products;
            if (!(library.*listings[i].call)(products.Receive(), PRODSWEEP_LIST_ALL))
                return false;
            if (products.Get()->rgsabound[0].cElements != counts[i] || Text(products[0].Name) != L"a")
                return false;
            if (i > 0 && products[0].Guids == nullptr)
                return false;
        }
        return true;
    }

    RegistrySandbox registry;
    std::wstring version = VersionByKey(registry.Path(), L"path", L"<child>value</child>");
    Library library;
    LogRecorder log;
};

struct GrowthTest : LifetimeTest
{
    GrowthTest() { library.WriteOwn(ProductText(L"a", version)); }

    // The exports in turn, on the smallest catalogue that makes every sort of array.
    void ListOwn(int call) const
    {
        ProductArray products;
        const Listing& listing = listings[static_cast<std::size_t>(call) % std::size(listings)];
        ASSERT_TRUE((library.*listing.call)(products.Receive(), PRODSWEEP_LIST_OWN));
        ASSERT_EQ(1u, products.Count());
    }
    static void ExpectNoGrowth(int warmUp, int calls, const std::function<void(int)>& list)
    {
        const auto repeat = [&](int count) {
            for (int call = 0; call < count && !testing::Test::HasFatalFailure(); ++call)
                list(call);
        };
        repeat(warmUp);
        const HandleCount handles;
        const MemoryUse memory;
        repeat(calls);
        RecordProperty("heap growth", std::to_string(memory.HeapGrowth()));
        RecordProperty("private growth", std::to_string(memory.PrivateGrowth()));
        EXPECT_TRUE(handles.Unchanged());
        // One byte a call: no text, array or block is that small.
        EXPECT_LT(memory.HeapGrowth(), calls);
        EXPECT_LT(memory.PrivateGrowth(), 4 * 1024 * 1024);
    }
};

TEST_F(GrowthTest, TenThousandCallsGrowNeitherHandlesNorMemory)
{
    const ComKeeper keeper;
    ExpectNoGrowth(300, 10000, [this](int call) { ListOwn(call); });
}

TEST_F(GrowthTest, CallsThatBringComUpAndDownGrowNothingEither)
{
    ExpectNoGrowth(60, 300, [this](int call) { ListOwn(call); });
}

TEST_F(GrowthTest, CallsThatReadDescriptorsGrowNothingEither)
{
    RemovableProducts described(library);
    described.Write(PRODSWEEP_KIND_OTHER, L"A+B-");
    const ComKeeper keeper;
    ExpectNoGrowth(50, 300, [this](int) {
        ProductArray products;
        ASSERT_TRUE(library.GetInstalledProductsEx(products.Receive(), PRODSWEEP_LIST_OTHER));
        ASSERT_THAT(products.Names(), testing::ElementsAre(L"A"));
    });
}

TEST_F(GrowthTest, CallsThatFailGrowNothingEither)
{
    library.WriteOwn(L"<product");
    const ComKeeper keeper;
    ExpectNoGrowth(100, 1000, [this](int call) {
        ProductArray products;
        const Listing& listing = listings[static_cast<std::size_t>(call) % std::size(listings)];
        ASSERT_FALSE((library.*listing.call)(products.Receive(), PRODSWEEP_LIST_OWN));
    });
}

TEST_F(LifetimeTest, SixteenThreadsMayListAtOnceFromTheFirstCallOn)
{
    constexpr int threadCount = 16;
    std::atomic<int> waiting{threadCount};
    std::atomic<int> good{0};
    std::atomic<int> withoutCom{0};
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int i = 0; i < threadCount; ++i)
        threads.emplace_back([&] {
            --waiting;
            while (waiting > 0)
                Sleep(1);
            for (int call = 0; call < 10; ++call)
                good += ListAll() ? 1 : 0;
            withoutCom += CurrentComState() == ComState::None ? 1 : 0;
        });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(threadCount * 10, good);
    EXPECT_EQ(threadCount, withoutCom);
}

TEST_F(LifetimeTest, ThreadsThatComeAndGoLeaveNoHandles)
{
    const auto rounds = [&](int count) {
        for (int i = 0; i < count; ++i)
        {
            bool good = false;
            std::thread([&] { good = ListAll(); }).join();
            ASSERT_TRUE(good);
        }
    };
    rounds(20);

    // A lock that two threads want at once for the first time gets an event, which the process keeps: that happens
    // among some threads once. What each of them left would be there among all, and nothing may be.
    int growth = 1;
    for (int batch = 0; batch < 3 && growth > 0; ++batch)
    {
        const HandleCount handles;
        rounds(100);
        growth = handles.Growth();
    }
    EXPECT_EQ(0, growth);
}

TEST_F(LifetimeTest, LoadedAndUnloadedManyTimesLeavesNoHandles)
{
    const auto rounds = [](int count) {
        for (int i = 0; i < count; ++i)
        {
            Library other;
            other.WriteOwn(L"");
            ProductArray products;
            ASSERT_TRUE(other.GetInstalledProducts(products.Receive(), PRODSWEEP_LIST_OWN));
        }
    };
    rounds(5);
    const HandleCount handles;

    rounds(50);

    EXPECT_TRUE(handles.Unchanged());
}

TEST_F(LifetimeTest, LogIsBoundOnceFromLoadToUnload)
{
    const int before = log.Bindings();
    {
        const Library other;
        EXPECT_EQ(before + 1, log.Bindings());
    }
    EXPECT_EQ(before, log.Bindings());
}

TEST_F(LifetimeTest, LogStaysBoundWhenThreadsComeAndGo)
{
    const Library other;
    std::thread([] {}).join();
    log.Clear();

    ProductArray products;
    ASSERT_TRUE(other.GetProducts(products.Receive(), 0));
    EXPECT_EQ(1, log.Count(LogTrace, "GetProducts", L"->"));
}

} // namespace
} // namespace prodsweep::test
