#include "support/shortcut_maker.h"

#include "common/com_releaser.h"

#include <gtest/gtest.h>
#include <shlobj.h>

#include <memory>

namespace prodsweep::test {

void MakeShortcut(const std::wstring& link, const std::wstring& target)
{
    void* made = nullptr;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, &made));
    const std::unique_ptr<IShellLinkW, ComReleaser> shellLink(static_cast<IShellLinkW*>(made));
    if (target.empty())
        EXPECT_EQ(S_OK, shellLink->SetDescription(L"points at nothing"));
    else
        EXPECT_TRUE(SUCCEEDED(shellLink->SetPath(target.c_str()))); // S_FALSE when it does not exist
    void* queried = nullptr;
    ASSERT_EQ(S_OK, shellLink->QueryInterface(IID_IPersistFile, &queried));
    const std::unique_ptr<IPersistFile, ComReleaser> file(static_cast<IPersistFile*>(queried));
    EXPECT_EQ(S_OK, file->Save(link.c_str(), TRUE));
}

} // namespace prodsweep::test
