// SPDX-License-Identifier: GPL-2.0-or-later
#include "Completion.h"

#include "HelpText.h"
#include "host/choice/DriveChoice.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <string_view>

namespace vantorel::host {

namespace {

bool takesValue(const CLI::Option& option)
{
    return option.get_items_expected_min() > 0;
}

/// Reads the words up to the last and answers for that.
class Completion {
public:
    Completion(CLI::App& command, const std::vector<std::string>& words) : command_(command), verbs_{&command}
    {
        for (std::size_t i = 0; i + 1 < words.size(); ++i)
            read(words[i]);
        const std::string last = words.empty() || words.back() == "=" ? "" : words.back();
        if (awaited_) {
            addValues(*awaited_, last);
        } else if (last.starts_with('-')) {
            addOptions(last);
        } else {
            addVerbsAndArguments(last);
        }
    }

    [[nodiscard]] std::string text() && { return std::move(text_); }

private:
    void read(const std::string& word)
    {
        if (word == "=") // bash hands --option=value out as three words
            return;
        if (awaited_) {
            take(*awaited_, word);
            awaited_ = nullptr;
        } else if (word.starts_with('-') && word.size() > 1) {
            const std::size_t sign = word.find('=');
            const CLI::Option* const option = optionNamed(word.substr(0, sign));
            if (!option || !takesValue(*option))
                return;
            if (sign == std::string::npos)
                awaited_ = option;
            else
                take(*option, word.substr(sign + 1));
        } else if (const CLI::App* const verb = verbNamed(*verbs_.back(), word)) {
            verbs_.push_back(verb);
        } else {
            arguments_.push_back(word);
        }
    }

    /// Only the choice of a machine matters for what else can be told.
    void take(const CLI::Option& option, const std::string& value)
    {
        if (&option == command_.get_option_no_throw(machineOption))
            command_.get_option(machineOption)->add_result(value);
    }

    [[nodiscard]] const CLI::Option* optionNamed(const std::string& name) const
    {
        for (auto verb = verbs_.rbegin(); verb != verbs_.rend(); ++verb) {
            if (const CLI::Option* const option = (*verb)->get_option_no_throw(name))
                return option;
        }
        return nullptr;
    }

    void add(std::string_view word, std::string_view meaning, std::string_view beginning)
    {
        if (word.starts_with(beginning))
            text_ += fmt::format("{}\t{}\n", printable(word), printable(meaning));
    }

    void addOptions(const std::string& beginning)
    {
        const std::size_t sign = beginning.find('=');
        if (sign != std::string::npos) {
            const CLI::Option* const option = optionNamed(beginning.substr(0, sign));
            if (option && takesValue(*option))
                addValues(*option, beginning.substr(sign + 1), beginning.substr(0, sign + 1));
            return;
        }
        for (const CLI::App* const verb : verbs_) {
            for (const CLI::Option* const option : optionsOf(*verb)) {
                if (verb != verbs_.back() && option == verb->get_help_ptr())
                    continue;
                for (const std::string& name : option->get_lnames())
                    add("--" + name, option->get_description(), beginning);
            }
        }
    }

    void addVerbsAndArguments(const std::string& beginning)
    {
        if (arguments_.empty())
            addVerbs(*verbs_.back(), beginning);
        std::size_t place = arguments_.size();
        for (const CLI::Option* const argument : argumentsOf(*verbs_.back())) {
            const auto taken = static_cast<std::size_t>(argument->get_items_expected_max());
            if (place < taken)
                return addValues(*argument, beginning);
            place -= taken;
        }
    }

    void addVerbs(const CLI::App& verb, const std::string& beginning)
    {
        for (const CLI::App* const under : verbsOf(verb))
            add(under->get_name(), under->get_description(), beginning);
    }

    /// What an option or argument may be goes by the type that its help shows, or by the argument's name.
    void addValues(const CLI::Option& option, const std::string& beginning, const std::string& before = "")
    {
        const std::string type = option.get_type_name() == "TEXT" ? option.get_name(true) : option.get_type_name();
        if (type == "FILE") {
            text_ += ":files\n";
        } else if (type == "DIR") {
            text_ += ":folders\n";
        } else if (type == "PATH") {
            for (const std::string& name : sampleNames())
                add(before + name, "A machine that comes with this program", before + beginning);
            text_ += ":files\n";
        } else if (type == "DISK") {
            addDrives(before, beginning);
        } else if (type == "VERB") {
            const CLI::App* verb = &command_;
            for (const std::string& word : arguments_)
                verb = verb ? verbNamed(*verb, word) : nullptr;
            if (verb)
                addVerbs(*verb, beginning);
        } else if (const std::size_t brace = type.find('{'); brace != std::string::npos) {
            addChoices(std::string_view(type).substr(brace + 1), before, beginning);
        }
    }

    /// The words of "lz4,zlib}", as a choice among them is described.
    void addChoices(std::string_view words, const std::string& before, const std::string& beginning)
    {
        while (!words.empty()) {
            const std::size_t end = std::min(words.find_first_of(",}"), words.size());
            add(before + std::string(words.substr(0, end)), "", before + beginning);
            words.remove_prefix(std::min(end + 1, words.size()));
        }
    }

    void addDrives(const std::string& before, const std::string& beginning)
    {
        try {
            loadMachine(command_);
            for (const auto& drive : drivesNamed({}))
                add(before + driveName(*drive), drive->model().value_or(""), before + beginning);
        } catch (const std::exception&) { // whoever types sees it when the command is run
        }
    }

    CLI::App& command_;
    std::vector<const CLI::App*> verbs_;   ///< the command, and the verbs told one under the other
    const CLI::Option* awaited_ = nullptr; ///< the option whose value comes next
    std::vector<std::string> arguments_;
    std::string text_;
};

} // namespace

std::string completions(CLI::App& command, const std::vector<std::string>& words)
{
    return Completion(command, words).text();
}

} // namespace vantorel::host
