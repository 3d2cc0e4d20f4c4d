#include "line.h"

#include <cstdio>

#include "levels.h"
#include "text.h"

namespace prodsweep::logger {

namespace {

std::string TimeText(const SYSTEMTIME& time)
{
    char text[64] = {};
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", time.wYear, time.wMonth, time.wDay,
                  time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
    return text;
}

// A level that has no name is told as the number that the caller gave.
std::wstring LevelName(int number)
{
    for (const Level& level : levels)
    {
        if (level.number == number)
            return std::wstring(level.name);
    }
    return std::to_wstring(number);
}

std::string ComposeText(const Record& record)
{
    std::string line =
        TimeText(record.time) + ' ' + std::to_string(record.process) + ' ' + std::to_string(record.thread) + ' ';
    AppendPlain(line, LevelName(record.level));
    line += ' ';
    AppendPlain(line, record.function);
    line += ": ";
    AppendPlain(line, record.text);
    return line + "\r\n";
}

std::string ComposeJson(const Record& record)
{
    std::string line = R"({"time":")" + TimeText(record.time) + R"(","process":)" + std::to_string(record.process) +
                       R"(,"thread":)" + std::to_string(record.thread) + R"(,"level":")";
    AppendJson(line, LevelName(record.level));
    line += R"(","function":")";
    AppendJson(line, record.function);
    line += R"(","text":")";
    AppendJson(line, record.text);
    return line + "\"}\n";
}

} // namespace

std::string ComposeLine(const Record& record, int type)
{
    return type == LOG_TYPE_JSON ? ComposeJson(record) : ComposeText(record);
}

} // namespace prodsweep::logger
