// SPDX-License-Identifier: GPL-2.0-or-later
#include "Fleet.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <tuple>
#include <utility>

namespace vantorel::host {

namespace {

/// Fewer drives of a model, or fewer bad ones, are chance whatever a formula says.
constexpr std::size_t fewestDrives = 10;
constexpr std::size_t fewestBad = 3;
/// How likely a fleet without any unusual model may be told that it has one.
constexpr double falseAlarm = 0.01;

constexpr char separator = '\0';

std::string keyOf(const FleetDrive& drive)
{
    if (!drive.serial.empty())
        return drive.model + separator + drive.serial;
    return drive.report + separator + drive.device + separator;
}

bool isWorthALook(Standing standing)
{
    return standing != Standing::good && standing != Standing::withoutSmart && standing != Standing::asleep;
}

double logOfFactorial(std::size_t number)
{
    return std::lgamma(static_cast<double>(number) + 1);
}

double logOfWays(std::size_t chosen, std::size_t all)
{
    return logOfFactorial(all) - logOfFactorial(chosen) - logOfFactorial(all - chosen);
}

} // namespace

std::size_t Tally::all() const
{
    return std::accumulate(counts.begin(), counts.end(), std::size_t{0});
}

Tally& Tally::operator+=(const Tally& other)
{
    std::ranges::transform(counts, other.counts, counts.begin(), std::plus<>());
    return *this;
}

void Fleet::add(FleetDrive drive)
{
    const DriveGroup group{drive.model, drive.firmware, drive.kind};
    const auto place = places_.try_emplace(group, static_cast<std::uint32_t>(groups_.size()));
    if (place.second)
        groups_.push_back(group);
    Known now{drive.created.value_or(std::numeric_limits<std::int64_t>::min()), place.first->second, drive.standing,
              nullptr};
    const auto [known, isNew] = drives_.try_emplace(keyOf(drive));
    const auto rank = [](const Known& one) { return std::pair(isJudged(one.standing), one.created); };
    if (!isNew && rank(now) < rank(known->second))
        return;
    if (isWorthALook(drive.standing))
        now.details = std::make_unique<FleetDrive>(std::move(drive));
    known->second = std::move(now);
}

std::map<DriveGroup, Tally> Fleet::groups() const
{
    std::map<DriveGroup, Tally> tallies;
    for (const auto& [key, drive] : drives_)
        ++tallies[groups_[drive.group]].counts[static_cast<std::size_t>(drive.standing)];
    return tallies;
}

std::vector<const FleetDrive*> Fleet::notGood() const
{
    std::vector<const FleetDrive*> found;
    for (const auto& [key, drive] : drives_) {
        if (drive.details)
            found.push_back(drive.details.get());
    }
    std::ranges::sort(found, {}, [](const FleetDrive* drive) {
        return std::tie(drive->standing, drive->model, drive->serial, drive->report, drive->device);
    });
    return found;
}

std::vector<UnusualModel> unusualModels(const std::map<DriveGroup, Tally>& groups)
{
    std::map<std::string, Tally> kinds;
    std::map<std::pair<std::string, std::string>, Tally> models;
    for (const auto& [group, tally] : groups) {
        kinds[group.kind] += tally;
        models[{group.model, group.kind}] += tally;
    }
    std::vector<UnusualModel> unusual;
    std::size_t tested = 0;
    for (const auto& [name, its] : models) {
        const Tally& kind = kinds[name.second];
        // One that has no others beside it has nothing to be held against.
        if (name.first.empty() || its.judged() < fewestDrives || its.judged() == kind.judged())
            continue;
        ++tested;
        if (its.bad() < fewestBad)
            continue;
        Tally others = kind;
        std::ranges::transform(others.counts, its.counts, others.counts.begin(), std::minus<>());
        unusual.push_back({name.first, name.second, its, others,
                           chanceOfAtLeast(its.bad(), its.judged(), kind.bad(), kind.judged())});
    }
    // The more models are looked at, the likelier one of them stands out by chance (Bonferroni).
    std::erase_if(unusual,
                  [&](const UnusualModel& model) { return model.chance * static_cast<double>(tested) >= falseAlarm; });
    std::ranges::sort(unusual, {}, [](const UnusualModel& model) { return std::tie(model.chance, model.model); });
    return unusual;
}

double chanceOfAtLeast(std::size_t hits, std::size_t drawn, std::size_t bad, std::size_t all)
{
    double chance = 0;
    const double ways = logOfWays(drawn, all);
    for (std::size_t i = std::max(hits, drawn + bad > all ? drawn + bad - all : 0); i <= std::min(drawn, bad); ++i)
        chance += std::exp(logOfWays(i, bad) + logOfWays(drawn - i, all - bad) - ways);
    return std::min(chance, 1.0);
}

} // namespace vantorel::host
