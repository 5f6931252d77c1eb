// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveDatabase.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel::ata {

/// All the texts that `expression` stands for, when they can be listed, are no more than `most` and not very long: the
/// expression is made of plain characters, groups, small classes, '?' and fixed counts. A ".*" at the end of an
/// alternative of its top level is passed over where an expression is searched for anywhere in a text.
[[nodiscard]] std::optional<std::vector<std::string>> literalAlternatives(std::string_view expression, std::size_t most,
                                                                          DriveTableMatching matching);

} // namespace vantorel::ata
