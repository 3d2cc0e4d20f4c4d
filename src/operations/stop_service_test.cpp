#include "operations/operations.h"

#include "support/call_watch.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/registered_service.h"
#include "support/test_service.h"

#include <gmock/gmock.h>

#include <deque>
#include <string>
#include <vector>

namespace prodsweep {
namespace {

using test::Number;
using testing::ElementsAre;
using testing::ElementsAreArray;

struct Poll
{
    DWORD state;
    DWORD checkPoint;
    DWORD waitHint;
};

// Sees each call to the service control manager, and Sleep. Nothing sleeps while it lives.
class ScmWatch : public test::CallWatch
{
public:
    ScmWatch() { current = this; }
    ~ScmWatch() { current = nullptr; }
    ScmWatch(const ScmWatch&) = delete;
    ScmWatch& operator=(const ScmWatch&) = delete;

    // What the next polls shall see, instead of what the service says.
    std::deque<Poll> script;
    // Each sleep lets this service advance by one step, and waits until it has. Empty: none.
    std::wstring stepping;

private:
    static SC_HANDLE WINAPI OpenManager(const wchar_t* machine, const wchar_t* database, DWORD access)
    {
        current->Note("manager" + Number(access) + (machine == nullptr && database == nullptr ? "" : " elsewhere"));
        if (current->Fails("OpenSCManagerW"))
            return nullptr;
        return current->manager = current->openManager.Original<decltype(OpenManager)>()(machine, database, access);
    }
    static SC_HANDLE WINAPI OpenService(SC_HANDLE manager, const wchar_t* name, DWORD access)
    {
        current->Note("service" + Number(access));
        if (current->Fails("OpenServiceW"))
            return nullptr;
        return current->service = current->openService.Original<decltype(OpenService)>()(manager, name, access);
    }
    static BOOL WINAPI Control(SC_HANDLE service, DWORD control, SERVICE_STATUS* status)
    {
        current->Note("control" + Number(control));
        return !current->Fails("ControlService") &&
               current->control.Original<decltype(Control)>()(service, control, status);
    }
    static BOOL WINAPI Query(SC_HANDLE service, SERVICE_STATUS* status)
    {
        current->Note("query");
        if (current->Fails("QueryServiceStatus"))
            return FALSE;
        if (current->script.empty())
            return current->query.Original<decltype(Query)>()(service, status);
        const Poll poll = current->script.front();
        current->script.pop_front();
        *status = {};
        status->dwCurrentState = poll.state;
        status->dwCheckPoint = poll.checkPoint;
        status->dwWaitHint = poll.waitHint;
        return TRUE;
    }
    static void WINAPI SleepNot(DWORD milliseconds)
    {
        current->Note("sleep" + Number(milliseconds));
        if (++current->sleeps > tooManySleeps)
        {
            ADD_FAILURE() << "the wait has no end";
            current->Fail("QueryServiceStatus", ERROR_GEN_FAILURE);
        }
        if (current->stepping.empty())
            return;
        const HANDLE step = OpenEventW(EVENT_MODIFY_STATE, FALSE, TestServiceStepEvent(current->stepping).c_str());
        const HANDLE stepped = OpenEventW(SYNCHRONIZE, FALSE, TestServiceSteppedEvent(current->stepping).c_str());
        SetEvent(step);
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(stepped, 10000)) << "the service made no step";
        CloseHandle(stepped);
        CloseHandle(step);
    }
    static BOOL WINAPI Close(SC_HANDLE handle)
    {
        current->Note(handle == current->manager ? "close manager" : "close service");
        return current->close.Original<decltype(Close)>()(handle);
    }

