// What the process ends with: Windows' own error codes, as deployment tools know them.
#pragma once

#include <windows.h>

namespace prodsweep {

constexpr int exitDone = ERROR_SUCCESS;
constexpr int exitNoLibrary = ERROR_FILE_NOT_FOUND;
constexpr int exitBadCatalogue = ERROR_INVALID_DATA;
constexpr int exitNoMemory = ERROR_OUTOFMEMORY;
constexpr int exitNotWritten = ERROR_WRITE_FAULT;
constexpr int exitBadArguments = ERROR_INVALID_PARAMETER;
constexpr int exitNoExport = ERROR_PROC_NOT_FOUND;

} // namespace prodsweep
