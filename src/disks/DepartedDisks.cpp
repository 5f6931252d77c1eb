// SPDX-License-Identifier: GPL-2.0-or-later
#include "DepartedDisks.h"

#include "DiskLinks.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace vantorel {

void DepartedDisks::add(const std::shared_ptr<Disk>& disk)
{
    if (DiskLinks::of(*disk).empty())
        return; // keeps nobody alive
    disks_.push_back(disk);
    if (disks_.size() >= enough_)
        collect();
}

void DepartedDisks::collect()
{
    struct Departed {
        std::shared_ptr<Disk> disk;
        long ownReferences = 1; ///< this one, and those of other departed disks
        bool isReachable = false;
    };
    std::unordered_map<const Disk*, Departed> departed;
    for (const auto& weak : disks_) {
        if (auto disk = weak.lock())
            departed.try_emplace(disk.get(), Departed{disk});
    }
    for (const auto& [address, node] : departed) {
        for (const Disk* const link : DiskLinks::of(*node.disk)) {
            if (const auto found = departed.find(link); found != departed.end())
                ++found->second.ownReferences;
        }
    }

    std::vector<const Disk*> toFollow;
    const auto reach = [&toFollow](Departed& node) {
        if (!std::exchange(node.isReachable, true))
            toFollow.push_back(node.disk.get());
    };
    for (auto& [address, node] : departed) {
        if (node.disk.use_count() > node.ownReferences)
            reach(node);
    }
    while (!toFollow.empty()) {
        const Disk* const disk = toFollow.back();
        toFollow.pop_back();
        for (const Disk* const link : DiskLinks::of(*disk)) {
            if (const auto found = departed.find(link); found != departed.end())
                reach(found->second);
        }
    }

    disks_.clear();
    for (auto& [address, node] : departed) {
        if (node.isReachable)
            disks_.emplace_back(node.disk);
        else
            DiskLinks::drop(*node.disk);
    }
    enough_ = std::max(fewest, 2 * disks_.size());
}

} // namespace vantorel
