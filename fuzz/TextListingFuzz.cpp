// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/recorded/TextListing.h"

using namespace vantorel;

/// The text form of a registry listing: whatever is in it, every entry has an id.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    std::vector<recorded::Fault> faults;
    for (const system::RegistryEntry& entry : recorded::readTextListing(DataView(bytes, size), "ioreg.txt", faults)) {
        if (entry.id == 0)
            __builtin_trap();
    }
    return 0;
}
