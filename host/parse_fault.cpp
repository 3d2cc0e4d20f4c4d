#include "parse_fault.h"

#include <vector>

#include <CLI/CLI.hpp>

#include "text.h"

namespace prodsweep {

namespace {

const CLI::App* ChosenCommand(const CLI::App& app)
{
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    return chosen.empty() ? nullptr : chosen.front();
}

// "list, explain or plan"
std::string CommandNames(const CLI::App& app)
{
    const std::vector<const CLI::App*> commands = app.get_subcommands([](const CLI::App*) { return true; });
    std::vector<std::string> names;
    names.reserve(commands.size());
    for (const CLI::App* const command : commands)
        names.push_back(command->get_name());
    return Listed(names);
}

// Of the word in front, where the command should stand, or of the first that nobody has a use for.
std::string FaultOfWords(const CLI::App& app)
{
    const CLI::App* const command = ChosenCommand(app);
    const std::vector<std::string> words = app.remaining(true);
    if (words.empty())
        return "say what to do: " + CommandNames(app);
    const std::string word = '"' + words.front() + '"';
    const bool isOption = words.front().starts_with('-');
    if (command == nullptr)
        return isOption ? word + " is no option of this program; say what to do: " + CommandNames(app)
                        : word + " is no command; say " + CommandNames(app);
    if (isOption && command->get_option_no_throw(words.front()) != nullptr)
        return word + " has to stand behind " + command->get_name();
    return isOption ? word + " is no option of " + command->get_name()
                    : command->get_name() + " has no use for " + word;
}

const CLI::Option* FindOption(const CLI::App& app, const std::string& name)
{
    const CLI::App* const command = ChosenCommand(app);
    const CLI::Option* const own = command == nullptr ? nullptr : command->get_option_no_throw(name);
    return own == nullptr ? app.get_option_no_throw(name) : own;
}

// Some of the parser's sentences begin with the option's name.
std::string FirstWord(const std::string& sentence) { return sentence.substr(0, sentence.find_first_of(": ")); }

std::string FaultOfCount(const CLI::App& app, const std::string& sentence)
{
    const std::string name = FirstWord(sentence);
    const CLI::Option* const option = FindOption(app, name);
    if (option == nullptr)
        return sentence;
    if (option->get_items_expected_max() == 0)
        return name + " takes no value";
    return name + (option->count() > 1 ? " was given more than once" : " needs a value");
}

std::string FaultOfPair(const std::string& sentence, const std::string& verb, const std::string& words)
{
    const std::size_t place = sentence.find(verb);
    return place == std::string::npos ? sentence
                                      : sentence.substr(0, place) + words + sentence.substr(place + verb.size());
}

std::string FaultOfMissing(const CLI::App& app, const std::string& sentence)
{
    const CLI::App* const command = ChosenCommand(app);
    if (command == nullptr)
        return FaultOfWords(app);
    return command->get_name() + " needs a " + sentence.substr(0, sentence.find(' '));
}

} // namespace

std::string ParseFault(const CLI::App& app, const CLI::ParseError& error)
{
    std::string sentence = error.what();
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr)
        return FaultOfMissing(app, sentence);
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr)
        return FaultOfWords(app);
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr)
        return FaultOfCount(app, sentence);
    if (dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr)
        return FaultOfPair(sentence, " excludes ", " does not go together with ");
    if (dynamic_cast<const CLI::RequiresError*>(&error) != nullptr)
        return FaultOfPair(sentence, " requires ", " goes only with ");
    // The values that are judged here bring their own words.
    return sentence;
}

std::string HelpFor(const CLI::App& app, const CLI::ParseError& error)
{
    const CLI::App* const command = ChosenCommand(app);
    const std::string name = FirstWord(error.what());
    const bool isGeneral = command == nullptr ||
                           (command->get_option_no_throw(name) == nullptr && app.get_option_no_throw(name) != nullptr);
    return "prodsweep " + (isGeneral ? std::string() : command->get_name() + ' ') + "--help";
}

} // namespace prodsweep
