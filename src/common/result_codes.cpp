#include "common/result_codes.h"

namespace prodsweep {

const wchar_t* ResultCodeName(int code) noexcept
{
    switch (code)
    {
    case _ERROR_SUCCESS:
        return L"_ERROR_SUCCESS";
    case _ERROR_NOT_FOUND:
        return L"_ERROR_NOT_FOUND";
    case _ERROR_FAILED:
        return L"_ERROR_FAILED";
    case _ERROR_UNKNOWN:
        return L"_ERROR_UNKNOWN";
    default:
        return L"ERROR_UNDEF";
    }
}

} // namespace prodsweep
