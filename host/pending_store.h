// Where the system keeps what it does at the next restart.
#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include "pending_list.h"

namespace prodsweep {

// One of the system's two values, as it was when it was read.
struct PendingValue
{
    std::wstring name;
    DWORD type = REG_MULTI_SZ;
    ByteVector data;
};

class CPendingStore
{
public:
    // Without arguments the system's own place. A test has a place of its own.
    CPendingStore();
    CPendingStore(HKEY rootKey, std::wstring place) : root(rootKey), subkey(std::move(place)) {}

    // Those that exist, in the system's order. Throws CFailure.
    std::vector<PendingValue> Read() const;

    // Puts data in the place of a value that was read, or takes the value away when there is none. False, and nothing
    // done, when the value is not as it was read. Throws CFailure.
    //
    // The registry has no "write if unchanged": between the last look and the writing another program can still come,
    // for as long as one call takes, and what it added then would be lost. The system's own call for adding to the
    // list has the same gap.
    bool Replace(const PendingValue& seen, const ByteVector& data) const;

private:
    HKEY root;
    std::wstring subkey;
};

} // namespace prodsweep
