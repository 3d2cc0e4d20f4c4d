#pragma once

#include "common/used.h"
#include "common/wide_string_list.h"
#include "interpreter/cached_operations.h"
#include "interpreter/check_list.h"
#include "interpreter/product_config.h"
#include "operations/operations.h"

#include <cstdint>
#include <string>
#include <vector>

namespace prodsweep {

struct Descriptor;

// Removes one product. While its descriptor is walked nothing is removed: the handlers resolve each
// entry to absolute paths and names and record it in one of the cached lists. Then the lists are put
// in order and carried out kind by kind, in an order of their own, whatever the descriptor's. What
// can't be deleted now is handed to the next restart.
//
// Two things do not wait for the end of the walk: a file marked "#####" goes straight to the restart
// list, and restart_required sets its flag at once.
//
// Answers the primitive operations' question whether a product that stays still needs a thing.
class CProductUninstall : public CProductConfig, public IUsed
{
public:
    // name and products are not owned. products: what stays; each is asked in turn. Sets the published
    // progress to 0.
    CProductUninstall(const wchar_t* name, std::wstring descriptor, const CheckList& products,
                      UninstallCallback progress);
    CProductUninstall(const CProductUninstall&) = delete;
    CProductUninstall& operator=(const CProductUninstall&) = delete;

    // The whole removal, once. True when the descriptor was walked and all that waits for the restart
    // is registered with the system. What single operations came to is in the log and the events only.
    [[nodiscard]] bool Uninstall();

    // After Uninstall: a restart is needed to finish.
    [[nodiscard]] bool RestartRequired() const noexcept { return restartRequired; }

    bool Process() override;
    bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) override;
    bool ExecOperation(const AttributeMap& attributes, const std::wstring& appPath) override;

    // Recording.
    bool ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegKey(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegVal(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessKillProcess(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessExecTool(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessSleep(int milliseconds) override;
    bool ProcessDisableDriver(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDisableService(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDisableAndStopDriver(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDisableAndStopService(const AttributeMap& attributes, const std::wstring& appPath) override;

    // Calls a DLL method now; the recorded ones come here when their list is carried out.
    virtual bool ProcessExecDllMethod(const AttributeMap& attributes, const std::wstring& appPath);

    bool IsUsedFile(const wchar_t* path) override;
    bool IsUsedFolder(const wchar_t* path) override;
    bool IsUsedRegKey(const wchar_t* key, bool x32view) override;
    bool IsUsedRegValue(const wchar_t* key, const wchar_t* value, bool x32view) override;
    bool IsUsedTool(const wchar_t* path, const wchar_t* commandLine) override;

    // Adds a path to the restart list, once.
    void AddRestartDel(const std::wstring& path);
    // Registers the restart list with the system, in its order. False when a path was refused.
    bool DeleteAtRestart();

    // Sorts the lists, makes them unique, and drops what goes with something else anyway.
    bool PrepareCachedOperations();
    // Carries the lists out, in their fixed order. Failures stop nothing.
    bool ExecuteCachedOperations();

    // Declared behind the operations, whose places in the table of virtual functions are fixed.
    virtual ~CProductUninstall() = default;

protected:
    // What a stage reports: 2 when one of its operations failed.
    static constexpr int StatusDone = 0;
    static constexpr int StatusFailed = 2;

    int ExecuteCachedOp_DisableAndStopDriver();
    int ExecuteCachedOp_DisableDriver();
    int ExecuteCachedOp_ExecDllMethod();
    int ExecuteCachedOp_ExecTool();
    int ExecuteCachedOp_KillProcess();
    int ExecuteCachedOp_DelFolder();
    int ExecuteCachedOp_DelFile();
    int ExecuteCachedOp_DelShortcut();
    int ExecuteCachedOp_DelRegKeys();
    int ExecuteCachedOp_DelRegValues();

    const CheckList* checkList;
    const wchar_t* productName;
    WideStringList restartDeleteList;
    WideStringList cachedFiles;
    WideStringList cachedFolders;
    WideStringList cachedKills;
    WideStringList cachedDisableDrivers;
    std::vector<CachedRegKeySearch> cachedRegKeySearches;
    std::vector<CachedRegItem> cachedRegItems;
    std::vector<CachedTool> cachedTools;
    std::vector<CachedDllMethod> cachedDllMethods;
    std::vector<CachedDriverStop> cachedDriverStops;
    std::vector<CachedShortcut> cachedShortcuts;
    // The published progress is (progressDone * 70) / progressTotal + walkShare, with integer division.
    std::uint32_t progressDone = 0;
    std::uint32_t progressTotal = 1; // the total weight, known only when the walk is over
    std::uint32_t walkShare = 0;     // grows to 30 in the course of the walk
    COperations operations;
    bool restartRequired = false;

private:
    struct Stage;
    static const Stage stages[];

    // A step of the function of the same name; a log record carries the name of the function it stands in.
    // False when the descriptor could not be opened.
    [[nodiscard]] bool Process(const Descriptor& descriptor) const;
    void PublishProgress() const;
    // After each operation of the cached phase.
    void Advance(std::uint32_t weight);
    // Both stages of tools share one status and one event.
    int ExecuteDllMethodsAndTools();
    [[nodiscard]] std::uint32_t TotalWeight() const;
};

} // namespace prodsweep
