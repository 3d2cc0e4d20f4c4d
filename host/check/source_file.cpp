#include "check/source_file.h"

#include <windows.h>

namespace prodsweep {

namespace {

// Without a separator in front of its last part; empty for a path of one part.
std::wstring_view FolderOf(std::wstring_view path)
{
    const std::size_t separator = path.find_last_of(L"\\/");
    return separator == std::wstring_view::npos ? std::wstring_view() : path.substr(0, separator);
}

} // namespace

bool SameName(std::wstring_view left, std::wstring_view right)
{
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

std::wstring AbsolutePath(const std::wstring& path)
{
    std::wstring absolute(MAX_PATH, L'\0');
    DWORD length = GetFullPathNameW(path.c_str(), MAX_PATH, absolute.data(), nullptr);
    absolute.resize(length);
    // The first answer was the size that is needed.
    if (length > MAX_PATH)
        length = GetFullPathNameW(path.c_str(), length, absolute.data(), nullptr);
    absolute.resize(length);
    return length == 0 ? path : absolute;
}

std::wstring_view NameOf(std::wstring_view path)
{
    const std::size_t separator = path.find_last_of(L"\\/");
    return separator == std::wstring_view::npos ? path : path.substr(separator + 1);
}

void Classify(SourceFile& file)
{
    const std::wstring_view name = NameOf(file.path);
    const bool ownCatalogue = SameName(name, L"products.xml");
    const bool otherCatalogue = SameName(name, L"detection.xml");
    // Whose it is, is known of a file that a catalogue names: the library reads that as a descriptor in any case.
    if (file.owner != Owner::Unknown)
        return;
    // A version of a descriptor may be named "product", too.
    file.isCatalogue =
        ownCatalogue || otherCatalogue || (file.root.Child(L"product") != nullptr && !file.root.Child(L"version_list"));
    if (ownCatalogue)
        file.owner = Owner::Own;
    if (otherCatalogue)
        file.owner = Owner::Other;
    for (std::wstring_view folder = FolderOf(file.path); !folder.empty() && !file.isCatalogue;
         folder = FolderOf(folder))
    {
        if (SameName(NameOf(folder), L"intern"))
            file.owner = Owner::Own;
        else if (SameName(NameOf(folder), L"extern"))
            file.owner = Owner::Other;
        else
            continue;
        break;
    }
}

} // namespace prodsweep
