#pragma once

#include <windows.h>

#include <string>

namespace prodsweep::test {

// A key of its own below Software\prodsweep-tests, with canaries beside it: a key and a value whose
// names begin like the sandbox's own. Removed when the object ends. In HKEY_LOCAL_MACHINE, registryView
// (KEY_WOW64_64KEY or KEY_WOW64_32KEY) chooses the registry view; HKEY_CURRENT_USER has only one.
class RegistrySandbox
{
public:
    explicit RegistrySandbox(HKEY root = HKEY_CURRENT_USER, REGSAM registryView = KEY_WOW64_64KEY);
    // The same place in another registry view, with canaries of its own.
    RegistrySandbox(const RegistrySandbox& twin, REGSAM registryView);
    ~RegistrySandbox();
    RegistrySandbox(const RegistrySandbox&) = delete;
    RegistrySandbox& operator=(const RegistrySandbox&) = delete;

    // "Software\prodsweep-tests\...\box", and the same below it.
    [[nodiscard]] const std::wstring& Subkey() const { return subkey; }
    [[nodiscard]] std::wstring Subkey(const std::wstring& relative) const { return subkey + L"\\" + relative; }
    // The same with the long hive name in front.
    [[nodiscard]] std::wstring Path() const;
    [[nodiscard]] std::wstring Path(const std::wstring& relative) const { return Path() + L"\\" + relative; }

    // Keys are made as needed. An empty relative means the sandbox key itself.
    void AddKey(const std::wstring& relative) const;
    void AddText(const std::wstring& relative, const std::wstring& value, const std::wstring& data,
                 DWORD type = REG_SZ) const;
    void AddData(const std::wstring& relative, const std::wstring& value, DWORD type, const void* data,
                 std::size_t size) const;

    [[nodiscard]] bool HasKey(const std::wstring& relative) const;
    [[nodiscard]] bool HasValue(const std::wstring& relative, const std::wstring& value) const;
    [[nodiscard]] bool CanariesIntact() const;

private:
    void Plant() const;

    HKEY hive;
    REGSAM view;
    std::wstring home; // holds the sandbox and the canaries
    std::wstring subkey;
};

} // namespace prodsweep::test
