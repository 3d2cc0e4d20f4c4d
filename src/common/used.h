#pragma once

namespace prodsweep {

// Asked by the primitive operations before they delete: does a product that stays still need this?
// A thing in use stays, and that counts as success. A null pointer means that nothing is in use.
class IUsed
{
public:
    virtual bool IsUsedFile(const wchar_t* path) = 0;
    virtual bool IsUsedFolder(const wchar_t* path) = 0;
    virtual bool IsUsedRegKey(const wchar_t* key, bool x32view) = 0;
    virtual bool IsUsedRegValue(const wchar_t* key, const wchar_t* value, bool x32view) = 0;
    // commandLine: what follows the tool on its command line, or the method of a DLL.
    virtual bool IsUsedTool(const wchar_t* path, const wchar_t* commandLine) = 0;

protected:
    IUsed() = default;
    IUsed(const IUsed&) = default;
    IUsed& operator=(const IUsed&) = default;
    ~IUsed() = default; // never deleted through the interface
};

} // namespace prodsweep
