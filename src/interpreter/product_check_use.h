#pragma once

#include "interpreter/product_config.h"
#include "registry/reg_key_helper.h"

#include <string>
#include <vector>

namespace prodsweep {

// A tool with its command line, or a module with its method; both in lower case, the command line
// without its blanks.
struct UsedTool
{
    std::wstring tool;
    std::wstring commandLine;

    auto operator<=>(const UsedTool&) const = default;
};

// How the in-use pass looks into a folder that a descriptor names.
enum class FolderLook
{
    ResetsAttributes, // as a removal does: the named folder loses its attributes
    LeavesNoTrace     // for one who only wants to know what a removal would find
};

// What a product that stays still uses: all that its own descriptor names, as far as it lies on the
// machine at this moment. Changes nothing but what FolderLook says. The walk is done by the constructor; afterwards the
// object answers questions from its lists. Copied by value into the CheckList.
class CProductCheckUse final : public CProductConfig
{
public:
    // descriptor: full path of the file. When it can't be read, the product protects nothing, or less.
    // COM must be initialised on this thread.
    explicit CProductCheckUse(std::wstring descriptor, FolderLook look = FolderLook::ResetsAttributes);

    // All compare whole texts by character value: case counts, and nothing is in use just because it
    // lies below something that is.
    [[nodiscard]] bool IsFileUsed(const wchar_t* path) const;
    [[nodiscard]] bool IsFolderUsed(const wchar_t* path) const;
    [[nodiscard]] bool IsRegKeyUsed(const wchar_t* key, bool x32view) const;
    [[nodiscard]] bool IsRegValueUsed(const wchar_t* key, const wchar_t* value, bool x32view) const;
    // Alone compares loosely: in any case, and with any blanks in commandLine.
    [[nodiscard]] bool IsToolUsed(const wchar_t* tool, const wchar_t* commandLine) const;

    [[nodiscard]] std::wstring DescriptorPath() const { return file; }

    // The walk's operations: they note what the entry names. False when it names nothing usable.
    bool ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegKey(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegVal(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessExecTool(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDisableDriver(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDisableService(const AttributeMap& attributes, const std::wstring& appPath) override;
    virtual bool ProcessExecDllMethod(const AttributeMap& attributes, const std::wstring& appPath);

private:
    void SortLists();

    FolderLook folderLook;
    WideStringList usedFiles; // shortcut files too
    WideStringList usedFolders;
    UsedRegItemList usedRegKeys;
    UsedRegItemList usedRegValues;
    // Noted, and never asked for: a service that two products share is disabled all the same.
    WideStringList usedDrivers;
    std::vector<UsedTool> usedTools;
};

} // namespace prodsweep
