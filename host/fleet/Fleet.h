// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "FleetDrive.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace vantorel::host {

/// How many drives stand how.
struct Tally {
    std::array<std::size_t, standings> counts{};

    [[nodiscard]] std::size_t of(Standing standing) const { return counts[static_cast<std::size_t>(standing)]; }
    [[nodiscard]] std::size_t all() const;
    /// Drives that are at risk or failing.
    [[nodiscard]] std::size_t bad() const { return of(Standing::failing) + of(Standing::atRisk); }
    /// Drives that something can be said of.
    [[nodiscard]] std::size_t judged() const { return bad() + of(Standing::watch) + of(Standing::good); }

    Tally& operator+=(const Tally& other);
};

/// What drives are counted by.
struct DriveGroup {
    std::string model;
    std::string firmware;
    std::string kind;

    auto operator<=>(const DriveGroup&) const = default;
};

/// A model of which more drives are bad than chance explains: docs/fleet.md tells the test.
struct UnusualModel {
    std::string model;
    std::string kind;
    Tally its;
    Tally others;      ///< all other drives of that kind
    double chance = 0; ///< how likely a model that is no worse shows as many
};

/// All drives of many reports. A drive is known by model and serial number, and counts once: as it stood in the report
/// that was made last among those in which it was read. One without a serial number counts each time. What is kept of a
/// drive that is good is its serial number and a few numbers.
class Fleet {
public:
    /// Reports without a time of their own come before all others; of two of one time the one added last counts.
    void add(FleetDrive drive);

    /// By model, then firmware.
    [[nodiscard]] std::map<DriveGroup, Tally> groups() const;

    /// Whatever somebody may want to look at, the worst first: drives that are not good and drives that were not read.
    [[nodiscard]] std::vector<const FleetDrive*> notGood() const;

private:
    struct Known {
        std::int64_t created;
        std::uint32_t group;
        Standing standing;
        std::unique_ptr<FleetDrive> details; ///< of those that `notGood` tells
    };

    std::vector<DriveGroup> groups_;
    std::map<DriveGroup, std::uint32_t> places_; ///< in `groups_`
    std::unordered_map<std::string, Known> drives_;
};

/// The models that are unusual among these, the least likely first.
[[nodiscard]] std::vector<UnusualModel> unusualModels(const std::map<DriveGroup, Tally>& groups);

/// How likely it is that of `drawn` drives, taken by chance from `all` of which `bad` are bad, at least `hits` are bad:
/// the upper tail of the hypergeometric distribution.
[[nodiscard]] double chanceOfAtLeast(std::size_t hits, std::size_t drawn, std::size_t bad, std::size_t all);

} // namespace vantorel::host
