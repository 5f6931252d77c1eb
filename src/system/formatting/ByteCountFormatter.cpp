// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/formatting/ByteCountFormatter.h"

#include "DecimalText.h"

#include <array>

namespace vantorel::system {

namespace {

struct Unit {
    const char* name;
    int fractionDigits;
    /// The largest count that is still told in this unit, by 1000 and by 1024: above it rounding would carry to the
    /// next unit (the limits of swift-foundation's byte count style).
    std::uint64_t decimalLimit;
    std::uint64_t binaryLimit;
};

constexpr std::uint64_t noLimit = ~std::uint64_t{0};

constexpr std::array<Unit, 7> units = {{
    {"bytes", 0, 999, 1023},
    {"KB", 0, 999'499, 1'048'063},
    {"MB", 1, 999'949'999, 1'073'689'395},
    {"GB", 2, 999'994'999'999, 1'099'506'259'066},
    {"TB", 2, 999'994'999'999'999, 1'125'894'409'284'485},
    {"PB", 2, 999'994'999'999'999'999, 1'152'915'875'107'312'762},
    {"EB", 2, noLimit, noLimit},
}};

} // namespace

std::string stringFromByteCount(std::int64_t byteCount, ByteCountFormatterCountStyle countStyle)
{
    if (byteCount == 0)
        return "Zero KB";
    const bool binary =
        countStyle == ByteCountFormatterCountStyle::memory || countStyle == ByteCountFormatterCountStyle::binary;
    const bool negative = byteCount < 0;
    const std::uint64_t size =
        negative ? 0 - static_cast<std::uint64_t>(byteCount) : static_cast<std::uint64_t>(byteCount);
    if (size == 1)
        return decimalText(static_cast<double>(byteCount), 0) + " byte";

    double scale = 1;
    const Unit* unit = units.data();
    while (size > (binary ? unit->binaryLimit : unit->decimalLimit)) {
        scale *= binary ? 1024 : 1000;
        ++unit;
    }
    return decimalText(static_cast<double>(byteCount) / scale, unit->fractionDigits) + ' ' + unit->name;
}

} // namespace vantorel::system
