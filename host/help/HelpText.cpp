// SPDX-License-Identifier: GPL-2.0-or-later
#include "HelpText.h"

#include "host/console/Text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace vantorel::host {

namespace {

constexpr std::size_t leftColumn = 24;

/// A name and what it means, side by side where the name is not too long.
std::string entry(const std::string& name, const std::string& meaning)
{
    const std::string left = "  " + name;
    if (left.size() + 2 <= leftColumn)
        return wrapped(meaning, screenWidth(), leftColumn, fmt::format("{:<{}}", left, leftColumn));
    return left + '\n' + wrapped(meaning, screenWidth(), leftColumn);
}

std::string meaningOf(const CLI::Option& option)
{
    std::string text = option.get_description();
    std::vector<std::string> remarks;
    for (const CLI::Option* const other : option.get_needs())
        remarks.push_back("with " + other->get_name());
    if (!option.get_default_str().empty())
        remarks.push_back(option.get_default_str() + " unless told");
    if (!option.get_envname().empty())
        remarks.push_back("or by " + option.get_envname());
    return remarks.empty() ? text : text + fmt::format(" ({})", fmt::join(remarks, "; "));
}

std::string nameOf(const CLI::Option& option)
{
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames())
        names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        names.push_back("--" + name);
    std::string text = fmt::format("{}", fmt::join(names, ", "));
    if (option.get_items_expected_min() == 0)
        return text;
    const std::string type = option.get_type_name();
    return text + ' ' + type.substr(0, type.find(':'));
}

std::string usageOf(const CLI::Option& argument)
{
    std::string text = argument.get_name(true);
    if (argument.get_items_expected_max() > 1)
        text += "...";
    return argument.get_required() ? text : '[' + text + ']';
}

std::string usage(const CLI::App& verb, const std::string& name)
{
    constexpr std::string_view title = "Usage: ";
    std::string text = name;
    for (const CLI::Option* const option : optionsOf(verb)) {
        if (option->get_required())
            text += ' ' + nameOf(*option);
    }
    text += " [OPTION...]";
    for (const CLI::Option* const argument : argumentsOf(verb))
        text += ' ' + usageOf(*argument);
    if (!verbsOf(verb).empty())
        text += verb.get_require_subcommand_min() > 0 ? " VERB ..." : " [VERB ...]";
    return wrapped(text, screenWidth(), title.size(), title);
}

/// The options, without those that every verb has of its own.
std::string inherited(const CLI::App& command)
{
    std::string text;
    for (const CLI::Option* const option : optionsOf(command)) {
        if (option != command.get_help_ptr() && option != command.get_version_ptr())
            text += entry(nameOf(*option), meaningOf(*option));
    }
    return text.empty() ? text : "\nOptions of every verb:\n" + text;
}

std::vector<const CLI::Option*> visible(const CLI::App& verb, bool isArgument)
{
    return verb.get_options([isArgument](const CLI::Option* option) {
        return !option->get_group().empty() && option->get_positional() == isArgument;
    });
}

} // namespace

std::vector<const CLI::Option*> optionsOf(const CLI::App& verb)
{
    return visible(verb, false);
}

std::vector<const CLI::Option*> argumentsOf(const CLI::App& verb)
{
    return visible(verb, true);
}

std::vector<const CLI::App*> verbsOf(const CLI::App& verb)
{
    return verb.get_subcommands([](const CLI::App* under) { return !under->get_group().empty(); });
}

const CLI::App* verbNamed(const CLI::App& verb, std::string_view name)
{
    const auto verbs = verbsOf(verb);
    const auto found = std::ranges::find(verbs, name, [](const CLI::App* under) { return under->get_name(); });
    return found == verbs.end() ? nullptr : *found;
}

const CLI::App& lastVerb(const CLI::App& command)
{
    const auto told = command.get_subcommands([](const CLI::App* under) { return under->parsed(); });
    return told.empty() ? command : lastVerb(*told.front());
}

std::string HelpText::make_help(const CLI::App* verb, std::string name, CLI::AppFormatMode /*mode*/) const
{
    std::string text = verb->get_description() + "\n\n" + usage(*verb, name);
    std::string arguments;
    for (const CLI::Option* const argument : argumentsOf(*verb))
        arguments += entry(argument->get_name(true), meaningOf(*argument));
    if (!arguments.empty())
        text += '\n' + arguments;
    std::string verbs;
    for (const CLI::App* const under : verbsOf(*verb))
        verbs += entry(under->get_name(), under->get_description());
    if (!verbs.empty())
        text += "\nVerbs:\n" + verbs;
    text += "\nOptions:\n";
    for (const CLI::Option* const option : optionsOf(*verb))
        text += entry(nameOf(*option), meaningOf(*option));
    const CLI::App* command = verb;
    while (command->get_parent())
        command = command->get_parent();
    return text + (command != verb ? inherited(*command) : '\n' + wrapped(verb->get_footer(), screenWidth(), 0));
}

} // namespace vantorel::host
