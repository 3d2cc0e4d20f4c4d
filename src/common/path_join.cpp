#include "common/path_join.h"

namespace prodsweep {

std::wstring& AddSeparator(std::wstring& text)
{
    if (!text.empty() && text.back() != L'\\' && text.back() != L'/')
        text += L'\\';
    return text;
}

std::wstring& PathJoin(std::wstring& left, std::wstring_view right) { return AddSeparator(left).append(right); }

} // namespace prodsweep
