// Which product it is that still uses a thing.
#pragma once

#include <string>
#include <vector>

#include "interpreter/check_list.h"

namespace prodsweep {

// Asks the products that stay in the removal's order; the first that says yes is the answer, as it is there. Empty:
// nothing uses it.
class CUsers
{
public:
    // names: of the products of list, one for each. list is not owned.
    CUsers(const CheckList& list, const std::vector<std::string>& names) : checkList(list), productNames(names) {}

    std::string OfFile(const std::wstring& path) const;
    std::string OfFolder(const std::wstring& path) const;
    std::string OfKey(const std::wstring& key, bool x32view) const;
    std::string OfValue(const std::wstring& key, const std::wstring& value, bool x32view) const;
    std::string OfTool(const std::wstring& path, const std::wstring& commandLine) const;

private:
    template <class Question>
    std::string First(const Question& uses) const
    {
        for (std::size_t i = 0; i < checkList.size(); ++i)
        {
            if (uses(checkList[i]))
                return productNames[i];
        }
        return {};
    }

    const CheckList& checkList;
    const std::vector<std::string>& productNames;
};

} // namespace prodsweep
