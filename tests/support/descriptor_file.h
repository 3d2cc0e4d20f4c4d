#pragma once

#include "support/temp_tree.h"

#include <string>

namespace prodsweep::test {

// An uninstall descriptor on disk, in a folder of its own that is removed with the object.
class DescriptorFile
{
public:
    // xml: UTF-8, written as it is.
    explicit DescriptorFile(const std::string& xml) : path(tree.AddFile(L"descriptor.xml", FILE_ATTRIBUTE_NORMAL, xml))
    {}

    [[nodiscard]] const std::wstring& Path() const { return path; }

private:
    TempTree tree;
    std::wstring path;
};

// A descriptor that lists "v1" and has that version, whose win_nt holds the sections. attributes are
// those of the version's element; lookup stands before win_nt.
[[nodiscard]] inline std::string OneVersion(const std::string& sections, const std::string& attributes = {},
                                            const std::string& lookup = {})
{
    return "<uninstall_information><version_list><v1/></version_list><v1 " + attributes + ">" + lookup + "<win_nt>" +
           sections + "</win_nt></v1></uninstall_information>";
}

} // namespace prodsweep::test
