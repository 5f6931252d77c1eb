// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <string_view>

namespace vantorel::host {

/// ` Did you mean "check"?`: of the verbs under this one, or for a word with a dash of the options that it takes, the
/// one that the word is nearest to. Empty when each is more than two letters off.
[[nodiscard]] std::string suggestionFor(const CLI::App& verb, std::string_view word);

} // namespace vantorel::host
