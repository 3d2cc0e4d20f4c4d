#pragma once

#include <windows.h>

#include <compare>
#include <optional>
#include <string>

namespace prodsweep {

// What a folder is, whatever path leads to it.
struct FolderIdentity
{
    DWORD volume;
    ULONGLONG index; // on that volume

    auto operator<=>(const FolderIdentity&) const = default;
};

// Follows links. Nothing when the folder can't be opened, or its file system tells none folder from another.
[[nodiscard]] std::optional<FolderIdentity> IdentityOf(const std::wstring& folder);

} // namespace prodsweep
