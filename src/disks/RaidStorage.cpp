// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/RaidStorage.h"

#include "PropertyReading.h"
#include "RegistryWalk.h"

namespace vantorel {

void RaidStorage::init(const system::DADiskRef& disk)
{
    Volume::init(disk);
    setDiskType(DiskType::raid);
    const auto set = propertiesOfAncestor(ioService(), 1);
    const auto texts = set ? textsOf(*set, "AppleRAID-Members") : std::nullopt;
    if (!texts)
        return;
    for (const std::string& text : *texts) {
        if (const auto member = base::Uuid::parse(text))
            members_.push_back(*member);
    }
}

} // namespace vantorel
