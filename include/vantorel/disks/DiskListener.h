// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/disks/DiskEvent.h"

#include <memory>

namespace VANTOREL_PUBLIC vantorel {

class Disk;

/// A host's ear at the registry.
class DiskListener {
public:
    virtual ~DiskListener() = default;

    /// Called on the thread of the event, after the registry's list has changed. `disk` is the tracked object for
    /// `appeared`, the removed one for `disappeared`, and for `updated` a fresh object without links that the registry
    /// does not keep: ask the registry by its name for the tracked one. An exception ends this call alone: it costs a
    /// line of the library's messages, and the listeners that follow are still told.
    virtual void diskChanged(const std::shared_ptr<Disk>& disk, DiskEvent event) = 0;

protected:
    DiskListener() = default;
    DiskListener(const DiskListener&) = default;
    DiskListener& operator=(const DiskListener&) = default;
};

} // namespace vantorel
