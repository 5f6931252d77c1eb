// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel::ata {

/// All the texts that `expression` stands for, when they can be listed and are no more than `most`: the expression is
/// made of plain characters, groups, small classes, '?' and fixed counts. A ".*" at the end of an alternative of its
/// top level is passed over, since an expression is searched for and not held against the whole text.
[[nodiscard]] std::optional<std::vector<std::string>> literalAlternatives(std::string_view expression,
                                                                          std::size_t most);

} // namespace vantorel::ata
