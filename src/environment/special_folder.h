#pragma once

#include <map>
#include <string>

namespace prodsweep {

// Resolves the folder keywords of descriptors ("program_files", "app_path", ...). Made on the fly
// for each use; the table of keywords is made once per process.
class CSpecialFolder
{
public:
    // installFolder: that of the version being walked; what "app_path" stands for.
    explicit CSpecialFolder(std::wstring installFolder);

    // True when folder holds a path, which has no trailing separator. On failure folder is untouched.
    [[nodiscard]] bool Get(const std::wstring& keyword, std::wstring& folder) const;

protected:
    // Keyword in lower case to CSIDL number. Filled by the first constructor while it is empty; what
    // it says of the "_x86" keywords depends on the kind of process and is fixed then.
    static std::map<std::wstring, int> folders;

private:
    static void FillTable();
    static bool ReadFromRegistry(const wchar_t* valueName, std::wstring& folder);

    std::wstring appPath;
};

} // namespace prodsweep
