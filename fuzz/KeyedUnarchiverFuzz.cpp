// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/KeyedArchiver.h"

#include <cstdlib>

using namespace vantorel;

/// What can be read can be archived, and that archive holds the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    PropertyValue value;
    try {
        value = system::unarchiveObjectWithData({bytes, size});
    } catch (const system::KeyedArchiveError&) {
        return 0;
    }
    const Data archive = system::archivedDataWithRootObject(value);
    // Compared as bytes, since a NaN is not equal to itself.
    if (system::archivedDataWithRootObject(system::unarchiveObjectWithData(archive)) != archive)
        std::abort();
    return 0;
}
