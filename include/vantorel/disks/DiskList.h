// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/disks/AppleStorage.h"
#include "vantorel/disks/DepartedDisks.h"

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace vantorel {

/// The tracked disks of the registry, ascending by `bsdUnit` after each arrival, an absent unit counting as -1; disks
/// of one unit stand in order of arrival.
///
/// An arrival costs a binary search and is told the containers without a walk over the list, so that ten thousand
/// disks may arrive one by one.
class DiskList {
public:
    [[nodiscard]] const std::vector<std::shared_ptr<Disk>>& disks() const { return disks_; }

    /// The disks that are APFS containers, in no particular order. Owned by the list.
    [[nodiscard]] const std::vector<AppleStorage*>& containers() const { return containers_; }

    /// Replaces the list. It keeps the given order until the next arrival. Empty pointers are left out.
    void assign(std::vector<std::shared_ptr<Disk>> disks);

    /// Puts a disk in its place.
    void insert(std::shared_ptr<Disk> disk);

    /// Takes the first disk of a name out of the list; nothing when there is none. The rest keeps its order.
    std::shared_ptr<Disk> remove(std::string_view bsdName);

private:
    void enrol(Disk& disk);

    std::vector<std::shared_ptr<Disk>> disks_;
    std::vector<AppleStorage*> containers_;
    DepartedDisks departed_;
    /// True when the order may be broken: after `assign`, and when a disk of this list changed its unit.
    std::shared_ptr<bool> orderIsChanged_ = std::make_shared<bool>(false);
};

} // namespace vantorel
