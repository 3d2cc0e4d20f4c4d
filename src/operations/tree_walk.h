#pragma once

#include "operations/folder_identity.h"

#include <windows.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace prodsweep {

// What a walk came upon, in the order in which a folder gives rise to it.
enum class WalkStep
{
    Start,
    Met,       // a path that should be a folder: the root, or an entry that was listed as one
    NotFolder, // what was met is no folder (any more); it is passed by
    Folder,    // it is one; Skip() passes it by
    Gone,      // it can't be listed, as nothing is found in it; it is passed by
    Unlisted,  // it can't be listed for another reason, which Error() tells; it is passed by
    Circle,    // it is a link that leads back to a folder on the way to it; it is passed by
    Entered,   // it is listed; its entries follow
    File,      // an entry that is no folder
    Left,      // all entries of a folder were seen; its enumeration is closed
    Skipped,
    End
};

// A link that leads back to a folder on the way to it: its target is gone through as that folder already.
enum class Circles
{
    PassBy,
    // On any way one such link is followed, so that all is seen under its names behind the link as well.
    FollowOnce
};

// Goes through a folder and all that lies below it, depth first, in the order of the enumeration.
// It says what it comes upon, one step after the other, and leaves to the caller what is done and
// logged about it. No recursion: the depth of a tree costs a few bytes of heap for each folder, not
// stack, and the path grows and shrinks in place.
class CTreeWalk
{
public:
    explicit CTreeWalk(const wchar_t* root, Circles wanted = Circles::PassBy) : path(root), circles(wanted) {}

    WalkStep Next();
    // After Folder: neither lists nor leaves it.
    void Skip() noexcept { step = WalkStep::Skipped; }

    // The full path of what the step is about, and its last part. Good until the next step.
    [[nodiscard]] const wchar_t* Path() const noexcept { return path.c_str(); }
    [[nodiscard]] const wchar_t* Name() const noexcept;
    // So many folders are entered and not left yet. Zero while the step is about the root itself,
    // but for Entered, which counts the folder just entered.
    [[nodiscard]] std::size_t Depth() const noexcept { return open.size(); }
    [[nodiscard]] DWORD Error() const noexcept { return error; }
    // What the enumeration said of it: after File, and after Met and Folder below the root.
    [[nodiscard]] const WIN32_FIND_DATAW& Entry() const noexcept { return entry; }

private:
    struct FindCloser
    {
        using pointer = HANDLE;
        void operator()(HANDLE find) const noexcept { FindClose(find); }
    };
    struct OpenFolder
    {
        std::unique_ptr<HANDLE, FindCloser> find;
        std::size_t length;                     // of the folder's path
        std::size_t prefix;                     // of the same with the separator that its entries need
        bool inCircle;                          // a link that leads back was followed on the way
        std::optional<FolderIdentity> identity; // asked for when a link is met, as most trees have none
    };

    WalkStep List();
    WalkStep Advance();
    bool NextEntry();
    // All three are about the folder that was met.
    [[nodiscard]] bool IsInCircle() const noexcept { return !open.empty() && open.back().inCircle; }
    [[nodiscard]] bool IsLink() const noexcept;
    bool LeadsBack();

    std::wstring path;
    Circles circles;
    std::vector<OpenFolder> open;
    WIN32_FIND_DATAW entry{};
    bool entryWaits = false; // the call that opens an enumeration brings the first entry with it
    DWORD error = ERROR_SUCCESS;
    WalkStep step = WalkStep::Start;
};

} // namespace prodsweep
