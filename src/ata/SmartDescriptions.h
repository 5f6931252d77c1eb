// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace vantorel {

/// What a reader sees in place of a raw attribute name. Either text may be empty.
struct SmartDescription {
    std::string_view name; ///< display name
    std::string_view info; ///< explanation
};

/// The descriptions by raw attribute name, small and capital letters told apart. Built at first use, then constant;
/// any thread.
[[nodiscard]] const std::unordered_map<std::string_view, SmartDescription>& SmartDescriptions();

/// A display name made from a raw name: every "Ct" becomes "Count", then every "_" a blank, then every "Perc " a blank.
[[nodiscard]] std::string formattedName(std::string_view name);

} // namespace vantorel
