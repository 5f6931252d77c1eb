// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DepartedDisks.h"
#include "vantorel/base/Uuid.h"
#include "vantorel/disks/Disk.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantorel {

/// The tracked disks of the registry, ascending by `bsdUnit` after each arrival, an absent unit counting as -1; disks
/// of one unit stand in order of arrival.
///
/// Arrival, removal and look-up cost the logarithm of the number of disks, so that tens of thousands may come and go
/// one by one. What a look-up finds is in list order.
class DiskList {
public:
    /// The list, made anew after it has changed; it stays good until the next change.
    [[nodiscard]] const std::vector<std::shared_ptr<Disk>>& disks() const;
    /// The disks of one class.
    template <typename T>
    [[nodiscard]] std::vector<std::shared_ptr<T>> elements() const
    {
        std::vector<std::shared_ptr<T>> found;
        for (const auto& [place, disk] : disks_) {
            if (auto element = std::dynamic_pointer_cast<T>(disk))
                found.push_back(std::move(element));
        }
        return found;
    }

    [[nodiscard]] std::vector<std::shared_ptr<Disk>> named(std::string_view bsdName) const;
    /// An absent unit or UUID finds the disks that have none, here and below.
    [[nodiscard]] std::vector<std::shared_ptr<Disk>> ofUnit(std::optional<std::int64_t> bsdUnit) const;
    [[nodiscard]] std::vector<std::shared_ptr<Disk>> withMediaUuid(const std::optional<base::Uuid>& uuid) const;
    /// The logical storage whose physical volume has this unit.
    [[nodiscard]] std::vector<std::shared_ptr<Disk>> standingOn(std::optional<std::int64_t> bsdUnit) const;
    [[nodiscard]] bool hasContainers() const { return indices().containers > 0; }
    /// The RAID sets with this member.
    [[nodiscard]] std::vector<std::shared_ptr<Disk>> withMember(const base::Uuid& member) const;

    /// Replaces the list. It keeps the given order until the next arrival. Empty pointers are left out.
    void assign(std::vector<std::shared_ptr<Disk>> disks);

    /// Puts a disk in its place.
    void insert(const std::shared_ptr<Disk>& disk);

    /// Takes the first disk of a name out of the list; nothing when there is none. The rest keeps its order.
    std::shared_ptr<Disk> remove(std::string_view bsdName);

private:
    /// Where a disk stands in the list.
    struct Place {
        std::int64_t unit;
        std::uint64_t order;

        auto operator<=>(const Place&) const = default;
    };
    static constexpr Place firstPlace{std::numeric_limits<std::int64_t>::min(), 0};
    template <typename Key>
    using Index = std::map<std::pair<Key, Place>, std::shared_ptr<Disk>>;

    /// By what disks are looked up.
    struct Indices {
        Index<std::optional<std::string>> names;
        Index<std::optional<std::int64_t>> units;
        Index<std::optional<base::Uuid>> mediaUuids;
        Index<std::optional<std::int64_t>> physicalUnits;
        Index<base::Uuid> members;
        std::size_t containers = 0;
    };

    template <typename Change>
    static void forEachKey(Indices& indices, const Disk& disk, Change change);
    static void add(Indices& indices, const Place& place, const std::shared_ptr<Disk>& disk);
    template <typename Key>
    [[nodiscard]] static std::vector<std::shared_ptr<Disk>> lookUp(const Index<Key>& index, const Key& key);
    [[nodiscard]] const Indices& indices() const;
    void put(const Place& place, const std::shared_ptr<Disk>& disk);
    void sortAgain();

    std::map<Place, std::shared_ptr<Disk>> disks_;
    std::uint64_t lastOrder_ = 0;
    DepartedDisks departed_;
    /// Set by a disk of this list when one of the fields changes that it stands or is looked up by.
    std::shared_ptr<bool> keysAreStale_ = std::make_shared<bool>(false);
    mutable bool orderIsStale_ = false;
    mutable Indices indices_;
    mutable std::optional<std::vector<std::shared_ptr<Disk>>> list_;
};

} // namespace vantorel
