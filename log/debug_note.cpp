#include "debug_note.h"

namespace prodsweep::logger {

void Note(const std::wstring& sentence) { OutputDebugStringW((L"log.dll: " + sentence + L"\n").c_str()); }

void Note(const std::wstring& sentence, DWORD error)
{
    Note(sentence + L" (Windows error " + std::to_wstring(error) + L")");
}

} // namespace prodsweep::logger
