#pragma once

// One line as the recording log.dll gives it out; the texts are good until the next record.
struct RecordedLine
{
    int level;
    const char* function;
    const wchar_t* functionWide;
    const wchar_t* text;
};
