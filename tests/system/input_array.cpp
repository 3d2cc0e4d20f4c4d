#include "system/input_array.h"

namespace prodsweep::test {

InputArray::InputArray(std::initializer_list<Row> rows, ULONG elementSize, LONG first)
{
    EXPECT_EQ(S_OK, SafeArrayAllocDescriptor(1, &array));
    array->cbElements = sizeof(ProductEntry);
    array->rgsabound[0] = {static_cast<ULONG>(rows.size()), first};
    EXPECT_EQ(S_OK, SafeArrayAllocData(array));
    array->cbElements = elementSize;
    auto* entry = static_cast<ProductEntry*>(array->pvData);
    for (const Row& row : rows)
    {
        BSTR const name = row.name != nullptr ? SysAllocString(row.name) : nullptr;
        *entry++ = {name, reinterpret_cast<BSTR>(2), row.kind, -1, reinterpret_cast<SAFEARRAY*>(2), row.force, -1};
        names.push_back(name);
    }
    before = Bytes();
}

InputArray::~InputArray()
{
    EXPECT_TRUE(Unchanged());
    for (BSTR name : names)
        SysFreeString(name);
    EXPECT_EQ(S_OK, SafeArrayDestroy(array));
}

testing::AssertionResult InputArray::Unchanged() const
{
    if (array->cLocks != 0)
        return testing::AssertionFailure() << array->cLocks << " locks";
    if (Bytes() != before)
        return testing::AssertionFailure() << "the array was written to";
    return testing::AssertionSuccess();
}

std::string InputArray::Bytes() const
{
    std::string bytes(reinterpret_cast<const char*>(array), sizeof(*array));
    bytes.append(static_cast<const char*>(array->pvData), names.size() * sizeof(ProductEntry));
    for (BSTR name : names)
        bytes.append(reinterpret_cast<const char*>(name), SysStringByteLen(name));
    return bytes;
}

} // namespace prodsweep::test
