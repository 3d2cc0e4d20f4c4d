#include "own_files.h"

#include <algorithm>
#include <map>
#include <span>

#include "exit_codes.h"
#include "failure.h"
#include "forbidden_places.h"
#include "module_path.h"
#include "real_path.h"
#include "text.h"

namespace prodsweep {

namespace {

// Equal for all paths that lead to the same place.
std::wstring PlaceOf(const std::wstring& path) { return ToLower(RealPath(FullPath(path))); }

bool IsAtOrBelow(const std::wstring& place, const std::wstring& own)
{
    return place.starts_with(own) && (place.size() == own.size() || place[own.size()] == L'\\');
}

// folder: with the backslash at its end.
bool IsOwn(const std::wstring& place, const std::wstring& folder)
{
    const std::span<const ForbiddenFile> files = ForbiddenFilesOfLibrary();
    return std::any_of(files.begin(), files.end(), [&](const ForbiddenFile& file) {
        // The row without a name is the folder itself, in which there is room for others' files.
        return *file.name != L'\0' && IsAtOrBelow(place, PlaceOf(folder + file.name));
    });
}

void RefuseEmpty(const std::vector<NamedFile>& files)
{
    for (const NamedFile& file : files)
    {
        if (file.path.empty())
            throw CFailure(exitBadArguments, std::string(file.option) + " needs a file.");
    }
}

void RefuseShared(const std::vector<NamedFile>& files)
{
    std::map<std::wstring, const char*> options;
    for (const NamedFile& file : files)
    {
        const auto [known, isNew] = options.try_emplace(PlaceOf(ToWide(file.path)), file.option);
        if (!isNew)
            throw CFailure(exitBadArguments, std::string(known->second) + " and " + file.option +
                                                 " name the same file, \"" + file.path + "\"; say two.");
    }
}

void RefuseOwn(const std::vector<NamedFile>& files, const std::wstring& folder)
{
    for (const NamedFile& file : files)
    {
        if (file.isWritten && IsOwn(PlaceOf(ToWide(file.path)), folder))
            throw CFailure(exitBadArguments, std::string(file.option) + " cannot write to \"" + file.path +
                                                 "\": it is one of prodsweep's own files.");
    }
}

} // namespace

void CheckNamedFiles(const std::vector<NamedFile>& files, const std::string& libraryPath)
{
    RefuseEmpty(files);
    RefuseShared(files);
    RefuseOwn(files, FolderOf(ModulePath(nullptr)));
    if (!libraryPath.empty() && !files.empty())
        RefuseOwn(files, FolderOf(FullPath(ToWide(libraryPath))));
}

} // namespace prodsweep
