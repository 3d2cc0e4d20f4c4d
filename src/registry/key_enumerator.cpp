#include "registry/key_enumerator.h"

#include <algorithm>

namespace prodsweep {
namespace {

// No name of a value or key comes near it.
constexpr std::size_t longestName = 0x8000;
constexpr std::size_t stalledName = 256;

} // namespace

LSTATUS QueryMaxima(HKEY key, KeyMaxima& maxima)
{
    return RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, &maxima.subkeyName, nullptr, nullptr,
                            &maxima.valueName, &maxima.data, nullptr, nullptr);
}

CValueEnumerator::CValueEnumerator(HKEY openKey, const KeyMaxima& maxima, Parts wanted) : key(openKey), parts(wanted)
{
    AllocateName(maxima.valueName + 1);
    if (parts == Parts::NameAndData)
        AllocateData(maxima.data + 1);
}

LSTATUS CValueEnumerator::Next()
{
    if (advance)
        ++index;
    nameLength = static_cast<DWORD>(name.size());
    dataLength = dataSize;
    const LSTATUS status = parts == Parts::Name
                               ? RegEnumValueW(key, index, name.data(), &nameLength, nullptr, nullptr, nullptr, nullptr)
                               : RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type,
                                               reinterpret_cast<BYTE*>(data.data()), &dataLength);
    advance = status == ERROR_SUCCESS;
    if (status == ERROR_MORE_DATA)
        return MakeRoom() ? ERROR_MORE_DATA : ERROR_INSUFFICIENT_BUFFER;
    stalled = false;
    return status;
}

std::wstring_view CValueEnumerator::Data() const
{
    // The size is in bytes and may be odd, and there need not be a zero at the end.
    const std::wstring_view whole(data.data(), dataLength / sizeof(wchar_t));
    return whole.substr(0, whole.find(L'\0'));
}

bool CValueEnumerator::MakeRoom()
{
    const bool nameIsShort = nameLength > name.size();
    const bool dataIsShort = dataLength > dataSize;
    if (nameIsShort)
        AllocateName(nameLength + 1);
    if (dataIsShort)
        AllocateData(dataLength + 1);
    if (nameIsShort || dataIsShort)
        return true;
    // Neither length tells what is missing: the same buffers get a second chance. If that fails too,
    // it is the name, whose full length not every system tells; without more room this would never end.
    if (stalled)
    {
        if (name.size() > longestName)
            return false;
        AllocateName(static_cast<DWORD>(std::max(name.size() * 2, stalledName)));
    }
    stalled = true;
    return true;
}

void CValueEnumerator::AllocateName(DWORD characters) { name.assign(characters, L'\0'); }

void CValueEnumerator::AllocateData(DWORD bytes)
{
    data.assign(bytes / sizeof(wchar_t) + 1, L'\0');
    dataSize = bytes;
}

CSubkeyEnumerator::CSubkeyEnumerator(HKEY openKey, const KeyMaxima& maxima)
    : key(openKey), name(maxima.subkeyName + std::size_t{1})
{}

LSTATUS CSubkeyEnumerator::Next()
{
    nameLength = static_cast<DWORD>(name.size());
    const LSTATUS status = RegEnumKeyExW(key, index, name.data(), &nameLength, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_MORE_DATA)
        return MakeRoom() ? ERROR_MORE_DATA : ERROR_INSUFFICIENT_BUFFER;
    if (status == ERROR_SUCCESS)
        ++index;
    return status;
}

bool CSubkeyEnumerator::MakeRoom()
{
    if (name.size() > longestName)
        return false;
    // A system that leaves the length as it was gets one character more each time.
    name.assign(std::max(nameLength + std::size_t{1}, name.size() + 1), L'\0');
    return true;
}

} // namespace prodsweep
