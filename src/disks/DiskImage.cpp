// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/DiskImage.h"

namespace vantorel {

void DiskImage::init(const system::DADiskRef& disk)
{
    Volume::init(disk);
    setDiskType(DiskType::diskimage);
}

} // namespace vantorel
