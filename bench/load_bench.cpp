#include "bench/benches.h"

#include <windows.h>

#include <stdexcept>

namespace prodsweep::bench {
namespace {

void LoadAndFree(const wchar_t* path)
{
    const HMODULE module = LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr)
        throw std::runtime_error("a DLL cannot be loaded");
    FreeLibrary(module);
}

} // namespace

void BenchLoad(Report& report)
{
    wchar_t ours[MAX_PATH] = {};
    GetFullPathNameW(L"..\\bin\\prodsweep.dll", MAX_PATH, ours, nullptr);
    wchar_t empty[MAX_PATH] = {};
    GetFullPathNameW(L"empty.dll", MAX_PATH, empty, nullptr);

    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    GetFileAttributesExW(ours, GetFileExInfoStandard, &attributes);
    report.Figure("size", "prodsweep.dll", attributes.nFileSizeLow / 1024.0, "KiB", 500);
    report.Compare("load", "LoadLibrary and FreeLibrary",
                   SideBySide(
                       51, [&] { LoadAndFree(ours); }, [&] { LoadAndFree(empty); }),
                   "empty DLL");
}

} // namespace prodsweep::bench
