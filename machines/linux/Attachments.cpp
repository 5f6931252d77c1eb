// SPDX-License-Identifier: GPL-2.0-or-later
#include "Attachments.h"

#include <utility>

namespace vantorel::machines {

void Attachments::assign(SystemScan& scan, const std::set<std::string, std::less<>>& removed)
{
    std::unordered_map<std::string, Attachment> now;
    for (BlockDevice& device : scan.devices) {
        if (device.partition) { // behind its disk
            const auto whole = now.find(device.partition->whole);
            device.unit = whole == now.end() ? nextUnit_ : whole->second.unit;
            continue;
        }
        const auto before = attached_.find(device.kernelName);
        const bool isSame = before != attached_.end() && before->second.sequence == device.sequence &&
                            (device.sequence || !removed.contains(device.kernelName));
        device.unit = isSame ? before->second.unit : nextUnit_++;
        now.emplace(device.kernelName, Attachment{device.sequence, device.unit});
    }
    attached_ = std::move(now);
}

} // namespace vantorel::machines
