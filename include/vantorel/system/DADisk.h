// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// A disk as the service hands it out. It stands for one media entry, also when that is gone: then it has its name
/// still, but no description and no media entry. A disk that appears later under the same name is another one.
struct DADisk {
    std::optional<std::string> bsdName; ///< such as "disk0s2"; absent for a volume without a device
    std::uint64_t entryId = 0;          ///< id of the media entry; 0 for none
};
using DADiskRef = std::shared_ptr<const DADisk>;

class DASession;
/// A client of the service. While it is scheduled on a run loop the service holds it too.
using DASessionRef = std::shared_ptr<DASession>;

using DADiskAppearedCallback = std::function<void(const DADiskRef& disk, void* context)>;
using DADiskDisappearedCallback = std::function<void(const DADiskRef& disk, void* context)>;
/// `keys` names the keys of the description that came, went or changed.
using DADiskDescriptionChangedCallback =
    std::function<void(const DADiskRef& disk, const PropertyArray& keys, void* context)>;

} // namespace system
} // namespace vantorel
