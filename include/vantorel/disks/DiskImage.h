// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/disks/Volume.h"

namespace VANTOREL_PUBLIC vantorel {

/// An attached disk image, as a whole disk; its partitions are plain volumes.
class DiskImage : public Volume {
public:
    using Volume::Volume;

protected:
    void init(const system::DADiskRef& disk) override;
};

} // namespace vantorel
