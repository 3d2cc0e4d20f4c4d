#include "settings_file.h"

#include <optional>
#include <vector>

#include "debug_note.h"
#include "paths.h"
#include "unique_handle.h"

namespace prodsweep::logger {

namespace {

// No such file needs more; a wrong one must not cost memory.
constexpr DWORD largestFile = 0x10000;

std::optional<std::string> ReadBytes(const std::wstring& path)
{
    const UniqueHandle file =
        OwnFile(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file == nullptr)
    {
        const DWORD error = GetLastError();
        if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND)
            Note(L"the settings file " + path + L" can't be opened", error);
        return std::nullopt;
    }
    std::string bytes(largestFile + 1, '\0');
    DWORD read = 0;
    if (!ReadFile(file.get(), bytes.data(), largestFile + 1, &read, nullptr) || read > largestFile)
    {
        Note(L"the settings file " + path + L" can't be read or is no settings file");
        return std::nullopt;
    }
    bytes.resize(read);
    return bytes;
}

std::optional<std::wstring> Decode(const std::string& bytes)
{
    if (bytes.starts_with("\xff\xfe"))
    {
        std::wstring text;
        for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
            text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                         (static_cast<unsigned char>(bytes[i + 1]) << 8));
        return text;
    }
    const std::size_t mark = bytes.starts_with("\xef\xbb\xbf") ? 3 : 0;
    const int length = static_cast<int>(bytes.size() - mark);
    if (length == 0)
        return std::wstring();
    std::wstring text(static_cast<std::size_t>(length), L'\0');
    const int size =
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data() + mark, length, text.data(), length);
    if (size == 0)
        return std::nullopt;
    text.resize(static_cast<std::size_t>(size));
    return text;
}

} // namespace

Settings ReadSettings(const std::wstring& file)
{
    const std::optional<std::string> bytes = ReadBytes(file);
    if (!bytes)
        return DefaultSettings();
    const std::optional<std::wstring> text = Decode(*bytes);
    if (!text)
    {
        Note(L"the settings file " + file + L" is not UTF-8");
        return DefaultSettings();
    }
    return ParseSettings(*text, FolderOf(file));
}

} // namespace prodsweep::logger
