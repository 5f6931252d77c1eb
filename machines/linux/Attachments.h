// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "SystemScan.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>

namespace vantorel::machines {

/// Numbers whole disks. A disk keeps its number as long as it is attached; one that comes later, under the same name
/// too, gets a new one.
class Attachments {
public:
    /// Puts the units into the devices. `removed` names devices that have gone since the last time, for kernels that do
    /// not count attaches.
    void assign(SystemScan& scan, const std::set<std::string, std::less<>>& removed);

private:
    struct Attachment {
        std::optional<std::uint64_t> sequence;
        int unit = 0;
    };

    std::unordered_map<std::string, Attachment> attached_; ///< by kernel name
    int nextUnit_ = 0;
};

} // namespace vantorel::machines
