#pragma once

#include "interpreter/product_config.h"
#include "operations/operations.h"

namespace prodsweep {

// Is the product on this machine? Walks the descriptor that its removal would use, checks that each
// thing named there exists, and adds up scores; a version whose sections reach their minimum makes the
// product installed. Changes nothing. COM must be initialised on this thread.
class CProductInstalled : public CProductConfig
{
public:
    // descriptor: full path of the file.
    explicit CProductInstalled(std::wstring descriptor);

    // True when a version was detected; the versions behind it are not looked at. False in every other
    // case, all failures included.
    bool Process() override;
    bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) override;
    bool ProcessSection(IXMLDOMNode* section, const std::wstring& appPath) override;

    // True when the thing is there. Everything else is a miss: a failed check, a missing attribute, an
    // unknown folder.
    bool ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegKey(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegVal(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessSleep(int milliseconds) override;
    bool ProcessDisableDriver(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDisableService(const AttributeMap& attributes, const std::wstring& appPath) override;

    // For those who want to hear how the answer comes about, and derive to listen.
    virtual ~CProductInstalled() = default;

private:
    COperations operations;
};

} // namespace prodsweep
