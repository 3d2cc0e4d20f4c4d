// What the process ends with: Windows' own error codes, as deployment tools know them.
#pragma once

#include <windows.h>

namespace prodsweep {

constexpr int exitDone = ERROR_SUCCESS;
constexpr int exitQueued = 1;        // no error: the answer of "pending --check"
constexpr int exitCheckWarnings = 1; // nor is this: check --strict
constexpr int exitNoLibrary = ERROR_FILE_NOT_FOUND;
constexpr int exitNotChecked = ERROR_FILE_NOT_FOUND;
constexpr int exitCheckErrors = 2; // likewise; a file that is missing is an error of a check, too
constexpr int exitBadCatalogue = ERROR_INVALID_DATA;
constexpr int exitNoMemory = ERROR_OUTOFMEMORY;
constexpr int exitNotWritten = ERROR_WRITE_FAULT;
constexpr int exitBadArguments = ERROR_INVALID_PARAMETER;
constexpr int exitNoExport = ERROR_PROC_NOT_FOUND;
constexpr int exitNeedsRights = 740; // ERROR_ELEVATION_REQUIRED, which not every SDK names
constexpr int exitDeclined = ERROR_INSTALL_USEREXIT;
constexpr int exitRemovalFailed = ERROR_INSTALL_FAILURE;
constexpr int exitUnknownProduct = ERROR_UNKNOWN_PRODUCT;
constexpr int exitRemovalRunning = ERROR_INSTALL_ALREADY_RUNNING;
constexpr int exitRestartRequired = ERROR_SUCCESS_REBOOT_REQUIRED;

} // namespace prodsweep
