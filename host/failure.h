// What ends a command early. The host is an ordinary program, so it may throw; the library may not.
#pragma once

#include <stdexcept>
#include <string>

namespace prodsweep {

class CFailure : public std::runtime_error
{
public:
    // sentence is UTF-8, meant for the person who typed the command: what is wrong, with the file's
    // full path where a file is at fault.
    CFailure(int code, const std::string& sentence) : std::runtime_error(sentence), exitCode(code) {}

    int ExitCode() const noexcept { return exitCode; }

private:
    int exitCode;
};

// Standard output itself failed: nothing more is written to it, no JSON either.
class COutputFailure : public CFailure
{
public:
    using CFailure::CFailure;
};

} // namespace prodsweep
