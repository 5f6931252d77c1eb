// SPDX-License-Identifier: GPL-2.0-or-later
#include "DiskTree.h"

#include "vantorel/disks/AppleStorage.h"
#include "vantorel/disks/CoreStorage.h"

#include <map>
#include <set>
#include <string_view>

namespace vantorel {

namespace {

constexpr int deepestLevel = 40;

/// A partition carries the name of its whole disk, and an APFS snapshot that of its volume: "disk0" of "disk0s2",
/// "nvme0n1" of "nvme0n1p2" and "sda" of "sda1". Of a whole disk it is nobody's name, or empty.
std::string_view nameAbove(std::string_view name)
{
    constexpr std::string_view digits = "0123456789";
    const std::size_t number = name.find_last_not_of(digits) + 1;
    if (number == name.size())
        return {};
    name = name.substr(0, number);
    const bool isParted = name.size() > 1 && (name.back() == 's' || name.back() == 'p') &&
                          digits.find(name[name.size() - 2]) != std::string_view::npos;
    return isParted ? name.substr(0, name.size() - 1) : name;
}

class TreeBuilder {
public:
    explicit TreeBuilder(const Vantorel& registry) : registry_(registry), disks_(registry.disks())
    {
        for (const auto& disk : disks_) {
            tracked_.insert(disk.get());
            if (disk->bsdName())
                named_.try_emplace(*disk->bsdName(), disk.get());
            if (disk->mediaUuid())
                identified_.try_emplace(disk->mediaUuid()->text(), disk.get());
        }
        for (const auto& disk : disks_)
            children_[parentOf(*disk)].push_back(disk);
    }

    std::vector<DiskNode> build()
    {
        std::vector<DiskNode> roots = nodesUnder(nullptr, 0);
        // What tells of itself that it lies on something that lies on it, or lies too deep.
        for (const auto& disk : disks_) {
            if (!placed_.contains(disk.get()))
                roots.push_back(node(disk, 0));
        }
        return roots;
    }

private:
    const Disk* parentOf(const Disk& disk) const
    {
        std::shared_ptr<Volume> below;
        if (const auto* const container = dynamic_cast<const AppleStorage*>(&disk))
            below = container->bsdVolume();
        else if (const auto* const logical = dynamic_cast<const CoreStorage*>(&disk))
            below = logical->logicalVolume();
        if (below && tracked_.contains(below.get()))
            return below.get();
        if (const auto* const logical = dynamic_cast<const CoreStorage*>(&disk);
            logical && logical->logicalVolumeUuid()) {
            // The registry ties it to volumes alone. What it lies on may also be a whole disk.
            if (const auto found = identified_.find(logical->logicalVolumeUuid()->text()); found != identified_.end())
                return found->second;
        }
        const auto found =
            named_.find(nameAbove(disk.bsdName() ? std::string_view(*disk.bsdName()) : std::string_view()));
        return found == named_.end() ? nullptr : found->second;
    }

    std::vector<DiskNode> nodesUnder(const Disk* parent, int level)
    {
        std::vector<DiskNode> nodes;
        const auto found = children_.find(parent);
        if (found != children_.end()) {
            for (const auto& disk : found->second) {
                if (!placed_.contains(disk.get()))
                    nodes.push_back(node(disk, level));
            }
        }
        return nodes;
    }

    DiskNode node(const std::shared_ptr<Disk>& disk, int level)
    {
        placed_.insert(disk.get());
        const bool canBeMember =
            disk->diskType() == Disk::DiskType::volume || disk->diskType() == Disk::DiskType::drive;
        return {disk, canBeMember ? registry_.raidMember(disk->diskObject()) : nullptr,
                level == deepestLevel ? std::vector<DiskNode>() : nodesUnder(disk.get(), level + 1)};
    }

    const Vantorel& registry_;
    const std::vector<std::shared_ptr<Disk>> disks_;
    std::set<const Disk*> tracked_;
    std::map<std::string, const Disk*, std::less<>> named_;
    std::map<std::string, const Disk*> identified_; ///< by the UUID of the medium
    std::map<const Disk*, std::vector<std::shared_ptr<Disk>>> children_;
    std::set<const Disk*> placed_;
};

} // namespace

std::vector<DiskNode> diskTree(const Vantorel& registry)
{
    return TreeBuilder(registry).build();
}

} // namespace vantorel
