#pragma once

// The exports of log.dll, the reference writer. prodsweep.dll binds them by name and calls LogInit,
// LogWrite, LogDeinit and LogUninitDeskMetrics only; the others are for whoever sets the log up from
// a program. None of them fails its caller: what can't be written is lost.

#include <windows.h>

#include <stdarg.h>

#ifdef __cplusplus
extern "C"
{
#endif

// How a line looks.
enum LogType
{
    LOG_TYPE_TEXT = 0,
    LOG_TYPE_JSON = 1 // one object a line
};

// What happens to what an earlier run wrote.
enum LogMode
{
    LOG_MODE_APPEND = 0,
    LOG_MODE_OVERWRITE = 1
};

// Reads the settings file. Called again, it does nothing.
void LogInit(void);
// Closes the file.
void LogDeinit(void);

// level points to one of the levels 4 (error), 8 (tolerated), 0x10 (trace), 0x20 (skipped); the format is
// the C runtime's wide one. 0 when the line was written or is not wanted.
int LogWrite(unsigned short reserved, const int* level, const char* function, const wchar_t* functionWide,
             const wchar_t* format, va_list arguments);

// Reads the settings file anew; what was set by the functions below is replaced by it.
void LogApplySettings(void);
// Full path of the settings file, instead of "log.ini" beside the DLL. Applied at once.
void LogSetSettingsFile(const wchar_t* path);
void LogEnable(BOOL enable);
BOOL LogIsEnabled(void);
// The levels that are written, added up.
void LogSetLevel(int mask);
// May hold environment variables.
void LogSetPath(const wchar_t* path);
void LogSetType(int type);
void LogSetMode(int mode);
// KiB, after which the file is put aside and a new one begun; 0 for no limit.
void LogSetMaxSize(unsigned int size);
// How many files are kept aside: path.1 is the youngest.
void LogSetDepth(int depth);

// Part of the interface that the library binds; this writer collects no metrics.
void LogUninitDeskMetrics(void);
void LogTrackEvent(const wchar_t* category, const wchar_t* name);
void LogTrackEventData(const wchar_t* category, const wchar_t* name, const wchar_t* data);

#ifdef __cplusplus
}
#endif
