// SPDX-License-Identifier: GPL-2.0-or-later
#include "CurrentProperties.h"

#include "system/InstalledMachine.h"

#include <optional>
#include <utility>

namespace vantorel::system {

PropertyTableRef currentProperties(std::uint64_t entry, const PropertyTableRef& told)
{
    std::optional<PropertyTable> current = installedMachine()->currentProperties(entry);
    if (!current)
        return told;
    current->insert(told->begin(), told->end()); // where both have a key, the first stays
    return std::make_shared<const PropertyTable>(*std::move(current));
}

} // namespace vantorel::system
