#pragma once

#include <windows.h>

#include <oleauto.h>

#include <string>

namespace prodsweep::bench {

// A folder below the current one with a copy of the DLL in it, loaded: catalogues lie beside the DLL.
class LibraryCopy
{
public:
    using Listing = bool (*)(SAFEARRAY** products, int flags);

    explicit LibraryCopy(const wchar_t* folder);
    ~LibraryCopy();
    LibraryCopy(const LibraryCopy&) = delete;
    LibraryCopy& operator=(const LibraryCopy&) = delete;

    [[nodiscard]] Listing Function(const char* name) const;

private:
    HMODULE module;
};

// Calls a listing and frees what it gave. Throws if it fails or gives another number of products: what does not work
// is quick.
void List(LibraryCopy::Listing listing, int flags, int expected);

} // namespace prodsweep::bench
