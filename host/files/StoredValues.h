// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "ReportFile.h"
#include "vantorel/base/PropertyValue.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel::host {

/// One value of a drive, as a report stored it and as its raw bytes are decoded today; one of the two may be missing.
struct ValuePair {
    std::optional<PropertyTable> stored;
    std::optional<PropertyTable> decoded;

    /// Of the two, today's unless it is missing.
    [[nodiscard]] const PropertyTable& either() const { return decoded ? *decoded : *stored; }
    /// The keys under which the two differ; none when one of them is missing. Numbers that are only written in another
    /// way, as in another locale, are the same.
    [[nodiscard]] std::vector<std::string> differences() const;
    /// Whether one is missing, or any key differs.
    [[nodiscard]] bool isDifferent() const { return !stored || !decoded || !differences().empty(); }
};

/// The values of a drive in today's order, behind them those that only the report has.
[[nodiscard]] std::vector<ValuePair> valuePairs(const ReportedDrive& drive);

/// Whether two formatted numbers are the same but for the digits, and the separators between them, of a locale:
/// "1,234.5 GB" is "1.234,5 GB".
[[nodiscard]] bool areSameNumber(std::string_view one, std::string_view other);

} // namespace vantorel::host
