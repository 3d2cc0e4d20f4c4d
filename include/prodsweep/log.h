/* The exports of log.dll, the reference logger. prodsweep.dll binds them by name and calls LogInit, LogWrite, LogDeinit
   and LogUninitDeskMetrics only; the others are for a program that sets the log up by itself. None of them fails its
   caller or keeps it waiting for long: what can't be written is lost, and a debugger is told why. */
#ifndef PRODSWEEP_LOG_H
#define PRODSWEEP_LOG_H

#include <windows.h>

#include <stdarg.h>

#ifdef __cplusplus
extern "C"
{
#endif

    /* The level of a line, and what LogSetLevel adds up. */
    enum LogLevel
    {
        LOG_LEVEL_ERROR = 0x04,     /* something failed that decides the operation */
        LOG_LEVEL_TOLERATED = 0x08, /* a failure that is tolerated */
        LOG_LEVEL_TRACE = 0x10,     /* entry and exit, and what is being handled */
        LOG_LEVEL_SKIPPED = 0x20,   /* left out on this kind of system */
        LOG_LEVEL_ALL = 0x3c
    };

    /* How a line looks. */
    enum LogType
    {
        LOG_TYPE_TEXT = 0,
        LOG_TYPE_JSON = 1 /* one object a line */
    };

    /* What becomes of a file that is there already. */
    enum LogMode
    {
        LOG_MODE_APPEND = 0,
        LOG_MODE_OVERWRITE = 1
    };

    /* Reads the settings file; until then nothing is written. Called again, or after one of the functions that set
       something, it does nothing. */
    void LogInit(void);
    /* Closes the file. A later line opens it again. */
    void LogDeinit(void);

    /* One line, if its level is wanted. format is the C runtime's wide one: %s takes a wide string. Any pointer may be
       null. 0: written or not wanted; else the Windows error by which it was lost. */
    int LogWrite(unsigned short reserved, const int* level, const char* function, const wchar_t* functionWide,
                 const wchar_t* format, va_list arguments);

    /* Reads the settings file anew; it replaces what was set by the functions below. */
    void LogApplySettings(void);
    /* Path of the settings file, instead of "log.ini" beside log.dll. Read at once. */
    void LogSetSettingsFile(const wchar_t* path);
    void LogEnable(BOOL enable);
    BOOL LogIsEnabled(void);
    void LogSetLevel(int levels);
    /* Taken as it stands; environment variables are expanded in the settings file only. */
    void LogSetPath(const wchar_t* path);
    /* LOG_TYPE_...; LOG_MODE_... Any other number changes nothing. */
    void LogSetType(int type);
    void LogSetMode(int mode);
    /* KiB from which on a file is put aside and a new one begun; 0: never. */
    void LogSetMaxSize(unsigned int size);
    /* How many files are kept aside, at most 99: FILE.1 is the youngest. 0: a full file is emptied. */
    void LogSetDepth(int depth);

    /* Part of the interface that prodsweep.dll binds. This logger collects no metrics: they do nothing. */
    void LogUninitDeskMetrics(void);
    void LogTrackEvent(const wchar_t* category, const wchar_t* name);
    void LogTrackEventData(const wchar_t* category, const wchar_t* name, const wchar_t* data);

#ifdef __cplusplus
}
#endif

#endif
