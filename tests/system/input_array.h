#pragma once

#include <prodsweep/prodsweep.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace prodsweep::test {

// An array for UninstallProducts. The fields that the DLL has no business with lead nowhere.
class InputArray
{
public:
    struct Row
    {
        const wchar_t* name; // null: a null BSTR
        int32_t kind;
        int32_t force = 0;
    };

    InputArray(std::initializer_list<Row> rows) : InputArray(rows, sizeof(ProductEntry), 0) {}
    // The rows lie where they should; only the array says otherwise.
    InputArray(std::initializer_list<Row> rows, ULONG elementSize, LONG first);
    ~InputArray();
    InputArray(const InputArray&) = delete;
    InputArray& operator=(const InputArray&) = delete;

    [[nodiscard]] SAFEARRAY* Get() const { return array; }
    // Neither array, elements and names nor the number of locks have changed.
    [[nodiscard]] testing::AssertionResult Unchanged() const;

private:
    [[nodiscard]] std::string Bytes() const;

    SAFEARRAY* array = nullptr;
    std::vector<BSTR> names;
    std::string before;
};

} // namespace prodsweep::test
