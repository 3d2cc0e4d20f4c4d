// The second way to end a process, with the debug privilege: each call in its order, and what is left
// when one of them fails.
#include "operations/operations.h"

#include "environment/log.h"
#include "support/call_watch.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/running_victim.h"
#include "support/temp_tree.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace prodsweep {
namespace {

using test::Number;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr char killProcess[] = "COperations::KillProcess_";

struct HandleCloser
{
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

LUID DebugPrivilege()
{
    LUID luid{};
    EXPECT_TRUE(LookupPrivilegeValueW(nullptr, L"SeDebugPrivilege", &luid));
    return luid;
}

UniqueHandle TokenOfProcess()
{
    HANDLE token = nullptr;
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES, &token));
    return UniqueHandle(token);
}

// Makes one by impersonation, until RevertToSelf.
UniqueHandle TokenOfThread()
{
    HANDLE token = nullptr;
    EXPECT_TRUE(ImpersonateSelf(SecurityImpersonation));
    EXPECT_TRUE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES, FALSE, &token));
    return UniqueHandle(token);
}

// attributes: 0 disables, SE_PRIVILEGE_ENABLED, SE_PRIVILEGE_REMOVED.
void SetDebugPrivilege(HANDLE token, DWORD attributes)
{
    TOKEN_PRIVILEGES state{1, {{DebugPrivilege(), attributes}}};
    EXPECT_TRUE(AdjustTokenPrivileges(token, FALSE, &state, 0, nullptr, nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_SUCCESS), GetLastError());
}

bool IsEnabled(HANDLE token, const LUID& privilege)
{
    alignas(TOKEN_PRIVILEGES) BYTE buffer[4096] = {};
    DWORD size = 0;
    EXPECT_TRUE(GetTokenInformation(token, TokenPrivileges, buffer, sizeof(buffer), &size));
    const auto* all = reinterpret_cast<const TOKEN_PRIVILEGES*>(buffer);
    const LUID_AND_ATTRIBUTES* const end = all->Privileges + all->PrivilegeCount;
    return std::any_of(static_cast<const LUID_AND_ATTRIBUTES*>(all->Privileges), end, [&](const auto& one) {
        return one.Luid.LowPart == privilege.LowPart && one.Luid.HighPart == privilege.HighPart &&
               (one.Attributes & SE_PRIVILEGE_ENABLED) != 0;
    });
}

// Sees each call of the way, passes it on, or lets it fail.
class KillWatch : public test::CallWatch
{
public:
    // watched: the token that the privilege is looked for in, at each opening of a process.
    explicit KillWatch(HANDLE watched) : watchedToken(watched) { current = this; }
    ~KillWatch() { current = nullptr; }
    KillWatch(const KillWatch&) = delete;
    KillWatch& operator=(const KillWatch&) = delete;

