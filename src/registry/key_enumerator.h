#pragma once

#include <windows.h>

#include <string_view>
#include <vector>

namespace prodsweep {

// The longest names (in characters) and the longest data (in bytes) of an open key.
struct KeyMaxima
{
    DWORD subkeyName = 0;
    DWORD valueName = 0;
    DWORD data = 0;
};

// The platform's error code.
[[nodiscard]] LSTATUS QueryMaxima(HKEY key, KeyMaxima& maxima);

// Both enumerators start with buffers that suit the maxima, so that each entry takes one call, and
// Next answers
//   ERROR_SUCCESS        one entry further: Name and the like tell of it
//   ERROR_NO_MORE_ITEMS  there is none
//   ERROR_MORE_DATA      the entry came into the key after its maxima were asked and was too long.
//                        There is room now: Next tries the same entry again
//   anything else        the platform's error; ERROR_INSUFFICIENT_BUFFER when an entry does not fit
//                        although the buffer holds the longest name there can be.
// The key must stay open as long as they live.

class CValueEnumerator
{
public:
    enum class Parts
    {
        Name,
        NameAndData
    };

    CValueEnumerator(HKEY openKey, const KeyMaxima& maxima, Parts wanted);

    [[nodiscard]] LSTATUS Next();

    // The place of the value that the last Next was about, counted from 0.
    [[nodiscard]] DWORD Index() const { return index; }
    [[nodiscard]] std::wstring_view Name() const { return {name.data(), nameLength}; }
    [[nodiscard]] DWORD Type() const { return type; }
    // The data of whatever type, read as text up to the first zero character.
    [[nodiscard]] std::wstring_view Data() const;

private:
    bool MakeRoom();
    void AllocateName(DWORD characters);
    void AllocateData(DWORD bytes);

    HKEY key;
    Parts parts;
    DWORD index = 0;
    bool advance = false;
    bool stalled = false;
    std::vector<wchar_t> name;
    DWORD nameLength = 0;
    std::vector<wchar_t> data;
    DWORD dataSize = 0; // in bytes, as are all sizes of data
    DWORD dataLength = 0;
    DWORD type = REG_NONE;
};

class CSubkeyEnumerator
{
public:
    CSubkeyEnumerator(HKEY openKey, const KeyMaxima& maxima);

    [[nodiscard]] LSTATUS Next();

    [[nodiscard]] std::wstring_view Name() const { return {name.data(), nameLength}; }

private:
    bool MakeRoom();

    HKEY key;
    DWORD index = 0;
    std::vector<wchar_t> name;
    DWORD nameLength = 0;
};

} // namespace prodsweep
