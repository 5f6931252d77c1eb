// SPDX-License-Identifier: GPL-2.0-or-later
#include "Meanings.h"

#include "vantorel/base/Text.h"

#include <algorithm>
#include <span>
#include <utility>

namespace vantorel::health {

namespace {

using enum Meaning;
using enum Width;
using enum Confidence;
using enum DriveKind;

// The measures by the names that the rows use.
constexpr Measure none{Unit::none};
constexpr Measure count{Unit::count};
constexpr Measure sectors{Unit::sectors};
constexpr Measure blocks{Unit::blocks};
constexpr Measure percent{Unit::percent};
constexpr Measure celsius{Unit::celsius};
constexpr Measure hours{Unit::hours};
constexpr Measure minutes{Unit::minutes};
constexpr Measure milliseconds{Unit::milliseconds};
constexpr Measure rate{Unit::rate};
constexpr Measure bytes{Unit::bytes};
constexpr Measure blocks512{Unit::bytes, 512};
constexpr Measure mib{Unit::bytes, 1U << 20U};
constexpr Measure mib32{Unit::bytes, 32U << 20U};
constexpr Measure gib{Unit::bytes, 1U << 30U};

constexpr MeaningRow rows[] = {
#include "Meanings.inc"
};
static_assert(std::ranges::is_sorted(rows, {}, &MeaningRow::name));

/// The part of a list in front of its first separator, which is taken off the list.
std::string_view takeFirst(std::string_view& list, char separator)
{
    const auto end = list.find(separator);
    const std::string_view first = list.substr(0, end);
    list.remove_prefix(end == std::string_view::npos ? list.size() : end + 1);
    return first;
}

bool lists(std::string_view ids, std::uint8_t id)
{
    while (!ids.empty()) {
        unsigned number = 0;
        for (const char digit : takeFirst(ids, ','))
            number = 10 * number + static_cast<unsigned>(digit - '0');
        if (number == id)
            return true;
    }
    return false;
}

/// Makers sell under several names; a model without a row of the drive table is told by how it begins.
bool isOfMaker(std::string_view maker, const DriveNames& drive)
{
    constexpr std::pair<std::string_view, std::string_view> modelBeginnings[] = {
        {"Intel", "INTEL"},    {"Intel", "SSDSC"},     {"Micron", "Micron"},   {"Micron", "MTFD"}, {"Micron", "CT"},
        {"Micron", "Crucial"}, {"Samsung", "SAMSUNG"}, {"Samsung", "Samsung"}, {"Samsung", "MZ"}};
    if (drive.family.find(maker) != std::string_view::npos)
        return true;
    return drive.family.empty() && std::ranges::any_of(modelBeginnings, [&](const auto& pair) {
               return pair.first == maker && drive.model.starts_with(pair.second);
           });
}

bool fits(std::string_view families, NameSource source, bool isDefaultName, const DriveNames& drive)
{
    if (families.empty())
        return true;
    while (!families.empty()) {
        std::string_view family = takeFirst(families, ';');
        if (family == "default" ? isDefaultName : family == "row" && source == NameSource::row)
            return true;
        if (family.starts_with('@') && isOfMaker(family.substr(1), drive))
            return true;
        if (family.ends_with('*') ? drive.family.starts_with(family.substr(0, family.size() - 1))
                                  : drive.family == family)
            return true;
    }
    return false;
}

} // namespace

bool isSeagate(const DriveNames& drive)
{
    if (drive.family.starts_with("Seagate"))
        return true;
    const std::string_view model = drive.model;
    return model.starts_with("Seagate") ||
           (model.starts_with("ST") && model.size() > 2 && model[2] >= '0' && model[2] <= '9');
}

MeaningFound meaningOf(std::string_view name, std::uint8_t id, NameSource source, bool isDefaultName,
                       const DriveNames& drive)
{
    MeaningFound found;
    const std::span named(std::ranges::lower_bound(rows, name, {}, &MeaningRow::name),
                          std::ranges::upper_bound(rows, name, {}, &MeaningRow::name));
    for (const MeaningRow& row : named) {
        if ((row.kind == ssd && !drive.isSSD) || (row.kind == hdd && drive.isSSD) || !lists(row.ids, id))
            continue;
        if (fits(row.families, source, isDefaultName, drive))
            return {&row, row.confidence};
        if (!found.row)
            found.row = &row;
    }
    return found;
}

} // namespace vantorel::health
