// SPDX-License-Identifier: GPL-2.0-or-later
#include "CurrentProperties.h"

#include "vantorel/system/Installation.h"

#include <utility>

namespace vantorel::system {

PropertyTableRef withCurrentStatistics(PropertyTableRef told, std::uint64_t entry)
{
    if (!told->lookUp(kStatisticsKey))
        return told;
    auto counters = machine()->statistics(entry);
    if (!counters)
        return told;
    auto current = std::make_shared<PropertyTable>(*told);
    current->insert_or_assign(std::string(kStatisticsKey), std::move(*counters));
    return current;
}

} // namespace vantorel::system
