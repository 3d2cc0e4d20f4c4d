#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <optional>
#include <string>

namespace prodsweep::test {

struct ProcessResult
{
    bool started = false;
    bool timedOut = false; // then the process was ended by force
    DWORD exitCode = 0;
    std::string output; // standard output and standard error, in the order of writing
};

// Runs a program to its end and takes what it wrote. folder is its current folder; empty for ours.
[[nodiscard]] ProcessResult RunProcess(const std::wstring& commandLine, const std::wstring& folder = {},
                                       DWORD timeoutMilliseconds = 60000);

// The same for this very test program with other arguments, such as a filter of GoogleTest.
[[nodiscard]] ProcessResult RunThisProgram(const std::wstring& arguments, DWORD timeoutMilliseconds = 60000);

// For a test that needs a process of its own, because it changes what a process cannot take back:
//
//   TEST(Suite, Name)
//   {
//       if (test::PassesInFreshProcess())
//           return;
//       // ... from here on in the child
//   }
//
// In the child it is false. In the parent it is true after the child has run this one test; the
// child's failures become the parent's.
[[nodiscard]] bool PassesInFreshProcess(DWORD timeoutMilliseconds = 60000);

// The same for a child that is meant to end in a way that GoogleTest cannot tell of: what came of it is the parent's to
// judge. Nothing in the child.
[[nodiscard]] std::optional<ProcessResult> ResultOfFreshProcess(DWORD timeoutMilliseconds = 60000);

// Path of the running program, and the folder that it lies in with its trailing "\".
[[nodiscard]] std::wstring ThisProgram();
[[nodiscard]] std::wstring ThisProgramsFolder();

} // namespace prodsweep::test
