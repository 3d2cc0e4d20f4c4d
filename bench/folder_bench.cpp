// The removal and the listing of folders.
#include "bench/benches.h"
#include "bench/memory_use.h"
#include "bench/trees.h"
#include "operations/operations.h"

#include <windows.h>

#include <shellapi.h>

#include <filesystem>

namespace prodsweep::bench {
namespace {

std::wstring Root()
{
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    return std::wstring(temp) + L"prodsweep-bench-tree";
}

void RunAndWait(std::wstring commandLine)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        return;
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

void ShellRemove(const std::wstring& path)
{
    const std::wstring list = path + L'\0';
    SHFILEOPSTRUCTW operation{};
    operation.wFunc = FO_DELETE;
    operation.pFrom = list.c_str();
    operation.fFlags = FOF_NOCONFIRMATION | FOF_SILENT | FOF_NOERRORUI;
    SHFileOperationW(&operation);
}

void Prepare(int files, const TreeShape& shape)
{
    BareRemoveFolder(Root());
    MakeTree(Root(), files, shape);
}

std::string GroupName(int files, const TreeShape& shape)
{
    return "folder removal, " + std::to_string(files) + " files, " + shape.name;
}

// The nanoseconds of our own removal.
double Compare(Report& report, int files, const TreeShape& shape)
{
    const std::wstring root = Root();
    const std::string group = GroupName(files, shape);
    COperations operations;
    const std::vector<double> times =
        InTurns(files >= 50'000 ? 1 : 5,
                {[&] { operations.DelFolder(root.c_str(), nullptr); }, [&] { BareRemoveFolder(root); },
                 [&] { std::filesystem::remove_all(root); }},
                [&] { Prepare(files, shape); });
    BareRemoveFolder(root);
    report.Compare(group, "DelFolder", {times[0], times[1]}, "bare loop", 1.10);
    report.Compare(group, "DelFolder", {times[0], times[2]}, "std::filesystem::remove_all", 1.0);
    report.OutsideSystemCalls(group, {times[0], times[1]});
    return times[0];
}

// The ways by which people remove a folder. Once each, as they take many times as long.
void CompareWithSlowPeers(Report& report, int files, const TreeShape& shape, double ours)
{
    const std::wstring root = Root();
    Prepare(files, shape);
    const double command = Nanoseconds([&] { RunAndWait(L"cmd /c rd /s /q \"" + root + L"\""); });
    Prepare(files, shape);
    const double shell = Nanoseconds([&] { ShellRemove(root); });
    BareRemoveFolder(root);
    report.Compare(GroupName(files, shape), "DelFolder", {ours, command}, "cmd /c rd /s /q", 1.0);
    report.Compare(GroupName(files, shape), "DelFolder", {ours, shell}, "SHFileOperationW", 1.0);
}

void MeasureMemory(Report& report)
{
    const std::wstring root = Root();
    MakeTree(root, 50'000, bushyTree);
    COperations operations;
    WideStringList folders;
    WideStringList files;
    {
        const MemoryUse memory;
        operations.ExpandFolder(root.c_str(), folders, files);
        report.Figure("memory", "expansion, per path held",
                      MemoryUse::Held() / static_cast<double>(folders.size() + files.size()), "bytes");
    }
    const MemoryUse memory;
    operations.DelFolder(root.c_str(), nullptr);
    report.Figure("memory", "removal of 50,000 files, most at once", MemoryUse::Peak() / 1024, "KiB");
    report.Figure("memory", "removal of 50,000 files, held afterwards", MemoryUse::Held() / 1024, "KiB");
}

} // namespace

void BenchFolders(Report& report)
{
    CompareWithSlowPeers(report, 1'000, flatTree, Compare(report, 1'000, flatTree));
    Compare(report, 10'000, flatTree);
    Compare(report, 10'000, deepTree);
    const double small = Compare(report, 1'000, bushyTree);
    CompareWithSlowPeers(report, 1'000, bushyTree, small);
    const double medium = Compare(report, 10'000, bushyTree);
    CompareWithSlowPeers(report, 10'000, bushyTree, medium);
    const double large = Compare(report, 50'000, bushyTree);
    report.Figure("folder removal", "growth, 50 times the files", large / small, "x", 55);
    MeasureMemory(report);
}

} // namespace prodsweep::bench