    static constexpr int tooManySleeps = 10000;
    static inline ScmWatch* current = nullptr;
    int sleeps = 0;
    SC_HANDLE manager = nullptr;
    SC_HANDLE service = nullptr;
    test::ImportPatch openManager{nullptr, "OpenSCManagerW", OpenManager};
    test::ImportPatch openService{nullptr, "OpenServiceW", OpenService};
    test::ImportPatch control{nullptr, "ControlService", Control};
    test::ImportPatch query{nullptr, "QueryServiceStatus", Query};
    test::ImportPatch sleep{nullptr, "Sleep", SleepNot};
    test::ImportPatch close{nullptr, "CloseServiceHandle", Close};
};

class StopServiceTest : public testing::Test
{
public:
    // Whatever happens, the caller says it.
    ~StopServiceTest() override { EXPECT_TRUE(log.Records().empty()); }

protected:
    test::LogRecorder log;
    COperations operations;
};

TEST_F(StopServiceTest, RunningServiceIsStopped)
{
    test::RegisteredService service(L"stops");
    service.Start();
    const test::SleepUntilStopped wait(service);

    EXPECT_EQ(_ERROR_SUCCESS, operations.StopService(service.Name().c_str()));

    EXPECT_EQ(static_cast<DWORD>(SERVICE_STOPPED), service.State());
    EXPECT_EQ(static_cast<DWORD>(SERVICE_DEMAND_START), service.StartType());
}

TEST_F(StopServiceTest, AsksForNoMoreAccessThanItNeeds)
{
    test::RegisteredService service(L"stops");
    service.Start();
    const ScmWatch watch;
    const test::SleepUntilStopped wait(service);

    EXPECT_EQ(_ERROR_SUCCESS, operations.StopService(service.Name().c_str()));

    // How often it must be asked is the service's business: it may still be on its way when first asked.
    std::vector<std::string> calls = watch.Calls();
    std::erase_if(calls, [](const std::string& call) { return call == "query" || call.starts_with("sleep"); });
    EXPECT_THAT(calls, ElementsAre("manager 1", "service 36", "control 1", "close service", "close manager"));
    EXPECT_GE(watch.Count("query"), 1);
}

TEST_F(StopServiceTest, ServiceThatIsNotRunningIsStoppedAfterOneQuery)
{
    const test::RegisteredService service(L"stops");
    const ScmWatch watch;

    EXPECT_EQ(_ERROR_SUCCESS, operations.StopService(service.Name().c_str()));

    EXPECT_EQ(1, watch.Count("query"));
    EXPECT_EQ(2, watch.Count("close service") + watch.Count("close manager"));
}

TEST_F(StopServiceTest, AbsentServiceIsAFailure)
{
    const ScmWatch watch;
    EXPECT_EQ(_ERROR_FAILED, operations.StopService(L"prodsweep-test-absent"));
    EXPECT_THAT(watch.Calls(), ElementsAre("manager 1", "service 36", "close manager"));
}

TEST_F(StopServiceTest, NamesThatNoServiceHasAreFailures)
{
    EXPECT_EQ(_ERROR_FAILED, operations.StopService(L""));
    EXPECT_EQ(_ERROR_FAILED, operations.StopService(std::wstring(32767, L'n').c_str()));
}

TEST_F(StopServiceTest, ServiceThatTakesNoStopIsAFailureAndRunsOn)
{
    test::RegisteredService service(L"refuses");
    service.Start();
    {
        const ScmWatch watch;
        EXPECT_EQ(_ERROR_FAILED, operations.StopService(service.Name().c_str()));
        EXPECT_THAT(watch.Calls(),
                    ElementsAre("manager 1", "service 36", "control 1", "close service", "close manager"));
    }
    EXPECT_EQ(static_cast<DWORD>(SERVICE_RUNNING), service.State());
}

TEST_F(StopServiceTest, ConstantCheckPointIsAFailureAfterOneSleep)
{
    test::RegisteredService service(L"hangs");
    service.Start();
    {
        const ScmWatch watch;
        EXPECT_EQ(_ERROR_FAILED, operations.StopService(service.Name().c_str()));
        EXPECT_THAT(watch.Calls(), ElementsAre("manager 1", "service 36", "control 1", "query", "sleep 100001", "query",
                                               "close service", "close manager"));
    }
    EXPECT_EQ(static_cast<DWORD>(SERVICE_STOP_PENDING), service.State());
}

TEST_F(StopServiceTest, ServiceThatAdvancesIsWaitedForAsItsHintsSay)
{
    test::RegisteredService service(L"advances");
    service.Start();
    {
        ScmWatch watch;
        watch.stepping = service.Name();
        EXPECT_EQ(_ERROR_SUCCESS, operations.StopService(service.Name().c_str()));
        EXPECT_THAT(watch.Calls(), ElementsAre("manager 1", "service 36", "control 1", //
                                               "query", "sleep 100001", "query", "sleep 100002", "query",
                                               "sleep 100003", "query", "close service", "close manager"));
    }
    EXPECT_EQ(static_cast<DWORD>(SERVICE_STOPPED), service.State());
}

TEST_F(StopServiceTest, ManagerThatCannotBeOpenedIsAFailure)
{
    ScmWatch watch;
    watch.Fail("OpenSCManagerW", ERROR_ACCESS_DENIED);
    EXPECT_EQ(_ERROR_FAILED, operations.StopService(L"prodsweep-test-absent"));
    EXPECT_THAT(watch.Calls(), ElementsAre("manager 1"));
}

// Each refusal with what is still done after it.
struct StopServiceRefusal
{
    const char* name;
    const char* function;
    DWORD error;
    std::vector<std::string> calls;
};

class StopServiceRefusalTest : public StopServiceTest, public testing::WithParamInterface<StopServiceRefusal>
{};

TEST_P(StopServiceRefusalTest, IsAFailureAndNoHandleStaysOpen)
{
    test::RegisteredService service(L"hangs");
    service.Start();
    ScmWatch watch;
    watch.Fail(GetParam().function, GetParam().error);

    EXPECT_EQ(_ERROR_FAILED, operations.StopService(service.Name().c_str()));

    EXPECT_THAT(watch.Calls(), ElementsAreArray(GetParam().calls));
}

INSTANTIATE_TEST_SUITE_P(
    Steps, StopServiceRefusalTest,
    testing::Values(
        StopServiceRefusal{
            "Service", "OpenServiceW", ERROR_ACCESS_DENIED, {"manager 1", "service 36", "close manager"}},
        StopServiceRefusal{"Control",
                           "ControlService",
                           ERROR_ACCESS_DENIED,
                           {"manager 1", "service 36", "control 1", "close service", "close manager"}},
        StopServiceRefusal{"Query",
                           "QueryServiceStatus",
                           ERROR_INVALID_HANDLE,
                           {"manager 1", "service 36", "control 1", "query", "close service", "close manager"}}),
    [](const auto& row) { return row.param.name; });

TEST_F(StopServiceTest, QueryThatFailsLaterEndsTheWait)
{
    test::RegisteredService service(L"hangs");
    service.Start();
    ScmWatch watch;
    watch.Fail("QueryServiceStatus", 2, ERROR_INVALID_HANDLE);

    EXPECT_EQ(_ERROR_FAILED, operations.StopService(service.Name().c_str()));

    EXPECT_EQ(2, watch.Count("query"));
    EXPECT_EQ(2, watch.Count("close service") + watch.Count("close manager"));
}

// What the polls see, and how long each is followed by a sleep.
struct Wait
{
    const char* name;
    std::deque<Poll> polls;
    std::vector<DWORD> sleeps;
    int result;
};

class StopServiceWaitTest : public StopServiceTest, public testing::WithParamInterface<Wait>
{};

TEST_P(StopServiceWaitTest, FollowsTheReports)
{
    const test::RegisteredService service(L"stops");
    std::vector<std::string> expected = {"manager 1", "service 36", "control 1", "query"};
    for (const DWORD sleep : GetParam().sleeps)
    {
        expected.push_back("sleep" + Number(sleep));
        expected.emplace_back("query");
    }
    expected.insert(expected.end(), {"close service", "close manager"});
    ScmWatch watch;
    watch.script = GetParam().polls;

    EXPECT_EQ(GetParam().result, operations.StopService(service.Name().c_str()));

    EXPECT_THAT(watch.Calls(), ElementsAreArray(expected));
}

constexpr DWORD running = SERVICE_RUNNING;
constexpr DWORD pending = SERVICE_STOP_PENDING;
constexpr DWORD stopped = SERVICE_STOPPED;

INSTANTIATE_TEST_SUITE_P(
    Reports, StopServiceWaitTest,
    testing::Values(
        Wait{"StoppedAtOnce", {{stopped, 0, 9}}, {}, _ERROR_SUCCESS},
        Wait{"StoppedAfterOneSleep", {{pending, 1, 9}, {stopped, 0, 0}}, {9}, _ERROR_SUCCESS},
        Wait{"HintOfNothingAndHintWithoutEnd",
             {{pending, 1, 0}, {pending, 2, INFINITE}, {stopped, 0, 0}},
             {0, INFINITE},
             _ERROR_SUCCESS},
        Wait{"FallingCheckPoint", {{pending, 5, 1}, {pending, 4, 1}}, {1}, _ERROR_FAILED},
        Wait{"CheckPointZeroTwice", {{pending, 0, 1}, {pending, 0, 1}}, {1}, _ERROR_FAILED},
        // Measured against the last round and not against the first.
        Wait{"CheckPointThatStopsGrowing", {{pending, 1, 1}, {pending, 2, 2}, {pending, 2, 3}}, {1, 2}, _ERROR_FAILED},
        Wait{"CheckPointBeyondTheSignBit",
             {{pending, 0x7FFFFFFF, 1}, {pending, 0x80000000, 2}, {stopped, 0, 0}},
             {1, 2},
             _ERROR_SUCCESS},
        Wait{"NewStateStartsAnew",
             {{running, 9, 1}, {pending, 1, 2}, {pending, 2, 3}, {stopped, 0, 0}},
             {1, 2, 3},
             _ERROR_SUCCESS},
        Wait{"NewStateIsRememberedWithItsCheckPoint",
             {{running, 9, 1}, {pending, 1, 2}, {pending, 1, 3}},
             {1, 2},
             _ERROR_FAILED},
        Wait{"ServiceThatRunsOnWithoutReports", {{running, 0, 0}, {running, 0, 0}}, {0}, _ERROR_FAILED}),
    [](const auto& row) { return row.param.name; });

TEST_F(StopServiceTest, NoLimitOfRounds)
{
    const test::RegisteredService service(L"stops");
    ScmWatch watch;
    for (DWORD round = 1; round <= 5000; ++round)
        watch.script.push_back({SERVICE_STOP_PENDING, round, 3600000});
    watch.script.push_back({SERVICE_STOPPED, 0, 0});

    EXPECT_EQ(_ERROR_SUCCESS, operations.StopService(service.Name().c_str()));

    EXPECT_EQ(5000, watch.Count("sleep 3600000"));
}

TEST_F(StopServiceTest, NoHandleIsLeft)
{
    test::RegisteredService service(L"stops");
    operations.StopService(service.Name().c_str());
    const test::HandleCount handles;
    operations.StopService(service.Name().c_str());
    operations.StopService(L"prodsweep-test-absent");
    EXPECT_TRUE(handles.Unchanged());
}

} // namespace
} // namespace prodsweep
