// Which files and folders a descriptor names, whether they lie on the machine or not.
#pragma once

#include <string>
#include <vector>

#include "interpreter/entry_composer.h"
#include "interpreter/product_config.h"

namespace prodsweep {

// The library's own walk, which composes the paths as the removal does; only what is done with them is other: they are
// kept. The in-use pass would not do here, since it notes what lies on the machine, and what waits for a restart may
// have lost the folder around it.
class CNamedPlaces final : public CProductConfig
{
public:
    // descriptorFile: full path. When it can't be read, nothing is named. COM must be initialised on this thread.
    explicit CNamedPlaces(const std::wstring& descriptorFile);

    // Whether the path is a file or folder that is named, lies below such a folder, or is a shortcut that is asked
    // for. In any case and with short or long names.
    bool Names(const std::wstring& path) const;

    bool ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath) override;

private:
    std::vector<std::wstring> files;
    std::vector<std::wstring> folders;
    std::vector<ShortcutEntry> shortcuts;
};

} // namespace prodsweep
