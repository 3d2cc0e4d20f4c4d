// How the answer to "is it installed" came about, in plain values: the reports are made from these.
// All texts are UTF-8.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace prodsweep {

struct ExplainedEntry
{
    std::vector<std::pair<std::string, std::string>> attributes; // without score and mandatory, in the order of names
    int score = 1;                                               // what it adds when found
    bool mandatory = false;
    bool found = false;
    bool lookedFor = false; // false: the machine was not asked
    std::string target;     // what was looked for; empty when the attributes name nothing
    std::string fault;      // why they name nothing
};

struct ExplainedSection
{
    enum class State
    {
        NotEvaluated, // a section before it had failed the version
        Skipped,
        Passed,
        Failed
    };
    enum class Decided
    {
        Nothing,
        Score,
        Mandatory,
        Fault // it, or an entry of it, can't be read
    };
    std::string name;
    std::string opCode;
    State state = State::NotEvaluated;
    Decided decided = Decided::Nothing;
    int score = 0;
    int minimum = 0;
    std::vector<ExplainedEntry> entries; // those that were evaluated
    long notReached = 0;                 // how many stand behind the one that ended the section
};

struct ExplainedVersion
{
    enum class State
    {
        NotReached, // a version before it had decided
        Absent,     // listed only
        Walked
    };
    std::string name;
    State state = State::NotReached;
    bool detected = false;
    std::string appPath;      // empty when there is none
    bool allSections = false; // else any of them suffices
    bool hasSections = false; // win_nt is there
    std::vector<ExplainedSection> sections;
};

struct ExplainedDescriptor
{
    enum class State
    {
        NotAsked,
        Missing,
        NotWellFormed,
        NoRoot,
        NoVersionList,
        Read
    };
    std::string file; // full path
    State state = State::NotAsked;
    bool detected = false;
    std::vector<ExplainedVersion> versions; // in the order of the version list
};

// A version of the catalogue.
struct ExplainedMark
{
    std::string version;
    std::string displayName; // what the catalogue searches the uninstall entries for; may be empty
    std::string key;         // with its hive; empty when the catalogue's words led to none
    std::string value;       // empty: the key is enough
    bool inOwnView = false;
    bool inOtherView = false; // looked for only when it is not in the own view
};

struct Explanation
{
    // What decided. With Nothing the product is not installed, with all others it is.
    enum class Rule
    {
        Nothing,
        Descriptor,
        OwnView,
        OtherView
    };
    std::string name;
    int kind = 0; // PRODSWEEP_KIND_...
    bool installed = false;
    Rule rule = Rule::Nothing;
    std::string version; // by which it was found, of the descriptor or of the catalogue
    ExplainedDescriptor descriptor;
    std::vector<ExplainedMark> marks;
};

} // namespace prodsweep
