// SPDX-License-Identifier: GPL-2.0-or-later
#include "RegistryWalk.h"

#include "vantorel/disks/DiskLookUps.h"

#include <utility>

namespace vantorel {

system::IOHandle ancestor(system::IOHandle entry, int levels)
{
    for (; levels > 0; --levels) {
        system::IOHandle parent;
        system::IORegistryEntryGetParentEntry(entry.get(), system::kIOServicePlane, parent.receive());
        entry = std::move(parent);
    }
    return entry;
}

system::PropertyTableRef propertiesOfAncestor(system::IOHandle entry, int levels)
{
    return getPropertiesForService(ancestor(std::move(entry), levels).get());
}

} // namespace vantorel
