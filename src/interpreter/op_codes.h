#pragma once

#include "interpreter/attribute_map.h"

#include <cstdint>
#include <span>

namespace prodsweep {

class CProductConfig;

// What a section says is to be done with its entries.
struct OpCode
{
    const wchar_t* text; // compared ignoring case
    std::int32_t event;  // what the callback hears when a section of it is through
    // The walker's operation for one entry, with the entry's attributes and the version's app path.
    bool (CProductConfig::*operation)(const AttributeMap&, const std::wstring&);
};

// Every op_code there is.
[[nodiscard]] std::span<const OpCode> OpCodes();

// Null for a text that is no op_code.
[[nodiscard]] const OpCode* FindOpCode(const std::wstring& text);

} // namespace prodsweep
