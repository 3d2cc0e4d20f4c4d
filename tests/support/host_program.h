#pragma once

#include <functional>
#include <string>

// Wine keeps links and drives on the side of its host, where they can only be made by a program of the
// host. Such a program can be started, but not waited for; what it does is waited for instead.
namespace prodsweep::test {

[[nodiscard]] bool OnWine();

// What the host calls a path whose folder exists. Only on Wine.
[[nodiscard]] std::wstring HostPath(const std::wstring& path);

// Starts a program of the host's folder "bin" and returns when done says so. False when it can't be
// started, or isn't done within a minute.
[[nodiscard]] bool RunOnHost(const std::wstring& program, const std::wstring& arguments,
                             const std::function<bool()>& done);

} // namespace prodsweep::test
