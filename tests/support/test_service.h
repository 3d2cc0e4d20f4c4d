#pragma once

#include <windows.h>

#include <string>

// What the test service and those who watch it agree on.

// It reports this many check points, from 1 on, before it is stopped.
constexpr DWORD testServiceSteps = 3;

// Another one for each check point, so that a waiter shows which one it took. In milliseconds; the
// waiter's Sleep is patched, nobody waits for so long.
constexpr DWORD TestServiceWaitHint(DWORD checkPoint) { return 100000 + checkPoint; }

// What it reports in every other state; this one is waited for really.
constexpr DWORD testServiceRunningHint = 2000;

inline std::wstring TestServiceStepEvent(const std::wstring& service) { return L"Global\\" + service + L"-step"; }
// Set by who needs it no more. Until then it stays, stopped or not.
inline std::wstring TestServiceEndEvent(const std::wstring& service) { return L"Global\\" + service + L"-end"; }
inline std::wstring TestServiceSteppedEvent(const std::wstring& service) { return L"Global\\" + service + L"-stepped"; }
