// SPDX-License-Identifier: GPL-2.0-or-later
#include "Quantity.h"

#include <fmt/format.h>

namespace vantorel::host {

std::string sizeText(std::uint64_t bytes)
{
    if (bytes < 1000)
        return fmt::format("{} byte{}", bytes, bytes == 1 ? "" : "s");
    struct Unit {
        const char* name;
        int digits;
        double limit; ///< from here on rounding would carry to 1000
    };
    constexpr Unit units[] = {
        {"KB", 0, 999.5}, {"MB", 1, 999.95}, {"GB", 2, 999.995}, {"TB", 2, 999.995}, {"PB", 2, 999.995}};
    const Unit* unit = units;
    double number = static_cast<double>(bytes) / 1000;
    for (; unit + 1 != std::end(units) && number >= unit->limit; ++unit)
        number /= 1000;
    std::string text = fmt::format("{:.{}f}", number, unit->digits);
    if (unit->digits > 0)
        text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.'))
        text.pop_back();
    return text + ' ' + unit->name;
}

} // namespace vantorel::host