    // Of each opening: was the privilege enabled?
    [[nodiscard]] const std::vector<bool>& Openings() const { return openings; }

private:
    static HANDLE WINAPI Open(DWORD access, BOOL inherit, DWORD id)
    {
        current->Note("open" + Number(access) + (inherit ? " inherited" : ""));
        current->openings.push_back(IsEnabled(current->watchedToken, current->privilege));
        if (current->Fails("OpenProcess"))
            return nullptr;
        return current->process = current->open.Original<decltype(Open)>()(access, inherit, id);
    }
    static BOOL WINAPI Terminate(HANDLE process, UINT exitCode)
    {
        current->Note("terminate" + Number(exitCode));
        return !current->Fails("TerminateProcess") &&
               current->terminate.Original<decltype(Terminate)>()(process, exitCode);
    }
    static BOOL WINAPI OpenOfThread(HANDLE thread, DWORD access, BOOL self, HANDLE* token)
    {
        current->Note("thread token" + Number(access) + (thread == GetCurrentThread() && !self ? "" : " unexpected"));
        if (current->Fails("OpenThreadToken") ||
            !current->openOfThread.Original<decltype(OpenOfThread)>()(thread, access, self, token))
            return FALSE;
        current->token = *token;
        return TRUE;
    }
    static BOOL WINAPI OpenOfProcess(HANDLE process, DWORD access, HANDLE* token)
    {
        current->Note("process token" + Number(access) + (process == GetCurrentProcess() ? "" : " unexpected"));
        if (current->Fails("OpenProcessToken") ||
            !current->openOfProcess.Original<decltype(OpenOfProcess)>()(process, access, token))
            return FALSE;
        current->token = *token;
        return TRUE;
    }
    static BOOL WINAPI Adjust(HANDLE token, BOOL disableAll, TOKEN_PRIVILEGES* wanted, DWORD size,
                              TOKEN_PRIVILEGES* old, DWORD* oldSize)
    {
        std::string call = "give back" + Number(size);
        if (old != nullptr && oldSize != nullptr)
            call = "adjust" + Number(wanted->PrivilegeCount) + Number(wanted->Privileges[0].Attributes) + Number(size) +
                   Number(*oldSize);
        current->Note(call + (token == current->token && !disableAll ? "" : " unexpected"));
        return !current->Fails("AdjustTokenPrivileges") &&
               current->adjust.Original<decltype(Adjust)>()(token, disableAll, wanted, size, old, oldSize);
    }
    static BOOL WINAPI Lookup(const wchar_t* system, const wchar_t* name, LUID* luid)
    {
        current->Note("lookup " + test::Narrow(name) + (system == nullptr ? "" : " elsewhere"));
        return !current->Fails("LookupPrivilegeValueW") &&
               current->lookup.Original<decltype(Lookup)>()(system, name, luid);
    }
    static BOOL WINAPI Close(HANDLE handle)
    {
        for (const auto& [known, call] :
             {std::pair{&current->token, "close token"}, std::pair{&current->process, "close process"}})
        {
            if (handle != *known)
                continue;
            current->Note(call);
            *known = nullptr; // the value may be given out again
        }
        return current->close.Original<decltype(Close)>()(handle);
    }

    static inline KillWatch* current = nullptr;
    const LUID privilege = DebugPrivilege();
    HANDLE watchedToken;
    std::vector<bool> openings;
    HANDLE process = nullptr;
    HANDLE token = nullptr;
    test::ImportPatch open{nullptr, "OpenProcess", Open};
    test::ImportPatch terminate{nullptr, "TerminateProcess", Terminate};
    test::ImportPatch openOfThread{nullptr, "OpenThreadToken", OpenOfThread};
    test::ImportPatch openOfProcess{nullptr, "OpenProcessToken", OpenOfProcess};
    test::ImportPatch adjust{nullptr, "AdjustTokenPrivileges", Adjust};
    test::ImportPatch lookup{nullptr, "LookupPrivilegeValueW", Lookup};
    test::ImportPatch close{nullptr, "CloseHandle", Close};
};

class KillProcessPrivilegeTest : public testing::Test
{
public:
    KillProcessPrivilegeTest() { SetDebugPrivilege(token.get(), 0); }
    ~KillProcessPrivilegeTest() override
    {
        RevertToSelf();
        SetDebugPrivilege(token.get(), 0);
    }

protected:
    bool Enabled() const { return IsEnabled(token.get(), DebugPrivilege()); }

    const UniqueHandle token = TokenOfProcess();
    test::LogRecorder log;
    test::TempTree tree;
    const test::RunningVictim victim{tree.Path(L"victim.exe")};
    COperations operations;
};

