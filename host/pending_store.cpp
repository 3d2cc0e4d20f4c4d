#include "pending_store.h"

#include <optional>

#include "common/unique_reg_key.h"
#include "failure.h"
#include "text.h"

namespace prodsweep {

namespace {

// Each is read from its start to its end, the first one first.
constexpr const wchar_t* valueNames[] = {L"PendingFileRenameOperations", L"PendingFileRenameOperations2"};

UniqueRegKey Open(HKEY root, const std::wstring& subkey, REGSAM access)
{
    HKEY opened = nullptr;
    if (const LSTATUS status = RegOpenKeyExW(root, subkey.c_str(), 0, access, &opened); status != ERROR_SUCCESS)
        throw CFailure(status, "the system's list of what waits for the restart cannot be opened (error " +
                                   std::to_string(status) + ").");
    return UniqueRegKey(opened);
}

std::optional<PendingValue> ReadValue(HKEY key, const wchar_t* name)
{
    PendingValue value{name, REG_NONE, {}};
    DWORD size = 0;
    LSTATUS status = RegQueryValueExW(key, name, nullptr, &value.type, nullptr, &size);
    // Others may add to it meanwhile.
    while (status == ERROR_SUCCESS || status == ERROR_MORE_DATA)
    {
        value.data.resize(size);
        status = RegQueryValueExW(key, name, nullptr, &value.type, value.data.data(), &size);
        if (status == ERROR_SUCCESS && size <= value.data.size())
        {
            value.data.resize(size);
            return value;
        }
    }
    if (status == ERROR_FILE_NOT_FOUND)
        return std::nullopt;
    throw CFailure(status, ToUtf8(name) + " cannot be read (error " + std::to_string(status) + ").");
}

} // namespace

CPendingStore::CPendingStore()
    : CPendingStore(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\Session Manager")
{}

std::vector<PendingValue> CPendingStore::Read() const
{
    const UniqueRegKey key = Open(root, subkey, KEY_QUERY_VALUE);
    std::vector<PendingValue> values;
    for (const wchar_t* name : valueNames)
    {
        if (std::optional<PendingValue> value = ReadValue(key.get(), name))
            values.push_back(std::move(*value));
    }
    return values;
}

bool CPendingStore::Replace(const PendingValue& seen, const ByteVector& data) const
{
    const UniqueRegKey key = Open(root, subkey, KEY_QUERY_VALUE | KEY_SET_VALUE);
    const std::optional<PendingValue> now = ReadValue(key.get(), seen.name.c_str());
    if (!now || now->type != seen.type || now->data != seen.data)
        return false;
    // The call looks behind a text without a zero for one, and would write that, too.
    ByteVector written = data;
    written.insert(written.end(), sizeof(wchar_t), BYTE{0xFF});
    const LSTATUS status = data.empty() ? RegDeleteValueW(key.get(), seen.name.c_str())
                                        : RegSetValueExW(key.get(), seen.name.c_str(), 0, seen.type, written.data(),
                                                         static_cast<DWORD>(data.size()));
    if (status != ERROR_SUCCESS)
        throw CFailure(status, ToUtf8(seen.name) + " cannot be written (error " + std::to_string(status) +
                                   "); it stays as it was.");
    return true;
}

} // namespace prodsweep
