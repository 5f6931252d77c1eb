// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace vantorel::host {

/// Writes the help of the command and of every verb, as wide as the screen is. Verbs inherit it from the command. The
/// help of a verb ends with the options of the command, which every verb takes, that of the command with its footer.
class HelpText : public CLI::FormatterBase {
public:
    [[nodiscard]] std::string make_help(const CLI::App* verb, std::string name, CLI::AppFormatMode mode) const override;
};

/// The options, or the arguments without a name, that help tells of, in the order in which they were added.
[[nodiscard]] std::vector<const CLI::Option*> optionsOf(const CLI::App& verb);
[[nodiscard]] std::vector<const CLI::Option*> argumentsOf(const CLI::App& verb);

/// The verbs right under this one, or under the command, that help tells of.
[[nodiscard]] std::vector<const CLI::App*> verbsOf(const CLI::App& verb);

/// The verb right under this one that has the name; null when there is none.
[[nodiscard]] const CLI::App* verbNamed(const CLI::App& verb, std::string_view name);

/// The last verb that the arguments told; the command itself when there is none. To be called when they have been read.
[[nodiscard]] const CLI::App& lastVerb(const CLI::App& command);

} // namespace vantorel::host
