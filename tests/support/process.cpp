#include "support/process.h"

#include "support/log_recorder.h"
#include "support/temp_tree.h"

#include <memory>
#include <vector>

namespace prodsweep::test {
namespace {

// Names the test that a child was started for, so that a child of the child is none.
constexpr wchar_t childVariable[] = L"PRODSWEEP_TEST_CHILD";

struct HandleCloser
{
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

// A file and not a pipe: a process that outlives its parent must not keep the reader waiting.
UniqueHandle InheritableFile(const std::wstring& path)
{
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ | FILE_APPEND_DATA | SYNCHRONIZE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inheritable, CREATE_ALWAYS, 0, nullptr);
    return UniqueHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

// The one handle that a child gets, whatever else of ours can be inherited.
class OnlyHandle
{
public:
    explicit OnlyHandle(HANDLE inherited) : handle(inherited)
    {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        room.resize(size);
        InitializeProcThreadAttributeList(List(), 1, 0, &size);
        UpdateProcThreadAttribute(List(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, static_cast<void*>(&handle),
                                  sizeof(handle), nullptr, nullptr);
    }
    ~OnlyHandle() { DeleteProcThreadAttributeList(List()); }
    OnlyHandle(const OnlyHandle&) = delete;
    OnlyHandle& operator=(const OnlyHandle&) = delete;

    [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST List()
    {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(room.data());
    }

private:
    HANDLE handle;
    std::vector<char> room;
};

std::string ReadAll(HANDLE file)
{
    std::string content;
    char buffer[4096];
    DWORD read = 0;
    SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    while (ReadFile(file, buffer, sizeof(buffer), &read, nullptr) && read > 0)
        content.append(buffer, read);
    return content;
}

std::string CurrentTest()
{
    const testing::TestInfo* info = testing::UnitTest::GetInstance()->current_test_info();
    return info == nullptr ? std::string() : std::string(info->test_suite_name()) + "." + info->name();
}

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

} // namespace

ProcessResult RunProcess(const std::wstring& commandLine, const std::wstring& folder, DWORD timeoutMilliseconds)
{
    ProcessResult result;
    const TempTree tree;
    const UniqueHandle output = InheritableFile(tree.Path(L"output.txt"));
    OnlyHandle inherited(output.get());
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdOutput = output.get();
    startup.StartupInfo.hStdError = output.get();
    startup.lpAttributeList = inherited.List();
    PROCESS_INFORMATION made{};
    std::wstring line = commandLine; // the call writes into its buffer
    // Detached, since the host of a console would inherit the output from the child and may outlive it.
    result.started =
        CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, DETACHED_PROCESS | EXTENDED_STARTUPINFO_PRESENT,
                       nullptr, folder.empty() ? nullptr : folder.c_str(), &startup.StartupInfo, &made) != FALSE;
    if (!result.started)
    {
        result.exitCode = GetLastError();
        return result;
    }
    const UniqueHandle process(made.hProcess);
    const UniqueHandle thread(made.hThread);
    result.timedOut = WaitForSingleObject(process.get(), timeoutMilliseconds) != WAIT_OBJECT_0;
    if (result.timedOut)
    {
        TerminateProcess(process.get(), WAIT_TIMEOUT);
        WaitForSingleObject(process.get(), 5000);
    }
    GetExitCodeProcess(process.get(), &result.exitCode);
    result.output = ReadAll(output.get());
    return result;
}

ProcessResult RunThisProgram(const std::wstring& arguments, DWORD timeoutMilliseconds)
{
    return RunProcess(L"\"" + ThisProgram() + L"\" " + arguments, {}, timeoutMilliseconds);
}

std::optional<ProcessResult> ResultOfFreshProcess(DWORD timeoutMilliseconds)
{
    const std::string test = CurrentTest();
    wchar_t startedFor[512] = {};
    GetEnvironmentVariableW(childVariable, startedFor, 512);
    if (startedFor == Widen(test))
        return std::nullopt;
    SetEnvironmentVariableW(childVariable, Widen(test).c_str());
    ProcessResult child = RunThisProgram(L"--gtest_filter=" + Widen(test), timeoutMilliseconds);
    SetEnvironmentVariableW(childVariable, startedFor[0] != L'\0' ? startedFor : nullptr);
    return child;
}

bool PassesInFreshProcess(DWORD timeoutMilliseconds)
{
    const std::optional<ProcessResult> child = ResultOfFreshProcess(timeoutMilliseconds);
    if (!child)
        return false;
    // The count guards against a filter that matches nothing, which GoogleTest takes for success.
    const bool ranOne = child->output.find("[  PASSED  ] 1 test.") != std::string::npos;
    if (!child->started || child->timedOut || child->exitCode != 0 || !ranOne)
    {
        ADD_FAILURE() << CurrentTest() << " failed in a process of its own" << (child->timedOut ? " (time is up)" : "")
                      << ", exit code 0x" << std::hex << child->exitCode << "\n"
                      << child->output;
    }
    return true;
}

std::wstring ThisProgram()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

std::wstring ThisProgramsFolder()
{
    const std::wstring program = ThisProgram();
    return program.substr(0, program.rfind(L'\\') + 1);
}

} // namespace prodsweep::test
