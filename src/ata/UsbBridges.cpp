// SPDX-License-Identifier: GPL-2.0-or-later
#include "TableSearch.h"
#include "vantorel/ata/DriveTables.h"
#include "vantorel/base/Text.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace vantorel {

namespace {

constexpr std::string_view familyMark = "USB:";
constexpr std::string_view typeOption = "-d ";

/// Four digits, as rows of bridges write them: "0x04b4".
std::string hexadecimal(std::uint16_t number)
{
    std::array<char, 4> digits;
    const auto result = std::to_chars(digits.begin(), digits.end(), number, 16);
    const std::string_view text(digits.begin(), result.ptr);
    return "0x" + std::string(digits.size() - text.size(), '0').append(text);
}

/// Whether an expression describes a text, whole.
bool describes(std::string_view expression, const std::string& text)
{
    const drive_settings row{"", expression, "", "", ""};
    return ata::TableSearch(std::span(&row, 1), DriveTableMatching::whole).find(text, "") == 0;
}

/// The version of a row of bridges that stands for every one that no other row names.
bool isAnyVersion(std::string_view expression)
{
    return expression.empty() || expression == "0xXXXX";
}

UsbBridge bridgeOf(const DriveTable& table, std::size_t index)
{
    const drive_settings& row = table.rows[index];
    std::string_view type = base::trimmed(row.presets);
    type = type.starts_with(typeOption) ? type.substr(typeOption.size()) : std::string_view();
    return {.name = base::trimmed(row.modelfamily.substr(familyMark.size())),
            .type = base::trimmed(type),
            .table = &table,
            .rowIndex = index};
}

std::optional<UsbBridge> bridgeIn(const DriveTable& table, const std::string& product, const std::string& version)
{
    std::vector<std::size_t> candidates;
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        const drive_settings& row = table.rows[i];
        if (row.modelfamily.starts_with(familyMark) && describes(row.modelregexp, product))
            candidates.push_back(i);
    }
    if (candidates.size() == 1)
        return bridgeOf(table, candidates[0]);
    for (const bool any : {false, true}) {
        for (const std::size_t index : candidates) {
            const std::string_view expression = table.rows[index].firmwareregexp;
            if (isAnyVersion(expression) ? any : !any && describes(expression, version))
                return bridgeOf(table, index);
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<UsbBridge> usbBridge(std::uint16_t vendor, std::uint16_t product, std::uint16_t version)
{
    std::vector<const DriveTable*> tables = driveTables();
    std::stable_partition(tables.begin(), tables.end(),
                          [](const DriveTable* table) { return table->rows.data() != builtin_knowndrives.data(); });
    const std::string id = hexadecimal(vendor) + ':' + hexadecimal(product);
    for (const DriveTable* const table : tables) {
        if (auto bridge = bridgeIn(*table, id, hexadecimal(version)))
            return bridge;
    }
    return std::nullopt;
}

} // namespace vantorel
