#pragma once

#include "common/uninstall_callback.h"
#include "common/wide_string_list.h"
#include "environment/xml_helper.h"
#include "interpreter/attribute_map.h"

#include <string>

namespace prodsweep {

struct EntryAttributes;

// Walks an uninstall descriptor: its versions, their sections, and the entries of these, each of which
// goes as a map of attributes to the operation that the section's op_code names. The walk changes
// nothing on the machine, and the operations here do nothing and succeed; the passes replace them.
//
// Used on one thread, on which COM is initialised. Throws CComError when memory is short.
class CProductConfig
{
public:
    // The whole walk. False when the descriptor or its list of versions can't be read. A version or
    // section that fails does not show in the result; only the detection makes decisions of that.
    virtual bool Process();
    // The sections of one version. appPath: its install folder, empty when none was found.
    virtual bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath);
    // The entries of one section. False when one of them failed.
    virtual bool ProcessSection(IXMLDOMNode* section, const std::wstring& appPath);
    // One entry: dispatch by "op_code".
    virtual bool ExecOperation(const AttributeMap& attributes, const std::wstring& appPath);

    virtual bool ProcessDelFile(const AttributeMap&, const std::wstring&) { return true; }
    virtual bool ProcessDelFolder(const AttributeMap&, const std::wstring&) { return true; }
    virtual bool ProcessDelShortcut(const AttributeMap&, const std::wstring&) { return true; }
    virtual bool ProcessDelRegKey(const AttributeMap&, const std::wstring&) { return true; }
    virtual bool ProcessDelRegVal(const AttributeMap&, const std::wstring&) { return true; }
    virtual bool ProcessKillProcess(const AttributeMap&, const std::wstring&) { return true; }
    virtual bool ProcessExecTool(const AttributeMap&, const std::wstring&) { return true; }
    virtual bool ProcessSleep(int /*milliseconds*/) { return true; }
    // Services and drivers differ in the op_code's name only.
    virtual bool ProcessDisableDriver(const AttributeMap&, const std::wstring&) { return true; }
    virtual bool ProcessDisableService(const AttributeMap&, const std::wstring&) { return true; }
    virtual bool ProcessDisableAndStopDriver(const AttributeMap&, const std::wstring&) { return true; }
    virtual bool ProcessDisableAndStopService(const AttributeMap&, const std::wstring&) { return true; }

protected:
    // descriptor: full path of the file. progress: may be null.
    explicit CProductConfig(std::wstring descriptor, UninstallCallback progress = nullptr);
    CProductConfig(const CProductConfig&) = default;
    CProductConfig(CProductConfig&&) = default;
    CProductConfig& operator=(const CProductConfig&) = default;
    CProductConfig& operator=(CProductConfig&&) = default;
    ~CProductConfig() = default; // never deleted through this class

    // The names of the versions in the order of their list. Node types are not looked at: a comment
    // counts as a version named "#comment".
    [[nodiscard]] static bool ReadVersions(IXMLDOMNode* root, WideStringList& versions);
    // Finds the version's install folder, or goes on without one, and walks its sections.
    bool ProcessVersion(IXMLDOMNode* version);
    // Both leave appPath alone on failure.
    [[nodiscard]] static bool GetAppPath(IXMLDOMNode* version, std::wstring& appPath);
    [[nodiscard]] static bool GetInstallFolder(IXMLDOMNode* version, std::wstring& appPath);

    // Tells the callback, if there is one.
    void Notify(std::int32_t event, std::int32_t code, const void* value = nullptr) const;

    std::wstring file;
    UninstallCallback callback;

private:
    // A step of the function of the same name; a log record carries the name of the function it stands in.
    // False when the attributes of an entry could not be read.
    [[nodiscard]] static bool ProcessSection(const EntryAttributes& read);
};

} // namespace prodsweep
