#include "log/built_log.h"

#include "support/process.h"

#include <gtest/gtest.h>

#include <cstdarg>

namespace prodsweep::test {

BuiltLog::BuiltLog()
{
    EXPECT_TRUE(CopyFileW((ThisProgramsFolder() + L"..\\bin\\log.dll").c_str(), Dll().c_str(), TRUE)) << GetLastError();
}

BuiltLog::~BuiltLog()
{
    Unload();
    EXPECT_TRUE(CanariesIntact());
}

void BuiltLog::Settings(const std::string& text)
{
    DeleteFileW(Path(L"log.ini").c_str());
    AddFile(L"log.ini", FILE_ATTRIBUTE_NORMAL, text);
}

void BuiltLog::Load()
{
    module = LoadLibraryExW(Dll().c_str(), nullptr, 0);
    ASSERT_NE(nullptr, module) << GetLastError();
#define BIND(name)                                                                                                     \
    name = reinterpret_cast<decltype(name)>(reinterpret_cast<void*>(GetProcAddress(module, #name)));                   \
    EXPECT_NE(nullptr, name) << #name " is not exported"
    BIND(LogApplySettings);
    BIND(LogSetSettingsFile);
    BIND(LogEnable);
    BIND(LogSetLevel);
    BIND(LogSetPath);
    BIND(LogSetType);
    BIND(LogSetMode);
    BIND(LogSetMaxSize);
    BIND(LogSetDepth);
    BIND(LogWrite);
    BIND(LogIsEnabled);
    BIND(LogDeinit);
    BIND(LogInit);
    BIND(LogUninitDeskMetrics);
    BIND(LogTrackEvent);
    BIND(LogTrackEventData);
#undef BIND
    LogInit();
}

void BuiltLog::Unload()
{
    if (module == nullptr)
        return;
    LogDeinit();
    LogUninitDeskMetrics();
    FreeLibrary(module);
    module = nullptr;
    EXPECT_EQ(nullptr, GetModuleHandleW(Dll().c_str())) << "the DLL did not let itself be unloaded";
}

int BuiltLog::Write(int level, const wchar_t* format, ...) const
{
    va_list arguments;
    va_start(arguments, format);
    const int result = LogWrite(0, &level, "CTest::Write", L"CTest::Write", format, arguments);
    va_end(arguments);
    return result;
}

std::string ReadAllOf(const std::wstring& path)
{
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return {};
    std::string content(GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    EXPECT_TRUE(ReadFile(file, content.data(), static_cast<DWORD>(content.size()), &read, nullptr));
    CloseHandle(file);
    content.resize(read);
    return content;
}

std::vector<std::string> LinesOf(const std::wstring& path)
{
    std::vector<std::string> lines;
    std::string rest = ReadAllOf(path);
    for (std::size_t end = rest.find('\n'); end != std::string::npos; end = rest.find('\n'))
    {
        const bool hasReturn = end > 0 && rest[end - 1] == '\r';
        lines.push_back(rest.substr(0, hasReturn ? end - 1 : end));
        rest.erase(0, end + 1);
    }
    if (!rest.empty())
        lines.push_back("torn: " + rest);
    return lines;
}

std::vector<std::string> TextsOf(const std::wstring& path)
{
    std::vector<std::string> texts;
    for (const std::string& line : LinesOf(path))
    {
        const std::size_t place = line.find(": ");
        texts.push_back(place == std::string::npos ? "no text: " + line : line.substr(place + 2));
    }
    return texts;
}

} // namespace prodsweep::test
