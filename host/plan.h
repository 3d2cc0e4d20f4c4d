// What a removal would do, in plain values: the text, the JSON object, the page and the saved file are all made from
// these, and the guard rails judge them. All texts are UTF-8; paths and keys stand as the removal itself spells them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace prodsweep {

enum class ItemState
{
    Present,     // it is there and would be dealt with: deleted, stopped, disabled, started, ended
    PartlyInUse, // the same, but something in it stays, with all that lies around that: see parts
    Absent,      // it is not there
    InUse,       // it stays: "user" still needs it
    AtRestart,   // it is there, and would go at the next restart: see reason
    GoesWith,    // an earlier item of this sweep takes it along, or has dealt with it: see by
    Pruned,      // it is struck off the list for the sake of another: see by, and reason for whether it stays
    Skipped,     // it is passed over: see reason
    Fails        // it would be tried in vain, as a whole or where a part of it says so: see reason
};

enum class ItemKind
{
    Service,
    DllFunction,
    Tool,
    Process,
    Folder,
    File,
    Shortcuts, // a query: the shortcuts of a folder that lead to a target; what it finds are the parts
    KeySearch, // a query for keys; what it finds are the parts
    Key,
    Value, // the name may be a pattern; what it matches are the parts
    Entry  // of the descriptor, which names nothing that could be looked for
};

// Something noteworthy within an item: what stays, what waits, a link, what a query found.
struct PlannedPart
{
    enum class Kind
    {
        Folder,
        File,
        Link, // to a folder; the deletion walks through it
        Shortcut,
        Key,
        Value
    };
    Kind kind = Kind::File;
    std::string name; // full path; a value's bare name
    ItemState state = ItemState::Present;
    std::string user;    // InUse: the product
    std::string leadsTo; // of links, and of what a search finds behind one
};

// What would go with an item, counted. Nothing that stays is in it.
struct PlannedContents
{
    std::uint64_t folders = 0; // below a folder, with it
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    std::uint64_t links = 0;     // walked through; what lies behind them is counted as well
    std::uint64_t keys = 0;      // below a key, with it
    std::uint64_t values = 0;    // of these keys
    std::uint64_t inUse = 0;     // left out of the numbers above, since they stay
    std::uint64_t atRestart = 0; // among the files: those that can't be deleted at this moment
    bool complete = true;        // false: there is more than was counted
};

struct PlannedItem
{
    ItemKind kind = ItemKind::Entry;
    std::string name;      // path, service, process, key; a tool's command line; "module function" of a DLL
    std::string valueName; // of values
    std::string detail;    // what else the operation was told: "waits", the searched texts, a shortcut's target
    ItemState state = ItemState::Present;
    std::string user;     // InUse: the product
    std::string by;       // GoesWith, Pruned: name of the other item
    std::string reason;   // a clause without full stop; empty when the state says it all
    std::string leadsTo;  // where a path really leads, by links or otherwise; empty when that is as it is spelt
    bool restart = false; // the removal asks for a restart for it, whether it can be deleted then or not
    PlannedContents contents;
    std::vector<PlannedPart> parts;
    std::uint64_t partsLeftOut = 0; // noteworthy, and not listed for their number
    std::string mark;               // digest of all that must not change between a saved plan and its removal
};

// One step of a product's removal. Items stand in the order in which they are dealt with; those that the removal never
// gets to see (pruned, skipped, at fault) stand behind them.
struct PlannedStage
{
    std::string name; // as the removal reports it: "folders"; and "restart", for what is marked for the restart
    std::vector<PlannedItem> items;
};

// A product that stays, and is asked what it still uses.
struct AskedProduct
{
    std::string name;
    std::string descriptor;
    bool read = true; // false: its descriptor can't be read, and it protects nothing
};

struct PlannedProduct
{
    enum class Why
    {
        Chosen,
        CleanUp // with the last product of its kind, to clear away what it may have left
    };
    std::string name;
    int kind = 0; // PRODSWEEP_KIND_...
    Why why = Why::Chosen;
    bool installed = false;
    std::string descriptor;              // full path
    std::string descriptorDigest;        // of the file's bytes; empty when there is none
    std::string fault;                   // why the descriptor can't be read; empty when it can
    bool asksRestart = false;            // an entry says that a restart is required
    bool restart = false;                // a restart will be needed, as far as can be seen now
    std::vector<std::string> restartFor; // what needs it: names of items, and descriptions of the entries that ask
    std::vector<AskedProduct> asked;
    std::vector<PlannedStage> stages; // in order; only those that have items
};

// Something odd that the plan found, for people. It keeps nothing from being done.
struct PlanWarning
{
    std::string product; // empty: it is about the whole sweep
    std::string item;    // its name; empty: it is about the whole product
    std::string text;    // one sentence
};

// Something that must not be touched, and would be. It keeps a removal from being started.
struct PlanDanger
{
    std::string product;
    std::string item;    // its name
    std::string leadsTo; // the place that is meant, when the item is spelt otherwise
    std::string place;   // the forbidden place: it is that one, or lies above it
    std::string reason;  // what the place is: "the folder of Windows"
};

// What was chosen on the command line.
struct PlanSelection
{
    std::vector<std::string> names;
    std::string kind = "all"; // "own", "other" or "all"
    bool force = false;
    bool allInstalled = false;
    bool forceAll = false;
};

struct Plan
{
    std::string library; // full path
    std::string machine; // name of the computer
    std::string made;    // UTC, "2030-01-31T12:00:00Z"
    PlanSelection selection;
    std::string catalogues; // digest of the catalogue files
    // In the order of the sweep. A product may stand here twice.
    std::vector<PlannedProduct> products;
    std::vector<std::string> notInstalled; // chosen, and left alone for that
    std::vector<PlanWarning> warnings;
    std::vector<PlanDanger> dangers;
    PlannedContents total; // of all items that would go
    bool restart = false;
};

// Adds what would go with an item, and the item itself if it stays.
void AddContents(PlannedContents& sum, const PlannedItem& item);

// The words that text, JSON and pages have for them: "in use", "registry key".
const char* StateWord(ItemState state);
const char* KindWord(ItemKind kind);
const char* KindWord(PlannedPart::Kind kind);

} // namespace prodsweep