TEST_F(KillProcessPrivilegeTest, ProcessThatCanBeOpenedNeedsNoPrivilege)
{
    const KillWatch watch(token.get());

    EXPECT_TRUE(operations.KillProcess_(victim.Id()));

    EXPECT_THAT(watch.Calls(), ElementsAre("open 1", "terminate 0", "close process"));
    EXPECT_THAT(watch.Openings(), ElementsAre(false));
    EXPECT_EQ(0u, victim.ExitCode());
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(KillProcessPrivilegeTest, RefusedOpeningIsRepeatedWithThePrivilege)
{
    KillWatch watch(token.get());
    watch.Fail("OpenProcess", 1, ERROR_ACCESS_DENIED);

    EXPECT_TRUE(operations.KillProcess_(victim.Id()));

    EXPECT_THAT(watch.Calls(), ElementsAre("open 1", "thread token 40", "process token 40", "lookup SeDebugPrivilege",
                                           "adjust 1 2 16 16", "open 1", "give back 16", "close token",
                                           "terminate 4294967295", "close process"));
    EXPECT_THAT(watch.Openings(), ElementsAre(false, true));
    EXPECT_EQ(0xFFFFFFFFu, victim.ExitCode());
    EXPECT_TRUE(log.Has(LogWarning, killProcess, L"OpenProcess 1 failed 0x5"));
    EXPECT_TRUE(log.Has(LogTrace, killProcess, L"Try another way ... AdjustTokenPrivileges"));
    EXPECT_EQ(2u, log.Records().size());
}

TEST_F(KillProcessPrivilegeTest, RefusedEndIsRepeatedWithThePrivilege)
{
    KillWatch watch(token.get());
    watch.Fail("TerminateProcess", 1, ERROR_ACCESS_DENIED);

    EXPECT_TRUE(operations.KillProcess_(victim.Id()));

    EXPECT_THAT(watch.Calls(), ElementsAre("open 1", "terminate 0", "close process", "thread token 40",
                                           "process token 40", "lookup SeDebugPrivilege", "adjust 1 2 16 16", "open 1",
                                           "give back 16", "close token", "terminate 4294967295", "close process"));
    EXPECT_EQ(0xFFFFFFFFu, victim.ExitCode());
    EXPECT_TRUE(log.Has(LogError, killProcess, L"TerminateProcess 1 failed 0x5"));
}

TEST_F(KillProcessPrivilegeTest, PrivilegeIsGivenBack)
{
    {
        KillWatch watch(token.get());
        watch.Fail("OpenProcess", 1, ERROR_ACCESS_DENIED);
        EXPECT_TRUE(operations.KillProcess_(victim.Id()));
    }
    EXPECT_FALSE(Enabled());
}

TEST_F(KillProcessPrivilegeTest, PrivilegeThatWasThereStays)
{
    SetDebugPrivilege(token.get(), SE_PRIVILEGE_ENABLED);
    {
        KillWatch watch(token.get());
        watch.Fail("OpenProcess", 1, ERROR_ACCESS_DENIED);
        EXPECT_TRUE(operations.KillProcess_(victim.Id()));
    }
    EXPECT_TRUE(Enabled());
}

TEST_F(KillProcessPrivilegeTest, PrivilegeThatCannotBeGivenBackIsNoFailure)
{
    KillWatch watch(token.get());
    watch.Fail("OpenProcess", 1, ERROR_ACCESS_DENIED);
    watch.Fail("AdjustTokenPrivileges", 2, ERROR_ACCESS_DENIED);

    EXPECT_TRUE(operations.KillProcess_(victim.Id()));

    EXPECT_EQ(0xFFFFFFFFu, victim.ExitCode());
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(KillProcessPrivilegeTest, ThreadThatImpersonatesUsesItsOwnToken)
{
    const UniqueHandle own = TokenOfThread();
    {
        KillWatch watch(own.get());
        watch.Fail("OpenProcess", 1, ERROR_ACCESS_DENIED);
        EXPECT_TRUE(operations.KillProcess_(victim.Id()));
        EXPECT_THAT(watch.Openings(), ElementsAre(false, true));
        EXPECT_EQ(0, watch.Count("process token 40"));
    }
    EXPECT_FALSE(IsEnabled(own.get(), DebugPrivilege()));
    EXPECT_FALSE(Enabled());
}

// The call succeeds then; only the last error tells.
TEST_F(KillProcessPrivilegeTest, TokenWithoutThePrivilegeIsAFailure)
{
    const UniqueHandle own = TokenOfThread();
    SetDebugPrivilege(own.get(), SE_PRIVILEGE_REMOVED);
    KillWatch watch(own.get());
    watch.Fail("OpenProcess", 1, ERROR_ACCESS_DENIED);

    EXPECT_FALSE(operations.KillProcess_(victim.Id()));

    EXPECT_TRUE(log.Has(LogError, killProcess, L"AdjustTokenPrivileges failed 0x514"));
    EXPECT_EQ("close token", watch.Calls().back());
    EXPECT_TRUE(victim.Runs());
}

TEST_F(KillProcessPrivilegeTest, ProcessThatIsNotThereFailsBothWays)
{
    constexpr DWORD nobody = 0xFFFFFFF0;

    EXPECT_FALSE(operations.KillProcess_(nobody));

    EXPECT_TRUE(log.Has(LogWarning, killProcess, L"OpenProcess 1 failed 0x57"));
    EXPECT_TRUE(log.Has(LogError, killProcess, L"OpenProcess 2 failed 0x57"));
    EXPECT_FALSE(Enabled());
}

// What fails after the refused opening, what is still done then, and what the log says.
struct KillProcessRefusal
{
    const char* name;
    const char* call;
    int nth;
    std::vector<std::string> calls;
    const wchar_t* text;
};

class KillProcessRefusalTest : public KillProcessPrivilegeTest, public testing::WithParamInterface<KillProcessRefusal>
{};

TEST_P(KillProcessRefusalTest, LeavesTheProcessAndThePrivilegesAlone)
{
    std::vector<std::string> expected = {"open 1", "thread token 40"};
    expected.insert(expected.end(), GetParam().calls.begin(), GetParam().calls.end());
    const test::HandleCount handles;
    {
        KillWatch watch(token.get());
        watch.Fail("OpenProcess", 1, ERROR_ACCESS_DENIED);
        watch.Fail(GetParam().call, GetParam().nth, ERROR_GEN_FAILURE);

        EXPECT_FALSE(operations.KillProcess_(victim.Id()));

        EXPECT_THAT(watch.Calls(), ElementsAreArray(expected));
    }
    EXPECT_TRUE(handles.Unchanged());
    EXPECT_TRUE(log.Has(LogError, killProcess, GetParam().text));
    EXPECT_TRUE(victim.Runs());
    EXPECT_FALSE(Enabled());
}

INSTANTIATE_TEST_SUITE_P(
    Steps, KillProcessRefusalTest,
    testing::Values(
        KillProcessRefusal{"ThreadToken", "OpenThreadToken", 1, {}, L"OpenThreadToken failed 0x1f"},
        KillProcessRefusal{
            "ProcessToken", "OpenProcessToken", 1, {"process token 40"}, L"OpenProcessToken failed 0x1f"},
        // No identifier, no such privilege.
        KillProcessRefusal{"Lookup",
                           "LookupPrivilegeValueW",
                           1,
                           {"process token 40", "lookup SeDebugPrivilege", "adjust 1 2 16 16", "close token"},
                           L"AdjustTokenPrivileges failed 0x514"},
        KillProcessRefusal{"Adjust",
                           "AdjustTokenPrivileges",
                           1,
                           {"process token 40", "lookup SeDebugPrivilege", "adjust 1 2 16 16", "close token"},
                           L"AdjustTokenPrivileges failed 0x1f"},
        KillProcessRefusal{"SecondOpening",
                           "OpenProcess",
                           0,
                           {"process token 40", "lookup SeDebugPrivilege", "adjust 1 2 16 16", "open 1", "give back 16",
                            "close token"},
                           L"OpenProcess 2 failed 0x1f"},
        KillProcessRefusal{"SecondEnd",
                           "TerminateProcess",
                           1,
                           {"process token 40", "lookup SeDebugPrivilege", "adjust 1 2 16 16", "open 1", "give back 16",
                            "close token", "terminate 4294967295", "close process"},
                           L"TerminateProcess 2 failed 0x1f"}),
    [](const auto& row) { return row.param.name; });

} // namespace
} // namespace prodsweep
