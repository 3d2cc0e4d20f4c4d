#include "command_line.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <span>

#include <CLI/CLI.hpp>

#include "exit_codes.h"
#include "failure.h"
#include "parse_fault.h"
#include "text.h"

namespace prodsweep {

namespace {

// The parser itself would take "-1" for a very large number, "" for 0 and "0x10" for 16, and who sets a limit must get
// that limit.
std::uint64_t ReadNumber(const std::string& name, const std::string& text)
{
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc::result_out_of_range)
        throw CFailure(exitBadArguments, name + ": the number \"" + text + "\" is too large.");
    if (error != std::errc() || stop != end)
        throw CFailure(exitBadArguments, name + " takes a whole number in digits, and not \"" + text + "\".");
    return number;
}

bool AsksForFormat(std::span<const std::string> words)
{
    static const std::string twoWords[] = {"--format", "json"};
    return std::find(words.begin(), words.end(), "--format=json") != words.end() ||
           std::search(words.begin(), words.end(), std::begin(twoWords), std::end(twoWords)) != words.end();
}

} // namespace

void COptions::AddFlag(const char* names, bool& isSet, const char* help) { parser->add_flag(names, isSet, help); }

void COptions::AddText(const char* name, std::string& value, const char* valueName, const char* help)
{
    parser->add_option(name, value, help)->type_name(valueName);
}

void COptions::AddNumber(const char* name, std::uint64_t& value, const char* valueName, const char* help)
{
    const auto read = [&value, name = std::string(name)](const std::string& text) { value = ReadNumber(name, text); };
    parser->add_option(name)->each(read)->description(help)->type_name(valueName);
}

void COptions::AddChoice(const char* name, std::string& value, const std::vector<std::string>& words,
                         const char* valueName, const char* help)
{
    const auto check = [name = std::string(name), words](const std::string& text) {
        if (std::find(words.begin(), words.end(), text) == words.end())
            throw CFailure(exitBadArguments, name + " knows no \"" + text + "\": say " + Listed(words) + '.');
        return std::string();
    };
    parser->add_option(name, value, help)->check(check)->type_name(valueName);
}

void COptions::AddOperand(const char* name, std::string& value, const char* help)
{
    parser->add_option(name, value, help)->required();
}

void COptions::AddOperands(const char* name, std::vector<std::string>& values, const char* help)
{
    parser->add_option(name, values, help);
}

void COptions::Exclude(const char* name, const char* other)
{
    parser->get_option(name)->excludes(parser->get_option(other));
}

void COptions::Require(const char* name, const char* other)
{
    parser->get_option(name)->needs(parser->get_option(other));
}

bool COptions::IsGiven(const char* name) const { return parser->count(name) != 0; }

bool COptions::IsChosen() const { return parser->parsed(); }

CCommandLine::CCommandLine(const char* description, const char* footer)
    : parser(std::make_unique<CLI::App>(description, "prodsweep"))
{
    // "/json" is a path here, as everywhere else in this program.
    parser->allow_windows_style_options(false);
    parser->require_subcommand(1);
    parser->set_version_flag("--version", "prodsweep " PRODSWEEP_VERSION, "Print the version");
    parser->set_help_flag("-h,--help", "Print this help");
    parser->footer(footer);
    // The program's own options may also stand behind a command.
    parser->fallthrough();
}

CCommandLine::~CCommandLine() = default;

COptions CCommandLine::Options() { return COptions(*parser); }

COptions CCommandLine::AddCommand(const char* name, const char* purpose, const char* footer)
{
    CLI::App& command = *parser->add_subcommand(name, purpose);
    command.footer(footer);
    return COptions(command);
}

std::optional<std::string> CCommandLine::Read(std::vector<std::string> arguments)
{
    typed = arguments;
    try
    {
        // The parser takes its arguments from the back.
        std::reverse(arguments.begin(), arguments.end());
        parser->parse(std::move(arguments));
        return std::nullopt;
    }
    catch (const CLI::CallForHelp&)
    {
        return parser->help();
    }
    catch (const CLI::CallForVersion& version)
    {
        return std::string(version.what()) + '\n';
    }
    catch (const CLI::ParseError& error)
    {
        throw CFailure(exitBadArguments, ParseFault(*parser, error) + " (see " + HelpFor(*parser, error) + ").");
    }
}

// The words themselves are asked, since the parser may have stopped in front of the one that matters.
bool CCommandLine::AsksForJson() const
{
    const std::vector<CLI::App*> chosen = parser->get_subcommands();
    if (chosen.empty())
        return false;
    const CLI::App& command = *chosen.front();
    const auto first = std::find(typed.begin(), typed.end(), command.get_name());
    // Behind it no word is an option.
    const auto last = std::find(first, typed.end(), "--");
    if (command.get_option_no_throw("--json") != nullptr)
        return std::find(first, last, "--json") != last;
    return command.get_option_no_throw("--format") != nullptr && AsksForFormat({first, last});
}

} // namespace prodsweep
