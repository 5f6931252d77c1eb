// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/report/ReportReader.h"

using namespace vantorel;

/// A report opens or is refused; so does its registry listing, within a bound.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    constexpr std::size_t limit = std::size_t{1} << 20;
    try {
        const ReportReader reader(DataView(bytes, size));
        if (reader.expandedRegistry(limit).size() > limit)
            __builtin_trap();
    } catch (const ReportError&) {
        return 0;
    }
    return 0;
}
