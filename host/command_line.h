// The command line: which options there are, and what was typed. The library that reads it is known here alone, since
// compiling it takes longer than all the rest of a command.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace prodsweep {

// The options of the program or of one of its commands. What the declared ones are read into must outlive the reading;
// the texts must live for ever.
class COptions
{
public:
    // As typed: "--json", or "-y,--yes".
    void AddFlag(const char* names, bool& isSet, const char* help);
    // valueName stands for the value in the help. What the value holds beforehand is the default.
    void AddText(const char* name, std::string& value, const char* valueName, const char* help);
    void AddNumber(const char* name, std::uint64_t& value, const char* valueName, const char* help);
    // No other word is taken.
    void AddChoice(const char* name, std::string& value, const std::vector<std::string>& words, const char* valueName,
                   const char* help);
    // What stands there without an option's name.
    void AddOperand(const char* name, std::string& value, const char* help);
    void AddOperands(const char* name, std::vector<std::string>& values, const char* help);

    // The two are not taken together.
    void Exclude(const char* name, const char* other);
    // The one is not taken without the other.
    void Require(const char* name, const char* other);

    // Was it typed? Also an empty value counts.
    bool IsGiven(const char* name) const;
    // For a command: was it the one that was typed?
    bool IsChosen() const;

private:
    friend class CCommandLine;
    explicit COptions(CLI::App& app) noexcept : parser(&app) {}

    CLI::App* parser;
};

class CCommandLine
{
public:
    // The help begins with the description and ends with the footer.
    CCommandLine(const char* description, const char* footer);
    ~CCommandLine();
    CCommandLine(const CCommandLine&) = delete;
    CCommandLine& operator=(const CCommandLine&) = delete;

    // Those that may stand before and behind the name of a command.
    COptions Options();
    // The options are valid as long as this object.
    COptions AddCommand(const char* name, const char* purpose, const char* footer);

    // The arguments without the program's name, in UTF-8. Returns what is to be printed when that is all that was asked
    // for: the help or the version. Throws CFailure when something is wrong.
    std::optional<std::string> Read(std::vector<std::string> arguments);

    // After Read has thrown: what was typed behind the command asks for JSON all the same, in a way that it knows.
    bool AsksForJson() const;

private:
    std::vector<std::string> typed;
    std::unique_ptr<CLI::App> parser;
};

} // namespace prodsweep
