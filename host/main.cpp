#include <memory>
#include <string>
#include <vector>

#include <windows.h>

#include <shellapi.h>

#include "host.h"
#include "library.h"
#include "output.h"
#include "text.h"

namespace {

struct LocalMemoryFree
{
    void operator()(wchar_t** arguments) const noexcept { LocalFree(static_cast<void*>(arguments)); }
};

// From the wide command line: main's own arguments have gone through a code page.
std::vector<std::string> Arguments()
{
    int count = 0;
    const std::unique_ptr<wchar_t*, LocalMemoryFree> wide(CommandLineToArgvW(GetCommandLineW(), &count));
    std::vector<std::string> arguments;
    for (int i = 1; wide != nullptr && i < count; ++i)
        arguments.push_back(prodsweep::ToUtf8(wide.get()[i]));
    return arguments;
}

} // namespace

int main()
{
    prodsweep::SearchLibrariesSafely();
    const prodsweep::COutput out(STD_OUTPUT_HANDLE);
    const prodsweep::COutput err(STD_ERROR_HANDLE);
    return prodsweep::RunHost(Arguments(), out, err);
}
