#pragma once

#include "common/used.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace prodsweep::test {

// Stands for the products that stay: what was claimed is in use, nothing else. Keeps each question, in
// one text:
//   "file PATH"   "folder PATH"   "key PATH"   "value KEY | NAME"   "tool PATH | COMMAND LINE"
// Questions about the 32-bit view end in " (32)".
class UsedRecorder final : public IUsed
{
public:
    void Claim(const std::wstring& question) { claimed.insert(question); }
    // Called with each question before it is answered.
    std::function<void(const std::wstring& question)> whenAsked;

    [[nodiscard]] const std::vector<std::wstring>& Asked() const { return asked; }

    bool IsUsedFile(const wchar_t* path) override { return Answer(std::wstring(L"file ") + path); }
    bool IsUsedFolder(const wchar_t* path) override { return Answer(std::wstring(L"folder ") + path); }
    bool IsUsedRegKey(const wchar_t* key, bool x32view) override
    {
        return Answer(std::wstring(L"key ") + key + (x32view ? L" (32)" : L""));
    }
    bool IsUsedRegValue(const wchar_t* key, const wchar_t* value, bool x32view) override
    {
        return Answer(std::wstring(L"value ") + key + L" | " + value + (x32view ? L" (32)" : L""));
    }
    bool IsUsedTool(const wchar_t* path, const wchar_t* commandLine) override
    {
        return Answer(std::wstring(L"tool ") + path + L" | " + commandLine);
    }

private:
    bool Answer(const std::wstring& question)
    {
        asked.push_back(question);
        if (whenAsked)
            whenAsked(question);
        return claimed.contains(question);
    }

    std::set<std::wstring> claimed;
    std::vector<std::wstring> asked;
};

} // namespace prodsweep::test
