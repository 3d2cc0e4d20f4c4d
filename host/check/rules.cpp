#include "check/rules.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>

namespace prodsweep {

namespace {

using enum Severity;

constexpr Rule rules[] = {
    // Both kinds of file.
    {"not-well-formed", Error, "the file is not well-formed XML",
     "The library cannot read the file: a catalogue fails every call, a descriptor finds and removes nothing.",
     "Mend the XML at this place."},
    {"undeclared-prefix", Error, "a prefix that no xmlns declares",
     "Windows cannot read the file: a catalogue fails every call, a descriptor finds and removes nothing.",
     "Declare it, as in xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\", or take it off."},
    {"wrong-root", Error, "the root element is not uninstall_information",
     "The library finds nothing in the file: a catalogue fails every call, a descriptor finds and removes nothing.",
     "Name the root element uninstall_information."},
    {"document-type", Warning, "a document type",
     "A use of an entity counts as a node of its own, and ends the section that it stands in; the library may fetch "
     "what lies elsewhere.",
     "Take it out, and write the texts of its entities where they are used."},
    {"unknown-element", Warning, "an element that nothing reads", "It is passed over without a word.",
     "Correct its name, or take it out."},
    {"unknown-attribute", Warning, "an attribute that nothing reads; names are case-sensitive",
     "It is passed over without a word, and what it should say holds its default.",
     "Correct its name, or take it out."},
    {"missing-attribute", Error, "an attribute is missing without which nothing works",
     "A catalogue with such a product fails to load; an entry or a folder without it fails, and what it means is "
     "neither found nor removed.",
     "Add the attribute."},
    {"repeated-element", Warning, "an element stands a second time where only the first is read",
     "The second one is passed over without a word.", "Merge it into the first, or give the version another name."},
    {"empty-name", Error, "a name is empty",
     "The entry then means what lies around it: a folder instead of a file or tool in it, the list of all services "
     "instead of one.",
     "Write the name, or take the attribute out."},
    {"unknown-hive", Error, "a key path without a hive, or with one that is misspelt or not in upper case",
     "The key counts as not there: it is neither found nor deleted.",
     "Begin with HKEY_LOCAL_MACHINE\\, HKLM\\ or another hive, in upper case."},
    {"key-separator", Warning, "a key path with \"/\", or with two separators in a row",
     "Only the first separator may be \"/\"; another key is looked for than the one that is meant.",
     "Part the names of keys by one \"\\\"."},

    // Catalogues.
    {"comment-in-product", Error, "a comment or text inside a product",
     "It counts as a version, has no name, and so the whole catalogue fails to load.",
     "Move the comment in front of the product."},
    {"version-without-mark", Warning, "a version that says nothing by which it could be recognised",
     "It is kept and never found.", "Add id, prodName, or keypath with keyvalue."},
    {"empty-mark", Error, "an id or a prodName is empty",
     "An empty id means the list of installed programs itself: the version counts as installed on every machine. An "
     "empty prodName means any program that shows an empty name.",
     "Write what the version is recognised by, or take the attribute out."},
    {"mark-ignored", Warning, "a mark that is not read beside the one before it",
     "id wins over prodName and keypath; keyvalue belongs to keypath. This version is not recognised by it.",
     "Make it a version of its own, or take it out."},
    {"keyvalue-missing", Error, "keypath without keyvalue",
     "The whole catalogue fails to load; beside prodName, on those machines where that name is not found.",
     "Add keyvalue, the name of the value in the subkey UpdateLocation."},
    {"update-location-twice", Warning, "keypath ends in UpdateLocation",
     "That name is always appended, so the key is looked for in UpdateLocation\\UpdateLocation.",
     "Take the last part off."},
    {"product-code-braces", Warning, "a product code without its braces",
     "The subkey of the system's list has them, so this version is never found.", "Put the code in braces."},
    {"display-name-length", Warning, "a display name that is too long to be read",
     "Longer names in the system's list are passed over, so nothing is found by it.",
     "Use id, or keypath with keyvalue."},
    {"mark-in-other-view", Warning,
     "a mark of a product of the family that its descriptor names in the 32-bit view alone",
     "Such products are looked for in the 64-bit view alone: where the mark is in the other, this version never counts "
     "as installed.",
     "Use a keypath with WOW6432Node in it, or name the 64-bit key in the descriptor, too."},
    {"product-without-version", Warning, "a product of the maker's own without a version",
     "Such products are known by their versions alone: this one never counts as installed.", "Add a version."},
    {"duplicate-product", Warning, "two products of one name in a catalogue",
     "Both are listed, and both mean the first to whoever asks for the name.", "Give one of them another name."},
    {"shared-mark", Warning, "two versions are recognised by the same mark",
     "Where one is installed the other counts as installed, too; its guid is reported twice.",
     "Give each version a mark of its own."},
    {"exec-all-value", Warning, "exec_all is neither true nor false",
     "All but exactly \"false\" means true: with the last product of the family, all others are removed as well.",
     "Write true or false."},
    {"exec-all-repeated", Warning, "exec_all stands there twice", "The last one counts.", "Take one out."},
    {"exec-all-without-effect", Note, "exec_all in a catalogue of other makers' products",
     "It is read and matters to nothing.", "Take it out."},
    {"descriptor-missing", Error, "a product's descriptor is not there",
     "The product cannot be removed, protects nothing, and of another maker's only the versions here are looked for.",
     "Write the descriptor into intern (products.xml) or extern (detection.xml), or correct file."},
    {"descriptor-shared", Warning, "two products have one descriptor",
     "Of the family, while one stays, all that the other would remove is in use, and stays; of other makers, removing "
     "one removes both.",
     "Write a descriptor for each."},
    {"product-in-both-catalogues", Warning, "one name in both catalogues",
     "A caller that asks for the name has to say which kind it means.", "Give one of them another name."},

    // Versions of a descriptor.
    {"version-list-missing", Error, "a descriptor without version_list",
     "Nothing in the file is looked at: the product is not found by it, and its removal fails.",
     "Add version_list with the names of the versions."},
    {"version-list-empty", Warning, "version_list names no version",
     "Nothing in the file is looked at; the product is not found by it, and its removal does nothing and succeeds.",
     "List the versions."},
    {"version-absent", Warning, "a listed version is not there", "It is skipped.",
     "Add the element, or correct its name in the list."},
    {"version-not-listed", Warning, "a version that is not listed",
     "It is never looked at: nothing of it is found or removed.", "Add its name to version_list."},
    {"version-listed-twice", Warning, "a version is listed twice",
     "It is walked twice; functions of DLLs may be called twice.", "List it once."},
    {"comment-in-version-list", Note, "a comment or text in version_list",
     "It counts as one more version that is not there.", "Move it in front of the list."},
    {"version-without-win-nt", Warning, "a version without win_nt", "Nothing of it is found or removed.",
     "Add win_nt with the sections."},
    {"mandatory-sections-value", Warning, "mandatory_sections is neither \"all\" nor \"any\", in lower case",
     "It means \"any\": one section that passes is enough.", "Write all or any."},
    {"app-path-unset", Error, "app_path is used in a version that does not say which folder it is",
     "Every entry with it fails, and its thing is neither found nor removed.", "Add app_path or install_folder."},

    // Sections and entries.
    {"comment-between-sections", Warning, "a comment or text among the sections",
     "It counts as a section without op_code, which fails: with mandatory_sections=\"all\" the version is never found.",
     "Move it in front of win_nt."},
    {"comment-in-section", Error, "a comment or text among the entries",
     "The section ends there and fails: what stands behind it is neither found nor removed.",
     "Move it in front of win_nt."},
    {"section-without-op-code", Error, "a section without op_code", "Nothing in it is found or removed.",
     "Add op_code."},
    {"unknown-op-code", Error, "an op_code that does not exist", "Every entry of the section fails.",
     "Correct op_code."},
    {"section-empty", Warning, "a section without entries",
     "It removes nothing, and detection passes it unless a minimum above 0 is asked for.", "Take it out."},
    {"op-code-on-entry", Warning, "an op_code on an entry", "It has no effect; that of the section counts.",
     "Put the entry into a section of that op_code."},
    {"sleep-element", Warning, "an element named sleep among the entries",
     "In removal it is skipped. In detection it is an entry like any other.",
     "Use sleep_after_exec of a DLL function, or take it out."},
    {"sleep-text", Warning, "an entry whose text is sleep",
     "Detection skips the entry, and scores nothing for it; removal carries it out.", "Take the text out."},
    {"duplicate-entry", Warning, "an entry stands in its section twice", "Detection counts it twice.",
     "Take one out; use score for what should count more."},
    {"unused-attribute", Warning, "an attribute that has no effect in this company", "It is not looked at.",
     "Take it out, or add what it belongs to."},

    // Scores.
    {"number-value", Warning, "a number with something else in it, or too large a one",
     "Only the digits in front count, and none mean 0; more than 2147483647 counts as that.", "Write a number."},
    {"minimum-out-of-reach", Error, "minimum_score is more than all entries bring together",
     "Detection never passes the section.", "Lower minimum_score, or raise the scores."},
    {"always-installed", Error, "a version that detection finds on every machine",
     "The product always counts as installed: removing all that is installed carries its descriptor out everywhere.",
     "Ask for a minimum_score that only the product's own things reach."},
    {"never-installed", Warning, "a version with nothing that detection looks at",
     "It has no section but exec_tool, which detection skips: this version is never found.",
     "Add a section that tells the product."},
    {"negative-score", Warning, "a negative score or minimum that works against itself",
     "A negative minimum is passed with nothing found; what must be found, or always is, lowers every sum.",
     "Take the sign off, or the entry out."},
    {"score-of-tool", Warning, "score, mandatory or minimum_score in a section of exec_tool",
     "Detection skips such a section; they are not looked at.", "Take them out."},
    {"tool-section-scores", Warning, "exec_tool in another spelling",
     "Detection skips only \"exec_tool\"; the entries of this section count as found on every machine.",
     "Write exec_tool in lower case."},
    {"search-always-found", Warning, "detection counts a key search",
     "The search is found whenever its key can be read, with or without the text.",
     "Give it score=\"0\", and score on something else."},
    {"data-str-terminator", Warning, "detection and removal read data_str differently",
     "For detection each text ends at a \";\", for removal \";\" stands between texts: \"a;b\" is a alone, or a and b.",
     "Give the entry score=\"0\", and score on something else."},
    {"pattern-both-ends", Warning, "detection counts a value with a star at both ends",
     "Detection finds less than removal deletes: \"*abc*\" is not found in \"abcx\" or \"xabc\".",
     "Give it score=\"0\", and score on something else."},
    {"shortcut-always-found", Warning, "detection counts shortcuts in a folder that every machine has",
     "The entry is found when the folder is there, with or without a shortcut.",
     "Give it score=\"0\", or name the product's own folder."},

    // Values of attributes.
    {"yes-value", Warning, "an attribute that wants yes or no has another value", "It means no.", "Write yes or no."},
    {"complete-str-value", Warning, "complete_str is not exactly \"yes\"",
     "Alone among its kind it is case-sensitive: it means no, and parts of a text match.", "Write yes in lower case."},
    {"x32view-value", Warning, "x32view is neither 1 nor true", "It means no.", "Write 1 or true."},
    {"x32view-no-effect", Warning, "x32view where it changes nothing",
     "A 64-bit process looks in its own view all the same; what only 32-bit programs see by this name is neither found "
     "nor deleted.",
     "Name the key by its real path, with WOW6432Node in it, without x32view."},
    {"os-value", Warning, "os is neither x32 nor x64, in lower case", "The entry runs on every system.",
     "Write x64, or take it out."},
    {"os-never", Warning, "os is x32",
     "The tool is left out without a word; a DLL function makes its stage report a failure.", "Take the entry out."},

    {"redirection-no-effect", Note, "disable_wow64_redir where it changes nothing",
     "Only 32-bit processes are redirected: a 64-bit one sees the system folder itself all the same.", "Take it out."},

    // Paths.
    {"unknown-keyword", Error, "a folder keyword that does not exist",
     "The entry fails, and its thing is neither found nor removed.", "Correct the keyword."},
    {"app-path-case", Error, "app_path that is not in lower case",
     "It is no keyword, other than the rest in capitals: the entry fails.", "Write app_path."},
    {"drivers-case", Error, "windows_system_drivers that is not in lower case",
     "It is the system folder itself, without drivers: another file is meant.", "Write it in lower case."},
    {"keyword-x86", Warning, "a keyword for 32-bit folders",
     "In this 64-bit library it is the same folder as without _x86.",
     "Use the plain keyword, or write the whole path of the 32-bit folder."},
    {"relative-path", Error, "a path that is not whole, without a keyword",
     "What is meant depends on the folder and drive that the caller happens to be in.",
     "Add path, or write the whole path."},
    {"marker-without-path", Error, "##### where it marks nothing: without path, or of a folder",
     "The five characters are part of the name.", "Add path, or take the marker off."},
    {"dangerous-folder", Error, "a folder that belongs to the system or to all products",
     "All that is in it is deleted.", "Name the product's own folder."},
    {"dangerous-file", Error, "a file that belongs to the system",
     "Windows, or most programs, no longer run without it.", "Name the product's own files."},
    {"impossible-path", Error, "a path with a star, a question mark or a drive in its middle",
     "Nothing has such a path: nothing is found or deleted, and a removal puts such a file off to the restart.",
     "Name each file, or the folder that holds them; write a whole path without a keyword."},
    {"pruned-folder", Error, "a folder whose name begins with that of another one",
     "It is dropped from the list as if it lay in the other, and is not deleted.",
     "End the other's name with \"\\\", or put one of them into another product's descriptor."},
    {"shortcut-target-path", Warning, "target_name with a folder in it, without rel_target",
     "Only the name of a shortcut's target is compared: no shortcut is found.",
     "Take the folder off, or add rel_target."},

    // Registry.
    {"dangerous-key", Error, "a key that belongs to the system or to all products", "All that is below it is deleted.",
     "Name the product's own key."},
    {"pruned-key", Error, "a key whose name begins with that of another one",
     "It is dropped from the list as if it lay below the other, with its values, and is not deleted.",
     "Put one of them into another product's descriptor."},
    {"search-never-runs", Error, "key searches in a descriptor without a plain key or value",
     "Searches run in the stage of plain keys and values, which is skipped when there are none.",
     "Add a plain key, such as the product's own."},
    {"search-for-anything", Error, "an empty text in data_str",
     "The empty text is in every text: removal deletes every key of the tree that has a text value at all; with "
     "complete_str, each that has an empty one.",
     "Write no \";\" at the end, and no two in a row."},
    {"every-value", Warning, "a value name that is all stars", "Every value of the key is deleted.",
     "Name the product's own values, or delete the key."},
    {"dangerous-value", Error, "a value that belongs to the system", "Windows, or each program, no longer finds it.",
     "Name the product's own values."},
    {"star-inside", Error, "a value name with a star inside",
     "Only a star at an end is one: elsewhere it is refused, or an ordinary character.", "Write abc*, *abc or *abc*."},

    // Tools and processes.
    {"tool-without-path", Warning, "a tool or module without path", "It is looked for in the library's own folder.",
     "Add path, or write the whole path."},
    {"tool-not-waited-for", Warning, "a tool that is deleted while it may run",
     "It is started and not waited for; its file is in use when its folder goes, and has to wait for a restart.",
     "Add wait=\"yes\"."},
    {"process-name", Warning, "kill_process with a path, a pattern or without an extension",
     "The whole name of the program's file is compared: no process is found.", "Write the file's bare name."},
    {"dangerous-process", Error, "kill_process of a program that must run on",
     "Windows, or the user's session, ends with it.", "Name the product's own programs."},
    {"dangerous-service", Error, "a service or driver that must run on",
     "Windows does not start, or not work, without it.", "Name the product's own services and drivers."},

    // What several products name.
    {"shared-spelling", Warning, "two products of the family spell a shared thing, or what it lies in, differently",
     "What a product that stays uses is found by its exact spelling: the other's removal takes it away.",
     "Spell it alike, case included."},
    {"shared-service", Warning, "two products of the family name one service",
     "Services are never in use: removing either product stops or disables it.",
     "Name it in neither, or in the one that has to go last."},
    {"shared-unprotected", Warning,
     "two products name the same thing, or one a part of the other's, and one of them is of another maker",
     "Only the family protects what it uses, and only from itself: removing either takes it away.",
     "Name it in neither."},
};

} // namespace

const char* SeverityName(Severity severity)
{
    switch (severity)
    {
    case Severity::Note:
        return "note";
    case Severity::Warning:
        return "warning";
    default:
        return "error";
    }
}

std::span<const Rule> Rules() { return rules; }

const Rule& RuleNamed(std::string_view name)
{
    const auto* found =
        std::find_if(std::begin(rules), std::end(rules), [=](const Rule& rule) { return rule.name == name; });
    if (found == std::end(rules))
        throw std::out_of_range("no rule " + std::string(name));
    return *found;
}

} // namespace prodsweep
