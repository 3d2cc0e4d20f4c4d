#include "system/catalogue_text.h"

#include "support/log_recorder.h"

namespace prodsweep::test {

std::string CatalogueText(const std::wstring& elements)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<uninstall_information>" + Narrow(elements) +
           "</uninstall_information>\n";
}

std::wstring ProductText(const std::wstring& name, const std::wstring& versions)
{
    return L"<product name=\"" + name + L"\" file=\"" + name + L".xml\">" + versions + L"</product>\n";
}

std::wstring VersionById(const std::wstring& id, const std::wstring& children)
{
    return L"<version name=\"v\" id=\"" + id + L"\">" + children + L"</version>";
}

std::wstring VersionByKey(const std::wstring& keyPath, const std::wstring& value, const std::wstring& children)
{
    return L"<version name=\"v\" keypath=\"" + keyPath + L"\" keyvalue=\"" + value + L"\">" + children + L"</version>";
}

} // namespace prodsweep::test
