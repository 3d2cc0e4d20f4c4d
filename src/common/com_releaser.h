#pragma once

#include <windows.h>

#include <unknwn.h>

namespace prodsweep {

// For owners of COM interfaces: std::unique_ptr<IShellLinkW, ComReleaser>.
struct ComReleaser
{
    void operator()(IUnknown* object) const noexcept { object->Release(); }
};

} // namespace prodsweep
