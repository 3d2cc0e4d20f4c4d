#include "bench/library_copy.h"

#include <prodsweep/prodsweep.h>

#include <stdexcept>

namespace prodsweep::bench {
namespace {

HMODULE LoadCopy(const std::wstring& folder)
{
    const std::wstring copy = folder + L"\\prodsweep.dll";
    CreateDirectoryW(folder.c_str(), nullptr);
    CopyFileW(L"..\\bin\\prodsweep.dll", copy.c_str(), FALSE);
    wchar_t path[MAX_PATH] = {};
    GetFullPathNameW(copy.c_str(), MAX_PATH, path, nullptr);
    return LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

} // namespace

LibraryCopy::LibraryCopy(const wchar_t* folder) : module(LoadCopy(folder)) {}

LibraryCopy::~LibraryCopy() { FreeLibrary(module); }

LibraryCopy::Listing LibraryCopy::Function(const char* name) const
{
    return reinterpret_cast<Listing>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

void List(LibraryCopy::Listing listing, int flags, int expected)
{
    SAFEARRAY* products = nullptr;
    if (listing == nullptr || !listing(&products, flags))
        throw std::runtime_error("the listing failed");
    const ULONG count = products->rgsabound[0].cElements;
    ProdsweepFreeProducts(products);
    if (count != static_cast<ULONG>(expected))
        throw std::runtime_error("the listing gave " + std::to_string(count) + " products");
}

} // namespace prodsweep::bench
