// SPDX-License-Identifier: GPL-2.0-or-later
#include "ata/SmartDescriptions.h"

#include "vantorel/base/Text.h"

#include <array>
#include <utility>

namespace vantorel {

namespace {

constexpr std::array<std::pair<std::string_view, SmartDescription>, 277> entries = {{
#include "SmartDescriptions.inc"
}};

} // namespace

const std::unordered_map<std::string_view, SmartDescription>& SmartDescriptions()
{
    static const std::unordered_map<std::string_view, SmartDescription> descriptions(entries.begin(), entries.end());
    return descriptions;
}

std::string formattedName(std::string_view name)
{
    return base::replacingAll(base::replacingAll(base::replacingAll(name, "Ct", "Count"), "_", " "), "Perc ", " ");
}

} // namespace vantorel
