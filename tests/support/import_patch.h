#pragma once

#include <windows.h>

namespace prodsweep::test {

// Rewrites one entry of a module's import table for as long as it lives: calls that the module makes
// to the function go to the replacement instead. For faults that the system will not give on demand.
// Several patches of one function nest; they must end in reverse order.
class ImportPatch
{
public:
    // module: null for the test program itself. A function that the module does not import fails
    // the test.
    template <class Function>
    ImportPatch(HMODULE module, const char* function, Function* replacement)
        : ImportPatch(module, function, reinterpret_cast<void*>(replacement), 0)
    {}
    ~ImportPatch();
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    // What the entry held: the real function, for replacements that pass calls on.
    template <class Function>
    [[nodiscard]] Function* Original() const
    {
        return reinterpret_cast<Function*>(original);
    }

private:
    ImportPatch(HMODULE module, const char* function, void* replacement, int);

    BYTE* slot = nullptr;
    void* original = nullptr;
};

// Changes a slot of a table of functions, which lies in memory that may not be written.
void WriteProtected(void* slot, void* value);

} // namespace prodsweep::test
